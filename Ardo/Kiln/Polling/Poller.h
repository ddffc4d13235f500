#pragma once

#include "Ardo/Kiln/Polling/IPoller.h"
#include "Ardo/Kiln/Threading/ScopedScheduledWork.h"
#include "Ardo/KilnExport.h"

#include <chrono>
#include <functional>

namespace Ardo::Kiln::Threading
{
class BackgroundWorker;
}

namespace Ardo::Kiln::Polling
{

/// Calls a function on a worker's thread in regular intervals, the first time after one interval.
///
/// The destructor ends the series and waits for the call in progress, also when that is a call of a function that a
/// later Enable() has replaced. A stopped worker makes no more calls.
/// Thread-safety: any thread may enable and disable, the polled function only disable.
///
///     Poller poller(worker, std::chrono::milliseconds(250));
///     poller.Enable([this] { ReadStagePosition(); });
class KILN_EXPORT Poller : public IPoller
{
public:
    /// Does not poll yet.
    /// \param worker must outlive this.
    /// \param interval above 0 and below some 35.8 minutes. It is not checked: with another one the function is called
    ///        again and again without a pause, or at a wrong interval. See Threading::PeriodicScheduledWork.
    Poller(Threading::BackgroundWorker& worker, const std::chrono::milliseconds& interval);
    ~Poller() override;
    Poller(const Poller&) = delete;
    Poller& operator=(const Poller&) = delete;

    /// Starts calling \p function; the call of the one before that is in progress finishes, and no other begins.
    /// \throws Threading::BackgroundWorkerException "Cannot schedule periodic tasks without a thread".
    void Enable(std::function<void()>&& function) override;

    void Disable() override;

private:
    Threading::BackgroundWorker& m_worker;
    std::chrono::milliseconds m_interval;
    Threading::ScopedScheduledWork m_periodic;
};

} // namespace Ardo::Kiln::Polling
