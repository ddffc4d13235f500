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
    // A concurrent Post() completes or is ignored; it cannot meet the destructor of m_pending.
    const std::lock_guard lock(m_postMutex);
    m_isShuttingDown.exchange(true);
}

void Asynchronizer::Post(std::function<void()>&& function)
{
    const auto request = std::make_shared<std::function<void()>>(std::move(function));
    std::shared_ptr<std::function<void()>>
        replaced; // destroyed after the lock is released: what it holds may post, too
    const std::lock_guard lock(m_postMutex);
    if (!m_isShuttingDown)
    {
        // Moved out, so that what the function holds is destroyed with its run.
        m_pending = m_worker->Schedule([request] { std::exchange(*request, nullptr)(); });
        replaced = std::exchange(m_request, request);
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
