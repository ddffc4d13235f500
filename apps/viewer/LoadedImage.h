#pragma once

#include <QImage>
#include <QString>

namespace Ardo::Kiln::Viewer
{

/// The contents of the window for one file.
struct LoadedImage
{
    QImage picture; ///< Grey values of more than 8 bits are stretched; a thousandth at each end is clipped.
    QString facts;  ///< Lines about the image and its metadata.
};

/// Reads any image that the library reads. Any thread may call it.
/// \throws std::exception with a text for the user if the file cannot be read or is no image.
LoadedImage LoadImageFile(const QString& path);

} // namespace Ardo::Kiln::Viewer
