#pragma once

#include "Ardo/Kiln/Threading/ScheduledWork.h"
#include "Ardo/KilnExport.h"

#include <chrono>
#include <memory>

namespace boost::asio
{
class io_context;
}

namespace Ardo::Kiln::Threading
{

class PeriodicWork;

/// The handle on a series of runs, with the timer that starts them.
///
/// The first run comes one period after construction. The time to the next is measured from the moment a run begins: a
/// function that takes longer than the period is followed at once by the next run, and runs never overlap.
/// The clock is the steady one: changing the system's time disturbs no series.
/// Destroying the handle stops the timer, so no further run begins. It does not wait for a run in progress, and an item
/// whose handle is destroyed between two runs stays Scheduled for ever. A ScopedScheduledWork cancels and waits.
/// Thread-safety: as for ScheduledWork. The handle may outlive the context.
class KILN_EXPORT PeriodicScheduledWork : public ScheduledWork
{
public:
    PeriodicScheduledWork(); ///< A handle on nothing.

    /// Starts the timer. \p context runs the series; \p work must not be null.
    /// \param period in microseconds. Only its low 32 bits count, as a signed number: 2,147,483,648 microseconds (some
    /// 35.8 minutes) or more become another number. With 0 or a negative number each run follows at once.
    /// \throws boost::system::system_error with "expires_from_now" when the timer cannot be set.
    PeriodicScheduledWork(boost::asio::io_context& context, std::shared_ptr<PeriodicWork> work,
                          std::chrono::microseconds period);
    ~PeriodicScheduledWork() override;
    PeriodicScheduledWork(PeriodicScheduledWork&& other) noexcept; ///< \p other is left with nothing.
    /// Stops its own timer first. \p other is left with nothing.
    PeriodicScheduledWork& operator=(PeriodicScheduledWork&& other) noexcept;

private:
    class Timer;
    std::shared_ptr<Timer> m_timer; ///< Shared with the wait in progress; null for a handle on nothing.
};

} // namespace Ardo::Kiln::Threading
