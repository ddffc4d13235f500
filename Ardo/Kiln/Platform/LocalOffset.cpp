#include "Ardo/Kiln/Platform/LocalOffset.h"

#include "Ardo/Kiln/Platform/CalendarTime.h"

#include <atomic>
#include <chrono>

namespace Ardo::Kiln::Platform
{

namespace
{

std::atomic<std::int32_t> g_offset = 0;

/// Found out before anything can go wrong.
[[maybe_unused]] const bool g_known = (RefreshLocalOffset(), true);

} // namespace

void RefreshLocalOffset() noexcept
{
    using namespace std::chrono;
    const auto now = duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
    if (const auto local = LocalCalendarTime(now))
    {
        const sys_days day = year(local->tm_year + 1900) / (local->tm_mon + 1) / local->tm_mday;
        const auto time =
            day.time_since_epoch() + hours(local->tm_hour) + minutes(local->tm_min) + seconds(local->tm_sec);
        g_offset = static_cast<std::int32_t>(duration_cast<seconds>(time).count() - now);
    }
}

std::int32_t LocalOffset() noexcept
{
    return g_offset;
}

} // namespace Ardo::Kiln::Platform
