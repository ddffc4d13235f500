#include "Ardo/Kiln/Exception/Handler.h"

#include "Ardo/Kiln/Crash/Fault/CatchAll.h"
#include "Ardo/Kiln/Crash/Fault/CaughtException.h"
#include "Ardo/Kiln/Exception/HandlerInternal_p.h"
#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/Kiln/Platform/ProcessFork.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>

#include <chrono>
#include <deque>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

namespace Ardo::Kiln::Exception
{

namespace
{

using Crash::FaultDispatch;

constexpr const char* FlagsTooLate = "Handler::SetFlags should be set before instantiation of secondary threads";

constexpr std::chrono::milliseconds ReportsAtExit{60'000}; // how long exit() waits for another thread's reports
constexpr std::chrono::milliseconds AnswerAtExit{2'000};   // and for the answer to its question
constexpr std::chrono::milliseconds PollAtExit{20};

thread_local bool g_holdsLockAtFork = false; // whether the forking thread deals with a fault

} // namespace

// All of these live from before the first constructor until after the last destructor of the process.
constinit std::atomic<unsigned long long> Handler::Internal::g_handlerFlags = 0;
constinit std::atomic<bool> Handler::Internal::g_globalInitialized = false;
constinit std::atomic<bool> Handler::Internal::g_monitorThreadExceptions = true;
constinit bool Handler::Internal::g_alreadyCrashed = false;
std::mutex Handler::Internal::g_alreadyCrashedLock; // has a constant initialiser where its constructor allows one
constinit std::atomic<std::uint32_t> Handler::Internal::g_crashedThread = 0;
constinit std::atomic<bool> Handler::Internal::g_answerIsAwaited = false;
constinit std::atomic<const Handler::FaultHandler*> Handler::Internal::g_defaultExceptionHandler = nullptr;
constinit std::atomic<bool> Handler::Internal::g_unhandledFilterInstalled = false;
constinit std::atomic<Crash::FaultFilter> Handler::Internal::g_previousUnhandledFilter = nullptr;
constinit std::atomic<std::terminate_handler> Handler::Internal::g_previousTerminateHandler = nullptr;
constinit std::atomic<int> Handler::Internal::g_instances = 0;
constinit std::atomic<std::uint64_t (*)()> Handler::Internal::g_clock = &Handler::Internal::SystemClock;

namespace
{

/// Logs \p warning; a sink that fails loses the record.
void Log(const Warning& warning) noexcept
{
    try
    {
        auto logger = Logger::CreateLogger("Exception");
        BOOST_LOG_SEV(logger, Logger::warning) << warning.what();
    }
    catch (...)
    {
    }
}

/// Logs, once, what crash handling lacks in a process that did not load the library at its start.
void WarnIfLoadedLate() noexcept
{
    static std::atomic<bool> g_hasWarned = false;
    if (FaultDispatch::InterposesRuntime() || g_hasWarned.exchange(true))
    {
        return;
    }
    try
    {
        Log(Warning(
            "Crash reports are incomplete, because this library was loaded after the C library: stack overflows of "
            "threads that do not use it leave no report, and where exceptions were thrown is not known. Link the "
            "program itself with it."));
    }
    catch (...)
    {
        // no memory for a warning
    }
}

} // namespace

// Monitoring -----------------------------------------------------------------------------------------------------

void Handler::Initialize()
{
    if (Internal::g_handlerFlags == 0)
    {
        return;
    }
    Internal::ThreadState& state = Internal::StateOfCallingThread();
    if (!state.handler)
    {
        state.handler = std::make_unique<Handler>();
    }
}

Handler::Handler()
{
    Internal::PrepareProcess();
    ++Internal::StateOfCallingThread().instances;
    ++Internal::g_instances;
    if (!Internal::g_globalInitialized.exchange(true))
    {
        ResetHandler();
        Internal::InitializeGlobal();
    }
    Internal::InitializeThread();
}

Handler::~Handler()
{
    --Internal::g_instances;
    if (Internal::ThreadState* const state = Internal::ThreadState::Find())
    {
        --state->instances;
    }
    const Handler* const own = Internal::GetThreadLocalHandler();
    if (own == nullptr || own == this)
    {
        Internal::RemoveThread();
    }
}

void Handler::Internal::PrepareProcess()
{
    static const bool g_isPrepared =
        (Platform::OnFork([] { g_holdsLockAtFork = CrashLock::IsHeld(); }, [] {}, &ResetInChild),
         FaultDispatch::CallAtExit(&WaitForReports), true);
    static_cast<void>(g_isPrepared);
}

void Handler::Internal::WaitForReports()
{
    // The library's own work always ends; an answer may never come.
    std::chrono::milliseconds forReports = ReportsAtExit;
    std::chrono::milliseconds forAnswer = AnswerAtExit;
    while (g_crashedThread != 0 && !CrashLock::IsHeld() && forReports.count() > 0 && forAnswer.count() > 0)
    {
        std::this_thread::sleep_for(PollAtExit);
        (g_answerIsAwaited ? forAnswer : forReports) -= PollAtExit;
    }
}

void Handler::Internal::ResetInChild() noexcept
{
    const ThreadState* const state = ThreadState::Find();
    g_instances = state != nullptr ? state->instances : 0;
    g_alreadyCrashed = false;
    g_answerIsAwaited = g_answerIsAwaited && g_holdsLockAtFork;
    if (g_holdsLockAtFork)
    {
        g_crashedThread = FaultDispatch::ThreadId(); // the thread has another number in the child
        return;
    }
    g_crashedThread = 0;
    std::construct_at(&g_alreadyCrashedLock); // the thread that owns it does not exist in the child
}

Handler* Handler::Internal::GetThreadLocalHandler() noexcept
{
    const ThreadState* const state = ThreadState::Get();
    return state != nullptr ? state->handler.get() : nullptr;
}

Handler::Internal::ThreadState& Handler::Internal::StateOfCallingThread()
{
    ThreadState* state = ThreadState::Get();
    if (state == nullptr)
    {
        state = std::make_unique<ThreadState>().release(); // owned by EndThread
        FaultDispatch::ThreadData() = state;
        FaultDispatch::CallAtThreadEnd(&EndThread, state);
    }
    return *state;
}

void Handler::Internal::EndThread(void*) noexcept
{
    std::unique_ptr<ThreadState> state(ThreadState::Get());
    if (state != nullptr && FaultDispatch::IsInGuardedCall())
    {
        // The process ends from inside Execute, whose guarded call still needs the state for a later fault.
        static std::atomic<const ThreadState*> g_left; // so that leak checkers find the state
        g_left = state.release();
    }
    else if (state != nullptr)
    {
        state->handler.reset(); // still needs the state of the thread
        RemoveThread();
        FaultDispatch::ThreadData() = nullptr;
    }
}

void Handler::SetFlags(unsigned long long flags)
{
    const int instances = Internal::g_instances;
    if (instances > 1 || (instances == 1 && Internal::GetThreadLocalHandler() == nullptr))
    {
        Platform::WriteStandardError(std::string(FlagsTooLate) + '\n');
        Internal::KillCurrentProcess();
        throw std::runtime_error(FlagsTooLate);
    }
    Internal::RemoveGlobal();
    Internal::RemoveThread();
    Internal::g_handlerFlags = flags;
    Internal::g_globalInitialized = true;
    ResetHandler();
    Internal::InitializeGlobal();
    Internal::InitializeThread();
}

void Handler::Internal::InitializeGlobal()
{
    const unsigned long long flags = g_handlerFlags;
    if ((flags & CreateDumpFolder) != 0)
    {
        MiniDumpGenerator::CreateDumpDirectory();
    }
    if ((flags & RememberThrows) != 0)
    {
        FaultDispatch::SetThrowFilter(&RegisterLastExceptionOnThread);
    }
    if (flags != 0)
    {
        FaultDispatch::Start();
        WarnIfLoadedLate();
    }
    if ((flags & CatchUncaught) != 0)
    {
        g_previousUnhandledFilter = FaultDispatch::SetUnhandledFilter(&HandleUncaughtExceptions);
        g_unhandledFilterInstalled = true;
    }
}

void Handler::Internal::RemoveGlobal()
{
    if (g_unhandledFilterInstalled.exchange(false))
    {
        FaultDispatch::SetUnhandledFilter(g_previousUnhandledFilter.exchange(nullptr));
    }
    FaultDispatch::SetThrowFilter(nullptr);
    if (std::get_terminate() == &TerminateHandler)
    {
        std::set_terminate(g_previousTerminateHandler);
    }
}

void Handler::Internal::InitializeThread()
{
    ThreadState& state = StateOfCallingThread();
    RemoveThread();
    const unsigned long long flags = g_handlerFlags;
    if (flags != 0)
    {
        FaultDispatch::MonitorThread();
        Prepare();
    }
    for (const auto& [flag, filter] : VectoredFilters)
    {
        if ((flags & flag) != 0)
        {
            FaultDispatch::AddVectoredFilter(filter);
        }
    }
    if ((flags & RememberThrows) != 0 && std::get_terminate() != &TerminateHandler)
    {
        g_previousTerminateHandler = std::set_terminate(&TerminateHandler);
    }
    state.registeredFilters = flags;
    state.lastMinidumpActions = {};
}

void Handler::Internal::RemoveThread()
{
    ThreadState* const state = ThreadState::Get();
    if (state == nullptr)
    {
        return;
    }
    for (const auto& [flag, filter] : VectoredFilters)
    {
        if ((state->registeredFilters & flag) != 0)
        {
            FaultDispatch::RemoveVectoredFilter(filter);
        }
    }
    state->registeredFilters = 0;
}

void Handler::SetMonitorAllThread(bool monitor)
{
    Internal::g_monitorThreadExceptions = monitor;
}

void Handler::SetHandler(const FaultHandler& handler)
{
    if (!handler)
    {
        ResetHandler();
        return;
    }
    // Handlers are never freed: a thread may be calling the old one, and a fault may come after the last destructor of
    // the process.
    static auto& mutex = *new std::mutex;
    static auto& handlers = *new std::deque<FaultHandler>;
    const std::lock_guard lock(mutex);
    handlers.push_back(handler);
    Internal::g_defaultExceptionHandler = &handlers.back();
}

void Handler::ResetHandler()
{
    Internal::g_defaultExceptionHandler = nullptr;
}

// Guarded work -----------------------------------------------------------------------------------------------------

void Handler::Execute(const std::function<void()>& work)
{
    ExecuteOrNotify(work, {});
}

void Handler::ExecuteOrNotify(const std::function<void()>& work, const Notify& notify)
{
    Internal::GuardedCall call{work, notify};
    const Internal::ThreadState* const known = Internal::ThreadState::Find();
    if (!Internal::g_monitorThreadExceptions && (known == nullptr || known->instances == 0))
    {
        Internal::CallCatching(&call);
        return;
    }
    Internal::PrepareProcess();
    FaultDispatch::MonitorThread();
    Internal::PrepareOnce();
    Internal::ThreadState& state = Internal::StateOfCallingThread();

    /// The state during the call. It lives in this frame, to which the jump after a fault returns.
    class Frame
    {
    public:
        Frame(Internal::ThreadState& state, const Notify& notify)
            : m_state(state),
              m_outerNotify(state.notify),
              m_holdsCrashLock(Internal::CrashLock::IsHeld()),
              m_remembersThrows(m_outerNotify == nullptr && (state.registeredFilters & RememberThrows) == 0)
        {
            state.notify = &notify;
            if (m_remembersThrows)
            {
                FaultDispatch::AddVectoredFilter(&Internal::RegisterLastExceptionOnThread);
            }
        }

        ~Frame()
        {
            m_state.notify = m_outerNotify;
            if (m_remembersThrows)
            {
                FaultDispatch::RemoveVectoredFilter(&Internal::RegisterLastExceptionOnThread);
            }
            // The handling of an exception has faulted, and the jump has left its frames without unlocking.
            if (!m_holdsCrashLock && Internal::CrashLock::IsHeld())
            {
                Internal::CrashLock::Unlock();
            }
        }

        Frame(const Frame&) = delete;
        Frame& operator=(const Frame&) = delete;

    private:
        Internal::ThreadState& m_state;
        const Notify* m_outerNotify;
        bool m_holdsCrashLock;
        bool m_remembersThrows;
    };

    const Frame frame(state, notify);
    FaultDispatch::CallGuarded(&Internal::CallCatching, &call, &Internal::HandleFaultOfWork);
}

void Handler::Internal::PrepareOnce()
{
    static std::once_flag g_isPrepared;
    std::call_once(g_isPrepared, &Prepare);
}

void Handler::Internal::CallCatching(void* guardedCall)
{
    Crash::CatchAll(
        [](void* argument)
        {
            const auto& [work, notify] = *static_cast<GuardedCall*>(argument);
            notify ? FilterWarnings(work, notify) : FilterWarnings(work);
        },
        [](void* argument) { HandleExceptionOfWork(*static_cast<GuardedCall*>(argument)); }, guardedCall);
}

void Handler::Internal::FilterWarnings(const std::function<void()>& work)
{
    try
    {
        work();
    }
    catch (const Warning& warning)
    {
        Log(warning);
    }
}

void Handler::Internal::FilterWarnings(const std::function<void()>& work, const Notify& notify)
{
    try
    {
        work();
    }
    catch (const Warning& warning)
    {
        try
        {
            auto notification = std::make_shared<Notification>();
            notification->exception = std::current_exception();
            notify(std::move(notification));
        }
        catch (const std::exception&)
        {
            Log(warning);
        }
    }
}

void Handler::Internal::HandleExceptionOfWork(GuardedCall& call)
{
    PrepareOnce();
    Crash::CaughtException fault;
    HandleException(fault.Pointers(), call.notify);
    KillCurrentProcess();
}

} // namespace Ardo::Kiln::Exception
