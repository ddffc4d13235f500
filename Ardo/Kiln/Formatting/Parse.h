#pragma once

#include "Ardo/KilnExport.h"

#include <string>
#include <utility>

namespace Ardo::Kiln::Formatting
{

/// The number in base units that \p text stands for: "12.5 nm" with the unit "m" gives 1.25e-8. Any thread may call it.
///
/// The locale does not matter: "." and "," both are the decimal separator, and there is no grouping, so that "1,234.5"
/// is an error and not a guess. Blanks (also the no-break, the thin and the narrow no-break space) before the number,
/// between number and unit and after the unit are dropped, U+2212 is a minus, "∞" is infinity. The number follows the
/// rules of `std::stod`: hexadecimal digits are read, and what follows the number without a separator is ignored.
///
/// The prefix is the first character of the unit in \p text, unless that unit is \p unit itself (with exponents in
/// either form) or \p unit is "frame": a, f, p, n, µ (either character) or u, m, k, M, G, T, P, E. Any other character,
/// and the rest of the unit, does not count. What SI, SIUsingUncertainty and Scientific write for a finite value is
/// read back to the value shown.
///
/// \param unit the base unit, one of Units; "1/..." is a reciprocal, masses are asked for in "kg".
/// \throws std::invalid_argument with "invalid stod argument" if there is no number, or a separator that is not part of
///         it.
/// \throws std::out_of_range with "stod argument out of range" if no double comes near the number.
/// \throws std::invalid_argument and std::out_of_range like PrefixExponent if the exponent of \p unit is malformed.
KILN_EXPORT double Parse(const std::wstring& text, const std::wstring& unit);

/// Parse for a text that a person typed: nothing in it is ignored. The unit in \p text must be \p unit, with or without
/// one prefix, or absent, which means \p unit itself; nothing may stand between number and unit. Any thread may call
/// it.
///
/// \throws std::invalid_argument with "unexpected unit" if \p text has another unit.
/// \throws std::invalid_argument with "invalid stod argument" if there is more than a number before the unit.
/// \throws std::invalid_argument and std::out_of_range like Parse.
KILN_EXPORT double ParseStrictly(const std::wstring& text, const std::wstring& unit);

/// Parse without an exception: true and the number in \p result, or false and \p result unchanged. Any thread may call
/// it.
KILN_EXPORT bool TryParse(const std::wstring& text, const std::wstring& unit, double& result) noexcept;

/// The number and the unit of \p text: everything up to the last digit, sign, point or "∞" before the first "^", and
/// everything after it, blanks included. Without such a character all of it is the unit. Any thread may call it.
KILN_EXPORT std::pair<std::wstring, std::wstring> SplitNumberAndUnit(const std::wstring& text);

} // namespace Ardo::Kiln::Formatting
