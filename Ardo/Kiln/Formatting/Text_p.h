#pragma once

namespace Ardo::Kiln::Formatting
{

/// True for '0' to '9' only, whatever the locale.
constexpr bool IsDigit(wchar_t character) noexcept
{
    return character >= L'0' && character <= L'9';
}

/// White space of the C locale, and the spaces that are set between a number and its unit in print: the no-break, the
/// thin and the narrow no-break space. `iswspace` would follow the locale.
constexpr bool IsBlank(wchar_t character) noexcept
{
    return character == L' ' || (character >= L'\t' && character <= L'\r') || character == L'\u00A0' ||
           character == L'\u2009' || character == L'\u202F';
}

} // namespace Ardo::Kiln::Formatting
