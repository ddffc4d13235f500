#include "Ardo/Kiln/Threading/WorkBase.h"

#include "Ardo/Kiln/Platform/ProcessFork.h"

#include <utility>

namespace Ardo::Kiln::Threading
{

WorkBase::WorkBase(std::function<void()>&& function) : m_function(std::move(function)) {}

WorkBase::~WorkBase() = default;

bool WorkBase::IsScheduled() const
{
    const std::lock_guard lock(m_mutex);
    return m_state == WorkState::Scheduled;
}

bool WorkBase::IsRunning() const
{
    const std::lock_guard lock(m_mutex);
    return IsRunningHere();
}

void WorkBase::SetState(WorkState state)
{
    if (state == WorkState::Running)
    {
        m_runsUnder = Platform::ForkCount();
    }
    m_state = state;
    m_changed.notify_all();
}

void WorkBase::WaitForEnd(std::unique_lock<std::mutex>& lock)
{
    m_changed.wait(lock, [this] { return m_state != WorkState::Scheduled && !IsRunningHere(); });
}

bool WorkBase::IsRunningHere() const
{
    return m_state == WorkState::Running && m_runsUnder == Platform::ForkCount();
}

} // namespace Ardo::Kiln::Threading
