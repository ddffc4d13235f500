#pragma once

#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::MetadataLib
{
struct Metadata;
}

namespace Ardo::Kiln
{

/// The INI-style text that older microscope software reads from an image: sections "Beam", "Scan" and "EScan", lines
/// ended by CR LF. The pixel size stands in both scan sections, because readers look for it in either; an axis is left
/// out unless its unit is exactly "m". The number is the value of the record: a prefix power is not applied, as in the
/// resolution tags of TiffExporter. Numbers have six decimals and an exponent, with "." in any locale.
/// \throws std::bad_alloc only. Any thread may call it.
KILN_EXPORT std::string ConvertToQd(const MetadataLib::Metadata& metadata);

} // namespace Ardo::Kiln
