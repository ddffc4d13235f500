#pragma once

#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Formatting
{

/// A quantity as mantissa and exponent, without a prefix: "1.234e-05 m". Any thread may call it.
///
/// \param value in the unit \p unit; what is not finite is shown as "-".
/// \param unit one of Units; follows after one space, "°" too, with its exponents as superscripts.
/// \param fractionDigits digits after the point, 1 to 1100; more are not written.
/// \throws std::runtime_error with "The fraction digits must be > 0" if \p fractionDigits is less than 1.
KILN_EXPORT std::wstring Scientific(double value, const std::wstring& unit, int fractionDigits);

} // namespace Ardo::Kiln::Formatting
