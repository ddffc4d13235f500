#pragma once

#include "Ardo/Kiln/Threading/WorkState.h"
#include "Ardo/KilnExport.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

namespace Ardo::Kiln::Threading
{

/// One item of work: a function and where it stands. Shared by those who handed it over and the worker that runs it.
///
/// Any thread may call any method. A worker that stops leaves its pending items as they are: Scheduled, for ever, and
/// whoever waits for one waits for ever. They can still be cancelled, and ScopedScheduledWork does so by itself.
/// In a child process made by fork, an item that was running at the fork counts as ended: nobody waits for it.
class KILN_EXPORT WorkBase
{
public:
    /// A Scheduled item. \p function is moved from.
    explicit WorkBase(std::function<void()>&& function);
    virtual ~WorkBase();
    WorkBase(const WorkBase&) = delete;
    WorkBase& operator=(const WorkBase&) = delete;

    /// Takes the item back if it has not begun; a function that runs is never interrupted.
    /// \returns whether the item is cancelled, now or since earlier.
    virtual bool Cancel() = 0;

    /// Waits, without limit of time, until the item neither runs nor will run. The result depends on the kind of item.
    /// \warning Never returns in the item's own function.
    virtual bool Wait() = 0;

    /// Runs the function if the item is Scheduled. For the worker.
    virtual void operator()() = 0;

    /// Whether the item has not begun.
    bool IsScheduled() const;

    /// Whether the item's function is being executed.
    bool IsRunning() const;

private:
    virtual void Succeed() = 0; ///< The function returned.
    virtual void Fail() = 0;    ///< The function was left by an exception.

protected:
    /// Sets the state and wakes those who wait. m_mutex must be held.
    void SetState(WorkState state);

    /// Waits until the item neither runs nor will run. \p lock holds m_mutex.
    void WaitForEnd(std::unique_lock<std::mutex>& lock);

    mutable std::mutex m_mutex;               ///< Guards the state.
    WorkState m_state = WorkState::Scheduled; ///< Guarded by m_mutex.
    std::condition_variable m_changed;        ///< Notified at each change of m_state.
    /// Guarded by m_mutex while the item is Scheduled; the running thread's alone while it runs.
    std::function<void()> m_function;

private:
    bool IsRunningHere() const;

    std::uint32_t m_runsUnder = 0; ///< The count of forks when the item became Running. Guarded by m_mutex.
};

} // namespace Ardo::Kiln::Threading
