#pragma once

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/KilnExport.h"

namespace Ardo::Imaging
{

/// \p image with another number of pixels. Along an axis that becomes shorter a new pixel is the mean of what it
/// covers; along one that becomes longer it is interpolated linearly. Whole numbers are rounded to the nearest.
/// Colours are weighted by their opacity. A sample that is not a number makes each new pixel that it takes part in so.
///
/// Any thread may call it. It takes a few rows of memory beyond the result.
/// \param size neither side is 0. The size of \p image itself returns \p image, without a copy.
/// \throws std::invalid_argument if a side is 0 or the number of bytes does not fit std::size_t.
/// \throws std::bad_alloc or std::length_error if there is not enough memory.
KILN_EXPORT const_raw_image ScaleImage(const const_raw_image& image, size_2d size);

} // namespace Ardo::Imaging
