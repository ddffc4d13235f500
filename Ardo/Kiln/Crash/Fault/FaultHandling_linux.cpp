// One fault, from the signal to its end. Everything here runs in the signal handler of the thread at fault: system
// calls only.

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultDescription_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultFallback_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultProcess_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultSignal_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/GuardedQuestion_linux.h"
#include "Ardo/Kiln/Crash/Fault/RecoveryCheck_linux.h"
#include "Ardo/Kiln/Crash/Fault/SignalHandlers_linux.h"
#include "Ardo/Kiln/Crash/Fault/TerminateHandler_linux.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

#include <unistd.h>

#include <cerrno>

extern "C" void KilnOnFault(int signal, siginfo_t* info, void* context);

// The kernel leaves the alignment check on when it calls a handler, whose own code then faults and ends the process.
asm(R"(
    .pushsection .text
    .globl KilnFaultEntry
    .hidden KilnFaultEntry
    .type KilnFaultEntry, @function
KilnFaultEntry:
    .cfi_startproc
    pushfq
    .cfi_adjust_cfa_offset 8
    andl $0xfffbffff, (%rsp)
    popfq
    .cfi_adjust_cfa_offset -8
    jmp KilnOnFault
    .cfi_endproc
    .size KilnFaultEntry, .-KilnFaultEntry
    .popsection
)");

namespace Ardo::Kiln::Crash
{

namespace
{

/// How many times the application's handler may return from the same fault without having removed the cause. More than
/// the five times that the loop detector needs.
constexpr unsigned MaxTimesInVain = 8;

CrashRequest g_request; // static: a fault may find no memory; belongs to the owner of the slot
[[gnu::tls_model("initial-exec")]] constinit thread_local RecoveryCheck g_recovery;

/// Reports without the filters.
void WriteReports(FaultThread& thread) noexcept
{
    if (thread.guard == nullptr && !g_faultProcess.filters.HasUnhandledFilter())
    {
        return; // nobody monitors this thread
    }
    DescribeFault(thread.Pointers(), g_request);
    if (g_request.dumpFolder[0] != '\0' && Fallback().report != nullptr)
    {
        Fallback().report(g_request);
    }
}

/// Ends the handling of the fault; the next thread may acquire the slot.
void Finish(FaultThread& thread) noexcept
{
    thread.depth = 0;
    thread.terminating = false;
    ReturnFaultThread(thread);
    g_faultProcess.ending.FaultIsOver();
    g_faultProcess.slot.Release();
}

/// Hands the signal to the handler that was installed before ours; without one it ends the process.
void HandOn(FaultThread& thread, int signal, siginfo_t* info, ucontext_t& context) noexcept
{
    if (!HasPreviousHandler(signal) || g_recovery.TimesInVain() >= MaxTimesInVain)
    {
        // The slot stays taken: no other fault begins to be reported while the process ends.
        EndBySignal(signal, info);
        return;
    }
    Finish(thread); // that handler may jump out
    g_recovery.HandlerCalled(*info, context);
    CallPreviousHandler(signal, info, context);
    g_recovery.HandlerReturned(signal, *info, context);
}

[[noreturn]] void ReturnFromGuardedCall(FaultThread& thread, GuardFrame& guard) noexcept
{
    thread.guard = guard.outer;
    Finish(thread);
    siglongjmp(guard.jump, 1);
}

/// Whether \p signal ends the process whatever the filters answer: abort() does not return, and it leaves the locks of
/// a corrupted heap taken.
bool EndsProcess(int signal) noexcept
{
    return signal == SIGABRT;
}

/// Whether filters leave it to a debugger. If one were there, the signal would not have come this far.
bool IsForDebuggers(std::uint32_t code) noexcept
{
    return code == FaultCode::Breakpoint || code == FaultCode::SingleStep;
}

void HandleNewFault(FaultThread& thread, int signal, siginfo_t* info, ucontext_t& context) noexcept
{
    ClassifySignal(thread, signal, *info, context);
    const bool filtersRun = g_faultProcess.filters.IsRunning();
    GuardFrame* guard = nullptr;
    switch (g_faultProcess.filters.Decide(thread, g_faultProcess.ending, guard))
    {
    case Verdict::Resume:
        Finish(thread);
        return;
    case Verdict::Jump:
        if (!EndsProcess(signal))
        {
            ReturnFromGuardedCall(thread, *guard);
        }
        break;
    case Verdict::Previous:
        if (IsForDebuggers(thread.record.ExceptionCode) && EndsByDefault(signal))
        {
            WriteReports(thread);
        }
        break;
    case Verdict::Failed:
        WriteReports(thread);
        if (filtersRun)
        {
            EndBySignal(signal, info); // filters that failed may hold any lock
            return;
        }
        if (thread.guard != nullptr && !EndsProcess(signal))
        {
            ReturnFromGuardedCall(thread, *thread.guard);
        }
        break;
    }
    HandOn(thread, signal, info, context);
}

void HandleFault(int signal, siginfo_t* info, ucontext_t& context) noexcept
{
    const bool isNested = g_faultProcess.slot.IsHeldByCaller();
    if (!isNested)
    {
        g_faultProcess.slot.Acquire();
    }
    FaultThread& thread = BorrowFaultThread();
    ++thread.depth;
    if (isNested)
    {
        // The handling itself has faulted on this thread: report the first fault without the filters, then end the
        // process.
        if (thread.depth == 2)
        {
            WriteReports(thread);
        }
        EndBySignal(signal, info);
        return;
    }
    if (g_recovery.BeginFault(*info, context))
    {
        thread.usedBlock = 1 - thread.usedBlock;
    }
    HandleNewFault(thread, signal, info, context);
}

} // namespace

constinit FaultProcess g_faultProcess;

void FaultProcess::ResetInChild() noexcept
{
    id = getpid();
    isStarted = false;
    ResetInstallationInChild();
    slot.Reset();
    filters.Reset();
    ending.Reset();
}

} // namespace Ardo::Kiln::Crash

extern "C" void KilnOnFault(int signal, siginfo_t* info, void* context)
{
    using namespace Ardo::Kiln::Crash;
    const int error = errno;
    auto& registers = *static_cast<ucontext_t*>(context);
    if (g_faultProcess.id != getpid())
    {
        EndBySignal(signal, info); // a child of vfork(): its parent goes on in this memory
    }
    else if (!g_recovery.TakeStep(signal, *info, registers) && !GiveUpQuestion(*info) &&
             !IsIgnored(signal, *info, registers) &&
             !(IsSentByAbort(signal, registers) && DescribeBeforeAbort(*info, registers)))
    {
        g_faultProcess.filters.LeaveFaultedFilter();
        HandleFault(signal, info, registers);
    }
    errno = error;
}
