// What the handler does about a fault once it is found fatal.

#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/FaultRecord.h"
#include "Ardo/Kiln/Crash/Writer/FaultReports.h"
#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/HandlerState_p.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/NotifyException.h"
#include "Ardo/Kiln/Platform/ProcessEnd.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <thread>

namespace Ardo::Kiln::Exception
{

namespace
{

namespace FaultCode = Crash::FaultCode;
using Crash::FaultDispatch;

constexpr unsigned long long GreatestFlagsThatAskNobody = 127;

/// How long an answer is waited for when the thread that would present the question has faulted itself.
constexpr std::chrono::seconds AnswerOfFaultedThread{3};

/// How long something is waited for before it is asked whether waiting still makes sense.
constexpr std::chrono::milliseconds Glance{20};

/// The thread that loaded the library: the one that talks to the person, as a rule.
const std::uint32_t g_firstThread = FaultDispatch::ThreadId();

constexpr std::size_t ReserveSize = 2 << 20; // for two reports; so large that it comes from the system, and goes back

std::atomic<void*> g_reserve = nullptr; ///< Memory for the day when there is none.

void KeepReserve() noexcept
{
    if (g_reserve == nullptr)
    {
        std::free(g_reserve.exchange(std::malloc(ReserveSize)));
    }
}

/// Gives up the reserve, if there is no other memory, as long as it lives.
class Reserve
{
public:
    Reserve()
    {
        void* const volatile probe = std::malloc(ReserveSize); // volatile: a compiler may leave out what is just freed
        std::free(probe != nullptr ? probe : g_reserve.exchange(nullptr));
    }
    ~Reserve() { KeepReserve(); }
    Reserve(const Reserve&) = delete;
    Reserve& operator=(const Reserve&) = delete;
};

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

void Handler::Prepare() noexcept
{
    Crash::PrepareReports();
    KeepReserve();
}

Handler::CrashLock::CrashLock() : m_isNested(IsHeld())
{
    if (m_isNested)
    {
        return;
    }
    // The holder may be waiting for a person: that time does not count here either.
    std::optional<FaultDispatch::ScopedTimeLimitPause> pause;
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
    g_crashedThread = FaultDispatch::ThreadId();
}

Handler::CrashLock::~CrashLock()
{
    if (!m_isNested)
    {
        Unlock();
    }
}

bool Handler::CrashLock::IsHeld() noexcept
{
    return g_crashedThread == FaultDispatch::ThreadId();
}

void Handler::CrashLock::Unlock() noexcept
{
    g_crashedThread = 0;
    g_alreadyCrashedLock.unlock();
}

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
    return Crash::ReadFaultRecord(pointers).code == FaultCode::HeapCorruption && state != nullptr &&
           state->heapCorruptionReported;
}

void Handler::ReportUnderLock(EXCEPTION_POINTERS* pointers, std::string_view message)
{
    const CrashLock lock;
    lock.IsNested() ? CreateReports(pointers) : ReportAndDump(pointers, message, {});
}

void Handler::ReportAndDump(EXCEPTION_POINTERS* pointers, std::string_view message, const Notify& notify) noexcept
{
    const Reserve reserve;
    Crash::FaultReports reports(pointers);
    MinidumpActions answer;
    try
    {
        const std::string report = GetReport(reports);
        answer = AskUserForMinidump(ConvertToExceptionPtr(message, report), notify);
        if (ThreadState* const state = ThreadState::Get())
        {
            state->lastMinidumpActions = answer;
        }
    }
    catch (...)
    {
        reports.Write();
        return;
    }
    if (answer.decision != 0)
    {
        reports.Write();
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

std::exception_ptr Handler::ConvertToExceptionPtr(std::string_view message, const std::string& report)
{
    const std::string text(message);
    Platform::WriteStandardError(text + '\n');
    Error error(text);
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
            NotifyException(notification);
            notification.reset();
        }
        if (FaultDispatch::FirstThreadIsAtFault() || FaultDispatch::ThreadId() == g_firstThread)
        {
            // Nothing that was posted to the thread at fault will ever be looked at; others may still answer.
            return answer.wait_for(AnswerOfFaultedThread) == std::future_status::ready ? answer.get()
                                                                                       : MinidumpActions();
        }
        const Waiting waiting(g_peopleAsked);
        const FaultDispatch::ScopedTimeLimitPause pause;
        while (answer.wait_for(Glance) != std::future_status::ready)
        {
            if (FaultDispatch::HasNoUserInterface())
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

std::string Handler::GetReport(Crash::FaultReports& reports)
{
    GetAndPrintExceptionInfo(reports);
    PrintStack(reports.Text());
    return reports.Text();
}

std::string Handler::GetAndPrintExceptionInfo(const Crash::FaultReports& reports)
{
    return reports.Print();
}

void Handler::PrintStack(std::string_view report)
{
    constexpr std::string_view FrameIndent = "  ";
    for (std::size_t begin = 0; begin < report.size();)
    {
        const std::size_t end = std::min(report.find_first_of("\r\n", begin), report.size());
        const std::string_view line = report.substr(begin, end - begin);
        if (line.starts_with(FrameIndent))
        {
            Platform::WriteStandardError(std::string(line) + '\n');
        }
        begin = end + 1;
    }
}

void Handler::CreateReports(EXCEPTION_POINTERS* pointers) noexcept
{
    Crash::FaultReports(pointers).Write();
}

void Handler::KillCurrentProcess()
{
    if ((g_handlerFlags & EndProcess) != 0)
    {
        Platform::WriteStandardError("Terminating Orbex.\n");
        Platform::EndProcess(0);
    }
}

} // namespace Ardo::Kiln::Exception
