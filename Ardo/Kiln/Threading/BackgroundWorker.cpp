#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include "Ardo/Kiln/Exception/ErrorWithCode.h"
#include "Ardo/Kiln/Exception/Handler.h"
#include "Ardo/Kiln/Platform/ComApartment.h"
#include "Ardo/Kiln/Platform/ThreadName.h"
#include "Ardo/Kiln/Threading/HandleWarnings_p.h"
#include "Ardo/Kiln/Threading/JobQueue_p.h"
#include "Ardo/Kiln/Threading/PeriodicScheduledWork.h"
#include "Ardo/Kiln/Threading/PeriodicWork.h"
#include "Ardo/Kiln/Threading/Spin_p.h"
#include "Ardo/Kiln/Threading/Work.h"

#include <atomic>
#include <condition_variable>
#include <exception>
#include <limits>
#include <utility>

namespace Ardo::Kiln::Threading
{

namespace
{

constexpr const char* NotRunning = "Background Worker is not running";

/// How often Call() checks whether the worker has been stopped meanwhile.
constexpr std::chrono::microseconds CallPollInterval(100);

/// The number of workers so far.
std::atomic<std::uint64_t> g_lastId = 0;

/// Keeps the calling thread in a COM apartment.
class ScopedComApartment
{
public:
    explicit ScopedComApartment(ComInitializationType type)
        : m_isWanted(type != ComInitializationType::NoInitialization)
    {
        if (m_isWanted)
        {
            const auto model = type == ComInitializationType::ApartmentThreaded
                                   ? Platform::ComApartment::ApartmentThreaded
                                   : Platform::ComApartment::MultiThreaded;
            if (const std::int32_t result = Platform::EnterComApartment(model); result < 0)
            {
                throw Exception::ErrorWithCode(result, "COM cannot be initialized on a worker's thread");
            }
        }
    }
    ~ScopedComApartment()
    {
        if (m_isWanted)
        {
            Platform::LeaveComApartment();
        }
    }
    ScopedComApartment(const ScopedComApartment&) = delete;
    ScopedComApartment& operator=(const ScopedComApartment&) = delete;

private:
    const bool m_isWanted;
};

} // namespace

/// What Post() gives to InternalPost(): a function together with the warning handler of the worker that it was posted
/// to.
struct BackgroundWorker::HandledFunction
{
    void operator()() const { CallHandlingWarnings(function, handler); }

    std::uint64_t worker; ///< The id of that worker.
    std::function<void(const Exception::Warning&)> handler;
    std::function<void()> function;
};

/// A function with a waiting caller, and its outcome. Shared by the caller and the worker, because the caller may
/// leave before the function has run.
struct BackgroundWorker::PendingCall
{
    explicit PendingCall(const std::function<void()>& theFunction) : function(theFunction) {}

    void Run()
    {
        try
        {
            function();
        }
        catch (const std::exception&)
        {
            error = std::current_exception();
        }
        // Destroyed before the caller goes on, as if the caller's own function had run.
        function = nullptr;
        const std::lock_guard lock(mutex);
        isDone.store(true, std::memory_order_release);
        done.notify_one();
    }

    bool IsDone() const { return isDone.load(std::memory_order_acquire); }

    bool WaitFor(std::chrono::microseconds time)
    {
        std::unique_lock lock(mutex);
        return done.wait_for(lock, time, [this] { return IsDone(); });
    }

    std::function<void()> function;
    std::exception_ptr error;
    std::atomic<bool> isDone = false;
    std::mutex mutex;
    std::condition_variable done;
};

const std::string BackgroundWorker::DEFAULT_THREAD_NAME = "BackgroundWorker";
const std::function<void(const Exception::Warning&)> BackgroundWorker::NO_WARNING_HANDLER;
const ComInitializationType BackgroundWorker::NO_COM_INITIALIZATION = ComInitializationType::NoInitialization;

BackgroundWorker::BackgroundWorker(const std::string& threadName,
                                   const std::function<void(const Exception::Warning&)>& warningHandler,
                                   ComInitializationType comInitialization)
    : BackgroundWorker(true, threadName, warningHandler, comInitialization)
{
}

BackgroundWorker::BackgroundWorker(bool spawnThread, const std::string& threadName,
                                   const std::function<void(const Exception::Warning&)>& warningHandler,
                                   ComInitializationType comInitialization)
    : m_warningHandler(std::make_shared<const std::function<void(const Exception::Warning&)>>(warningHandler)),
      m_queue(std::make_shared<JobQueue>()),
      m_id(++g_lastId),
      m_hasThread(spawnThread),
      m_threadId(std::this_thread::get_id()),
      m_comInitialization(comInitialization)
{
    if (spawnThread)
    {
        SpawnBackgroundThread();
        SetThreadNameInVS(threadName);
    }
}

BackgroundWorker::~BackgroundWorker()
{
    if (m_thread && !m_queue->IsOfParent() && IsOnBackgroundThread())
    {
        m_thread->detach(); // cannot be joined here: it ends with the function that runs
        m_thread.reset();
        m_queue->Stop();
        WaitForCalls();
        return;
    }
    StopAll();
}

void BackgroundWorker::Post(const std::function<void()>& function)
{
    if (*m_warningHandler)
    {
        InternalPost(HandleWarningsOf(function));
    }
    else
    {
        InternalPost(function);
    }
}

void BackgroundWorker::Call(const std::function<void()>& function)
{
    InternalCall(function);
}

std::unique_ptr<ScheduledWork> BackgroundWorker::Schedule(std::function<void()>&& function)
{
    auto work = std::make_shared<Work>(std::move(function));
    auto handle = std::make_unique<ScheduledWork>(work);
    Post([work = std::move(work)] { (*work)(); });
    return handle;
}

ScopedScheduledWork BackgroundWorker::Every(const std::chrono::seconds& period, std::function<void()>&& function)
{
    const double microseconds = static_cast<double>(period.count()) * 1000.0 * 1000.0;
    using Count = std::chrono::microseconds::rep;
    // What a processor makes of a number beyond its integers, where the language leaves it open.
    const bool fits = microseconds >= -0x1p63 && microseconds < 0x1p63;
    return InternalEvery(
        std::chrono::microseconds(fits ? static_cast<Count>(microseconds) : std::numeric_limits<Count>::min()),
        std::move(function));
}

ScopedScheduledWork BackgroundWorker::InternalEvery(const std::chrono::microseconds& period,
                                                    std::function<void()>&& function)
{
    if (!m_hasThread)
    {
        throw BackgroundWorkerException("Cannot schedule periodic tasks without a thread");
    }
    auto work = std::make_shared<PeriodicWork>(HandleWarningsOf(std::move(function)));
    return ScopedScheduledWork(std::make_unique<PeriodicScheduledWork>(m_queue->Context(), std::move(work), period));
}

void BackgroundWorker::Wait()
{
    if (IsRunning())
    {
        InternalCall([] {});
    }
}

bool BackgroundWorker::IsRunning() const
{
    return !m_hasThread || !m_queue->IsStopped();
}

bool BackgroundWorker::IsOnBackgroundThread() const
{
    return std::this_thread::get_id() == m_threadId;
}

std::thread::id BackgroundWorker::GetThreadId()
{
    return m_threadId;
}

void BackgroundWorker::InternalPost(const std::function<void()>& function)
{
    if (!m_hasThread)
    {
        function();
        return;
    }
    if (m_queue->IsStopped())
    {
        throw BackgroundWorkerException(NotRunning);
    }
    // Queue the bare function; the handler is applied when it runs. Allocating on one thread and freeing on another is
    // slow.
    const auto* const handled = function.target<HandledFunction>();
    const bool isOurs = handled != nullptr && handled->worker == m_id;
    m_queue->Post(isOurs ? JobQueue::Job{handled->function, m_warningHandler.get()} : JobQueue::Job{function, nullptr},
                  JobQueue::Caller::GoesOn);
}

void BackgroundWorker::InternalCall(const std::function<void()>& function)
{
    if (!m_hasThread)
    {
        Wait();
        function();
        return;
    }
    CheckBackgroundWorkerThread();
    if (m_queue->IsOfParent()) // whose threads may have had it locked
    {
        throw BackgroundWorkerException(NotRunning);
    }
    struct InProgress
    {
        explicit InProgress(std::atomic<int>& theCount) : count(theCount) { ++count; }
        ~InProgress() { --count; }
        std::atomic<int>& count;
    };
    const InProgress inProgress(m_callsInProgress);

    const auto call = std::make_shared<PendingCall>(function);
    m_queue->Post({[call] { call->Run(); }}, JobQueue::Caller::Waits);
    const auto isOver = [this, &call] { return call->IsDone() || m_queue->IsStopped(); };
    if (!SpinUntil(isOver))
    {
        while (!call->WaitFor(CallPollInterval) && !m_queue->IsStopped())
        {
        }
    }
    if (!call->IsDone())
    {
        throw BackgroundWorkerException(NotRunning);
    }
    if (const auto error = std::exchange(call->error, nullptr))
    {
        std::rethrow_exception(error);
    }
}

void BackgroundWorker::ExecuteWork()
{
    struct Stop
    {
        std::shared_ptr<JobQueue> queue; ///< Its own: a function may destroy the worker.
        ~Stop() { queue->Stop(); }
    };
    const Stop stop{m_queue};
    Exception::Handler::Initialize();
    Exception::Handler::Execute([this] { RunIOContext(); });
    Work::FailInterrupted(); // a fault runs no destructors, and others may be waiting for the items
}

void BackgroundWorker::RunIOContext()
{
    const std::shared_ptr<JobQueue> queue = m_queue; // a function may destroy the worker
    queue->Run();
}

void BackgroundWorker::StopIOContext()
{
    m_queue->Stop();
}

void BackgroundWorker::CheckBackgroundWorkerThread() const
{
    if (IsOnBackgroundThread())
    {
        throw BackgroundWorkerException("Call from BackgroundWorker thread will deadlock");
    }
}

void BackgroundWorker::SpawnBackgroundThread()
{
    m_thread = std::make_unique<std::thread>(
        [this, queue = m_queue, handler = m_warningHandler, comInitialization = m_comInitialization]
        {
            m_threadId = std::this_thread::get_id(); // for functions that run before the constructor gets to it
            const ScopedComApartment apartment(comInitialization);
            ExecuteWork();
        });
    m_threadId = m_thread->get_id();
}

void BackgroundWorker::StopAll()
{
    if (!m_thread)
    {
        m_queue->Stop();
        return;
    }
    if (m_queue->IsOfParent())
    {
        LeaveToParent();
        return;
    }
    m_queue->Stop();
    m_thread->join();
    m_thread.reset();
    WaitForCalls();
}

void BackgroundWorker::WaitForCalls() noexcept
{
    while (m_callsInProgress != 0)
    {
        std::this_thread::yield(); // they see the stopped queue within CallPollInterval
    }
}

void BackgroundWorker::LeaveToParent()
{
    // The thread does not exist here, and a thread of the parent may have been inside the queue: neither can be
    // destroyed. They stay reachable, so that no tool takes them for leaks.
    struct Left
    {
        std::shared_ptr<JobQueue> queue;
        std::unique_ptr<std::thread> thread;
        Left* next;
    };
    static std::atomic<Left*> g_left = nullptr;
    auto* const left = new Left{m_queue, std::move(m_thread), g_left};
    while (!g_left.compare_exchange_weak(left->next, left))
    {
    }
}

void BackgroundWorker::SetThreadNameInVS(const std::string& name)
{
    Platform::SetThreadName(m_thread->native_handle(), name);
}

std::function<void()> BackgroundWorker::HandleWarningsOf(std::function<void()> function) const
{
    if (!*m_warningHandler)
    {
        return function;
    }
    return HandledFunction{m_id, *m_warningHandler, std::move(function)};
}

} // namespace Ardo::Kiln::Threading
