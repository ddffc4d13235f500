#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"

#include "Ardo/Kiln/Crash/Fault/AbortReason_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultFallback_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultProcess_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultSignal_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/LanguageRuntime.h"
#include "Ardo/Kiln/Crash/Fault/SignalHandlers_linux.h"
#include "Ardo/Kiln/Crash/Fault/TerminateHandler_linux.h"
#include "Ardo/Kiln/Crash/Fault/TerminateSearch_linux.h"
#include "Ardo/Kiln/Crash/Fault/ThreadStart_linux.h"
#include "Ardo/Kiln/Crash/Fault/ThrowHook_linux.h"
#include "Ardo/Kiln/Platform/ProcessFork.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace Ardo::Kiln::Crash
{

namespace
{

void* g_unusedData = nullptr; // for threads without a record, whose pointer is not stored

std::atomic<void (*)()> g_atExit = nullptr;
std::atomic<bool> g_interposesRuntime = true;

/// A fault that is being dealt with ends the process, or the thread goes on: exit() waits for it, so that the reports
/// are written and the process does not end as if nothing had happened.
void OnExit() noexcept
{
    if (g_faultProcess.filters.IsCaller() || (g_faultProcess.id != 0 && g_faultProcess.id != getpid()))
    {
        return; // a filter ends the process itself, or a child of vfork() does
    }
    g_faultProcess.ending.ExitBegins();
    g_faultProcess.slot.WaitUntilFree();
    if (auto* const function = g_atExit.load())
    {
        function();
    }
}

void RegisterForExit() noexcept
{
    static const bool g_isRegistered = std::atexit(&OnExit) == 0;
    static_cast<void>(g_isRegistered);
}

/// The file that a symbol is found in: by other modules, or behind this library.
const void* ModuleOf(void* scope, const char* symbol) noexcept
{
    Dl_info info = {};
    void* const address = dlsym(scope, symbol);
    return address != nullptr && dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

bool IsInterposed(const char* symbol) noexcept
{
    return ModuleOf(RTLD_DEFAULT, symbol) != ModuleOf(RTLD_NEXT, symbol);
}

/// What is done once, and holds in forked children too.
void PrepareOnce() noexcept
{
    PrepareAbortReason();
    PrepareLanguageRuntime();
    PrepareTerminateSearch();
    if (Fallback().prepare != nullptr)
    {
        Fallback().prepare();
    }
    AdoptNewThreads();
    try
    {
        Platform::OnFork([] {}, [] {}, [] { g_faultProcess.ResetInChild(); });
    }
    catch (const std::bad_alloc&)
    {
        // A forked child that faults ends without reports.
    }
    g_faultProcess.id = getpid();
    InstallFaultHandlers();
    InstallTerminateHandler();
    RegisterForExit();
    g_interposesRuntime = IsInterposed("pthread_create") && IsInterposed("__cxa_throw");
}

} // namespace

void FaultDispatch::Start() noexcept
{
    if (!g_faultProcess.isStarted.exchange(true))
    {
        static const bool g_isPrepared = (PrepareOnce(), true);
        static_cast<void>(g_isPrepared);
        g_faultProcess.filters.Start();
    }
    else if (g_faultProcess.id != 0) // 0: another thread is just preparing
    {
        InstallFaultHandlers();
    }
}

void FaultDispatch::MonitorThread() noexcept
{
    Start();
    AdoptThread();
    UnblockFaultSignals();
}

void FaultDispatch::AddVectoredFilter(FaultFilter filter) noexcept
{
    if (FaultThread* const thread = OwnFaultThread())
    {
        thread->filters.Add(filter);
    }
}

void FaultDispatch::RemoveVectoredFilter(FaultFilter filter) noexcept
{
    if (FaultThread* const thread = OwnFaultThread())
    {
        thread->filters.Remove(filter);
    }
}

FaultFilter FaultDispatch::SetUnhandledFilter(FaultFilter filter) noexcept
{
    return g_faultProcess.filters.SetUnhandledFilter(filter);
}

void FaultDispatch::SetThrowFilter(FaultFilter filter) noexcept
{
    SetHookFilter(filter);
}

void*& FaultDispatch::ThreadData() noexcept
{
    if (FaultThreadOnBehalf() == nullptr)
    {
        AdoptThread();
    }
    FaultThread* const thread = FaultThreadOnBehalf();
    if (thread == nullptr)
    {
        g_unusedData = nullptr;
        return g_unusedData;
    }
    return thread->data;
}

void* FaultDispatch::FindThreadData() noexcept
{
    const FaultThread* const thread = FaultThreadOnBehalf();
    return thread != nullptr ? thread->data : nullptr;
}

void FaultDispatch::CallAtThreadEnd(void (*function)(void*), void* argument) noexcept
{
    /// A thread-local object: destroyed when the thread ends.
    struct ThreadEnd
    {
        ~ThreadEnd()
        {
            if (function != nullptr)
            {
                function(argument);
            }
        }
        void (*function)(void*) = nullptr;
        void* argument = nullptr; // for leak checkers, too, which do not search the memory of ThreadData
    };
    static thread_local ThreadEnd g_end; // a thread that comes here after it, in another cleanup, is not called
    g_end.function = function;
    g_end.argument = argument;
}

bool FaultDispatch::IsInGuardedCall() noexcept
{
    const FaultThread* const thread = OwnFaultThread();
    return thread != nullptr && thread->guard != nullptr;
}

std::uint32_t FaultDispatch::ThreadId() noexcept
{
    return static_cast<std::uint32_t>(ThreadIdOnBehalf());
}

bool FaultDispatch::FirstThreadIsAtFault() noexcept
{
    return g_faultProcess.filters.IsCaller() && ThreadIdOnBehalf() == getpid();
}

FaultDispatch::ScopedTimeLimitPause::ScopedTimeLimitPause() noexcept
{
    g_faultProcess.filters.PauseTimeLimit();
}

FaultDispatch::ScopedTimeLimitPause::~ScopedTimeLimitPause()
{
    g_faultProcess.filters.ContinueTimeLimit();
}

bool FaultDispatch::HasNoUserInterface() noexcept
{
    return g_faultProcess.slot.FirstThreadWaits() || g_faultProcess.ending.IsRequested();
}

void FaultDispatch::CallAtExit(void (*function)()) noexcept
{
    g_atExit = function;
    RegisterForExit();
}

bool FaultDispatch::InterposesRuntime() noexcept
{
    return g_interposesRuntime;
}

void FaultDispatch::SetTimeLimit(int milliseconds) noexcept
{
    g_faultProcess.filters.SetTimeLimit(milliseconds);
}

} // namespace Ardo::Kiln::Crash
