#include "Ardo/Kiln/FileSystem/WidePath.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/Conversion/String.h"

#include <boost/locale/utf.hpp>

#include <algorithm>
#include <string_view>
#include <type_traits>

namespace Ardo::Kiln::FileSystem
{

namespace
{

namespace utf = boost::locale::utf;

/// A byte that is not part of valid UTF-8 is represented by this value plus the byte, which is 0x80 or more.
constexpr wchar_t EscapeBase = 0xDC00;

bool IsEscape(wchar_t unit)
{
    return unit >= EscapeBase + 0x80 && unit <= EscapeBase + 0xFF;
}

// One function of each pair is used, depending on the character type of the system's paths.

[[maybe_unused]] std::wstring Widen(const std::wstring& native)
{
    return native;
}

[[maybe_unused]] std::wstring Widen(const std::string& native)
{
    std::wstring text;
    text.reserve(native.size());
    const char* const end = native.data() + native.size();
    for (const char* next = native.data(); next != end;)
    {
        const char* const start = next;
        const utf::code_point codePoint = utf::utf_traits<char>::decode(next, end);
        if (codePoint == utf::illegal || codePoint == utf::incomplete)
        {
            text += static_cast<wchar_t>(EscapeBase + static_cast<unsigned char>(*start));
            next = start + 1; // the bytes behind the invalid one may be a character
        }
        else
        {
            text += static_cast<wchar_t>(codePoint);
        }
    }
    return text;
}

[[maybe_unused]] std::string Narrow(const std::wstring& text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (auto next = text.begin(); next != text.end();)
    {
        const auto escape = std::find_if(next, text.end(), IsEscape);
        bytes += Conversion::String::ToUtf8(std::wstring(next, escape));
        for (next = escape; next != text.end() && IsEscape(*next); ++next)
        {
            bytes += static_cast<char>(*next - EscapeBase);
        }
    }
    return bytes;
}

} // namespace

std::filesystem::path ToPath(const std::wstring& text)
{
    if constexpr (std::is_same_v<std::filesystem::path::value_type, wchar_t>)
    {
        return text;
    }
    else
    {
        return Narrow(text);
    }
}

std::wstring ToWide(const std::filesystem::path& path)
{
    return Widen(path.native());
}

std::string ToDisplayText(const std::filesystem::path& path)
{
    std::string text;
    Conversion::AppendReplacing(text, std::basic_string_view<std::filesystem::path::value_type>(path.native()));
    return text;
}

} // namespace Ardo::Kiln::FileSystem
