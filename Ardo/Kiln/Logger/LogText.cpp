#include "Ardo/Kiln/Logger/LogText_p.h"

#include "Ardo/Kiln/Time/IsoString.h"

#include <boost/locale/utf.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <limits>
#include <type_traits>

namespace Ardo::Kiln::Logger
{

namespace
{

namespace utf = boost::locale::utf;

template <typename Char>
bool IsAscii(std::basic_string_view<Char> text)
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
void AppendConverted(std::basic_string<To>& result, std::basic_string_view<From> text)
{
    constexpr utf::code_point Replacement = 0xFFFD;

    if (IsAscii(text))
    {
        if constexpr (std::is_same_v<To, From>)
        {
            result.append(text);
        }
        else // append() of other units would make a string of them first
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
            next = start + 1; // what follows the wrong unit may be right
        }
        utf::utf_traits<To>::encode(codePoint, std::back_inserter(result));
    }
}

} // namespace

void AppendWide(std::wstring& wide, std::string_view utf8)
{
    AppendConverted(wide, utf8);
}

void AppendUtf8(std::string& utf8, std::wstring_view wide)
{
    AppendConverted(utf8, wide);
}

void AppendUtf8(std::string& utf8, std::string_view text)
{
    AppendConverted(utf8, text);
}

void AppendLocalTime(std::string& text, Time::TimePoint time)
{
    // Trivial to destroy: static objects may still log when a thread's other variables are gone.
    struct Cache
    {
        std::int64_t second = std::numeric_limits<std::int64_t>::min();
        std::array<char, 32> text{};
        std::size_t size = 0;
    };
    static thread_local Cache g_cache;

    const auto second = std::chrono::floor<std::chrono::seconds>(time);
    if (second.time_since_epoch().count() != g_cache.second)
    {
        const std::string whole = Time::ToLocalTimeISOString(Time::TimePoint(second));
        g_cache.size = std::min(whole.size(), g_cache.text.size());
        std::copy_n(whole.begin(), g_cache.size, g_cache.text.begin());
        g_cache.second = second.time_since_epoch().count();
    }
    text.append(g_cache.text.data(), g_cache.size);
    if (g_cache.size >= 3) // empty for a year that the format does not hold
    {
        auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(time - second).count();
        for (auto digit = text.rbegin(); digit != text.rbegin() + 3; ++digit, milliseconds /= 10)
        {
            *digit = static_cast<char>('0' + milliseconds % 10);
        }
    }
}

} // namespace Ardo::Kiln::Logger
