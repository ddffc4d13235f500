#pragma once

#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Formatting
{

/// The unit with the prefix that SI writes for the value of \p text, and the space before it: " mm" for "0.005 m" and
/// the unit "m".
///
/// \param text a number with its unit, as Parse reads it.
/// \param unit the base unit; a reciprocal "1/..." as in FormatIfReciprocalUnit.
/// \param decimals as in SI.
/// \throws what Parse and SI throw.
/// Any thread may call it.
KILN_EXPORT std::wstring RetrieveUnitWithPrefix(const std::wstring& text, const std::wstring& unit, int decimals);

} // namespace Ardo::Kiln::Formatting
