#pragma once

#include "apps/viewer/Model/Calibration.h"
#include "apps/viewer/Model/ImagePyramid.h"
#include "apps/viewer/Model/Progress.h"
#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Imaging/Histogram.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Ardo::Kiln::Viewer
{

/// An image with all that is needed to show it. Never changed after it is made, so that threads can share it.
struct Picture
{
    /// Takes some time for large images: all pixels are read.
    /// \throws Cancelled, std::bad_alloc.
    Picture(const Imaging::const_raw_image& pixels, const Progress& progress);

    Imaging::const_raw_image image;
    std::shared_ptr<const ImagePyramid> pyramid;         ///< Never null.
    std::shared_ptr<const Imaging::Histogram> histogram; ///< Never null.
};

/// What is known of a file or an acquisition. Each part may be missing, with the reason in words. Never changed after
/// it is made.
struct Document
{
    QString path;                           ///< Empty for an acquisition that is not saved.
    std::shared_ptr<const Picture> picture; ///< Null if the image cannot be read.
    std::string imageProblem;               ///< UTF-8; empty with a picture.
    std::optional<MetadataLib::Metadata> metadata;
    std::string recordText;    ///< The document in the file, whether it is a record or not; empty if there is none.
    std::string recordProblem; ///< UTF-8; why the record cannot be read. Empty also if the file has none.
    Calibration calibration;
    std::uint32_t pageCount = 1; ///< Images in the file; the first one is shown.
};

using DocumentPtr = std::shared_ptr<const Document>;

/// Reads a file. Any thread may call it.
/// \returns a document with an image, a record or both.
/// \throws Cancelled, and std::exception with a text for a person if neither can be read.
Document ReadDocument(const QString& path, const Progress& progress);

/// The document of an acquisition.
Document MakeDocument(const Imaging::const_raw_image& image, MetadataLib::Metadata metadata);

} // namespace Ardo::Kiln::Viewer
