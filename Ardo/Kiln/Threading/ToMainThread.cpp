#include "Ardo/Kiln/Threading/ToMainThread.h"

#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"

#include <QThread>

namespace Ardo::Kiln::Threading
{

MainThreadDispatchException::MainThreadDispatchException()
    : Error("The main thread did not run the job: the object that it belongs to, or the event loop, is gone.")
{
}

MainThreadDispatchException::~MainThreadDispatchException() = default;

namespace Private
{

void Queue(const GuardedQObjectPointer& guard, std::unique_ptr<MainThreadJob> job)
{
    ToMainThreadInitialization::GetDispatcher()->Queue(guard, std::move(job));
}

void QueueWaited(const GuardedQObjectPointer& guard, std::unique_ptr<MainThreadJob> job)
{
    if (!ToMainThreadInitialization::GetDispatcher()->QueueWaited(guard, std::move(job)))
    {
        throw MainThreadDispatchException();
    }
}

bool RunsAtOnce(const GuardedQObjectPointer& guard)
{
    if (ToMainThreadInitialization::GetDispatcher()->thread() != QThread::currentThread())
    {
        return false;
    }
    if (guard.isNull())
    {
        throw MainThreadDispatchException();
    }
    return true;
}

} // namespace Private

} // namespace Ardo::Kiln::Threading
