#include "Ardo/Kiln/Threading/ForegroundWorker.h"

#include "Ardo/Kiln/Logger/ComponentLog.h"
#include "Ardo/Kiln/Threading/HandleWarnings_p.h"

#include <exception>
#include <string>
#include <utility>

namespace Ardo::Kiln::Threading
{

namespace
{

void LogDropped(const std::string& what) noexcept
{
    Logger::ComponentLog("Threading").Write(Logger::error, what);
}

} // namespace

ForegroundWorker::ForegroundWorker(const std::function<void(const Exception::Warning&)>& warningHandler)
    : BackgroundWorker(false, std::string(), warningHandler, NO_COM_INITIALIZATION)
{
}

ForegroundWorker::~ForegroundWorker()
{
    try
    {
        ForegroundWorker::ExecuteWork();
    }
    catch (const std::exception& exception)
    {
        LogDropped(std::string("A foreground worker's function failed while the worker was destroyed: ") +
                   exception.what());
    }
    catch (...)
    {
        LogDropped("A foreground worker's function failed while the worker was destroyed");
    }
}

ScopedScheduledWork ForegroundWorker::Every(const std::chrono::seconds&, std::function<void()>&& function)
{
    return ScopedScheduledWork(Schedule(std::move(function)));
}

void ForegroundWorker::Wait()
{
    ExecuteWork();
}

void ForegroundWorker::InternalPost(const std::function<void()>& function)
{
    std::function<void()> copy = function; // what is copied may post, too, so not under the lock
    const std::lock_guard lock(m_queueMutex);
    m_queue.push_back(std::move(copy));
}

void ForegroundWorker::InternalCall(const std::function<void()>& function)
{
    Wait();
    function();
}

void ForegroundWorker::ExecuteWork()
{
    std::deque<std::function<void()>> batch;
    {
        const std::lock_guard lock(m_queueMutex);
        batch.swap(m_queue);
    }
    const std::function<void(const Exception::Warning&)> handler =
        WarningHandler(); // a function may destroy the worker
    for (const auto& function : batch)
    {
        if (handler)
        {
            CallHandlingWarnings(function, handler);
        }
        else
        {
            function();
        }
    }
}

} // namespace Ardo::Kiln::Threading
