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

/// A job together with what is to happen when it never runs. The destructor runs on the main thread whenever the job
/// was queued.
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
/// By hand, the caller's own copy of the job, and with it of the captures, is destroyed wherever the caller does so.
class KILN_EXPORT MainThreadDispatcher : public QObject
{
    Q_OBJECT

public:
    /// Registers the two meta-types. Belongs to the constructing thread, which must be the main thread.
    MainThreadDispatcher();

    /// Destroys the jobs that are still queued, unrun.
    ~MainThreadDispatcher() override;

    /// Returns when the threads whose waited job is queued use this object no more. To be called before it is
    /// destroyed.
    void LetGo();

    /// Queues \p job; it runs unless the guard's object is gone by then. From any thread.
    /// \throws std::bad_alloc only.
    void Queue(const GuardedQObjectPointer& guard, std::unique_ptr<MainThreadJob> job);

    /// The same for a job that somebody waits for: it is destroyed, unrun, when the application's event loop ends with
    /// the job still queued. From any thread.
    /// \returns false, and destroys the job at once, when the event loop has ended and none has run since.
    bool QueueWaited(const GuardedQObjectPointer& guard, std::unique_ptr<MainThreadJob> job);

public Q_SLOTS:
    /// Calls \p job if the object of \p guard still exists; otherwise drops it. A null guard drops it too. An exception
    /// that leaves the job is logged at error and goes no further.
    // Qt compares the names of the types letter by letter with those of an invocation.
    void ExecuteOnMainThread(GuardedQObjectPointer guard, VoidJob job);

private:
    explicit MainThreadDispatcher(QObject* parent);
    void EventLoopEnds();

    MainThreadDispatcher* m_waited = nullptr; ///< Holds the jobs that somebody waits for. A child of this.
    std::mutex m_mutex;
    bool m_eventLoopEnded = false; ///< Guarded by m_mutex.
};

} // namespace Private

} // namespace Ardo::Kiln::Threading

Q_DECLARE_METATYPE(Ardo::Kiln::Threading::VoidJob)
