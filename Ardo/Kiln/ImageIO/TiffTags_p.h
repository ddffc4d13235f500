#pragma once

#include <cstdint>

/// The private tags of the library's TIFF files.
///
/// TiffFile.cpp makes them known to libtiff (ExtendTags) and says which of them must not be damaged (IsNeeded).
/// TiffExporter writes them; TiffReader and ImageFile read them.
namespace Ardo::Kiln::ImageIO::Tag
{

constexpr std::uint32_t QdMetadata = 34682;     ///< ASCII: the legacy INI-style text
constexpr std::uint32_t XmlMetadata = 34683;    ///< ASCII: the metadata document
constexpr std::uint32_t XPixelsPerUnit = 65450; ///< RATIONAL: pixels per centimetre
constexpr std::uint32_t YPixelsPerUnit = 65451; ///< RATIONAL: pixels per centimetre
constexpr std::uint32_t ResolutionUnit = 65452; ///< SHORT: 3 (centimetre)

} // namespace Ardo::Kiln::ImageIO::Tag
