#pragma once

#include <cstdint>

/// The private tags of the library's TIFF files.
namespace Ardo::Kiln::ImageIO::Tag
{

constexpr std::uint32_t QdMetadata = 34682;     ///< ASCII: the legacy INI-style text
constexpr std::uint32_t XmlMetadata = 34683;    ///< ASCII: the metadata document
constexpr std::uint32_t XPixelsPerUnit = 65450; ///< RATIONAL: pixels per centimetre
constexpr std::uint32_t YPixelsPerUnit = 65451; ///< RATIONAL: pixels per centimetre
constexpr std::uint32_t ResolutionUnit = 65452; ///< SHORT: 3 (centimetre)

} // namespace Ardo::Kiln::ImageIO::Tag
