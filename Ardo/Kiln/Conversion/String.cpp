#include "Ardo/Kiln/Conversion/String.h"

#include "Ardo/Kiln/Conversion/String_p.h"
#include "Ardo/Kiln/Platform/Utf.h"

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <type_traits>

namespace Ardo::Kiln::Conversion
{

namespace
{

template <typename Char>
bool IsAscii(const std::basic_string<Char>& text)
{
    // No early end: so the compiler checks many units at a time, and most texts are short or ASCII.
    std::make_unsigned_t<Char> bits = 0;
    for (const Char unit : text)
    {
        bits |= static_cast<std::make_unsigned_t<Char>>(unit);
    }
    return bits < 0x80;
}

template <typename To, typename From>
std::basic_string<To> Convert(const std::basic_string<From>& text,
                              std::uint32_t (&convert)(std::basic_string_view<From>, std::basic_string<To>&))
{
    CheckLength(text.size());
    if (IsAscii(text))
    {
        return std::basic_string<To>(text.begin(), text.end());
    }
    std::basic_string<To> result;
    if (const std::uint32_t error = convert(text, result); error != 0)
    {
        throw std::range_error("bad conversion, converting: " + std::to_string(error));
    }
    return result;
}

} // namespace

void CheckLength(std::size_t length)
{
    if (length > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    {
        throw std::range_error("bad conversion, invalid parameter");
    }
}

std::wstring String::FromUtf8(const std::string& text)
{
    return Convert(text, Platform::Utf8ToWide);
}

std::string String::ToUtf8(const std::wstring& text)
{
    return Convert(text, Platform::WideToUtf8);
}

} // namespace Ardo::Kiln::Conversion
