#pragma once

#include "Ardo/Imaging/const_raw_image.h"

#include <optional>

namespace Ardo::Kiln::Tool
{

/// Statistics of the grey values of an image. Values that are not finite are ignored.
struct Statistics
{
    double minimum;
    double maximum;
    double mean;
    double standardDeviation; ///< Of all pixels, not of a sample of them.
};

/// Reads the pixels once.
/// \returns nothing for colours, which have no single value, and for an image without a number.
std::optional<Statistics> Measure(const Imaging::const_raw_image& image);

} // namespace Ardo::Kiln::Tool
