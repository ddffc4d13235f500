#include "Ardo/Kiln/Conversion/String.h"

#include "Ardo/Kiln/Conversion/String_p.h"
#include "Ardo/Kiln/Platform/Utf.h"

#include <cstdint>
#include <limits>
#include <stdexcept>

namespace Ardo::Kiln::Conversion
{

namespace
{

template <typename To, typename From>
std::basic_string<To> Convert(const std::basic_string<From>& text,
                              std::uint32_t (&convert)(std::basic_string_view<From>, std::basic_string<To>&))
{
    CheckLength(text.size());
    if (IsAscii<From>(text))
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
