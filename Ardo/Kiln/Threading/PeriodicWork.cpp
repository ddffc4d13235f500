#include "Ardo/Kiln/Threading/PeriodicWork.h"

#include <utility>

namespace Ardo::Kiln::Threading
{

PeriodicWork::PeriodicWork(std::function<void()>&& function) : Work(std::move(function)) {}

PeriodicWork::~PeriodicWork() = default;

bool PeriodicWork::Cancel()
{
    const std::lock_guard lock(m_mutex);
    m_cancelRequested = 1;
    if (m_state == WorkState::Scheduled)
    {
        m_function = nullptr;
        SetState(WorkState::Cancelled);
    }
    return m_state == WorkState::Cancelled;
}

bool PeriodicWork::Wait()
{
    std::unique_lock lock(m_mutex);
    WaitForEnd(lock);
    return true;
}

void PeriodicWork::Succeed()
{
    const std::lock_guard lock(m_mutex);
    SetState(m_cancelRequested != 0 ? WorkState::Cancelled : WorkState::Scheduled);
}

void PeriodicWork::Fail()
{
    const std::lock_guard lock(m_mutex);
    SetState(WorkState::Failed);
}

} // namespace Ardo::Kiln::Threading
