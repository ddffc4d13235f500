#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include "Ardo/Kiln/Exception/ErrorWithCode.h"
#include "Ardo/Kiln/Exception/Handler.h"
#include "Ardo/Kiln/Platform/ComApartment.h"
#include "Ardo/Kiln/Platform/ThreadName.h"
#include "Ardo/Kiln/Threading/HandleWarnings_p.h"
#include "Ardo/Kiln/Threading/IoContext_p.h"
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

/// How often Call() looks whether the worker has been stopped meanwhile.
constexpr std::chrono::microseconds CallPollInterval(100);

/// The calling thread's stay in a COM apartment.
class ComStay
{
public:
    explicit ComStay(ComInitializationType type) : m_isWanted(type != ComInitializationType::NoInitialization)
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
    ~ComStay()
    {
        if (m_isWanted)
        {
            Platform::LeaveComApartment();
        }
    }
    ComStay(const ComStay&) = delete;
    ComStay& operator=(const ComStay&) = delete;

private:
    const bool m_isWanted;
};

} // namespace

/// A function with the warning handler around it.
struct BackgroundWorker::HandlingWarnings
{
    void operator()() const { CallHandlingWarnings(function, handler); }

    const BackgroundWorker* worker; ///< Whose handler it is. Only to be compared.
    std::function<void(const Exception::Warning&)> handler;
    std::function<void()> function;
};

/// A function on its way to the worker, and its outcome on the way back. Shared by both sides, because the caller may
/// leave before the function is through.
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
        // What the copy holds goes before the caller goes on, as if it had been the caller's own function that ran.
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
    : m_warningHandler(warningHandler),
      m_context(std::make_unique<IoContext>(spawnThread, m_warningHandler)),
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
    StopAll();
}

void BackgroundWorker::Post(const std::function<void()>& function)
{
    if (m_warningHandler)
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
    if (!m_context->HasThread())
    {
        throw BackgroundWorkerException("Cannot schedule periodic tasks without a thread");
    }
    auto work = std::make_shared<PeriodicWork>(HandleWarningsOf(std::move(function)));
    return ScopedScheduledWork(std::make_unique<PeriodicScheduledWork>(m_context->Get(), std::move(work), period));
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
    return !m_context->HasThread() || !m_context->IsStopped();
}

bool BackgroundWorker::IsOnBackgroundThread() const
{
    const std::lock_guard lock(m_mutex);
    return std::this_thread::get_id() == m_threadId;
}

std::thread::id BackgroundWorker::GetThreadId()
{
    return m_threadId;
}

void BackgroundWorker::InternalPost(const std::function<void()>& function)
{
    if (!m_context->HasThread())
    {
        function();
        return;
    }
    if (m_context->IsStopped())
    {
        throw BackgroundWorkerException(NotRunning);
    }
    if (const auto* const handling = function.target<HandlingWarnings>();
        handling != nullptr && handling->worker == this)
    {
        // Goes alone and meets the handler when it runs: memory that one thread takes and another gives back is dear.
        m_context->Post(handling->function, IoContext::HandOver::PostHandlingWarnings);
    }
    else
    {
        m_context->Post(function, IoContext::HandOver::Post);
    }
}

void BackgroundWorker::InternalCall(const std::function<void()>& function)
{
    if (!m_context->HasThread())
    {
        Wait();
        function();
        return;
    }
    CheckBackgroundWorkerThread();
    const auto call = std::make_shared<PendingCall>(function);
    m_context->Post([call] { call->Run(); }, IoContext::HandOver::Call);
    const auto isOver = [this, &call] { return call->IsDone() || m_context->IsStopped(); };
    if (!SpinUntil(isOver))
    {
        while (!call->WaitFor(CallPollInterval) && !m_context->IsStopped())
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
        IoContext& context;
        ~Stop() { context.Stop(); }
    };
    const Stop stop{*m_context};
    Exception::Handler::Initialize();
    Exception::Handler::Execute([this] { RunIOContext(); });
    Work::FailInterrupted(); // a fault runs no destructors, and others may be waiting for the item
}

void BackgroundWorker::RunIOContext()
{
    m_context->Run();
}

void BackgroundWorker::StopIOContext()
{
    m_context->Stop();
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
    const std::lock_guard lock(m_mutex);
    m_thread = std::make_unique<std::thread>(
        [this]
        {
            const ComStay com(m_comInitialization);
            ExecuteWork();
        });
    m_threadId = m_thread->get_id();
}

void BackgroundWorker::StopAll()
{
    const std::lock_guard lock(m_mutex);
    m_context->Stop();
    if (m_thread)
    {
        m_thread->join();
        m_thread.reset();
    }
}

void BackgroundWorker::SetThreadNameInVS(const std::string& name)
{
    Platform::SetThreadName(m_thread->native_handle(), name);
}

std::function<void()> BackgroundWorker::HandleWarningsOf(std::function<void()> function) const
{
    if (!m_warningHandler)
    {
        return function;
    }
    return HandlingWarnings{this, m_warningHandler, std::move(function)};
}

} // namespace Ardo::Kiln::Threading
