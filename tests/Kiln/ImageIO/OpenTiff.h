#pragma once

#include <filesystem>
#include <memory>

#include <tiffio.h>

namespace Ardo::Kiln::ImageIO
{

using TiffHandle = std::unique_ptr<TIFF, void (*)(TIFF*)>;

/// Opens a file with libtiff itself.
/// \param mode as TIFFOpen takes it.
TiffHandle OpenTiff(const std::filesystem::path& path, const char* mode);

} // namespace Ardo::Kiln::ImageIO
