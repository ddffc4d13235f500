#pragma once

#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace Ardo::Kiln::Threading
{

/// What a worker's functions wait in: the I/O context, and the guard that keeps it running while it is empty.
///
/// What is posted to a context costs memory from one thread that is given back by another, a lock and, while a timer is
/// armed, system calls. So functions that come in quick succession go as one: the first brings a handler that runs all
/// that have come by the time of its turn. Hand-over order is kept, and timers get their turn between two such batches.
class BackgroundWorker::IoContext
{
public:
    /// How a function comes here.
    enum class HandOver
    {
        Post,                 ///< Nobody waits for it.
        PostHandlingWarnings, ///< The same; its warnings go to the handler.
        Call,                 ///< Somebody waits for it.
    };

    /// \param hasThread whether a thread of the worker will call Run().
    /// \param warningHandler the worker's, which must outlive this.
    IoContext(bool hasThread, const std::function<void(const Exception::Warning&)>& warningHandler);

    bool HasThread() const { return m_hasThread; }

    /// Whether the context is stopped, for good. Does not take the context's own lock.
    bool IsStopped() const { return m_isStopped.load(std::memory_order_acquire); }

    /// Queues a copy of \p function, also when stopped. Any thread. If it throws, nothing is queued.
    void Post(const std::function<void()>& function, HandOver handOver);

    /// Runs what the context holds until it is stopped. \throws whatever a function throws,
    /// boost::system::system_error; the next call goes on with the function after that.
    void Run();

    /// Releases the guard if it is still held, and stops the context. Any thread, any number of times.
    void Stop();

    boost::asio::io_context& Get() { return m_context; }

private:
    struct Job
    {
        std::function<void()> function;
        bool handlesWarnings;
    };

    void PostDrain();
    void Drain();

    const bool m_hasThread;
    const std::function<void(const Exception::Warning&)>& m_warningHandler;
    std::atomic<bool> m_isStopped = false; ///< Nothing but Stop() stops the context: the guard keeps it running.
    std::atomic<bool> m_holdsGuard = true;
    boost::asio::io_context m_context;
    std::optional<boost::asio::executor_work_guard<boost::asio::io_context::executor_type>> m_guard;

    /// What the two sides write all the time stands apart, each on cache lines of its own.
    static constexpr std::size_t CacheLine = 64;

    alignas(CacheLine) std::mutex m_queueMutex;
    std::vector<Job> m_queue;                  ///< Guarded by m_queueMutex.
    std::atomic<bool> m_isDrainPosted = false; ///< Whether m_queue will be taken. Written under m_queueMutex.
    /// Whether any of m_queue is. Written under m_queueMutex, seldom; read all the time.
    alignas(CacheLine) std::atomic<bool> m_isWaitedFor = false;
    alignas(CacheLine) std::vector<Job> m_batch; ///< Taken from m_queue. The running thread's alone.
    std::size_t m_next = 0;                      ///< The first of m_batch that has not begun.
    bool m_hasDrained = false;                   ///< Whether more may follow soon. The running thread's alone.
};

} // namespace Ardo::Kiln::Threading
