#pragma once

#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Formatting
{

/// The power to which a prefix before \p unit is raised: the exponent of the first factor, 1 if it has none.
///
/// Only the numerator counts: "m^2" gives 2, "m^-1" gives -1, "A/m^2" gives 1. The exponent is what follows the first
/// "^" of the text before the first space and the first "/": blanks, a sign, decimal digits; what follows the digits is
/// ignored. \throws std::invalid_argument with "invalid stoi argument" if the exponent is no number. \throws
/// std::out_of_range with "stoi argument out of range" if it does not fit an int. Any thread may call it.
KILN_EXPORT int PrefixExponent(const std::wstring& unit);

/// The reciprocal of \p unit: "m" gives "m^-1", "A/m^2" gives "A^-1 m^2".
///
/// A unit that begins with "1/" gives the rest. Otherwise the factors, separated by blanks and every one after the
/// first "/" standing below the line, are inverted and joined by single spaces. \throws std::invalid_argument and
/// std::out_of_range like PrefixExponent if the exponent of a factor is malformed. Any thread may call it.
KILN_EXPORT std::wstring InvertUnit(const std::wstring& unit);

/// "rad^-1" for a unit that holds "1/" with "rad" after it, "m^-1" for any other that holds "1/" ("1/nm" too: these two
/// are the only reciprocal units that quantities are kept in), and every other unit as it is. Any thread may call it.
KILN_EXPORT std::wstring FormatIfReciprocalUnit(const std::wstring& unit);

} // namespace Ardo::Kiln::Formatting
