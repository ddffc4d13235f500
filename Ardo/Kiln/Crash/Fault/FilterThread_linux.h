#pragma once

#include "Ardo/Kiln/Crash/Fault/EndRequest_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"

#include <setjmp.h>

#include <atomic>
#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// How the thread at fault goes on.
enum class Verdict
{
    Resume,   ///< A filter has removed the cause: at the instruction at fault.
    Jump,     ///< Behind the guarded call whose filter dealt with the fault.
    Previous, ///< With the handler that was installed before, in the end with the system's default action.
    Failed,   ///< The filters faulted, threw, took too long, or there is no thread to run them.
};

/// The thread that runs filters on behalf of the thread at fault, which waits in its signal handler meanwhile. Filters
/// may allocate, lock and wait there.
///
/// One object a process. Needs no destructor: the thread lives as long as the process.
class FilterThread
{
public:
    /// Starts the thread and returns when it is ready. Without resources for a thread nothing happens.
    void Start() noexcept;

    /// Whether there is the thread in this process.
    bool IsRunning() const noexcept { return m_thread != 0; }

    /// Whether the caller is the thread.
    bool IsCaller() const noexcept;

    /// Has the filters decide about the fault of \p thread, the calling one. Waits until they have answered or their
    /// time is over. Only for the owner of the fault slot; system calls only.
    /// \param guard receives the guarded call to return from, with Verdict::Jump.
    Verdict Decide(FaultThread& thread, EndRequest& ending, GuardFrame*& guard) noexcept;

    /// For the signal handler: if the caller is the thread and a filter has faulted, does not return; Decide answers
    /// Verdict::Failed.
    void LeaveFaultedFilter() noexcept;

    /// Sets the filter that is asked last; null for none.
    /// \returns the one before.
    FaultFilter SetUnhandledFilter(FaultFilter filter) noexcept { return m_unhandledFilter.exchange(filter); }
    bool HasUnhandledFilter() const noexcept { return m_unhandledFilter != nullptr; }

    /// Between the two calls, which nest, the time limit of filters does not count. For other threads they do nothing.
    void PauseTimeLimit() noexcept { m_pauses += IsCaller() ? 1U : 0U; }
    void ContinueTimeLimit() noexcept { m_pauses -= IsCaller() ? 1U : 0U; }

    /// How long filters may take, in milliseconds; 10000 at start.
    void SetTimeLimit(int milliseconds) noexcept { m_timeLimit = milliseconds; }

    /// Forgets the thread, in a forked child, which does not have it.
    void Reset() noexcept;

private:
    enum State : std::uint32_t
    {
        Idle,
        Posted,    ///< A fault waits for, or is in, its filters.
        Done,      ///< The verdict is there.
        Abandoned, ///< The thread at fault has given up on the filters.
    };

    void Run() noexcept;
    Verdict AskFilters();
    bool CountsTime() const noexcept;

    std::atomic<std::uint32_t> m_state = Idle;
    std::atomic<pid_t> m_thread = 0;
    std::atomic<FaultFilter> m_unhandledFilter = nullptr;
    std::atomic<std::uint32_t> m_pauses = 0;
    std::atomic<int> m_timeLimit = 10000;
    FaultThread* m_faulted = nullptr; ///< With Posted: whose fault it is, with its number.
    pid_t m_faultedId = 0;
    GuardFrame* m_guard = nullptr; ///< With Done and Verdict::Jump.
    Verdict m_verdict = Verdict::Previous;
    sigjmp_buf m_loop = {}; ///< Back to the loop of the thread, when a filter faults.
};

} // namespace Ardo::Kiln::Crash
