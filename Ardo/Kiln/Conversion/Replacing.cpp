#include "Ardo/Kiln/Conversion/Replacing.h"

#include "Ardo/Kiln/Conversion/String_p.h"

#include <boost/locale/utf.hpp>

#include <algorithm>
#include <iterator>
#include <type_traits>

namespace Ardo::Kiln::Conversion
{

namespace
{

namespace utf = boost::locale::utf;

template <typename To, typename From>
void AppendConverted(std::basic_string<To>& result, std::basic_string_view<From> text)
{
    constexpr utf::code_point Replacement = 0xFFFD;

    if (IsAscii(text))
    {
        if constexpr (std::is_same_v<To, From>)
        {
            result.append(text);
        }
        else // append() of units of another type would build a temporary string
        {
            const std::size_t size = result.size();
            result.resize(size + text.size());
            std::transform(text.begin(), text.end(), result.begin() + static_cast<std::ptrdiff_t>(size),
                           [](From unit) { return static_cast<To>(unit); });
        }
        return;
    }
    const From* const end = text.data() + text.size();
    for (const From* next = text.data(); next != end;)
    {
        const From* const start = next;
        utf::code_point codePoint = utf::utf_traits<From>::decode(next, end);
        if (codePoint == utf::illegal || codePoint == utf::incomplete)
        {
            codePoint = Replacement;
            next = start + 1; // the units behind the invalid one may be valid
        }
        utf::utf_traits<To>::encode(codePoint, std::back_inserter(result));
    }
}

} // namespace

void AppendReplacing(std::wstring& wide, std::string_view utf8)
{
    AppendConverted(wide, utf8);
}

void AppendReplacing(std::string& utf8, std::wstring_view wide)
{
    AppendConverted(utf8, wide);
}

void AppendReplacing(std::string& utf8, std::string_view text)
{
    AppendConverted(utf8, text);
}

} // namespace Ardo::Kiln::Conversion
