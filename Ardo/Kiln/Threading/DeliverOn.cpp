#include "Ardo/Kiln/Threading/DeliverOn.h"

#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/Kiln/Threading/ToMainThread.h"
#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"

#include <utility>

namespace Ardo::Kiln::Threading
{

DeliverOn DeliverOn::MainThread()
{
    DeliverOn result;
    // The lifetime of the receiver is that of its connection, so the job may belong to the dispatcher itself.
    result.m_queue = [](std::function<void()> job)
    { ToMainThread(ToMainThreadInitialization::GetDispatcher(), std::move(job)); };
    return result;
}

DeliverOn DeliverOn::Worker(BackgroundWorker& worker)
{
    DeliverOn result;
    result.m_queue = [&worker](const std::function<void()>& job) { worker.Post(job); };
    return result;
}

DeliverOn DeliverOn::Caller() noexcept
{
    return {};
}

} // namespace Ardo::Kiln::Threading
