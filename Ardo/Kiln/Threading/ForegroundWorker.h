#pragma once

#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/KilnExport.h"

#include <deque>
#include <functional>
#include <mutex>

namespace Ardo::Kiln::Threading
{

/// A worker without a thread: its owner runs the queued functions with Wait(), on a thread of the owner's choice.
///
/// Any thread may Post() and Schedule(), also from within a function that runs: what it hands over waits for the next
/// drain. Wait(), Call() and the destructor drain on the calling thread. Drain on one thread at a time, or hand-over
/// order is lost. The worker never refuses work and never stops: IsRunning() is always true.
/// With a warning handler, an Exception::Warning goes there. Any other exception ends the drain: it is rethrown to the
/// caller, and the rest of the batch is destroyed without being run, so that its scheduled items stay Scheduled for
/// ever (ScopedScheduledWork cancels them).
///
///     ForegroundWorker worker;
///     model.UpdateBy(worker); // posts
///     worker.Wait();          // runs what was posted, here and now
class KILN_EXPORT ForegroundWorker : public BackgroundWorker
{
public:
    /// \param warningHandler called on the thread that drains; may be empty.
    explicit ForegroundWorker(
        const std::function<void(const Exception::Warning&)>& warningHandler = NO_WARNING_HANDLER);

    /// Drains once more. An exception then is logged at error and dropped, with the rest of the batch.
    ~ForegroundWorker() override;

    /// Runs \p function once, at the next drain: there is no timer here. The period is not looked at.
    ScopedScheduledWork Every(const std::chrono::seconds& period, std::function<void()>&& function) override;

    /// Drains: runs what has been handed over until now.
    /// \throws what a function throws, see above.
    void Wait() override;

protected:
    void InternalPost(const std::function<void()>& function) override;

    /// Drains, then calls \p function.
    /// \throws whatever either throws.
    void InternalCall(const std::function<void()>& function) override;

    /// The drain.
    void ExecuteWork() override;

private:
    std::mutex m_queueMutex;                   ///< Not held while a function is run, copied or destroyed.
    std::deque<std::function<void()>> m_queue; ///< First in, first out. Guarded by m_queueMutex.
};

} // namespace Ardo::Kiln::Threading
