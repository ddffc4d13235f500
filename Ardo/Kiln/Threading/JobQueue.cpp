#include "Ardo/Kiln/Threading/JobQueue_p.h"

#include "Ardo/Kiln/Platform/ProcessFork.h"
#include "Ardo/Kiln/Threading/HandleWarnings_p.h"
#include "Ardo/Kiln/Threading/Spin_p.h"

#include <boost/asio/post.hpp>

#include <utility>

namespace Ardo::Kiln::Threading
{

namespace
{

/// Functions for which an empty queue keeps memory; a longer burst gives its memory back.
constexpr std::size_t KeptCapacity = 4096;

/// How long an awake queue waits for more functions before it drains: draining one by one costs both threads several
/// times a short function's run time.
constexpr std::chrono::microseconds GatherTime(3);

} // namespace

JobQueue::JobQueue() : m_forkCount(Platform::ForkCount()), m_guard(m_context.get_executor()) {}

JobQueue::~JobQueue()
{
    if (m_isInContext)
    {
        // The context still counts the handler that was left as unfinished. On some systems its destructor waits until
        // there is none.
        m_context.get_executor().on_work_finished();
    }
}

bool JobQueue::IsStopped() const noexcept
{
    return m_isStopped.load(std::memory_order_acquire) || IsOfParent();
}

bool JobQueue::IsOfParent() const noexcept
{
    return m_forkCount != Platform::ForkCount();
}

void JobQueue::Post(Job job, Caller caller)
{
    const std::lock_guard lock(m_queueMutex);
    m_queue.push_back(std::move(job));
    if (caller == Caller::Waits)
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

void JobQueue::PostDrain()
{
    boost::asio::post(m_context, [this] { Drain(); });
}

void JobQueue::Drain()
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
        // Moved out, so that what the function holds is destroyed right after its run.
        const Job job = std::move(m_batch[m_next++]);
        if (job.warningHandler != nullptr)
        {
            CallHandlingWarnings(job.function, *job.warningHandler);
        }
        else
        {
            job.function();
        }
    }
}

void JobQueue::Run()
{
    if (m_next < m_batch.size())
    {
        PostDrain(); // an exception has interrupted the one that took the batch
    }
    // Like io_context::run(), but spins briefly before it blocks: waking a thread takes longer than most functions run.
    // A timer that is due meanwhile waits no longer than that.
    while (!IsStopped())
    {
        if (std::exchange(m_hasDrained, false) && SpinUntil([this] { return m_isDrainPosted || IsStopped(); }))
        {
            PauseUntil([this] { return m_isWaitedFor.load(std::memory_order_relaxed); }, GatherTime);
            RunContext(&boost::asio::io_context::poll);
        }
        else
        {
            RunContext(&boost::asio::io_context::run_one);
        }
    }
}

void JobQueue::RunContext(std::size_t (boost::asio::io_context::*run)())
{
    struct Running
    {
        explicit Running(bool& theFlag) : flag(theFlag) { flag = true; }
        ~Running() { flag = false; }
        bool& flag;
    };
    const Running running(m_isInContext);
    (m_context.*run)();
}

void JobQueue::Stop()
{
    m_isStopped.store(true, std::memory_order_release);
    if (m_holdsGuard.exchange(false))
    {
        m_guard.reset();
    }
    m_context.stop();
}

} // namespace Ardo::Kiln::Threading
