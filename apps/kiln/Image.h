#pragma once

#include "apps/kiln/Streams.h"
#include "Ardo/Imaging/const_raw_image.h"

#include <memory>
#include <string>

namespace Ardo::Kiln::Tool
{

/// Reads an image of any format. \param name names the file in messages. \throws Failure with the reader's reason.
std::unique_ptr<Imaging::const_raw_image> ReadImage(const InputFile& file, const std::string& name);

/// "8 bit", "16 bit", "32 bit float", "RGB, 8 bit a sample" or "RGBA, 8 bit a sample".
std::string KindText(Imaging::PixelKind kind);

/// Size and kind of an image for a person: "550 x 660, 8 bit".
std::string Describe(const Imaging::const_raw_image& image);

} // namespace Ardo::Kiln::Tool
