#pragma once

#include <cstddef>
#include <string_view>

namespace Ardo::Kiln::Formatting
{

/// True for '0' to '9' only, in every locale.
constexpr bool IsDigit(wchar_t character) noexcept
{
    return character >= L'0' && character <= L'9';
}

/// True for white space of the C locale and for the spaces that separate number and unit in print: the no-break, the
/// thin and the narrow no-break space. `iswspace` depends on the locale.
constexpr bool IsBlank(wchar_t character) noexcept
{
    return character == L' ' || (character >= L'\t' && character <= L'\r') || character == L'\u00A0' ||
           character == L'\u2009' || character == L'\u202F';
}

// The loops below are for texts of a few characters, where calls of the C library take longer than the loop.

/// The index of the first \p character in \p text, or the size of the text.
constexpr std::size_t Find(std::wstring_view text, wchar_t character) noexcept
{
    std::size_t i = 0;
    while (i < text.size() && text[i] != character)
    {
        ++i;
    }
    return i;
}

/// True if \p text begins with \p literal.
template <std::size_t Size>
constexpr bool BeginsWith(std::wstring_view text, const wchar_t (&literal)[Size]) noexcept
{
    std::size_t i = 0;
    while (i < text.size() && i < Size - 1 && text[i] == literal[i])
    {
        ++i;
    }
    return i == Size - 1;
}

/// True if \p text is \p literal.
template <std::size_t Size>
constexpr bool Equals(std::wstring_view text, const wchar_t (&literal)[Size]) noexcept
{
    return text.size() == Size - 1 && BeginsWith(text, literal);
}

} // namespace Ardo::Kiln::Formatting
