#pragma once

#include "Ardo/Kiln/Threading/BackgroundWorkerException.h"
#include "Ardo/Kiln/Threading/ComInitializationType.h"
#include "Ardo/Kiln/Threading/ScheduledWork.h"
#include "Ardo/Kiln/Threading/ScopedScheduledWork.h"
#include "Ardo/KilnExport.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace Ardo::Kiln::Exception
{
class Warning;
}

namespace Ardo::Kiln::Polling
{
class Poller;
}

namespace Ardo::Kiln::Threading
{

class JobQueue;

/// Runs functions one after another, in hand-over order, on a thread of its own.
///
/// Lifetime: the constructor starts the thread. The destructor lets the running function finish, destroys the queued
/// functions uncalled and joins the thread. Call() and Wait() of other threads that are in progress give up with
/// "Background Worker is not running", and the destructor waits for them to leave; no other method may be in progress.
///
/// On the worker's own thread the destructor cannot join: it returns at once, and the thread ends, and destroys the
/// queued functions, when the running function returns. This happens when a function releases the last owner of the
/// worker, or calls exit() while the worker is a static object. Classes that override ExecuteWork() do not support it.
///
/// A worker also stops, for good, when an exception leaves a function and nobody handles it: the process's exception
/// handler deals with the exception (see Exception::Handler).
///
/// A stopped worker does not run pending work: posted functions are never run and are destroyed with the worker;
/// scheduled items stay Scheduled for ever, so that Wait() on one never returns. Cancel such items before, or hold them
/// in a ScopedScheduledWork, which does.
///
/// A child process made by fork has no copy of the thread. There the worker counts as stopped, its destructor returns
/// at once, and the queued functions are neither run nor destroyed.
///
/// The first worker of a process installs the process's fault handlers, which stay: see Exception::Handler::Execute
/// and, to have workers unguarded and nothing installed, Exception::Handler::SetMonitorAllThread.
///
/// Where exceptions of functions go:
/// - Call: those derived from std::exception are thrown again in the caller, and the worker goes on;
/// - Post, Schedule and Every on a worker with a warning handler: an Exception::Warning goes to the handler, on the
///   worker's thread, and the worker goes on;
/// - all others stop the worker.
///
/// Thread-safety: any thread may call any method, the worker's own included unless the method says otherwise.
///
///     BackgroundWorker worker("Exporter");
///     worker.Post([image] { Export(*image); });      // returns at once
///     worker.Call([&] { count = CountExported(); }); // returns when it has run, after the export
class KILN_EXPORT BackgroundWorker
{
public:
    static const std::string DEFAULT_THREAD_NAME; ///< "BackgroundWorker"
    /// No handler: warnings are exceptions like all others.
    static const std::function<void(const Exception::Warning&)> NO_WARNING_HANDLER;
    static const ComInitializationType NO_COM_INITIALIZATION; ///< ComInitializationType::NoInitialization

    /// Starts the thread.
    ///
    /// \param threadName the thread's name for debuggers, in UTF-8. On Linux the first 15 bytes, whole characters.
    /// \param warningHandler called on the worker's thread; may be empty.
    /// \param comInitialization done on the thread before its first function. If it fails, the thread throws
    ///        Exception::ErrorWithCode with the HRESULT, which ends the process.
    /// \throws std::system_error if the system cannot start a thread.
    explicit BackgroundWorker(const std::string& threadName = DEFAULT_THREAD_NAME,
                              const std::function<void(const Exception::Warning&)>& warningHandler = NO_WARNING_HANDLER,
                              ComInitializationType comInitialization = NO_COM_INITIALIZATION);
    virtual ~BackgroundWorker();
    BackgroundWorker(const BackgroundWorker&) = delete;
    BackgroundWorker& operator=(const BackgroundWorker&) = delete;

    /// Queues \p function for the worker's thread and returns at once.
    ///
    /// \throws BackgroundWorkerException "Background Worker is not running" on a stopped worker.
    void Post(const std::function<void()>& function);

    /// Runs a copy of \p function on the worker's thread and returns when it has run. No time limit.
    ///
    /// \throws BackgroundWorkerException "Call from BackgroundWorker thread will deadlock" on the worker's thread, and
    ///         "Background Worker is not running", within some 100 microseconds, when the worker is or gets stopped:
    ///         the function is then never run, or no longer waited for.
    /// \throws whatever the function throws, if derived from std::exception.
    void Call(const std::function<void()>& function);

    /// Queues \p function for the worker's thread, as an item that can be cancelled and waited for.
    ///
    /// \returns its handle, never null.
    /// \throws BackgroundWorkerException "Background Worker is not running" on a stopped worker.
    std::unique_ptr<ScheduledWork> Schedule(std::function<void()>&& function);

    /// Runs \p function on the worker's thread one period from now, and again one period after each run has begun.
    ///
    /// \param period from 1 to 2147 seconds (35.8 minutes). It is not checked: with another one \p function runs again
    ///        and again without a pause, or with a wrong period. See PeriodicScheduledWork.
    /// \returns the owner of the series: its destructor ends the series.
    /// \throws BackgroundWorkerException "Cannot schedule periodic tasks without a thread".
    virtual ScopedScheduledWork Every(const std::chrono::seconds& period, std::function<void()>&& function);

    /// Returns when everything that was handed over before has run; at once on a stopped worker.
    ///
    /// \throws BackgroundWorkerException on the worker's thread, and if the worker is stopped meanwhile, like Call().
    virtual void Wait();

    /// Whether functions are still run: false on a stopped worker, always true without a thread.
    bool IsRunning() const;

    /// Whether the caller is the worker's thread; without one, whether it is the thread that constructed the worker.
    /// Takes no lock: a function may call it also while the destructor waits for that function.
    bool IsOnBackgroundThread() const;

    /// The worker's thread; without one, the thread that constructed the worker.
    std::thread::id GetThreadId();

protected:
    /// \param spawnThread true: the thread calls ExecuteWork() as soon as this base class is constructed; the override
    ///        of a derived class is then possibly not called. False: functions run on their callers' threads; such a
    ///        class overrides Wait() or InternalCall(), which call each other here.
    BackgroundWorker(bool spawnThread, const std::string& threadName,
                     const std::function<void(const Exception::Warning&)>& warningHandler,
                     ComInitializationType comInitialization);

    /// Queues a function for the worker's thread; without a thread, calls it.
    ///
    /// \throws BackgroundWorkerException like Post().
    virtual void InternalPost(const std::function<void()>& function);

    /// Implements Call().
    virtual void InternalCall(const std::function<void()>& function);

    /// The thread's function: runs the queue inside the process's exception handler, then stops it.
    virtual void ExecuteWork();

    /// Runs the queue until it is stopped, without the exception handler.
    ///
    /// \throws whatever a function throws.
    void RunIOContext();

    /// Stops the queue for good. The running function finishes, no other begins.
    void StopIOContext();

    /// Every(), with a finer period.
    ScopedScheduledWork InternalEvery(const std::chrono::microseconds& period, std::function<void()>&& function);

    /// The handler that the worker was constructed with; may be empty.
    const std::function<void(const Exception::Warning&)>& WarningHandler() const { return *m_warningHandler; }

private:
    friend class Polling::Poller; // polls in milliseconds, by InternalEvery()

    struct KILN_NO_EXPORT HandledFunction;
    struct PendingCall;

    void CheckBackgroundWorkerThread() const;
    void SpawnBackgroundThread();
    /// Stops the queue and joins the thread.
    /// \throws std::system_error of std::thread::join on the worker's own thread.
    void StopAll();
    void WaitForCalls() noexcept;
    void LeaveToParent();
    void SetThreadNameInVS(const std::string& name);

    /// \p function with the warning handler around it, if there is one.
    std::function<void()> HandleWarningsOf(std::function<void()> function) const;

    /// Never null. Shared with the thread, which may outlive the worker.
    const std::shared_ptr<const std::function<void(const Exception::Warning&)>> m_warningHandler;
    const std::shared_ptr<JobQueue> m_queue; ///< Shared with the thread, which may outlive the worker.
    const std::uint64_t m_id;                ///< No other worker of the process has or had it.
    const bool m_hasThread;
    std::atomic<std::thread::id> m_threadId;
    std::unique_ptr<std::thread> m_thread;  ///< Null without a thread. Used by constructor and destructor only.
    std::atomic<int> m_callsInProgress = 0; ///< Of other threads; the destructor waits until there is none.
    const ComInitializationType m_comInitialization;
};

} // namespace Ardo::Kiln::Threading
