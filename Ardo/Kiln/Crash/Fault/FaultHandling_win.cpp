#include "Ardo/Kiln/Crash/Fault/FaultHandling_win.h"

#include "Ardo/Kiln/Crash/Fault/FaultThread_win.h"
#include "Ardo/Kiln/Crash/Fault/OverflowThread_win.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <iterator>

namespace Ardo::Kiln::Crash
{

namespace
{

#ifdef _MSC_VER
constexpr DWORD OwnCxxException = FaultCode::CxxException;
#else
constexpr DWORD OwnCxxException = FaultCode::GccException;
#endif

constexpr long ContinueExecution = -1; // what a filter answers to go on where the fault was

std::atomic<FaultFilter> g_throwFilter = nullptr;
std::atomic<FaultFilter> g_unhandledFilter = nullptr;

DWORD CodeOf(const EXCEPTION_POINTERS* pointers) noexcept
{
    return pointers->ExceptionRecord->ExceptionCode;
}

/// A fault of the thread on whose behalf the caller runs is handled as long as an object lives.
class Handling
{
public:
    explicit Handling(const EXCEPTION_POINTERS* pointers) noexcept : m_thread(FaultThreadOnBehalf())
    {
        constexpr unsigned MaxDepth = 3; // the handling has faulted, and what does without it has faulted, too
        if (m_thread != nullptr && ++m_thread->depth > MaxDepth)
        {
            ::TerminateProcess(::GetCurrentProcess(), CodeOf(pointers));
        }
    }
    ~Handling()
    {
        if (m_thread != nullptr)
        {
            --m_thread->depth;
        }
    }
    Handling(const Handling&) = delete;
    Handling& operator=(const Handling&) = delete;

private:
    FaultThread* m_thread;
};

/// The system's vectored handlers are the process's; each thread has its own here.
long AskVectoredFilters(EXCEPTION_POINTERS* pointers)
{
    const FaultThread* const thread = FaultThreadOnBehalf();
    if (thread == nullptr || thread->filters.IsEmpty())
    {
        const FaultFilter throwFilter = g_throwFilter;
        if (throwFilter != nullptr && CodeOf(pointers) == OwnCxxException)
        {
            throwFilter(pointers);
        }
        return FilterResult::ContinueSearch;
    }
    for (const FaultFilter filter : thread->filters)
    {
        if (filter(pointers) < FilterResult::ContinueSearch)
        {
            return ContinueExecution;
        }
    }
    return FilterResult::ContinueSearch;
}

/// Asks all filters about a fault that no other handler can deal with.
long AskAllFilters(EXCEPTION_POINTERS* pointers)
{
    const Handling handling(pointers);
    if (AskVectoredFilters(pointers) < FilterResult::ContinueSearch)
    {
        return ContinueExecution;
    }
    const FaultThread* const thread = FaultThreadOnBehalf();
    const FaultFilter filter =
        thread != nullptr && thread->guard != nullptr ? thread->guard->filter : g_unhandledFilter.load();
    return filter != nullptr ? filter(pointers) : FilterResult::ContinueSearch;
}

/// A stack overflow that is dealt with on another stack. One at a time.
struct Overflow
{
    SRWLOCK lock = SRWLOCK_INIT;
    EXCEPTION_RECORD record = {};
    CONTEXT context = {};
    EXCEPTION_POINTERS pointers = {};
    alignas(16) char stack[16 * 1024] = {};
};

constinit Overflow g_overflow;

/// The thread continues here, on the other stack, in place of what has used up its own. The filters run on a thread of
/// their own: this stack is no place for exceptions, which the system would not handle on it.
[[noreturn]] void DealWithOverflow() noexcept
{
    const long answer = AskOnOtherStack(&AskAllFilters, &g_overflow.pointers);
    FaultThread* const thread = OwnFaultThread();
    CONTEXT next = g_overflow.context;
    if (answer == FilterResult::ExecuteHandler && thread != nullptr && thread->guard != nullptr)
    {
        thread->hasOverflowed = true;
        thread->guard->call.isLeft = 1;
        next = thread->guard->call.context;
    }
    else if (answer >= FilterResult::ContinueSearch)
    {
        ::TerminateProcess(::GetCurrentProcess(), FaultCode::StackOverflow); // as the system would do
    }
    ::ReleaseSRWLockExclusive(&g_overflow.lock);
    ::RtlRestoreContext(&next, nullptr);
    std::abort(); // not reached
}

/// How much of the calling thread's stack is left below \p context.
std::uintptr_t RoomOnStack(const CONTEXT& context) noexcept
{
    return context.Rsp -
           reinterpret_cast<std::uintptr_t>(reinterpret_cast<const NT_TIB*>(::NtCurrentTeb())->StackLimit);
}

/// Calls as few functions as possible: there may be 1 KiB of stack.
[[gnu::noinline]] LONG OnStackOverflow(EXCEPTION_POINTERS* pointers) noexcept
{
    constexpr std::uintptr_t RoomForHandlers = 16 * 1024;
    CONTEXT& context = *pointers->ContextRecord;
    if (RoomOnStack(context) >= RoomForHandlers)
    {
        const DWORD error = ::GetLastError();
        const long answer = AskOnOtherStack(&AskVectoredFilters, pointers);
        ::SetLastError(error); // an exception is not to change it
        return answer < FilterResult::ContinueSearch ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
    }
    ::AcquireSRWLockExclusive(&g_overflow.lock);
    g_overflow.record = *pointers->ExceptionRecord;
    g_overflow.context = context;
    g_overflow.pointers = {&g_overflow.record, &g_overflow.context};
    context.Rip = reinterpret_cast<DWORD64>(&DealWithOverflow);
    context.Rsp = reinterpret_cast<DWORD64>(std::end(g_overflow.stack)) - 32 - sizeof(DWORD64); // as behind a call
    return EXCEPTION_CONTINUE_EXECUTION;
}

[[gnu::noinline]] LONG OnOtherException(EXCEPTION_POINTERS* pointers) noexcept
{
    const DWORD error = ::GetLastError();
    const long answer = AskVectoredFilters(pointers);
    ::SetLastError(error); // an exception is not to change it
    return answer < FilterResult::ContinueSearch ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
}

/// Uses as little stack as possible until it is known what has happened.
LONG CALLBACK OnException(EXCEPTION_POINTERS* pointers)
{
    return CodeOf(pointers) == FaultCode::StackOverflow ? OnStackOverflow(pointers) : OnOtherException(pointers);
}

long Ask(FaultFilter filter, EXCEPTION_POINTERS* pointers)
{
    if (CodeOf(pointers) == FaultCode::StackOverflow)
    {
        return AskOnOtherStack(filter, pointers);
    }
    const Handling handling(pointers);
    return filter(pointers);
}

#ifdef _MSC_VER // Not compiled by the checks of this project.

std::atomic<FaultFilter> g_filterOfRuntime = nullptr;

/// The runtime's own unhandled filter calls std::terminate, whose handler reports.
LONG TerminateForException(EXCEPTION_POINTERS* pointers) noexcept
{
    const FaultFilter runtime = g_filterOfRuntime;
    return runtime != nullptr ? runtime(pointers) : EXCEPTION_CONTINUE_SEARCH;
}

#else

/// The runtime calls std::terminate when its raise returns.
LONG TerminateForException(EXCEPTION_POINTERS*) noexcept
{
    return EXCEPTION_CONTINUE_EXECUTION;
}

#endif

LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* pointers)
{
    const FaultFilter filter = g_unhandledFilter;
    if (filter == nullptr)
    {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    return CodeOf(pointers) == OwnCxxException ? TerminateForException(pointers) : Ask(filter, pointers);
}

} // namespace

void InstallVectoredHandler() noexcept
{
    ::AddVectoredExceptionHandler(1, OnException);
}

long FilterOfGuardedCall(KilnGuardedCall* call, EXCEPTION_POINTERS* pointers)
{
    if (CodeOf(pointers) == OwnCxxException)
    {
        return FilterResult::ContinueSearch; // a catch block outside deals with it
    }
    FaultThread* const thread = OwnFaultThread();
    if (thread != nullptr && CodeOf(pointers) == FaultCode::StackOverflow)
    {
        thread->hasOverflowed = true;
    }
    return Ask(reinterpret_cast<GuardFrame*>(call)->filter, pointers);
}

void SetThrowFilterOfProcess(FaultFilter filter) noexcept
{
    g_throwFilter = filter;
}

FaultFilter SetUnhandledFilterOfProcess(FaultFilter filter) noexcept
{
    const FaultFilter own = g_unhandledFilter.exchange(filter);
    const FaultFilter before = ::SetUnhandledExceptionFilter(filter != nullptr ? &OnUnhandledException : nullptr);
    if (before == &OnUnhandledException)
    {
        return own;
    }
#ifdef _MSC_VER
    g_filterOfRuntime = before;
#endif
    return before;
}

void DispatchFault(EXCEPTION_POINTERS* pointers) noexcept
{
    AskAllFilters(pointers);
}

} // namespace Ardo::Kiln::Crash
