#include "Ardo/Kiln/Platform/Utf.h"

#include <boost/locale/utf.hpp>

#include <iterator>

namespace Ardo::Kiln::Platform
{

namespace
{

namespace utf = boost::locale::utf;

// The error number of Windows for invalid text, which callers expect on every system.
constexpr std::uint32_t NoUnicodeTranslation = 1113;

template <typename From, typename To>
std::uint32_t Convert(std::basic_string_view<From> text, std::basic_string<To>& result)
{
    result.clear();
    result.reserve(text.size());
    const From* const end = text.data() + text.size();
    for (const From* next = text.data(); next != end;)
    {
        const utf::code_point codePoint = utf::utf_traits<From>::decode(next, end);
        if (codePoint == utf::illegal || codePoint == utf::incomplete)
        {
            return NoUnicodeTranslation;
        }
        utf::utf_traits<To>::encode(codePoint, std::back_inserter(result));
    }
    return 0;
}

} // namespace

std::uint32_t Utf8ToWide(std::string_view text, std::wstring& wide)
{
    return Convert(text, wide);
}

std::uint32_t WideToUtf8(std::wstring_view text, std::string& utf8)
{
    return Convert(text, utf8);
}

} // namespace Ardo::Kiln::Platform
