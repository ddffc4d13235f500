#pragma once

#include "Ardo/KilnExport.h"

#include <QMetaType>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <mutex>

namespace Ardo::Kiln::Threading
{

/// A job for the main thread. Registered with Qt as "VoidJob" and "Ardo::Kiln::Threading::VoidJob".
using VoidJob = std::function<void()>;

/// The object that a job belongs to; null once it is gone. Registered with Qt as "GuardedQObjectPointer" and
/// "QPointer<QObject>", with a converter to `QObject*`.
using GuardedQObjectPointer = QPointer<QObject>;

namespace Private
{

/// A job. Its destructor learns that the job never ran; it runs on the main thread if the job was queued.
class KILN_EXPORT MainThreadJob
{
public:
    MainThreadJob() = default;
    virtual ~MainThreadJob();
    MainThreadJob(const MainThreadJob&) = delete;
    MainThreadJob& operator=(const MainThreadJob&) = delete;

    /// Called at most once, on the main thread.
    virtual void Run() = 0;
};

/// Lives on the main thread and runs there what other threads queue to it. Made by ToMainThreadInitialization, used
/// through ToMainThread and ToMainThreadBlocking; or by hand, with a queued invocation of its slot:
///
///     QMetaObject::invokeMethod(ToMainThreadInitialization::GetDispatcher(), "ExecuteOnMainThread",
///                               Qt::QueuedConnection, Q_ARG(GuardedQObjectPointer, guard), Q_ARG(VoidJob, job));
///
/// By hand, the caller keeps a copy of the job and destroys it, with the captures, on its own thread.
class KILN_EXPORT MainThreadDispatcher : public QObject
{
    Q_OBJECT

public:
    /// Registers the two meta-types. Belongs to the constructing thread, which must be the main thread.
    MainThreadDispatcher();

    /// Destroys the jobs that are still queued, unrun.
    ~MainThreadDispatcher() override;

    /// Blocks until no thread that waits for a queued job uses this object. To be called before the destructor.
    void WaitForQueueingThreads();

    /// Queues \p job. It runs unless the guard's object has been destroyed by then. Any thread may call it.
    ///
    /// \throws std::bad_alloc only.
    void Queue(const GuardedQObjectPointer& guard, std::unique_ptr<MainThreadJob> job);

    /// The same for a job that another thread waits for: if the application's event loop ends while the job is queued,
    /// the job is destroyed without being run. Any thread may call it.
    ///
    /// \returns false if the event loop has ended and none has run since; the job is then destroyed at once.
    bool QueueWaited(const GuardedQObjectPointer& guard, std::unique_ptr<MainThreadJob> job);

public Q_SLOTS:
    /// Calls \p job if the object of \p guard still exists; otherwise drops it. A null guard drops it too. An exception
    /// that leaves the job is logged at error and dropped.
    // Qt compares the names of the types letter by letter with those of an invocation.
    void ExecuteOnMainThread(GuardedQObjectPointer guard, VoidJob job);

private:
    explicit MainThreadDispatcher(QObject* parent);
    void EventLoopEnds();

    MainThreadDispatcher* m_waited = nullptr; ///< Receives the jobs that threads wait for. A child of this.
    std::mutex m_mutex;
    bool m_eventLoopEnded = false; ///< Guarded by m_mutex.
};

} // namespace Private

} // namespace Ardo::Kiln::Threading

Q_DECLARE_METATYPE(Ardo::Kiln::Threading::VoidJob)
