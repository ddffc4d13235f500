// The handling of a fatal fault.

#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/FaultRecord.h"
#include "Ardo/Kiln/Crash/Writer/FaultReports.h"
#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/HandlerInternal_p.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/NotifyException.h"
#include "Ardo/Kiln/Logger/LogFileRegistry.h"
#include "Ardo/Kiln/Platform/ProcessEnd.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>

namespace Ardo::Kiln::Exception
{

namespace
{

namespace FaultCode = Crash::FaultCode;
using Crash::FaultDispatch;

constexpr unsigned long long MaxFlagsThatAskNobody = 127;

/// Polling interval of the waits below.
constexpr std::chrono::milliseconds AnswerPollInterval{20};

constexpr std::size_t ReserveSize =
    2 << 20; // enough for two reports, and so large that the allocator maps it and returns it to the system

std::atomic<void*> g_reserve = nullptr; ///< Emergency memory, released when allocation fails during a report.

void KeepReserve() noexcept
{
    if (g_reserve == nullptr)
    {
        std::free(g_reserve.exchange(std::malloc(ReserveSize)));
    }
}

/// Releases the reserve during its lifetime if there is no other memory.
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

/// Calls \p function, which belongs to the application. The time that it takes does not count: it may wait for a
/// person.
template <class Function>
void CallApplication(const Function& function)
{
    const FaultDispatch::ScopedTimeLimitPause pause;
    function();
}

} // namespace

void Handler::Internal::Prepare() noexcept
{
    Crash::PrepareReports();
    KeepReserve();
}

void Handler::Internal::HandleException(EXCEPTION_POINTERS* pointers)
{
    HandleException(pointers, {});
}

void Handler::Internal::HandleException(EXCEPTION_POINTERS* pointers, const Notify& notify)
{
    const CrashLock lock;
    if (lock.IsNested())
    {
        CreateReports(pointers);
        return;
    }
    try
    {
        if (const FaultHandler* const handler = g_defaultExceptionHandler)
        {
            const Reserve reserve; // its allocation is under the time limit, so that a locked heap ends it
            g_answerIsAwaited = true;
            CallApplication([&] { (*handler)(pointers, notify); });
            g_answerIsAwaited = false;
        }
        else
        {
            DefaultExceptionHandler(pointers, notify);
        }
    }
    catch (...)
    {
        CreateReports(pointers);
    }
}

void Handler::Internal::DefaultExceptionHandler(EXCEPTION_POINTERS* pointers, const Notify& notify)
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

bool Handler::Internal::IsReportedHeapCorruption(const EXCEPTION_POINTERS* pointers)
{
    const ThreadState* const state = ThreadState::Get();
    return Crash::ReadFaultRecord(pointers).code == FaultCode::HeapCorruption && state != nullptr &&
           state->heapCorruptionReported;
}

void Handler::Internal::ReportUnderLock(EXCEPTION_POINTERS* pointers, std::string_view message)
{
    const CrashLock lock;
    lock.IsNested() ? CreateReports(pointers) : ReportAndDump(pointers, message, {});
}

void Handler::Internal::ReportAndDump(EXCEPTION_POINTERS* pointers, std::string_view message,
                                      const Notify& notify) noexcept
{
    const Reserve reserve;
    const std::string logFiles = Logger::LogFileRegistry::FlushAfterFault();
    Crash::FaultReports reports(pointers, logFiles);
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
            CallApplication(answer.function);
        }
    }
    catch (...)
    {
        // A failure of the presenter does not matter any more: the reports are written.
    }
    Logger::LogFileRegistry::FlushAfterFault(); // records that other threads have logged while the user was asked
}

std::exception_ptr Handler::Internal::ConvertToExceptionPtr(std::string_view message, const std::string& report)
{
    const std::string text(message);
    Platform::WriteStandardError(text + '\n');
    Error error(text);
    error << ReportInfo(report);
    return std::make_exception_ptr(error);
}

MinidumpActions Handler::Internal::AskUserForMinidump(const std::exception_ptr& exception, const Notify& notify)
{
    if (g_handlerFlags <= MaxFlagsThatAskNobody && !notify)
    {
        return {};
    }
    g_answerIsAwaited = true;
    MinidumpActions actions;
    try
    {
        auto notification = std::make_shared<Notification>();
        notification->exception = exception;
        std::future<MinidumpActions> answer = notification->reply.get_future();
        CallApplication(
            [&]
            {
                if (notify)
                {
                    // No reference is kept: it would keep the promise of a notification that the presenter drops, and
                    // this wait would never end.
                    notify(std::move(notification));
                    actions = answer.get();
                    return;
                }
                NotifyException(notification);
                notification.reset();
                // The library's own presenter: the thread that shows the question may fault before it is answered.
                while (answer.wait_for(AnswerPollInterval) != std::future_status::ready)
                {
                    if (FaultDispatch::HasNoUserInterface())
                    {
                        return;
                    }
                }
                actions = answer.get();
            });
    }
    catch (...)
    {
        actions = {}; // a presenter that fails, or that drops the question
    }
    g_answerIsAwaited = false;
    return actions;
}

std::string Handler::Internal::GetReport(Crash::FaultReports& reports)
{
    GetAndPrintExceptionInfo(reports);
    PrintStack(reports.Text());
    return reports.Text();
}

std::string Handler::Internal::GetAndPrintExceptionInfo(const Crash::FaultReports& reports)
{
    return reports.Print();
}

void Handler::Internal::PrintStack(std::string_view report)
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

void Handler::Internal::CreateReports(EXCEPTION_POINTERS* pointers) noexcept
{
    Crash::FaultReports(pointers).Write();
}

void Handler::Internal::KillCurrentProcess()
{
    if ((g_handlerFlags & EndProcess) != 0)
    {
        Platform::WriteStandardError("Terminating Orbex.\n");
        Platform::EndProcess(0);
    }
}

} // namespace Ardo::Kiln::Exception
