#pragma once

#include "Ardo/Imaging/const_raw_image.h"

#include <cstdint>

namespace Ardo::Kiln::Viewer
{

/// Makes a row of an image of half the size: each new pixel is the mean of two by two old ones. Whole numbers are
/// rounded to the nearest; colours are weighted by their opacity. An odd last column counts twice.
/// \param upper, lower two rows of the image; the same one twice at an odd end.
/// \param width        of the image, in pixels.
/// \param out          room for (\p width + 1) / 2 pixels.
void HalveRow(Imaging::PixelKind kind, const void* upper, const void* lower, std::uint32_t width, void* out);

} // namespace Ardo::Kiln::Viewer
