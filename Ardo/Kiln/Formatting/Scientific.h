#pragma once

#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Formatting
{

/// The text of a quantity with mantissa and exponent, without a prefix: "1.234e-05 m". Any thread may call it.
///
/// \param value in \p unit; infinities and NaN are written as "-".
/// \param unit one of Units. One space precedes it, also "°". Its exponents are written as superscripts.
/// \param fractionDigits digits after the point, at least 1; at most 1100 are written.
/// \throws std::runtime_error with "The fraction digits must be > 0" if \p fractionDigits is less than 1.
KILN_EXPORT std::wstring Scientific(double value, const std::wstring& unit, int fractionDigits);

} // namespace Ardo::Kiln::Formatting
