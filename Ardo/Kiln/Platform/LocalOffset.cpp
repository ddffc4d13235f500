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
        g_offset = static_cast<std::int32_t>(SecondsOf(*local) - now);
    }
}

std::int32_t LocalOffset() noexcept
{
    return g_offset;
}

} // namespace Ardo::Kiln::Platform
