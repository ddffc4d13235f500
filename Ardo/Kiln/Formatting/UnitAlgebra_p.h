#pragma once

#include <string>
#include <string_view>

namespace Ardo::Kiln::Formatting
{

/// PrefixExponent without a copy.
int UnitExponent(std::wstring_view unit);

/// The unit in which a quantity with the unit \p unit is written and read: a reciprocal that begins with "1/" is turned
/// into a factor with a negative exponent, in \p storage, which must live as long as the result.
std::wstring_view WithoutFraction(const std::wstring& unit, std::wstring& storage);

} // namespace Ardo::Kiln::Formatting
