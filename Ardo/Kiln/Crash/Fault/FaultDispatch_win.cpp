#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"

#include "Ardo/Kiln/Crash/Fault/FaultHandling_win.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_win.h"
#include "Ardo/Kiln/Crash/Fault/LanguageRuntime.h"
#include "Ardo/Kiln/Crash/Fault/TerminateHandler_win.h"
#include "Ardo/Kiln/Platform/ModulePath_win.h"

#include <algorithm>
#include <atomic>

namespace Ardo::Kiln::Crash
{

namespace
{

std::atomic<bool> g_isStarted = false;

void* g_unusedData = nullptr; // for a thread without a record, which has nothing to remember

} // namespace

void FaultDispatch::Start() noexcept
{
    if (!g_isStarted.exchange(true))
    {
        Platform::KeepLibraryLoaded(); // the handlers stay
        PrepareLanguageRuntime();
        InstallVectoredHandler();
        InstallTerminateHandler();
    }
}

void FaultDispatch::MonitorThread() noexcept
{
    Start();
    if (FaultThread* const thread = AdoptThread())
    {
        InstallTerminateHandlerOfThread(*thread);
    }
}

void FaultDispatch::AddVectoredFilter(FaultFilter filter) noexcept
{
    if (FaultThread* const thread = AdoptThread())
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

void FaultDispatch::SetThrowFilter(FaultFilter filter) noexcept
{
    SetThrowFilterOfProcess(filter);
}

FaultFilter FaultDispatch::SetUnhandledFilter(FaultFilter filter) noexcept
{
    return SetUnhandledFilterOfProcess(filter);
}

void*& FaultDispatch::ThreadData() noexcept
{
    FaultThread* thread = FaultThreadOnBehalf();
    thread = thread != nullptr ? thread : AdoptThread();
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
    if (FaultThread* const thread = AdoptThread())
    {
        thread->atEnd = function;
        thread->atEndArgument = argument;
    }
}

bool FaultDispatch::IsInGuardedCall() noexcept
{
    const FaultThread* const thread = OwnFaultThread();
    return thread != nullptr && thread->guard != nullptr;
}

std::uint32_t FaultDispatch::ThreadId() noexcept
{
    return ThreadIdOnBehalf();
}

bool FaultDispatch::FirstThreadIsAtFault() noexcept
{
    const FaultThread* const thread = FaultThreadOnBehalf();
    return thread != nullptr && thread->depth != 0 && ThreadIdOnBehalf() == FirstThreadId();
}

FaultDispatch::ScopedTimeLimitPause::ScopedTimeLimitPause() noexcept = default;

FaultDispatch::ScopedTimeLimitPause::~ScopedTimeLimitPause() = default;

bool FaultDispatch::HasNoUserInterface() noexcept
{
    return FirstThreadHandlesFault();
}

void FaultDispatch::CallAtExit(void (*)()) noexcept {}

bool FaultDispatch::InterposesRuntime() noexcept
{
    return true;
}

void FaultDispatch::SetTimeLimit(int /*milliseconds*/) noexcept {}

} // namespace Ardo::Kiln::Crash
