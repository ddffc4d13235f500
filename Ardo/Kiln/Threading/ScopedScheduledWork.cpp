#include "Ardo/Kiln/Threading/ScopedScheduledWork.h"

#include "Ardo/Kiln/Threading/ScheduledWork.h"
#include "Ardo/Kiln/Threading/WorkBase.h"

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
    for (const auto& work : m_lastRuns) // cancelled when they were replaced
    {
        work->Wait();
    }
}

ScopedScheduledWork::ScopedScheduledWork(ScopedScheduledWork&& other) noexcept
    : m_current(std::move(other.m_current)),
      m_previous(std::move(other.m_previous)),
      m_lastRuns(std::move(other.m_lastRuns))
{
}

ScopedScheduledWork& ScopedScheduledWork::operator=(ScopedScheduledWork&& other)
{
    if (this != &other)
    {
        const std::lock_guard lock(m_mutex);
        if (!Retire())
        {
            ReplacePrevious(std::move(other.m_previous));
        }
        else if (other.m_previous && !other.m_previous->Cancel())
        {
            other.m_previous->Wait(); // there is room for one predecessor only
        }
        m_lastRuns.insert(m_lastRuns.end(), other.m_lastRuns.begin(), other.m_lastRuns.end());
        other.m_lastRuns.clear();
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
    ReplacePrevious(std::move(m_current));
    return true;
}

void ScopedScheduledWork::ReplacePrevious(std::unique_ptr<ScheduledWork>&& successor)
{
    std::erase_if(m_lastRuns, [](const auto& work) { return !work->IsRunning(); });
    if (m_previous)
    {
        if (auto work = m_previous->RunOfSeries())
        {
            m_lastRuns.push_back(std::move(work));
        }
    }
    m_previous = std::move(successor);
}

} // namespace Ardo::Kiln::Threading
