#pragma once

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/KilnExport.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <string>

namespace Ardo::Kiln::ImageIO
{

/// Writes an image as TIFF file with the calibration where ImageJ looks for it: the resolution tags hold the pixels a
/// unit, and the description names the unit (ImageJ, `ij.io.TiffEncoder`, "ImageJ=1.53t\nunit=nm\n"). The samples are
/// not changed; the record is not written. Any thread may call it.
///
/// Lengths get the unit in which the pixel is 1 to 1000 units wide, reciprocal lengths "1/nm", angles "mrad", anything
/// else its own unit.
/// \param fileName wide text of a path, see FileSystem::ToPath. The file is written in place; with
///        FileSystem::ReplacementFile it is complete or not there.
/// \param image of any kind but Rgba8.
/// \param pixelSize both sides in one unit; positive and finite.
/// \throws Exception::Error with the file and the reason if it cannot be written or ImageJ cannot hold it: an image
///         with opacity, one of 4 GiB, a pixel size without a unit.
KILN_EXPORT void WriteImageJTiff(const std::wstring& fileName, const Imaging::const_raw_image& image,
                                 const MetadataLib::PixelSizeRecord& pixelSize);

} // namespace Ardo::Kiln::ImageIO
