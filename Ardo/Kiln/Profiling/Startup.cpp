#include "Ardo/Kiln/Profiling/Startup.h"

#include "Ardo/Kiln/Logger/ComponentLog.h"
#include "Ardo/Kiln/Platform/ProcessStart.h"
#include "Ardo/Kiln/Profiling/QuantityText_p.h"
#include "Ardo/Kiln/Profiling/Startup_p.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <utility>

namespace Ardo::Kiln::Profiling
{

namespace
{

constexpr std::size_t MaxMarks = 100;

/// The marks of the process.
struct Marks
{
    std::mutex mutex;
    std::vector<StartupMark> marks; ///< Guarded by mutex.

    /// Never destroyed, because static objects may set marks when the process ends.
    static Marks& Instance()
    {
        static auto* const g_marks = new Marks;
        return *g_marks;
    }
};

} // namespace

namespace Private
{

const Platform::ProcessStart& StartOfProcess() noexcept
{
    static const Platform::ProcessStart g_start =
        Platform::OwnProcessStart().value_or(Platform::ProcessStart{std::chrono::steady_clock::now(), {}});
    return g_start;
}

} // namespace Private

std::chrono::nanoseconds SinceProcessStart() noexcept
{
    const auto start = Private::StartOfProcess().time; // first, because it may be the time of this call
    return std::chrono::steady_clock::now() - start;
}

std::chrono::nanoseconds StartResolution() noexcept
{
    return Private::StartOfProcess().resolution;
}

void MarkStartup(std::string_view name) noexcept
try
{
    StartupMark mark{std::string(name), {}};
    Marks& all = Marks::Instance();
    const std::lock_guard lock(all.mutex);
    if (all.marks.size() < MaxMarks)
    {
        mark.sinceStart = SinceProcessStart(); // under the mutex, so that the marks are in order
        all.marks.push_back(std::move(mark));
    }
}
catch (const std::bad_alloc&)
{
    // Not remembered.
}

std::vector<StartupMark> StartupMarks()
{
    Marks& all = Marks::Instance();
    const std::lock_guard lock(all.mutex);
    return all.marks;
}

void LogStartup() noexcept
try
{
    Logger::ComponentLog log("Profiling");
    std::chrono::nanoseconds before{};
    for (const StartupMark& mark : StartupMarks())
    {
        log.Write(Logger::info, "Start-up: " + mark.name + " after " + Private::TimeText(mark.sinceStart) + " (+" +
                                    Private::TimeText(mark.sinceStart - before) + ")");
        before = mark.sinceStart;
    }
}
catch (const std::bad_alloc&)
{
    // Not logged.
}

} // namespace Ardo::Kiln::Profiling
