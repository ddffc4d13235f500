#pragma once

#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Formatting
{

/// The power to which a prefix before \p unit is raised: the exponent of the first factor, 1 if it has none.
///
/// Only the numerator counts: "m^2" gives 2, "m^-1" gives -1, "A/m^2" gives 1. The exponent stands behind the first "^"
/// and before the first space or "/": blanks, a sign and decimal digits. What follows the digits is ignored.
/// Any thread may call it.
/// \throws std::invalid_argument with "invalid stoi argument" if the exponent is no number.
/// \throws std::out_of_range with "stoi argument out of range" if it does not fit an int.
KILN_EXPORT int PrefixExponent(const std::wstring& unit);

/// The reciprocal of \p unit: "m" gives "m^-1", "A/m^2" gives "A^-1 m^2".
///
/// A unit that begins with "1/" gives the text behind it. In any other unit each factor is inverted, and the results
/// are joined by single spaces. Blanks separate factors; each factor after the first "/" is below the fraction bar.
/// Any thread may call it.
/// \throws std::invalid_argument and std::out_of_range like PrefixExponent if the exponent of a factor is malformed.
KILN_EXPORT std::wstring InvertUnit(const std::wstring& unit);

/// The base unit of a reciprocal unit.
///
/// "rad^-1" if \p unit contains "1/" and "rad" behind it; "m^-1" if it contains "1/" only, also for "1/nm": quantities
/// are stored in no other reciprocal unit. A unit without "1/" is returned unchanged. Any thread may call it.
KILN_EXPORT std::wstring FormatIfReciprocalUnit(const std::wstring& unit);

} // namespace Ardo::Kiln::Formatting
