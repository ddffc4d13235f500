#pragma once

#include "apps/kiln/Streams.h"
#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Ardo::Kiln::Tool
{

/// An image and the further contents of its file.
struct LoadedImage
{
    std::unique_ptr<Imaging::const_raw_image> image; ///< Never null.
    std::optional<MetadataLib::Metadata> record;     ///< Nothing if the file has none, or if it was not asked for.
    std::uint32_t pageCount = 1;                     ///< The number of images in the file.
};

/// Reads an image of any format.
/// \param name names the file in messages.
/// \param page from 0.
/// \throws Failure with the reason, also for a record that is asked for and cannot be read.
LoadedImage LoadImage(const InputFile& file, const std::string& name, std::uint32_t page, bool withRecord);

/// "8 bit", "16 bit", "32 bit float", "RGB, 8 bit a sample" or "RGBA, 8 bit a sample".
std::string KindText(Imaging::PixelKind kind);

/// Size and kind of an image for a person: "550 x 660, 8 bit".
std::string Describe(const Imaging::const_raw_image& image);

} // namespace Ardo::Kiln::Tool
