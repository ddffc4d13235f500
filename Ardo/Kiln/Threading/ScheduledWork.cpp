#include "Ardo/Kiln/Threading/ScheduledWork.h"

#include "Ardo/Kiln/Threading/PeriodicWork.h"

#include <utility>

namespace Ardo::Kiln::Threading
{

ScheduledWork::ScheduledWork() = default;
ScheduledWork::ScheduledWork(std::shared_ptr<WorkBase> work) : m_work(std::move(work)) {}
ScheduledWork::~ScheduledWork() = default;
ScheduledWork::ScheduledWork(ScheduledWork&& other) noexcept = default;
ScheduledWork& ScheduledWork::operator=(ScheduledWork&& other) noexcept = default;

bool ScheduledWork::Cancel()
{
    return !m_work || m_work->Cancel();
}

bool ScheduledWork::Wait()
{
    return !m_work || m_work->Wait();
}

std::shared_ptr<WorkBase> ScheduledWork::RunOfSeries() const
{
    auto series = std::dynamic_pointer_cast<PeriodicWork>(m_work);
    return series && series->IsRunning() ? std::move(series) : nullptr;
}

} // namespace Ardo::Kiln::Threading
