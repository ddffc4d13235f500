#include "Ardo/Kiln/Crash/Fault/FaultThread_win.h"

#include "Ardo/Kiln/Platform/ProcessEnd.h"

#include <atomic>
#include <new>

namespace Ardo::Kiln::Crash
{

namespace
{

struct Behalf
{
    std::atomic<DWORD> caller = 0; ///< The thread that runs filters for another one; 0: none does.
    FaultThread* thread = nullptr;
    DWORD threadId = 0;
};

constinit Behalf g_behalf;

const DWORD g_firstThread = ::GetCurrentThreadId();
std::atomic<const FaultThread*> g_first = nullptr; ///< Its record.

DWORD RecordSlot() noexcept
{
    static const DWORD g_slot = ::TlsAlloc();
    return g_slot;
}

/// Called by the system when a thread ends, before or after the destructors of its thread_local objects.
void CALLBACK OnThreadEnd(void* record)
{
    auto* const thread = static_cast<FaultThread*>(record);
    if (thread == nullptr || Platform::AreOtherThreadsGone())
    {
        return; // other threads are gone without having unlocked anything; the memory goes with the process
    }
    thread->guard = nullptr; // nothing comes back to it
    if (thread->atEnd != nullptr)
    {
        thread->atEnd(thread->atEndArgument);
    }
    const FaultThread* first = thread;
    g_first.compare_exchange_strong(first, nullptr);
    if (OwnFaultThread() == thread)
    {
        ::TlsSetValue(RecordSlot(), nullptr);
    }
    delete thread;
}

DWORD EndSlot() noexcept
{
    static const DWORD g_slot = ::FlsAlloc(&OnThreadEnd);
    return g_slot;
}

} // namespace

FaultThread* OwnFaultThread() noexcept
{
    const DWORD slot = RecordSlot();
    const DWORD error = ::GetLastError();
    auto* const thread = slot != TLS_OUT_OF_INDEXES ? static_cast<FaultThread*>(::TlsGetValue(slot)) : nullptr;
    ::SetLastError(error); // the call sets it
    return thread;
}

FaultThread* AdoptThread() noexcept
{
    FaultThread* thread = OwnFaultThread();
    if (thread != nullptr || RecordSlot() == TLS_OUT_OF_INDEXES)
    {
        return thread;
    }
    thread = new (std::nothrow) FaultThread;
    if (thread != nullptr && !::TlsSetValue(RecordSlot(), thread))
    {
        delete thread;
        return nullptr;
    }
    if (thread == nullptr)
    {
        return nullptr;
    }
    if (EndSlot() != FLS_OUT_OF_INDEXES)
    {
        ::FlsSetValue(EndSlot(), thread);
    }
    if (::GetCurrentThreadId() == g_firstThread)
    {
        g_first = thread;
    }
    ULONG size = OverflowStack;
    ::SetThreadStackGuarantee(&size);
    return thread;
}

DWORD FirstThreadId() noexcept
{
    return g_firstThread;
}

bool FirstThreadHandlesFault() noexcept
{
    const FaultThread* const thread = g_first;
    return thread != nullptr && thread->depth != 0;
}

FaultThread* FaultThreadOnBehalf() noexcept
{
    return ActsOnBehalf() ? g_behalf.thread : OwnFaultThread();
}

DWORD ThreadIdOnBehalf() noexcept
{
    return ActsOnBehalf() ? g_behalf.threadId : ::GetCurrentThreadId();
}

bool ActsOnBehalf() noexcept
{
    return g_behalf.caller == ::GetCurrentThreadId();
}

void ActOnBehalf(FaultThread* thread, DWORD threadId) noexcept
{
    g_behalf.thread = thread;
    g_behalf.threadId = threadId;
    g_behalf.caller = threadId != 0 ? ::GetCurrentThreadId() : 0;
}

} // namespace Ardo::Kiln::Crash
