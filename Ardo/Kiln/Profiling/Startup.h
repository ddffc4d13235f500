#pragma once

#include "Ardo/KilnExport.h"

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace Ardo::Kiln::Profiling
{

// How long an application takes to start, from the start of its process, which the system knows: time that the loader
// and static objects take counts, too.
//
//     MarkStartup("main");          // first line of main
//     MarkStartup("window shown");  // after the first paint
//     LogStartup();
//
// Always on. Any thread may call these functions.

/// One thing that was reached.
struct StartupMark
{
    std::string name;                      ///< UTF-8.
    std::chrono::nanoseconds sinceStart{}; ///< Since the start of the process.
};

/// The time since the start of the process, as the system knows it: up to StartResolution() too much. If the system
/// does not tell the start, the time since one of these functions was called first.
KILN_EXPORT std::chrono::nanoseconds SinceProcessStart() noexcept;

/// How exactly the start of the process is known, for example 10 ms on Linux; 0 if it is not known at all.
KILN_EXPORT std::chrono::nanoseconds StartResolution() noexcept;

/// Remembers that something was reached now. The first 100 marks are kept, others are ignored.
/// \param name UTF-8; copied. Not remembered when memory is short.
KILN_EXPORT void MarkStartup(std::string_view name) noexcept;

/// The marks so far, in the order of their times.
/// \throws std::bad_alloc.
KILN_EXPORT std::vector<StartupMark> StartupMarks();

/// Logs the marks so far, at level info, a record each: "Start-up: main after 12.3 ms (+12.3 ms)".
KILN_EXPORT void LogStartup() noexcept;

} // namespace Ardo::Kiln::Profiling
