// The filters of the handler and its terminate handler, which the system calls at a fault.

#include "Ardo/Kiln/Crash/Fault/UncaughtException.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Crash/FaultRecord.h"
#include "Ardo/Kiln/Exception/HandlerInternal_p.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <string_view>

namespace Ardo::Kiln::Exception
{

namespace
{

namespace FaultCode = Crash::FaultCode;
namespace FilterResult = Crash::FilterResult;
using Crash::FaultDispatch;

// A place that faults more often than this, each time within the pause after the last, is a loop. Ticks of 100 ns.
constexpr unsigned SuspiciousRepetitions = 3;
constexpr std::uint64_t LoopPause = 1'010'000;

} // namespace

long Handler::Internal::HandleFaultOfWork(EXCEPTION_POINTERS* pointers)
{
    if (Crash::ReadFaultRecord(pointers).code == FaultCode::DebugPrint)
    {
        return FilterResult::ContinueSearch; // a message to a debugger, not a fault
    }
    const ThreadState* const state = ThreadState::Get();
    HandleException(pointers, state != nullptr && state->notify != nullptr ? *state->notify : Notify());
    KillCurrentProcess();
    return FilterResult::ExecuteHandler;
}

long Handler::Internal::HandleHeapCorruption(EXCEPTION_POINTERS* pointers)
{
    ThreadState* const state = ThreadState::Get();
    if (Crash::ReadFaultRecord(pointers).code == FaultCode::HeapCorruption && state != nullptr &&
        !state->heapCorruptionReported)
    {
        state->heapCorruptionReported = true;
        ReportUnderLock(pointers, "Heap corruption detected");
        KillCurrentProcess();
    }
    return FilterResult::ContinueSearch;
}

long Handler::Internal::HandleSuspiciousExceptionLoop(EXCEPTION_POINTERS* pointers)
{
    const Crash::FaultRecord record = Crash::ReadFaultRecord(pointers);
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

long Handler::Internal::RegisterLastExceptionOnThread(EXCEPTION_POINTERS* pointers)
{
    Crash::RememberThrow(pointers);
    return FilterResult::ContinueSearch;
}

long Handler::Internal::HandleUncaughtExceptions(EXCEPTION_POINTERS* pointers)
{
    const CrashLock lock;
    if (g_alreadyCrashed)
    {
        return FilterResult::ExecuteHandler;
    }
    switch (Crash::ReadFaultRecord(pointers).code)
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
    const Crash::FaultFilter previous = g_previousUnhandledFilter;
    return previous != nullptr ? previous(pointers) : FilterResult::ExecuteHandler;
}

void Handler::Internal::TerminateHandler()
{
    // No allocation, because an allocation may be what has failed.
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

std::uint64_t Handler::Internal::SystemClock() noexcept
{
    using Ticks = std::chrono::duration<std::uint64_t, std::ratio<1, 10'000'000>>;
    // Steady, because setting the wall clock must neither make two faults look like a loop nor hide one.
    return std::chrono::duration_cast<Ticks>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace Ardo::Kiln::Exception
