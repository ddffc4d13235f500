#pragma once

#include <QImage>
#include <QString>

namespace Ardo::Kiln::Viewer
{

/// What the window shows of a file.
struct LoadedImage
{
    QImage picture; ///< Grey values stretched from the smallest to the largest where they have more than 8 bits.
    QString facts;  ///< Lines about the image and its metadata.
};

/// Reads any image that the library reads. Any thread may call it.
/// \throws std::exception with a text for the user if the file cannot be read or is no image.
LoadedImage LoadImageFile(const QString& path);

} // namespace Ardo::Kiln::Viewer
