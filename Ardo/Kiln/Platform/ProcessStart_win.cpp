#include "Ardo/Kiln/Platform/ProcessStart.h"

#include <windows.h>

#include <cstdint>
#include <ratio>

namespace Ardo::Kiln::Platform
{

namespace
{

using FileTimeTicks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

FileTimeTicks TicksOf(const FILETIME& time) noexcept
{
    ULARGE_INTEGER value;
    value.LowPart = time.dwLowDateTime;
    value.HighPart = time.dwHighDateTime;
    return FileTimeTicks(static_cast<std::int64_t>(value.QuadPart));
}

} // namespace

std::optional<ProcessStart> OwnProcessStart() noexcept
{
    FILETIME start;
    FILETIME end;
    FILETIME kernel;
    FILETIME user;
    if (::GetProcessTimes(::GetCurrentProcess(), &start, &end, &kernel, &user) == 0)
    {
        return std::nullopt;
    }
    FILETIME now;
    ::GetSystemTimePreciseAsFileTime(&now);
    const auto steady = std::chrono::steady_clock::now();
    const FileTimeTicks age = TicksOf(now) - TicksOf(start);
    if (age < FileTimeTicks::zero())
    {
        return std::nullopt; // the clock was set back meanwhile
    }
    // The creation time is that of the system's clock at its last interrupt.
    return ProcessStart{steady - std::chrono::duration_cast<std::chrono::steady_clock::duration>(age),
                        std::chrono::microseconds(15'625)};
}

} // namespace Ardo::Kiln::Platform
