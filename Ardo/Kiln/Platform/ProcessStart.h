#pragma once

#include "Ardo/KilnExport.h"

#include <chrono>
#include <optional>

namespace Ardo::Kiln::Platform
{

/// When the process was started, as the system knows it: before its libraries were loaded.
struct ProcessStart
{
    std::chrono::steady_clock::time_point time; ///< Not later than the start.
    std::chrono::nanoseconds resolution{};      ///< The start was less than this after it.
};

/// The start of the calling process. On Linux the kernel tells it in ticks, usually of 10 ms; a process that has
/// replaced its program (exec) was started when it was forked. On Windows the system takes the time of its clock
/// interrupt, which comes every 15.6 ms or more often; after the clock was set, the start is off by that difference.
/// \returns nothing if the system does not tell it, for example on Linux without /proc. Any thread may call it.
KILN_EXPORT_FOR_TESTS std::optional<ProcessStart> OwnProcessStart() noexcept;

} // namespace Ardo::Kiln::Platform
