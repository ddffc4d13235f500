#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Ardo::Kiln::ImageIO
{

/// The ways to export an image.
enum class ExportType : std::int32_t
{
    Data, ///< TIFF with the samples as they are and the whole record, by TiffExporter.
    Tiff, ///< TIFF of 8 bits a sample, as shown.
    Png,  ///< PNG of 8 bits a sample, as shown.
    Jpeg, ///< JPEG, as shown.
};

/// What a person and a program need to know about an ExportType.
struct ExportTypeInfo
{
    ExportType type;                              ///< The type.
    std::string_view name;                        ///< A word for command lines and settings: "data".
    std::string_view title;                       ///< For a list that a person chooses from, in English.
    std::span<const std::string_view> extensions; ///< Lower case, without ".", the usual one first.
    bool keepsDepth;                              ///< The samples are those of the image: same kind, same values.
    bool keepsRecord;                             ///< The acquisition record is in the file.
    bool keepsCalibration;                        ///< Programs that know nothing of the record find the pixel size.
    bool isLossless;                              ///< The pixels that are read back are the ones that were written.
};

// Any thread may call the functions below.

/// All types, in the order of the enumeration.
KILN_EXPORT std::span<const ExportTypeInfo> ExportTypes() noexcept;

/// \throws std::invalid_argument for a value outside the enumeration.
KILN_EXPORT const ExportTypeInfo& InfoOf(ExportType type);

/// The text of a type for the list of filters of a file dialog, as QFileDialog takes it: "PNG image (*.png)".
/// \throws std::invalid_argument for a value outside the enumeration.
KILN_EXPORT std::string FilterText(ExportType type);

/// The type with the ExportTypeInfo::name \p name; empty if there is none.
KILN_EXPORT std::optional<ExportType> ExportTypeFromName(std::string_view name) noexcept;

/// The type of pictures that a file name asks for by its extension, in upper or lower case; Tiff for "tif" and "tiff".
/// \param fileName a name or a path, in UTF-8.
/// \returns empty for another extension or none.
KILN_EXPORT std::optional<ExportType> ExportTypeFromFileName(std::string_view fileName) noexcept;

} // namespace Ardo::Kiln::ImageIO
