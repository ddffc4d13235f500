#pragma once

#include "apps/viewer/Model/Calibration.h"
#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Kiln/ImageIO/PlotFile.h"

#include <QLineF>

#include <cstdint>
#include <vector>

namespace Ardo::Kiln::Viewer
{

/// The samples of one pixel, which lies within the image: one, three or four numbers.
std::vector<double> SamplesAt(const Imaging::const_raw_image& image, std::uint32_t x, std::uint32_t y);

/// The values along a line from its first to its second point, one about each pixel, interpolated between pixels.
/// \param line in pixels; the centre of the first pixel is at (0.5, 0.5). Points outside have the value of the edge.
ImageIO::Plot MakeLineProfile(const Imaging::const_raw_image& image, const QLineF& line,
                              const Calibration& calibration);

} // namespace Ardo::Kiln::Viewer
