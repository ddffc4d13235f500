#pragma once

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Imaging/DisplayMapping.h"
#include "Ardo/Kiln/ImageIO/ExportSize.h"
#include "Ardo/Kiln/ImageIO/ExportType.h"
#include "Ardo/KilnExport.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <optional>
#include <string>
#include <vector>

namespace Ardo::Kiln::ImageIO
{

/// A cell of a data bar: "HV 300 kV". Either text may be empty.
struct DataBarCell
{
    std::wstring title; ///< The name of the quantity.
    std::wstring value; ///< Its value with unit.
};

/// How an image is made a picture for reports and slides.
struct PresentationSettings
{
    /// Of the image; a data bar comes in addition.
    ExportSize size;
    /// From samples to levels and colours. The samples are scaled to the size first.
    Imaging::DisplaySettings display;
    /// Draws a bar of a nice length into the lower left corner, at most a quarter of the width long: 1, 2 or 5 times a
    /// power of ten of the unit of the pixel size.
    bool hasScaleBar = false;
    /// White on black below the image; empty for none. The font has the characters of ASCII and of units.
    std::vector<DataBarCell> dataBar;
    /// Of JPEG files, 1 to 100.
    int jpegQuality = 92;
};

/// The length of a scale bar.
struct ScaleBar
{
    double length;      ///< In the unit of the pixel size: 1, 2 or 5 times a power of ten.
    double pixels;      ///< The same in pixels.
    std::wstring label; ///< For example "200 nm".
};

/// The longest nice bar of at most \p maxPixels pixels.
/// \param pixelSize one pixel; its unit is that of the label.
/// \returns empty if the pixel size has no unit, or it or \p maxPixels is not a positive finite number.
KILN_EXPORT std::optional<ScaleBar> MakeScaleBar(const MetadataLib::Quantity& pixelSize, double maxPixels);

/// The picture: pixels of kind UInt8 if the image and all colours are grey, otherwise Rgb8. Any thread may call it.
/// \param pixelSize of \p image; null if it is not known.
/// \throws std::invalid_argument for settings that are out of range, and for a scale bar where MakeScaleBar() of the
///         pixel size is empty.
KILN_EXPORT Imaging::const_raw_image MakePresentation(const Imaging::const_raw_image& image,
                                                      const MetadataLib::PixelSizeRecord* pixelSize,
                                                      const PresentationSettings& settings);

/// Writes an image to a file of any ExportType, which is complete or not there: an existing file is replaced in one
/// step. Any thread may call it.
///
/// Data writes the scaled samples, with the record, in which size and pixel size are those of the scaled image; only
/// the size of \p settings applies. The other types write MakePresentation().
///
/// Where the pixel size is a length, these have it in the places that general programs read: the resolution tags of
/// TIFF, the pHYs chunk (if a metre has less than 2^31 pixels) and the sCAL chunk of PNG, and in JPEG files the
/// resolution in Exif and, if a centimetre has at most 65,535 pixels, the density in JFIF.
/// \param fileName wide text of a path, see FileSystem::ToPath.
/// \param metadata of \p image; null if there is none.
/// \throws Exception::Error with the file and the reason if the file cannot be written, or the picture is too large for
///         its format (JPEG: 65,500 pixels on a side; PNG: 2 GiB of pixels).
/// \throws std::invalid_argument as MakePresentation, and for a \p type outside the enumeration.
KILN_EXPORT void ExportImage(const std::wstring& fileName, ExportType type, const Imaging::const_raw_image& image,
                             const MetadataLib::Metadata* metadata, const PresentationSettings& settings);

/// Writes the same in place, for callers whose file is not the final one, such as FileSystem::TemporaryFile.
/// \throws as ExportImage. The file is then incomplete.
KILN_EXPORT void ExportImageInPlace(const std::wstring& fileName, ExportType type,
                                    const Imaging::const_raw_image& image, const MetadataLib::Metadata* metadata,
                                    const PresentationSettings& settings);

} // namespace Ardo::Kiln::ImageIO
