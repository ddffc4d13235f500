#pragma once

#include <array>
#include <cstdint>

#include <tiff.h>

/// The private tags of the library's TIFF files. TiffExporter writes them; TiffFile makes them known to libtiff and
/// refuses files in which one is damaged.
namespace Ardo::Kiln::ImageIO::Tag
{

constexpr std::uint32_t QdMetadata = 34682;
constexpr std::uint32_t XmlMetadata = 34683;
constexpr std::uint32_t XPixelsPerUnit = 65450;
constexpr std::uint32_t YPixelsPerUnit = 65451;
constexpr std::uint32_t ResolutionUnit = 65452;

struct Description
{
    std::uint32_t number;
    TIFFDataType type;
    const char* name; ///< For libtiff, which prints it in messages.
    const char* meaning;
};

/// All of them. A test compares docs/tiff.md with this table.
inline constexpr std::array<Description, 5> Descriptions = {
    {{XPixelsPerUnit, TIFF_RATIONAL, "XPixelsPerUnit", "pixels a centimetre in x: 0.01 / pixel size"},
     {YPixelsPerUnit, TIFF_RATIONAL, "YPixelsPerUnit", "the same in y"},
     {ResolutionUnit, TIFF_SHORT, "ResolutionUnit", "3, centimetre"},
     {XmlMetadata, TIFF_ASCII, "ArdoXmlMetaData", "the record as XML document, see [metadata.md](metadata.md)"},
     {QdMetadata, TIFF_ASCII, "ArdoQdMetaData", "the pixel size as legacy INI text, only when it is given in \"m\""}}};

} // namespace Ardo::Kiln::ImageIO::Tag
