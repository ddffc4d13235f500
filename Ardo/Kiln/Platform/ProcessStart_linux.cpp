#include "Ardo/Kiln/Platform/ProcessStart.h"

#include "Ardo/Kiln/Platform/ProcFile_linux.h"

#include <ctime>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

std::optional<ProcessStart> OwnProcessStart() noexcept
{
    char buffer[1024];
    std::string_view text = ReadSmallFile("/proc/self/stat", buffer, sizeof buffer);
    const std::size_t name = text.rfind(')'); // a program's name may contain blanks and parentheses
    const long ticksPerSecond = ::sysconf(_SC_CLK_TCK);
    timespec boot{};
    if (name == std::string_view::npos || ticksPerSecond <= 0 || ::clock_gettime(CLOCK_BOOTTIME, &boot) != 0)
    {
        return std::nullopt;
    }
    const auto now = std::chrono::steady_clock::now();
    text.remove_prefix(name);
    for (int field = 2; field < 22; ++field) // the name is field 2, the start field 22
    {
        TakeUntil(text, ' ');
    }
    const std::uint64_t ticks = TakeNumber(text, 10);
    if (ticks == 0)
    {
        return std::nullopt;
    }
    const auto hertz = static_cast<std::uint64_t>(ticksPerSecond);
    constexpr std::uint64_t Second = 1'000'000'000;
    const auto start = static_cast<std::int64_t>(ticks / hertz * Second + ticks % hertz * Second / hertz);
    const auto sinceBoot = std::chrono::seconds(boot.tv_sec) + std::chrono::nanoseconds(boot.tv_nsec);
    return ProcessStart{now - (sinceBoot - std::chrono::nanoseconds(start)),
                        std::chrono::nanoseconds(static_cast<std::int64_t>(Second / hertz))};
}

} // namespace Ardo::Kiln::Platform
