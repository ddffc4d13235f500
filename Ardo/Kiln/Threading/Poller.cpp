#include "Ardo/Kiln/Threading/Poller.h"

#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include <utility>

namespace Ardo::Kiln::Polling
{

Poller::Poller(Threading::BackgroundWorker& worker, const std::chrono::milliseconds& interval)
    : m_worker(worker), m_interval(interval)
{
}

Poller::~Poller() = default;

void Poller::Enable(std::function<void()>&& function)
{
    m_periodic = m_worker.InternalEvery(m_interval, std::move(function));
}

void Poller::Disable()
{
    m_periodic.Cancel();
}

} // namespace Ardo::Kiln::Polling
