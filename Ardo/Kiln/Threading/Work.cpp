#include "Ardo/Kiln/Threading/Work.h"

#include <utility>

namespace Ardo::Kiln::Threading
{

namespace
{

/// The item whose function the thread runs, the innermost one; null when there is none.
thread_local Work* g_running = nullptr;

} // namespace

Work::Work(std::function<void()>&& function) : WorkBase(std::move(function)) {}

Work::~Work() = default;

bool Work::Cancel()
{
    const std::lock_guard lock(m_mutex);
    if (m_state == WorkState::Scheduled)
    {
        m_function = nullptr;
        SetState(WorkState::Cancelled);
    }
    return m_state == WorkState::Cancelled;
}

bool Work::Wait()
{
    std::unique_lock lock(m_mutex);
    WaitForEnd(lock);
    return m_state == WorkState::Succeeded;
}

void Work::operator()()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_state != WorkState::Scheduled)
        {
            return;
        }
        SetState(WorkState::Running);
    }

    // Not a catch block: the exception handler must find the stack as it was at the throw.
    struct Completion
    {
        explicit Completion(Work& theWork) : work(theWork) { work.m_outer = std::exchange(g_running, &work); }
        ~Completion()
        {
            FailInterrupted(&work);
            g_running = work.m_outer;
            work.End(hasReturned);
        }

        Work& work;
        bool hasReturned = false;
    };
    Completion completion(*this);
    m_function();
    completion.hasReturned = true;
}

void Work::End(bool hasReturned) noexcept
{
    try
    {
        if (hasReturned)
        {
            Succeed();
        }
        else
        {
            Fail();
        }
    }
    catch (...)
    {
        // The function's own exception, if any, is the one to report.
    }
}

void Work::FailInterrupted(const Work* outer) noexcept
{
    while (g_running != nullptr && g_running != outer)
    {
        Work* const work = std::exchange(g_running, g_running->m_outer);
        work->End(false);
    }
}

void Work::Succeed()
{
    Finish(WorkState::Succeeded);
}

void Work::Fail()
{
    Finish(WorkState::Failed);
}

void Work::Finish(WorkState state)
{
    // Before the state: whoever waits for the item may then destroy what the function refers to. Not under the mutex:
    // the destructors of what the function holds may use this item.
    m_function = nullptr;
    const std::lock_guard lock(m_mutex);
    SetState(state);
}

} // namespace Ardo::Kiln::Threading
