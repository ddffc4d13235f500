#include "Ardo/Kiln/Threading/Work.h"

#include <utility>

namespace Ardo::Kiln::Threading
{

namespace
{

/// The item whose function the thread runs; null when there is none.
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
    m_changed.wait(lock, [this] { return m_state > WorkState::Running; });
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

    // Not a catch block: who looks at the exception before the stack is unwound should find it where it was thrown.
    struct Completion
    {
        Work& work;
        Work* const outer = std::exchange(g_running, &work);
        bool hasReturned = false;

        ~Completion()
        {
            g_running = outer;
            work.End(hasReturned);
        }
    };
    Completion completion{*this};
    m_function();
    completion.hasReturned = true;
}

void Work::End(bool hasReturned) noexcept
{
    try
    {
        hasReturned ? Succeed() : Fail();
    }
    catch (...)
    {
        // The function's own exception, if any, is the one to tell of.
    }
}

void Work::FailInterrupted() noexcept
{
    if (Work* const work = std::exchange(g_running, nullptr))
    {
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
    m_function = nullptr; // not under the mutex: what it holds may ask for this item when it is destroyed
    const std::lock_guard lock(m_mutex);
    SetState(state);
}

} // namespace Ardo::Kiln::Threading
