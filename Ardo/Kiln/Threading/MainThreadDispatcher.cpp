#include "Ardo/Kiln/Threading/MainThreadDispatcher.h"

#include "Ardo/Kiln/Logger/ComponentLog.h"

#include <QCoreApplication>

#include <new>
#include <string>
#include <utility>

namespace Ardo::Kiln::Threading::Private
{

namespace
{

/// A job inside a std::function, which Qt copies into the event and from there into the slot's parameter. Copying moves
/// the job, so that it has one owner at any time. A copy on the queueing thread could be destroyed last, and the
/// captures with it on the wrong thread.
class HandedOver
{
public:
    explicit HandedOver(std::unique_ptr<MainThreadJob> job) noexcept : m_job(std::move(job)) {}
    HandedOver(const HandedOver& other) noexcept : m_job(std::move(other.m_job)) {}
    HandedOver(HandedOver&& other) noexcept = default;
    HandedOver& operator=(const HandedOver&) = delete;
    HandedOver& operator=(HandedOver&&) = delete;
    ~HandedOver() = default;

    void operator()() const { m_job->Run(); }

private:
    mutable std::unique_ptr<MainThreadJob> m_job;
};

void Post(MainThreadDispatcher* dispatcher, const GuardedQObjectPointer& guard, std::unique_ptr<MainThreadJob> job)
{
    const VoidJob function = HandedOver(std::move(job));
    if (!QMetaObject::invokeMethod(dispatcher, "ExecuteOnMainThread", Qt::QueuedConnection,
                                   Q_ARG(GuardedQObjectPointer, guard), Q_ARG(VoidJob, function)))
    {
        throw std::bad_alloc(); // slot and types are known to Qt: there is nothing else to fail
    }
}

void LogDropped(const std::string& reason)
{
    Logger::ComponentLog("Threading").Write(Logger::error, "A job on the main thread failed: " + reason);
}

} // namespace

MainThreadJob::~MainThreadJob() = default;

MainThreadDispatcher::MainThreadDispatcher()
{
    setObjectName(QStringLiteral("MainThreadDispatcher"));
    // The second names, and the guard's converter to QObject*, come with it.
    qRegisterMetaType<VoidJob>("VoidJob");
    qRegisterMetaType<GuardedQObjectPointer>("GuardedQObjectPointer");

    // The queue of a thread keeps the order of jobs across receivers.
    m_waited = new MainThreadDispatcher(this);
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] { EventLoopEnds(); });
}

MainThreadDispatcher::MainThreadDispatcher(QObject* parent) : QObject(parent) {}

MainThreadDispatcher::~MainThreadDispatcher() = default;

void MainThreadDispatcher::WaitForQueueingThreads()
{
    const std::lock_guard lock(m_mutex);
}

void MainThreadDispatcher::Queue(const GuardedQObjectPointer& guard, std::unique_ptr<MainThreadJob> job)
{
    Post(this, guard, std::move(job));
}

bool MainThreadDispatcher::QueueWaited(const GuardedQObjectPointer& guard, std::unique_ptr<MainThreadJob> job)
{
    const std::lock_guard lock(m_mutex); // the job is posted before EventLoopEnds() removes such jobs, or not at all
    if (m_eventLoopEnded)
    {
        return false;
    }
    Post(m_waited, guard, std::move(job));
    return true;
}

void MainThreadDispatcher::EventLoopEnds()
{
    // After its event loop the main thread usually joins the other threads. A thread that waited for the main thread
    // now would wait for ever.
    {
        const std::lock_guard lock(m_mutex);
        m_eventLoopEnded = true;
    }
    QCoreApplication::removePostedEvents(m_waited, QEvent::MetaCall);
    // Delivered only if another event loop is started.
    QMetaObject::invokeMethod(
        this,
        [this]
        {
            const std::lock_guard lock(m_mutex);
            m_eventLoopEnded = false;
        },
        Qt::QueuedConnection);
}

// Qt hands both over by value.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void MainThreadDispatcher::ExecuteOnMainThread(GuardedQObjectPointer guard, VoidJob job)
{
    if (guard.isNull())
    {
        return;
    }
    try
    {
        job();
    }
    catch (const std::exception& exception)
    {
        LogDropped(exception.what());
    }
    catch (...)
    {
        LogDropped("unknown exception");
    }
}

} // namespace Ardo::Kiln::Threading::Private
