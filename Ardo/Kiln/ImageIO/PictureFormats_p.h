#pragma once

#include "Ardo/Imaging/const_raw_image.h"

#include <filesystem>
#include <optional>
#include <string>

namespace Ardo::Kiln::ImageIO
{

/// The pixels per metre of a picture; positive and finite.
struct PixelDensity
{
    double x;
    double y;
};

/// The resolution tags of a TIFF file.
struct TiffResolution
{
    double x; ///< Pixels a unit.
    double y;
    bool isPerCentimetre; ///< False: the unit is not that of TIFF; the description names it.
};

// The pictures are of kind UInt8 or Rgb8, without gaps between rows.

/// The contents of a PNG file.
/// \throws std::runtime_error if there are 2 GiB of pixels or more.
std::string PngContents(const Imaging::const_raw_image& picture, const std::optional<PixelDensity>& density);

/// The contents of a JPEG file.
/// \param quality 1 to 100.
/// \throws std::runtime_error with libjpeg's reason.
std::string JpegContents(const Imaging::const_raw_image& picture, const std::optional<PixelDensity>& density,
                         int quality);

/// Writes a TIFF file.
/// \param picture     of any kind but Rgba8.
/// \param description ASCII; empty for none.
/// \throws std::runtime_error with the reason.
void WritePictureTiff(const std::filesystem::path& path, const Imaging::const_raw_image& picture,
                      const std::optional<TiffResolution>& resolution, const std::string& description = {});

} // namespace Ardo::Kiln::ImageIO
