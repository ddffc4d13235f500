#include "Ardo/Kiln/Threading/ScopedScheduledWork.h"

#include "Ardo/Kiln/Threading/ScheduledWork.h"

#include <utility>

namespace Ardo::Kiln::Threading
{

ScopedScheduledWork::ScopedScheduledWork() = default;

ScopedScheduledWork::ScopedScheduledWork(std::unique_ptr<ScheduledWork> work) : m_current(std::move(work)) {}

ScopedScheduledWork::~ScopedScheduledWork()
{
    const std::lock_guard lock(m_mutex);
    for (const auto& work : {m_current.get(), m_previous.get()})
    {
        if (work != nullptr && !work->Cancel())
        {
            work->Wait();
        }
    }
}

ScopedScheduledWork::ScopedScheduledWork(ScopedScheduledWork&& other) noexcept
    : m_current(std::move(other.m_current)), m_previous(std::move(other.m_previous))
{
}

ScopedScheduledWork& ScopedScheduledWork::operator=(ScopedScheduledWork&& other)
{
    if (this != &other)
    {
        const std::lock_guard lock(m_mutex);
        if (!Retire())
        {
            m_previous = std::move(other.m_previous);
        }
        else if (other.m_previous && !other.m_previous->Cancel())
        {
            other.m_previous->Wait(); // there is room for one predecessor only
        }
        m_current = std::move(other.m_current);
    }
    return *this;
}

ScopedScheduledWork& ScopedScheduledWork::operator=(std::unique_ptr<ScheduledWork> work)
{
    const std::lock_guard lock(m_mutex);
    Retire();
    m_current = std::move(work);
    return *this;
}

bool ScopedScheduledWork::Cancel()
{
    const std::lock_guard lock(m_mutex);
    return !m_current || m_current->Cancel();
}

void ScopedScheduledWork::Wait()
{
    const std::lock_guard lock(m_mutex);
    if (m_current)
    {
        m_current->Wait();
    }
}

bool ScopedScheduledWork::Retire()
{
    if (!m_current || m_current->Cancel())
    {
        return false;
    }
    m_previous = std::move(m_current);
    return true;
}

} // namespace Ardo::Kiln::Threading
