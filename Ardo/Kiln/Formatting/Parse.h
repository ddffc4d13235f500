#pragma once

#include "Ardo/KilnExport.h"

#include <string>
#include <utility>

namespace Ardo::Kiln::Formatting
{

/// The value of \p text in base units: "12.5 nm" with the unit "m" gives 1.25e-8. Any thread may call it.
///
/// The number does not depend on the locale. "." and "," are both read as decimal separator. There is no grouping, so
/// "1,234.5" is an error. U+2212 is a minus, "∞" is infinity. Blanks are ignored before the number, between number and
/// unit, and after the unit; the no-break, the thin and the narrow no-break space are blanks, too. Otherwise the
/// number follows the rules of `std::stod`: hexadecimal digits are read, and text behind the number is ignored unless
/// it contains a separator.
///
/// The prefix is the first character of the unit in \p text: a, f, p, n, µ (either character), u, m, k, M, G, T, P, E.
/// There is no prefix if that unit is \p unit itself, with exponents in either form, or if \p unit is "frame". Any
/// other first character and the rest of the unit are ignored. A text that SI, SIUsingUncertainty or Scientific has
/// written for a finite value is read as the value that it shows.
///
/// \param unit the base unit, one of Units. "1/..." is a reciprocal; the base unit of a mass is "kg".
/// \throws std::invalid_argument with "invalid stod argument" if there is no number, or a separator that is not part of
///         it.
/// \throws std::out_of_range with "stod argument out of range" if the number is out of the range of a double.
/// \throws std::invalid_argument and std::out_of_range like PrefixExponent if the exponent of \p unit is malformed.
KILN_EXPORT double Parse(const std::wstring& text, const std::wstring& unit);

/// Parse for text that a person typed: no part of it is ignored. The unit in \p text must be \p unit with at most one
/// prefix; if it is absent, \p unit is meant. Only blanks may stand between number and unit. Any thread may call it.
///
/// \throws std::invalid_argument with "unexpected unit" if \p text has another unit.
/// \throws std::invalid_argument with "invalid stod argument" if there is more than a number before the unit.
/// \throws std::invalid_argument and std::out_of_range like Parse.
KILN_EXPORT double ParseStrictly(const std::wstring& text, const std::wstring& unit);

/// Like Parse, without exceptions. Any thread may call it.
/// \param result receives the value; unchanged on failure.
/// \returns whether \p text has a value.
KILN_EXPORT bool TryParse(const std::wstring& text, const std::wstring& unit, double& result) noexcept;

/// Splits \p text into number and unit. The number ends with the last digit, "+", "-", "." or "∞" before the first "^";
/// the text behind it, with its blanks, is the unit. Without such a character all of \p text is the unit.
/// Any thread may call it.
KILN_EXPORT std::pair<std::wstring, std::wstring> SplitNumberAndUnit(const std::wstring& text);

} // namespace Ardo::Kiln::Formatting
