#include "Ardo/Kiln/Exception/Handler.h"

#include "Ardo/Kiln/Exception/CrashReport_p.h"
#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/NotifyException.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/Kiln/Platform/CatchAll.h"
#include "Ardo/Kiln/Platform/CaughtException.h"
#include "Ardo/Kiln/Platform/FaultCode.h"
#include "Ardo/Kiln/Platform/FaultDispatch.h"
#include "Ardo/Kiln/Platform/FaultRecord.h"
#include "Ardo/Kiln/Platform/LastThrow.h"
#include "Ardo/Kiln/Platform/ProcessEnd.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>

#include <array>
#include <charconv>
#include <chrono>
#include <deque>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace Ardo::Kiln::Exception
{

namespace
{

namespace FaultCode = Platform::FaultCode;
namespace FilterResult = Platform::FilterResult;
using Platform::FaultDispatch;

constexpr unsigned long long GreatestFlagsThatAskNobody = 127;

constexpr std::string_view FlagsTooLate = "Handler::SetFlags should be set before instantiation of secondary threads";

// A place that faults more often than this, each time within the pause after the last, is a loop. Ticks of 100 ns.
constexpr unsigned SuspiciousRepetitions = 3;
constexpr std::uint64_t LoopPause = 1'010'000;

/// How long an answer is waited for when the thread that would present the question has faulted itself.
constexpr std::chrono::seconds AnswerOfFaultedThread{3};

/// How long something is waited for before it is asked whether waiting still makes sense.
constexpr std::chrono::milliseconds Glance{20};

} // namespace

/// What the handler knows about one thread. Filters reach it through FaultDispatch::ThreadWord, because on Linux they
/// run on another thread; the thread itself owns it.
struct Handler::ThreadState
{
    std::unique_ptr<Handler> handler;         ///< Made by Initialize.
    unsigned long long registeredFilters = 0; ///< The flags whose filters are in the thread's chain.
    const Notify* notify = nullptr;           ///< Of the innermost Execute; null outside.
    MinidumpActions lastMinidumpActions;

    // The loop detector's memory.
    unsigned repetitions = 0;
    const EXCEPTION_POINTERS* lastPointers = nullptr;
    std::uint64_t lastAddress = 0;
    std::optional<std::uint64_t> lastTime;

    bool heapCorruptionReported = false;

    /// Of the thread on whose behalf the caller runs; null when there is none.
    static ThreadState* Get() noexcept { return static_cast<ThreadState*>(FaultDispatch::ThreadWord()); }
};

/// One call of Execute or ExecuteOrNotify.
struct Handler::GuardedCall
{
    const std::function<void()>& work;
    const Notify& notify;
};

/// Holds g_alreadyCrashedLock, unless the faulted thread holds it already: its handling has faulted then.
class Handler::CrashLock
{
public:
    CrashLock() : m_thread(FaultDispatch::ThreadId()), m_isNested(IsHeldBy(m_thread))
    {
        if (!m_isNested)
        {
            Lock();
            g_crashedThread = m_thread;
        }
    }

    ~CrashLock()
    {
        if (!m_isNested)
        {
            Unlock();
        }
    }

    CrashLock(const CrashLock&) = delete;
    CrashLock& operator=(const CrashLock&) = delete;

    bool IsNested() const { return m_isNested; }

    static bool IsHeldBy(std::uint32_t thread) { return g_crashedThread == thread; }

    static void Unlock()
    {
        g_crashedThread = 0;
        g_alreadyCrashedLock.unlock();
    }

private:
    /// The holder may be waiting for a person: that time does not count here either.
    static void Lock()
    {
        std::optional<FaultDispatch::PersonIsAsked> pause;
        while (!g_alreadyCrashedLock.try_lock())
        {
            if (g_peopleAsked == 0)
            {
                pause.reset();
            }
            else if (!pause)
            {
                pause.emplace();
            }
            std::this_thread::sleep_for(Glance);
        }
    }

    std::uint32_t m_thread;
    bool m_isNested;
};

// All of these live from before the first constructor until after the last destructor of the process.
constinit std::atomic<unsigned long long> Handler::g_handlerFlags = 0;
constinit std::atomic<bool> Handler::g_globalInitialized = false;
constinit std::atomic<bool> Handler::g_monitorThreadExceptions = false;
constinit bool Handler::g_alreadyCrashed = false;
constinit std::mutex Handler::g_alreadyCrashedLock;
constinit std::atomic<std::uint32_t> Handler::g_crashedThread = 0;
constinit std::atomic<int> Handler::g_peopleAsked = 0;
constinit std::atomic<const Handler::FaultHandler*> Handler::g_defaultExceptionHandler = nullptr;
constinit std::atomic<bool> Handler::g_unhandledFilterInstalled = false;
constinit std::atomic<long (*)(EXCEPTION_POINTERS*)> Handler::g_previousUnhandledFilter = nullptr;
constinit std::atomic<std::terminate_handler> Handler::g_previousTerminateHandler = nullptr;
constinit std::atomic<int> Handler::g_instances = 0;
constinit std::atomic<std::uint64_t (*)()> Handler::g_clock = &Handler::SystemClock;

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

/// Counts those who wait for a person, as long as it lives.
class Waiting
{
public:
    explicit Waiting(std::atomic<int>& count) : m_count(count) { ++m_count; }
    ~Waiting() { --m_count; }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

private:
    std::atomic<int>& m_count;
};

} // namespace

// Monitoring -----------------------------------------------------------------------------------------------------

void Handler::Initialize()
{
    if (g_handlerFlags == 0)
    {
        return;
    }
    ThreadState& state = StateOfCallingThread();
    if (!state.handler)
    {
        state.handler = std::make_unique<Handler>();
    }
}

Handler::Handler()
{
    ++g_instances;
    if (!g_globalInitialized.exchange(true))
    {
        ResetHandler();
        InitializeGlobal();
    }
    InitializeThread();
}

Handler::~Handler()
{
    --g_instances;
    const Handler* const own = GetThreadLocalHandler();
    if (own == nullptr || own == this)
    {
        RemoveThread();
    }
}

Handler* Handler::GetThreadLocalHandler() noexcept
{
    const ThreadState* const state = ThreadState::Get();
    return state != nullptr ? state->handler.get() : nullptr;
}

Handler::ThreadState& Handler::StateOfCallingThread()
{
    struct Owner
    {
        std::unique_ptr<ThreadState> state;

        ~Owner()
        {
            // The handler finds the state while it says farewell to the thread.
            if (state)
            {
                state->handler.reset();
                RemoveThread();
                FaultDispatch::ThreadWord() = nullptr;
            }
        }
    };
    static thread_local Owner owner;
    if (ThreadState::Get() == nullptr)
    {
        // Execute may run once more in a destructor of the thread, after this one's: the state is made anew then.
        owner.state = std::make_unique<ThreadState>();
        FaultDispatch::ThreadWord() = owner.state.get();
    }
    return *owner.state;
}

void Handler::SetFlags(unsigned long long flags)
{
    const int instances = g_instances;
    if (instances > 1 || (instances == 1 && GetThreadLocalHandler() == nullptr))
    {
        Platform::WriteStandardError(std::string(FlagsTooLate) + '\n');
        KillCurrentProcess();
        throw std::runtime_error(std::string(FlagsTooLate));
    }
    RemoveGlobal();
    RemoveThread();
    g_handlerFlags = flags;
    g_globalInitialized = true;
    ResetHandler();
    InitializeGlobal();
    InitializeThread();
}

void Handler::InitializeGlobal()
{
    const unsigned long long flags = g_handlerFlags;
    if ((flags & CreateDumpFolder) != 0)
    {
        MiniDumpGenerator::CreateDumpDirectory();
    }
    if ((flags & CatchUncaught) != 0)
    {
        FaultDispatch::Start();
        g_previousUnhandledFilter = FaultDispatch::SetUnhandledFilter(&HandleUncaughtExceptions);
        g_unhandledFilterInstalled = true;
    }
}

void Handler::RemoveGlobal()
{
    if (g_unhandledFilterInstalled.exchange(false))
    {
        FaultDispatch::SetUnhandledFilter(g_previousUnhandledFilter.exchange(nullptr));
    }
    if (std::get_terminate() == &TerminateHandler)
    {
        std::set_terminate(g_previousTerminateHandler);
    }
}

void Handler::InitializeThread()
{
    ThreadState& state = StateOfCallingThread();
    RemoveThread();
    const unsigned long long flags = g_handlerFlags;
    if (flags != 0)
    {
        FaultDispatch::MonitorThread();
    }
    // Each as the first of the chain: at a fault they are asked in the reverse order.
    if ((flags & RememberThrows) != 0)
    {
        FaultDispatch::AddVectoredFilter(&RegisterLastExceptionOnThread);
        if (std::get_terminate() != &TerminateHandler)
        {
            g_previousTerminateHandler = std::set_terminate(&TerminateHandler);
        }
    }
    if ((flags & DetectLoops) != 0)
    {
        FaultDispatch::AddVectoredFilter(&HandleSuspiciousExceptionLoop);
    }
    if ((flags & DetectHeapCorruption) != 0)
    {
        FaultDispatch::AddVectoredFilter(&HandleHeapCorruption);
    }
    state.registeredFilters = flags;
    state.lastMinidumpActions = {};
}

void Handler::RemoveThread()
{
    ThreadState* const state = ThreadState::Get();
    if (state == nullptr)
    {
        return;
    }
    const std::array<std::pair<Flag, Platform::FaultFilter>, 3> filters = {
        {{RememberThrows, &RegisterLastExceptionOnThread},
         {DetectLoops, &HandleSuspiciousExceptionLoop},
         {DetectHeapCorruption, &HandleHeapCorruption}}};
    for (const auto& [flag, filter] : filters)
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
    g_monitorThreadExceptions = monitor;
}

void Handler::SetHandler(const FaultHandler& handler)
{
    if (!handler)
    {
        ResetHandler();
        return;
    }
    // They are kept for ever: a thread may just be calling the one before, and a fault may come after the last
    // destructor of the process.
    static auto& mutex = *new std::mutex;
    static auto& handlers = *new std::deque<FaultHandler>;
    const std::lock_guard lock(mutex);
    handlers.push_back(handler);
    g_defaultExceptionHandler = &handlers.back();
}

void Handler::ResetHandler()
{
    g_defaultExceptionHandler = nullptr;
}

// Guarded work -----------------------------------------------------------------------------------------------------

void Handler::Execute(const std::function<void()>& work)
{
    ExecuteOrNotify(work, {});
}

void Handler::ExecuteOrNotify(const std::function<void()>& work, const Notify& notify)
{
    FaultDispatch::MonitorThread();
    ThreadState& state = StateOfCallingThread();

    /// What holds during the call. In this frame, to which faults come back.
    class Frame
    {
    public:
        Frame(ThreadState& state, const Notify& notify)
            : m_state(state),
              m_outerNotify(state.notify),
              m_holdsCrashLock(CrashLock::IsHeldBy(FaultDispatch::ThreadId())),
              m_remembersThrows(m_outerNotify == nullptr && (state.registeredFilters & RememberThrows) == 0)
        {
            state.notify = &notify;
            if (m_remembersThrows)
            {
                FaultDispatch::AddVectoredFilter(&RegisterLastExceptionOnThread);
            }
        }

        ~Frame()
        {
            m_state.notify = m_outerNotify;
            if (m_remembersThrows)
            {
                FaultDispatch::RemoveVectoredFilter(&RegisterLastExceptionOnThread);
            }
            // The handling of an exception has faulted, and its own frames are gone without having unlocked.
            if (!m_holdsCrashLock && CrashLock::IsHeldBy(FaultDispatch::ThreadId()))
            {
                CrashLock::Unlock();
            }
        }

        Frame(const Frame&) = delete;
        Frame& operator=(const Frame&) = delete;

    private:
        ThreadState& m_state;
        const Notify* m_outerNotify;
        bool m_holdsCrashLock;
        bool m_remembersThrows;
    };

    const Frame frame(state, notify);
    GuardedCall call{work, notify};
    FaultDispatch::CallGuarded(
        [](void* argument)
        {
            Platform::CatchAll(
                [](void* guarded)
                {
                    const auto& [theWork, theNotify] = *static_cast<GuardedCall*>(guarded);
                    theNotify ? FilterWarnings(theWork, theNotify) : FilterWarnings(theWork);
                },
                [](void* guarded) { HandleExceptionOfWork(*static_cast<GuardedCall*>(guarded)); }, argument);
        },
        &call, &HandleFaultOfWork);
}

void Handler::FilterWarnings(const std::function<void()>& work)
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

void Handler::FilterWarnings(const std::function<void()>& work, const Notify& notify)
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

void Handler::HandleExceptionOfWork(GuardedCall& call)
{
    try
    {
        Platform::CaughtException fault;
        HandleException(fault.Pointers(), call.notify);
    }
    catch (const std::exception& error)
    {
        // Not even the few bytes for the record are left.
        Platform::WriteStandardError(error.what());
        Platform::WriteStandardError("\n");
    }
    KillCurrentProcess();
}

// The filters ------------------------------------------------------------------------------------------------------

long Handler::HandleFaultOfWork(EXCEPTION_POINTERS* pointers)
{
    if (Platform::ReadFaultRecord(pointers).code == FaultCode::DebugPrint)
    {
        return FilterResult::ContinueSearch; // says something to a debugger, and is no fault
    }
    const ThreadState* const state = ThreadState::Get();
    HandleException(pointers, state != nullptr && state->notify != nullptr ? *state->notify : Notify());
    KillCurrentProcess();
    return FilterResult::ExecuteHandler;
}

long Handler::HandleHeapCorruption(EXCEPTION_POINTERS* pointers)
{
    ThreadState* const state = ThreadState::Get();
    if (Platform::ReadFaultRecord(pointers).code == FaultCode::HeapCorruption && state != nullptr &&
        !state->heapCorruptionReported)
    {
        state->heapCorruptionReported = true;
        ReportUnderLock(pointers, "Heap corruption detected");
        KillCurrentProcess();
    }
    return FilterResult::ContinueSearch;
}

long Handler::HandleSuspiciousExceptionLoop(EXCEPTION_POINTERS* pointers)
{
    const Platform::FaultRecord record = Platform::ReadFaultRecord(pointers);
    ThreadState* const state = ThreadState::Get();
    if (state == nullptr || record.code == FaultCode::Breakpoint || record.code == FaultCode::SingleStep ||
        record.code == FaultCode::DebugPrint || record.code == FaultCode::ControlCExit)
    {
        return FilterResult::ContinueSearch;
    }
    const std::uint64_t now = g_clock.load()();
    const bool isRepetition = record.code != FaultCode::CxxException && pointers == state->lastPointers &&
                              record.thirdInformationWord == 0 && record.address == state->lastAddress;
    if (!isRepetition)
    {
        state->repetitions = 0;
    }
    else if (state->lastTime && now - *state->lastTime >= LoopPause)
    {
        state->repetitions = 1;
    }
    else
    {
        if (state->repetitions >= SuspiciousRepetitions)
        {
            ReportUnderLock(pointers, "A suspicious loop of exceptions has been detected. Orbex must be ended. \r\n");
            KillCurrentProcess();
        }
        ++state->repetitions;
    }
    state->lastPointers = pointers;
    state->lastAddress = record.address;
    state->lastTime = now;
    return FilterResult::ContinueSearch;
}

long Handler::RegisterLastExceptionOnThread(EXCEPTION_POINTERS* pointers)
{
    Platform::RememberThrow(pointers);
    return FilterResult::ContinueSearch;
}

long Handler::HandleUncaughtExceptions(EXCEPTION_POINTERS* pointers)
{
    const CrashLock lock;
    if (g_alreadyCrashed)
    {
        return FilterResult::ExecuteHandler;
    }
    switch (Platform::ReadFaultRecord(pointers).code)
    {
    case FaultCode::Breakpoint:
    case FaultCode::SingleStep:
    case FaultCode::DebugPrint:
        return FilterResult::ContinueSearch;
    case FaultCode::ControlCExit:
        return FilterResult::ExecuteHandler;
    default:
        break;
    }
    g_alreadyCrashed = true;
    if (lock.IsNested())
    {
        CreateReports(pointers);
    }
    else if (!IsReportedHeapCorruption(pointers))
    {
        ReportAndDump(pointers, "An uncaught exceptions has been detected. Orbex must be ended. \r\n", {});
    }
    KillCurrentProcess();
    const Platform::FaultFilter previous = g_previousUnhandledFilter;
    return previous != nullptr ? previous(pointers) : FilterResult::ExecuteHandler;
}

void Handler::TerminateHandler()
{
    // No allocation: it may be what has failed.
    char text[80] = "A thread (id: ";
    char* end = std::to_chars(text + std::string_view(text).size(), text + sizeof(text), FaultDispatch::ThreadId()).ptr;
    constexpr std::string_view Rest = ") is being abnormally terminated\n";
    end = std::copy(Rest.begin(), Rest.end(), end);
    Platform::WriteStandardError({text, static_cast<std::size_t>(end - text)});
    if (const std::terminate_handler previous = g_previousTerminateHandler)
    {
        previous();
    }
    std::abort();
}

// Fatal handling ----------------------------------------------------------------------------------------------------

void Handler::HandleException(EXCEPTION_POINTERS* pointers)
{
    HandleException(pointers, {});
}

void Handler::HandleException(EXCEPTION_POINTERS* pointers, const Notify& notify)
{
    const CrashLock lock;
    if (lock.IsNested())
    {
        CreateReports(pointers);
        return;
    }
    try
    {
        const FaultHandler* const handler = g_defaultExceptionHandler;
        handler != nullptr ? (*handler)(pointers, notify) : DefaultExceptionHandler(pointers, notify);
    }
    catch (...)
    {
        CreateReports(pointers);
    }
}

void Handler::DefaultExceptionHandler(EXCEPTION_POINTERS* pointers, const Notify& notify)
{
    if (IsReportedHeapCorruption(pointers))
    {
        return;
    }
    try
    {
        ReportAndDump(pointers, "A unfiltered exception has been caught. Orbex must be ended. \n", notify);
    }
    catch (...)
    {
        CreateReports(pointers);
    }
}

bool Handler::IsReportedHeapCorruption(const EXCEPTION_POINTERS* pointers)
{
    const ThreadState* const state = ThreadState::Get();
    return Platform::ReadFaultRecord(pointers).code == FaultCode::HeapCorruption && state != nullptr &&
           state->heapCorruptionReported;
}

void Handler::ReportUnderLock(EXCEPTION_POINTERS* pointers, const std::string& message)
{
    const CrashLock lock;
    lock.IsNested() ? CreateReports(pointers) : ReportAndDump(pointers, message, {});
}

void Handler::ReportAndDump(EXCEPTION_POINTERS* pointers, const std::string& message, const Notify& notify) noexcept
{
    MinidumpActions answer;
    try
    {
        const std::string report = GetReport(pointers);
        answer = AskUserForMinidump(ConvertToExceptionPtr(message, report), notify);
        if (ThreadState* const state = ThreadState::Get())
        {
            state->lastMinidumpActions = answer;
        }
    }
    catch (...)
    {
        CreateReports(pointers);
        return;
    }
    if (answer.decision != 0)
    {
        CreateReports(pointers);
    }
    try
    {
        if (answer.function)
        {
            answer.function();
        }
    }
    catch (...)
    {
        // The presenter's affair; the fault is dealt with.
    }
}

std::exception_ptr Handler::ConvertToExceptionPtr(const std::string& message, const std::string& report)
{
    Platform::WriteStandardError(message + '\n');
    Error error(message);
    error << ReportInfo(report);
    return std::make_exception_ptr(error);
}

MinidumpActions Handler::AskUserForMinidump(const std::exception_ptr& exception, const Notify& notify)
{
    if (g_handlerFlags <= GreatestFlagsThatAskNobody && !notify)
    {
        return {};
    }
    try
    {
        auto notification = std::make_shared<Notification>();
        notification->exception = exception;
        std::future<MinidumpActions> answer = notification->reply.get_future();
        if (notify)
        {
            // No reference is kept: a notification that the presenter drops must not leave us waiting for ourselves.
            notify(std::move(notification));
        }
        else
        {
            const Waiting waiting(g_peopleAsked);
            const FaultDispatch::PersonIsAsked pause;
            NotifyException(notification);
            notification.reset();
        }
        if (FaultDispatch::FirstThreadIsAtFault())
        {
            // Nothing that was posted to the thread at fault will ever be looked at; others may still answer.
            return answer.wait_for(AnswerOfFaultedThread) == std::future_status::ready ? answer.get()
                                                                                       : MinidumpActions();
        }
        const Waiting waiting(g_peopleAsked);
        const FaultDispatch::PersonIsAsked pause;
        while (answer.wait_for(Glance) != std::future_status::ready)
        {
            if (FaultDispatch::PersonIsAsked::NobodyCanAnswer())
            {
                return {};
            }
        }
        return answer.get();
    }
    catch (...)
    {
        return {}; // a presenter that fails, or that drops the question
    }
}

std::string Handler::GetReport(EXCEPTION_POINTERS* pointers)
{
    GetAndPrintExceptionInfo(pointers);
    return CrashReport::GetReport(pointers);
}

std::string Handler::GetAndPrintExceptionInfo(EXCEPTION_POINTERS* pointers)
{
    return CrashReport::GetAndPrintExceptionInfo(pointers);
}

void Handler::CreateReports(EXCEPTION_POINTERS* pointers) noexcept
{
    CrashReport::CreateReports(pointers);
}

void Handler::KillCurrentProcess()
{
    if ((g_handlerFlags & EndProcess) != 0)
    {
        Platform::WriteStandardError("Terminating Orbex.\n");
        Platform::EndProcess(0);
    }
}

std::uint64_t Handler::SystemClock() noexcept
{
    using Ticks = std::chrono::duration<std::uint64_t, std::ratio<1, 10'000'000>>;
    // Steady: a clock that is set must not make a loop of two faults, nor hide one.
    return std::chrono::duration_cast<Ticks>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace Ardo::Kiln::Exception
