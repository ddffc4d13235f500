#pragma once

#include "Ardo/KilnExport.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace Ardo::Kiln::Exception
{
class Warning;
}

namespace Ardo::Kiln::Threading
{

/// A worker's queue: functions in hand-over order, in front of an io_context that also runs the worker's timers.
///
/// Each asio::post costs an allocation freed on another thread, a lock and, while a timer is armed, system calls. So a
/// function that comes to an empty queue posts one handler, and that handler runs every function that is queued when
/// its turn comes. Timers have their turn between two such batches.
///
/// Lifetime: Run() waits for functions until Stop(), which is final. The destructor destroys the queued functions
/// uncalled; no thread may be in a method then. In a child made by fork the queue counts as stopped, and it must not be
/// destroyed there: a thread of the parent may have been inside it.
/// Thread-safety: one thread at a time calls Run(); any thread may call the other methods, queued functions included.
class KILN_EXPORT_FOR_TESTS JobQueue
{
public:
    /// A function and what becomes of its warnings.
    struct Job
    {
        std::function<void()> function;
        /// Called with an Exception::Warning that the function throws; must outlive the job. Null: warnings leave
        /// Run() like every other exception.
        const std::function<void(const Exception::Warning&)>* warningHandler = nullptr;
    };

    /// What the posting thread does next.
    enum class Caller
    {
        GoesOn, ///< It does not wait for the function, so an awake queue may gather several for some microseconds.
        Waits,  ///< It waits until the function has run.
    };

    JobQueue();
    ~JobQueue();
    JobQueue(const JobQueue&) = delete;
    JobQueue& operator=(const JobQueue&) = delete;

    /// Whether the queue is stopped, or belongs to the parent of this process. Takes no lock.
    bool IsStopped() const noexcept;

    /// Whether this process is a child, made by fork, of the one that made the queue. Takes no lock.
    bool IsOfParent() const noexcept;

    /// Appends \p job, also to a stopped queue, where it never runs. No code of the job runs under the queue's lock.
    /// \throws std::bad_alloc; nothing is queued then.
    void Post(Job job, Caller caller);

    /// Runs functions and timers until the queue is stopped; the function that runs then finishes. What a function
    /// holds is destroyed right after its run.
    /// \throws whatever a function throws, boost::system::system_error. The next call goes on after that function.
    void Run();

    /// Stops the queue for good. May be called again.
    void Stop();

    /// For timers. Do not post to it: the queue's order is kept only by Post().
    boost::asio::io_context& Context() { return m_context; }

private:
    void PostDrain();
    void Drain();

    /// Lets the context run what is ready, or wait for it.
    void RunContext(std::size_t (boost::asio::io_context::*run)());

    const std::uint32_t m_forkCount; ///< That of the process which made the queue.
    std::atomic<bool> m_isStopped = false;
    std::atomic<bool> m_holdsGuard = true;
    boost::asio::io_context m_context;
    std::optional<boost::asio::executor_work_guard<boost::asio::io_context::executor_type>> m_guard;

    /// The members of the two sides are on separate cache lines (no false sharing).
    static constexpr std::size_t CacheLine = 64;

    alignas(CacheLine) std::mutex m_queueMutex;
    std::vector<Job> m_queue;                  ///< Guarded by m_queueMutex.
    std::atomic<bool> m_isDrainPosted = false; ///< Whether m_queue will be taken. Written under m_queueMutex.
    /// Whether a caller waits for a job in m_queue. Written under m_queueMutex, seldom; read all the time.
    alignas(CacheLine) std::atomic<bool> m_isWaitedFor = false;
    alignas(CacheLine) std::vector<Job> m_batch; ///< Taken from m_queue. The running thread's alone.
    std::size_t m_next = 0;                      ///< The first of m_batch that has not begun.
    bool m_hasDrained = false;                   ///< Whether more may follow soon. The running thread's alone.
    /// Whether the context runs. Stays so when a function has faulted or has ended its thread: neither runs
    /// destructors.
    bool m_isInContext = false;
};

} // namespace Ardo::Kiln::Threading
