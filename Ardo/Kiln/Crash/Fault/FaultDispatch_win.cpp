#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>

#ifndef _MSC_VER
#include <excpt.h>
#endif

namespace Ardo::Kiln::Crash
{

namespace
{

struct ThreadFilters
{
    std::array<FaultFilter, 8> filters = {}; // the last one is asked first
    std::size_t count = 0;
    FaultFilter guard = nullptr;
    void* data = nullptr;
};

thread_local ThreadFilters g_thread;
std::atomic<DWORD> g_firstThread = 0;
std::atomic<FaultFilter> g_throwFilter = nullptr;

constexpr DWORD CxxException = 0xE06D7363;

/// The system's vectored handlers are the process's; each thread has its own here.
LONG CALLBACK AskVectoredFilters(EXCEPTION_POINTERS* pointers)
{
    const FaultFilter throwFilter = g_throwFilter;
    if (g_thread.count == 0 && throwFilter != nullptr && pointers->ExceptionRecord->ExceptionCode == CxxException)
    {
        throwFilter(pointers);
    }
    for (std::size_t at = g_thread.count; at > 0; --at)
    {
        if (g_thread.filters[at - 1](pointers) < FilterResult::ContinueSearch)
        {
            return EXCEPTION_CONTINUE_EXECUTION;
        }
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

#ifdef _MSC_VER

bool CallWithHandler(void (*work)(void*), void* argument, FaultFilter filter)
{
    __try
    {
        work(argument);
        return true;
    }
    // C++ exceptions pass: a catch block outside deals with them.
    __except (GetExceptionCode() == CxxException ? EXCEPTION_CONTINUE_SEARCH : filter(GetExceptionInformation()))
    {
        return false;
    }
}

#else

constexpr DWORD GccException = 0x20474343;

long FilterFaults(EXCEPTION_POINTERS* pointers)
{
    const DWORD code = pointers->ExceptionRecord->ExceptionCode;
    return code == GccException || g_thread.guard == nullptr ? EXCEPTION_CONTINUE_SEARCH : g_thread.guard(pointers);
}

// One such function a file, without destructors: the macros of <excpt.h> put labels around the call.
bool CallWithHandler(void (*work)(void*), void* argument, FaultFilter /*filter*/)
{
    volatile bool ended = false;
    __try1(FilterFaults)
    {
        work(argument);
        ended = true;
    }
    __except1 {}
    return ended;
}

#endif

} // namespace

void FaultDispatch::Start() noexcept
{
    static const bool started = []
    {
        AddVectoredExceptionHandler(1, AskVectoredFilters);
        g_firstThread = GetCurrentThreadId(); // that of the application object, by its rules
        return true;
    }();
    static_cast<void>(started);
}

void FaultDispatch::MonitorThread() noexcept
{
    Start();
}

void FaultDispatch::AddVectoredFilter(FaultFilter filter) noexcept
{
    if (g_thread.count < g_thread.filters.size())
    {
        g_thread.filters[g_thread.count++] = filter;
    }
}

void FaultDispatch::RemoveVectoredFilter(FaultFilter filter) noexcept
{
    FaultFilter* const begin = g_thread.filters.data();
    FaultFilter* const end = begin + g_thread.count;
    FaultFilter* const found = std::find(begin, end, filter);
    if (found != end)
    {
        std::copy(found + 1, end, found);
        --g_thread.count;
    }
}

void FaultDispatch::SetThrowFilter(FaultFilter filter) noexcept
{
    g_throwFilter = filter;
}

FaultFilter FaultDispatch::SetUnhandledFilter(FaultFilter filter) noexcept
{
    return SetUnhandledExceptionFilter(filter);
}

bool FaultDispatch::CallGuarded(void (*work)(void*), void* argument, FaultFilter filter)
{
    Start();
    struct Guard
    {
        explicit Guard(FaultFilter inner) : outer(g_thread.guard) { g_thread.guard = inner; }
        ~Guard() { g_thread.guard = outer; }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;
        FaultFilter outer;
    };
    const Guard guard(filter);
    return CallWithHandler(work, argument, filter);
}

void*& FaultDispatch::ThreadData() noexcept
{
    return g_thread.data;
}

std::uint32_t FaultDispatch::ThreadId() noexcept
{
    return GetCurrentThreadId();
}

bool FaultDispatch::FirstThreadIsAtFault() noexcept
{
    return GetCurrentThreadId() == g_firstThread; // filters run on the thread at fault
}

FaultDispatch::ScopedTimeLimitPause::ScopedTimeLimitPause() noexcept = default;

FaultDispatch::ScopedTimeLimitPause::~ScopedTimeLimitPause() = default;

bool FaultDispatch::HasNoUserInterface() noexcept
{
    return false;
}

void FaultDispatch::CallAtExit(void (*)()) noexcept {}

bool FaultDispatch::InterposesRuntime() noexcept
{
    return true;
}

void FaultDispatch::SetTimeLimit(int /*milliseconds*/) noexcept {}

} // namespace Ardo::Kiln::Crash
