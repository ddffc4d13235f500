#pragma once

#include "Ardo/Kiln/Formatting/Text_p.h"

#include <string>
#include <string_view>

namespace Ardo::Kiln::Formatting
{

/// Like PrefixExponent, for a unit whose first "^" is at \p caret.
int UnitExponentBehind(std::wstring_view unit, std::size_t caret);

/// Like PrefixExponent, without a copy of the unit.
inline int UnitExponent(std::wstring_view unit)
{
    const std::size_t caret = Find(unit, L'^');
    return caret == unit.size() ? 1 : UnitExponentBehind(unit, caret);
}

/// Inverts the text behind the "1/" at the beginning of \p unit.
std::wstring InvertedDenominator(const std::wstring& unit);

/// The form of \p unit in which quantities are written and read: a unit that begins with "1/" gets negative exponents.
/// \param storage holds the text of the result where it differs from \p unit; must live as long as the result.
inline std::wstring_view WithoutFraction(const std::wstring& unit, std::wstring& storage)
{
    return BeginsWith(unit, L"1/") ? std::wstring_view(storage = InvertedDenominator(unit)) : std::wstring_view(unit);
}

} // namespace Ardo::Kiln::Formatting
