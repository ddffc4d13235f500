#include "Ardo/Kiln/Crash/Fault/OverflowThread_win.h"

#include "Ardo/Kiln/Platform/ProcessEnd.h"

#include <atomic>
#include <cstdint>

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
    std::uintptr_t last = 0;                ///< The number of the last request.
    std::atomic<std::uintptr_t> isOpen = 0; ///< The number of the request that nobody has taken; 0 for none.
    FaultThread reserved;                   ///< For a thread that has no record: there is no stack to make one.
};

constinit OtherStack g_other;

/// \returns whether the caller is the one that deals with the request from now on.
bool Take(std::uintptr_t number)
{
    return g_other.isOpen.compare_exchange_strong(number, 0);
}

DWORD WINAPI Run(void* number)
{
    if (!Take(reinterpret_cast<std::uintptr_t>(number)))
    {
        return 0;
    }
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
    constexpr DWORD BeginLimit = 10'000;    // milliseconds
    if (ActsOnBehalf() || Platform::AreOtherThreadsGone())
    {
        return ask(pointers);
    }
    FaultThread* const own = OwnFaultThread();
    ::AcquireSRWLockExclusive(&g_other.lock);
    g_other.request = {ask, pointers, own != nullptr ? own : &g_other.reserved, ::GetCurrentThreadId()};
    const std::uintptr_t number = ++g_other.last;
    g_other.isOpen = number;
    const HANDLE thread = ::CreateThread(nullptr, StackSize, &Run, reinterpret_cast<void*>(number),
                                         STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (thread == nullptr)
    {
        ::ReleaseSRWLockExclusive(&g_other.lock);
        return ask(pointers);
    }
    // A thread does not begin while the loader is locked, and the calling thread may have locked it.
    if (::WaitForSingleObject(thread, BeginLimit) != WAIT_TIMEOUT || !Take(number))
    {
        ::WaitForSingleObject(thread, INFINITE);
    }
    ::CloseHandle(thread);
    const long answer = g_other.request.answer;
    ::ReleaseSRWLockExclusive(&g_other.lock);
    return answer;
}

} // namespace Ardo::Kiln::Crash
