#include "Ardo/Kiln/Threading/WorkBase.h"

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

void WorkBase::SetState(WorkState state)
{
    m_state = state;
    m_changed.notify_all();
}

} // namespace Ardo::Kiln::Threading
