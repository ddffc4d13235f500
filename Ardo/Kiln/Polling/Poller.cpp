#include "Ardo/Kiln/Polling/Poller.h"

#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include <cstdint>
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
    // Without a sign, so that the product of a long interval is defined. Only its low 32 bits count.
    const auto microseconds = static_cast<std::uint64_t>(m_interval.count()) * 1000;
    m_periodic =
        m_worker.InternalEvery(std::chrono::microseconds(static_cast<std::int64_t>(microseconds)), std::move(function));
}

void Poller::Disable()
{
    m_periodic.Cancel();
}

} // namespace Ardo::Kiln::Polling
