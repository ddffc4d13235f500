#include "Ardo/Kiln/Logger/LogText_p.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/Time/IsoString.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace Ardo::Kiln::Logger
{

void AppendWide(std::wstring& wide, std::string_view utf8)
{
    Conversion::AppendReplacing(wide, utf8);
}

void AppendUtf8(std::string& utf8, std::wstring_view wide)
{
    Conversion::AppendReplacing(utf8, wide);
}

void AppendUtf8(std::string& utf8, std::string_view text)
{
    Conversion::AppendReplacing(utf8, text);
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
