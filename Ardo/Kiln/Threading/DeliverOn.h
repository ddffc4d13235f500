#pragma once

#include "Ardo/KilnExport.h"

#include <functional>

namespace Ardo::Kiln::Threading
{

class BackgroundWorker;

/// The thread on which a receiver is called. A value; copies mean the same thread.
class KILN_EXPORT DeliverOn
{
public:
    /// The main thread, through its event loop (see ToMainThread), also when the sender is on it. Sending throws
    /// std::runtime_error while there is no ToMainThreadInitialization.
    static DeliverOn MainThread();

    /// The thread of \p worker, in order with its other work (see BackgroundWorker::Post); for a ForegroundWorker the
    /// thread that drains it. Sending throws BackgroundWorkerException if the worker is stopped.
    /// \param worker borrowed; must outlive the connection.
    static DeliverOn Worker(BackgroundWorker& worker);

    /// The thread that sends, at once. The receiver may run on several threads at the same time.
    static DeliverOn Caller() noexcept;

    /// Whether this is Caller().
    bool IsCaller() const noexcept { return m_queue == nullptr; }

    /// Queues \p job for the thread. Not for Caller().
    /// \throws what the functions above say, std::bad_alloc.
    void Queue(std::function<void()> job) const { m_queue(std::move(job)); }

private:
    std::function<void(std::function<void()>)> m_queue; ///< Empty for the caller's thread.
};

} // namespace Ardo::Kiln::Threading
