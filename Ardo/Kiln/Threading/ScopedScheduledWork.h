#pragma once

#include "Ardo/KilnExport.h"

#include <memory>
#include <mutex>
#include <vector>

namespace Ardo::Kiln::Threading
{

class ScheduledWork;
class WorkBase;

/// Owns an item of work. Its destructor cancels an item that has not begun and waits for one that runs.
///
/// Keep a handle here whenever the function uses what may be destroyed before it: once this is destroyed the function
/// neither runs nor will run. Items of a stopped worker, which would stay Scheduled for ever, are cancelled.
/// The destructor also waits for the last run of every periodic series whose handle was replaced during that run. Of
/// other items that ran when they were replaced it waits for the latest only.
/// Thread-safety: any thread may cancel, wait and assign; these exclude each other, so while one waits the others do.
/// Moving \e from an object belongs to one thread.
/// \warning A function must not assign to, wait for or destroy the object that owns its own item: it would wait for
/// itself. What a function holds must not use that object when it is destroyed: it may be destroyed by Cancel(), an
/// assignment or the destructor, while these have the object locked.
///
///     ScopedScheduledWork preview; // the last member, so the first to go
///     preview = worker.Schedule([this] { Render(); });
class KILN_EXPORT ScopedScheduledWork
{
public:
    ScopedScheduledWork();                                    ///< Owns nothing.
    ScopedScheduledWork(std::unique_ptr<ScheduledWork> work); ///< Owns \p work, which may be null.
    ~ScopedScheduledWork();

    /// Takes over all that \p other owns, which must not be in use by another thread.
    ScopedScheduledWork(ScopedScheduledWork&& other) noexcept;

    /// Replaces the item by that of \p other, which must not be in use by another thread.
    ///
    /// If the item of this object runs, it is remembered, as below, and a running predecessor that \p other remembers
    /// is waited for here and stays with \p other. Otherwise the predecessor of \p other takes the place of this
    /// object's. Assigning to itself does nothing.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): it locks and waits
    ScopedScheduledWork& operator=(ScopedScheduledWork&& other);

    /// Replaces the item: one that has not begun is cancelled, one that runs is remembered, so that the destructor can
    /// wait for it. Only the latest is remembered, and the last runs of periodic series.
    ScopedScheduledWork& operator=(std::unique_ptr<ScheduledWork> work);

    /// Cancels the item, not a running predecessor.
    /// \returns whether it is cancelled, true for none; false for one that runs or is done. A periodic item that runs
    /// ends with the run in progress.
    bool Cancel();

    /// Waits, without limit of time, until the item is done, not for a running predecessor. A periodic item is done
    /// when it has been cancelled, or has failed.
    /// \warning Keeps all other uses of this object waiting: a series that is waited for cannot be cancelled by it.
    void Wait();

private:
    /// Cancels the current item or remembers it.
    /// \returns whether it had to be remembered. m_mutex must be held.
    bool Retire();

    /// Makes \p successor the item that ran when it was replaced. If it throws, nothing has changed. m_mutex must be
    /// held.
    void ReplacePrevious(std::unique_ptr<ScheduledWork>&& successor);

    std::mutex m_mutex;
    std::unique_ptr<ScheduledWork> m_current;          ///< Guarded by m_mutex; null for none.
    std::unique_ptr<ScheduledWork> m_previous;         ///< The last that ran when it was replaced. Guarded by m_mutex.
    std::vector<std::shared_ptr<WorkBase>> m_lastRuns; ///< Of series whose handle is gone. Guarded by m_mutex.
};

} // namespace Ardo::Kiln::Threading
