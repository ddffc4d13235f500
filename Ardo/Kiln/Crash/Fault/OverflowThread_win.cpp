#include "Ardo/Kiln/Crash/Fault/OverflowThread_win.h"

namespace Ardo::Kiln::Crash
{

namespace
{

struct Request
{
    long (*ask)(EXCEPTION_POINTERS*) = nullptr;
    EXCEPTION_POINTERS* pointers = nullptr;
    FaultThread* thread = nullptr;
    DWORD threadId = 0;
    long answer = FilterResult::ContinueSearch;
};

/// Static, because the stack of the thread that asks has no room.
struct OtherStack
{
    SRWLOCK lock = SRWLOCK_INIT; ///< Of the thread that asks.
    Request request;
    FaultThread reserved; ///< For a thread that has no record: there is no stack to make one.
};

constinit OtherStack g_other;

DWORD WINAPI Run(void*)
{
    Request& request = g_other.request;
    ActOnBehalf(request.thread, request.threadId);
    request.answer = request.ask(request.pointers);
    ActOnBehalf(nullptr, 0);
    return 0;
}

} // namespace

long AskOnOtherStack(long (*ask)(EXCEPTION_POINTERS*), EXCEPTION_POINTERS* pointers) noexcept
{
    constexpr SIZE_T StackSize = 1U << 20U; // for reading symbols
    if (ActsOnBehalf() || ProcessEnds())
    {
        return ask(pointers);
    }
    FaultThread* const own = OwnFaultThread();
    ::AcquireSRWLockExclusive(&g_other.lock);
    g_other.request = {ask, pointers, own != nullptr ? own : &g_other.reserved, ::GetCurrentThreadId()};
    const HANDLE thread = ::CreateThread(nullptr, StackSize, &Run, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (thread == nullptr)
    {
        ::ReleaseSRWLockExclusive(&g_other.lock);
        return ask(pointers);
    }
    ::WaitForSingleObject(thread, INFINITE);
    ::CloseHandle(thread);
    const long answer = g_other.request.answer;
    ::ReleaseSRWLockExclusive(&g_other.lock);
    return answer;
}

} // namespace Ardo::Kiln::Crash
