#pragma once

#include "Ardo/Kiln/Formatting/Text_p.h"

#include <string>
#include <string_view>

namespace Ardo::Kiln::Formatting
{

/// PrefixExponent of a unit whose first "^" is at \p caret.
int UnitExponentBehind(std::wstring_view unit, std::size_t caret);

/// PrefixExponent without a copy.
inline int UnitExponent(std::wstring_view unit)
{
    const std::size_t caret = Find(unit, L'^');
    return caret == unit.size() ? 1 : UnitExponentBehind(unit, caret);
}

/// InvertUnit of what follows the "1/" that \p unit begins with.
std::wstring InvertedDenominator(const std::wstring& unit);

/// The unit in which a quantity with the unit \p unit is written and read: a reciprocal that begins with "1/" is turned
/// into a factor with a negative exponent, in \p storage, which must live as long as the result.
inline std::wstring_view WithoutFraction(const std::wstring& unit, std::wstring& storage)
{
    return BeginsWith(unit, L"1/") ? std::wstring_view(storage = InvertedDenominator(unit)) : std::wstring_view(unit);
}

} // namespace Ardo::Kiln::Formatting
