#pragma once

#include "Ardo/KilnExport.h"

#include <memory>

namespace Ardo::Kiln::Threading
{

class WorkBase;

/// The caller's handle on one item of work, or on none.
///
/// Dropping the handle neither cancels the item nor waits for it. An item whose worker is stopped or destroyed before
/// its turn stays Scheduled for ever, and Wait() on it never returns: cancel it, or keep the handle in a
/// ScopedScheduledWork, which does.
/// Thread-safety: any thread may call Cancel() and Wait(), several at once; moving belongs to one thread.
///
///     const auto work = worker.Schedule([&] { result = Compute(); });
///     if (work->Wait())
///         Show(result);
class KILN_EXPORT ScheduledWork
{
public:
    /// A handle on nothing: Cancel() and Wait() answer true.
    ScheduledWork();
    explicit ScheduledWork(std::shared_ptr<WorkBase> work); ///< A handle on \p work, or on nothing if that is null.
    virtual ~ScheduledWork();
    ScheduledWork(ScheduledWork&& other) noexcept;            ///< \p other is left with nothing.
    ScheduledWork& operator=(ScheduledWork&& other) noexcept; ///< \p other is left with nothing.

    /// Takes the item back if it has not begun.
    /// \returns whether it is cancelled; false if it runs or is done.
    bool Cancel();

    /// Waits, without limit of time, until the item is done or cancelled.
    /// \returns whether it succeeded; for periodic work always true, once its series has ended.
    /// \warning Never returns in the item's own function, and on the worker's thread only if the item is done.
    bool Wait();

private:
    friend class ScopedScheduledWork; // remembers the last run of a series when the handle is replaced

    /// The item if it is periodic and its function is being executed; null otherwise.
    std::shared_ptr<WorkBase> RunOfSeries() const;

    std::shared_ptr<WorkBase> m_work; ///< Null for a handle on nothing.
};

} // namespace Ardo::Kiln::Threading
