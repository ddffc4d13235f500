#pragma once

#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <atomic>
#include <optional>

namespace Ardo::Kiln::Threading
{

/// What a worker's functions wait in: the I/O context, and the guard that keeps it running while it is empty.
class BackgroundWorker::IoContext
{
public:
    /// \param hasThread whether a thread of the worker will call Run().
    explicit IoContext(bool hasThread);

    bool HasThread() const { return m_hasThread; }

    /// Whether the context is stopped, for good. Does not take the context's own lock.
    bool IsStopped() const { return m_isStopped.load(std::memory_order_acquire); }

    /// Runs what the context holds until it is stopped. \throws whatever a function throws,
    /// boost::system::system_error.
    void Run();

    /// Releases the guard if it is still held, and stops the context. Any thread, any number of times.
    void Stop();

    boost::asio::io_context& Get() { return m_context; }

private:
    const bool m_hasThread;
    std::atomic<bool> m_isStopped = false; ///< Nothing but Stop() stops the context: the guard keeps it running.
    boost::asio::io_context m_context;
    std::optional<boost::asio::executor_work_guard<boost::asio::io_context::executor_type>> m_guard;
    std::atomic<bool> m_holdsGuard = true;
};

} // namespace Ardo::Kiln::Threading
