#include "Ardo/Kiln/Threading/IoContext_p.h"

#include "Ardo/Kiln/Threading/HandleWarnings_p.h"
#include "Ardo/Kiln/Threading/Spin_p.h"

#include <boost/asio/post.hpp>

#include <utility>

namespace Ardo::Kiln::Threading
{

namespace
{

/// Functions that a worker keeps room for; a burst of more gives its memory back.
constexpr std::size_t KeptCapacity = 4096;

/// How long a thread that is awake leaves functions for which nobody waits to those who bring them: taking them one by
/// one costs both sides several times what the functions themselves do.
constexpr std::chrono::microseconds GatherTime(3);

} // namespace

BackgroundWorker::IoContext::IoContext(bool hasThread,
                                       const std::function<void(const Exception::Warning&)>& warningHandler)
    : m_hasThread(hasThread), m_warningHandler(warningHandler), m_guard(m_context.get_executor())
{
}

void BackgroundWorker::IoContext::Post(const std::function<void()>& function, HandOver handOver)
{
    Job job{function, handOver == HandOver::PostHandlingWarnings}; // its copy may run code that comes here, too
    const std::lock_guard lock(m_queueMutex);
    m_queue.push_back(std::move(job));
    if (handOver == HandOver::Call)
    {
        m_isWaitedFor = true;
    }
    if (!m_isDrainPosted)
    {
        try
        {
            PostDrain();
        }
        catch (...)
        {
            job = std::move(m_queue.back()); // destroyed after the lock is released
            m_queue.pop_back();
            throw;
        }
        m_isDrainPosted = true;
    }
}

void BackgroundWorker::IoContext::PostDrain()
{
    boost::asio::post(m_context, [this] { Drain(); });
}

void BackgroundWorker::IoContext::Drain()
{
    if (m_next == m_batch.size())
    {
        m_batch.clear();
        if (m_batch.capacity() > KeptCapacity)
        {
            m_batch.shrink_to_fit();
        }
        m_next = 0;
        const std::lock_guard lock(m_queueMutex);
        m_batch.swap(m_queue);
        m_isDrainPosted = false;
        if (m_isWaitedFor)
        {
            m_isWaitedFor = false;
        }
    }
    m_hasDrained = true;
    while (m_next < m_batch.size() && !IsStopped())
    {
        // What a function holds goes right after its run.
        const Job job = std::move(m_batch[m_next++]);
        if (job.handlesWarnings)
        {
            CallHandlingWarnings(job.function, m_warningHandler);
        }
        else
        {
            job.function();
        }
    }
}

void BackgroundWorker::IoContext::Run()
{
    if (m_next < m_batch.size())
    {
        PostDrain(); // an exception has interrupted the one that took the batch
    }
    // What run() does, but for a moment of looking around before the thread goes to sleep: waking it up takes longer
    // than most functions run. A timer that is due meanwhile waits no longer than that.
    while (!IsStopped())
    {
        if (std::exchange(m_hasDrained, false) && SpinUntil([this] { return m_isDrainPosted || IsStopped(); }))
        {
            PauseUntil([this] { return m_isWaitedFor.load(std::memory_order_relaxed); }, GatherTime);
            m_context.poll();
        }
        else
        {
            m_context.run_one();
        }
    }
}

void BackgroundWorker::IoContext::Stop()
{
    m_isStopped.store(true, std::memory_order_release);
    if (m_holdsGuard.exchange(false))
    {
        m_guard.reset();
    }
    m_context.stop();
}

} // namespace Ardo::Kiln::Threading
