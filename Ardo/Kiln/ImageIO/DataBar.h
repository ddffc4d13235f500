#pragma once

#include "Ardo/Kiln/Formatting/QuantityFormat.h"
#include "Ardo/Kiln/ImageIO/Presentation.h"
#include "Ardo/KilnExport.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <span>
#include <string>
#include <vector>

namespace Ardo::Kiln::ImageIO
{

/// The quantities of a data bar when nobody has chosen others.
KILN_EXPORT std::span<const Formatting::Quantity> UsualDataBar() noexcept;

/// The text of a quantity of a record; "-" if the record does not have it. Angles of the sample are its alpha tilt, the
/// exposure is that of the first imaging detector, the pressure is that at the sample, and the stage position has all
/// three axes. Any thread may call it.
///
/// Doses are calculated from the measured beam current. The dose of a scanned image is what a pixel gets in its dwell
/// time, times the number of line integrations; its dose rate is the mean over the frame time. Otherwise the dose rate
/// is that of a beam of the given diameter that is equally bright everywhere, and the dose is what it adds up to during
/// the exposure.
///
/// The field of view needs both BinaryResult.PixelSize and BinaryResult.ImageSize.
/// \throws std::invalid_argument for a value outside the enumeration.
KILN_EXPORT std::wstring QuantityOfRecord(const MetadataLib::Metadata& metadata, Formatting::Quantity quantity);

/// The cells of a data bar: for each quantity its name and its text. Any thread may call it.
/// \throws std::invalid_argument for a value outside the enumeration.
KILN_EXPORT std::vector<DataBarCell> MakeDataBar(const MetadataLib::Metadata& metadata,
                                                 std::span<const Formatting::Quantity> quantities);

} // namespace Ardo::Kiln::ImageIO
