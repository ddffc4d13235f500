#include "Ardo/Kiln/Threading/Asynchronizer.h"

#include <utility>

namespace Ardo::Kiln::Threading
{

Asynchronizer::Asynchronizer(BackgroundWorker& worker) : m_worker(&worker) {}

// By value, as callers know it.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
Asynchronizer::Asynchronizer(std::function<void(const Exception::Warning&)> warningHandler,
                             const std::string& threadName)
    : m_ownedWorker(std::make_unique<BackgroundWorker>(threadName, warningHandler)), m_worker(m_ownedWorker.get())
{
}

Asynchronizer::~Asynchronizer()
{
    // A request that posts just now gets through, or is ignored; it never meets m_pending while that waits for it.
    const std::lock_guard lock(m_postMutex);
    m_isShuttingDown.exchange(true);
}

void Asynchronizer::Post(std::function<void()>&& function)
{
    const std::lock_guard lock(m_postMutex);
    if (!m_isShuttingDown)
    {
        m_pending = m_worker->Schedule(std::move(function));
    }
}

void Asynchronizer::Wait()
{
    if (!m_isShuttingDown)
    {
        m_pending.Wait();
    }
}

} // namespace Ardo::Kiln::Threading
