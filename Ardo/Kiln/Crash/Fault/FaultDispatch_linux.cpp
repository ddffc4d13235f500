#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultDescription_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultFallback_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultSignal_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/Futex_linux.h"
#include "Ardo/Kiln/Crash/Fault/LastThrow_linux.h"
#include "Ardo/Kiln/Crash/Fault/ThrowHook_linux.h"
#include "Ardo/Kiln/Crash/FaultCode.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <exception>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr int SliceMilliseconds = 100;

/// How the thread at fault goes on.
enum class Verdict
{
    Resume,   ///< A filter has removed the cause: where it stood.
    Jump,     ///< Behind the guarded call whose filter dealt with the fault.
    Previous, ///< With whatever handled the signal before, in the end the system's default.
    Failed,   ///< The filters faulted or threw.
};

enum State : std::uint32_t
{
    Idle,
    Posted,    ///< A fault waits for, or is in, its filters.
    Done,      ///< The verdict is there.
    Abandoned, ///< The thread at fault has given up on the filters.
};

/// Where a thread at fault and the thread that runs filters meet. One fault at a time; others wait their turn.
struct Desk
{
    std::atomic<std::uint32_t> owner = 0; ///< The system's number of the thread at fault.
    std::atomic<std::uint32_t> state = Idle;
    FaultThread* thread = nullptr;
    GuardFrame* guard = nullptr; ///< With Verdict::Jump.
    Verdict verdict = Verdict::Previous;
};

Desk g_desk;
CrashRequest g_request;             // static: a fault may find no memory; belongs to the owner of the desk
constinit FaultFallback g_fallback; // set while the library is loaded
std::atomic<FaultFilter> g_unhandledFilter = nullptr;
std::atomic<FaultFilter> g_throwFilter = nullptr;
std::array<struct sigaction, FaultSignals.size()> g_previous;
std::terminate_handler g_previousTerminate = nullptr;
std::atomic<int> g_timeLimit = 10000;
std::atomic<std::uint32_t> g_personsAsked = 0;
std::atomic<bool> g_firstThreadWaits = false;

std::atomic<pid_t> g_startingProcess = 0; // whose Start has begun
std::atomic<pid_t> g_process = 0;         // for which all is ready; the one before, in a forked child
std::atomic<pid_t> g_filterThread = 0;
sigjmp_buf g_filterThreadJump; // back to its loop, when a filter faults

void* g_unusedData = nullptr; // for a thread without a record, which has nothing to remember

extern "C" void KilnOnFault(int signal, siginfo_t* info, void* context);
extern "C" void KilnFaultEntry(int signal, siginfo_t* info, void* context);

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

std::size_t IndexOf(int signal) noexcept
{
    return static_cast<std::size_t>(std::find(FaultSignals.begin(), FaultSignals.end(), signal) - FaultSignals.begin());
}

bool IsOurs(const struct sigaction& action) noexcept
{
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == KilnFaultEntry;
}

void InstallHandler(int signal) noexcept
{
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) != 0)
    {
        return;
    }
    const bool complete = IsOurs(action) && (action.sa_flags & (SA_ONSTACK | SA_NODEFER)) == (SA_ONSTACK | SA_NODEFER);
    const bool foreign = !IsOurs(action) && ((action.sa_flags & SA_SIGINFO) != 0 ||
                                             (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN));
    if (complete || (foreign && g_process != 0))
    {
        return; // whoever came after us calls us, or has his reasons
    }
    if (!IsOurs(action))
    {
        g_previous[IndexOf(signal)] = action;
    }
    struct sigaction own = {};
    own.sa_sigaction = KilnFaultEntry;
    // Not deferred: a fault of the handling itself would end the process without a word.
    own.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    sigfillset(&own.sa_mask);
    for (const int fault : FaultSignals)
    {
        sigdelset(&own.sa_mask, fault);
    }
    sigaction(signal, &own, nullptr);
}

void SetDefault(int signal) noexcept
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
}

// ---- Filters, on the thread that runs them -------------------------------------------------------------------------

Verdict AskFilters(FaultThread& thread, GuardFrame*& guard)
{
    EXCEPTION_POINTERS* const pointers = &thread.pointers;
    for (std::size_t at = thread.filterCount; at > 0; --at)
    {
        if (thread.filters[at - 1](pointers) < FilterResult::ContinueSearch)
        {
            return Verdict::Resume;
        }
    }
    for (guard = thread.guard; guard != nullptr; guard = guard->outer)
    {
        const long answer = guard->filter(pointers);
        if (answer != FilterResult::ContinueSearch)
        {
            return answer == FilterResult::ExecuteHandler ? Verdict::Jump : Verdict::Resume;
        }
    }
    const FaultFilter unhandled = g_unhandledFilter;
    if (unhandled != nullptr && unhandled(pointers) < FilterResult::ContinueSearch)
    {
        return Verdict::Resume;
    }
    return Verdict::Previous;
}

void* RunFilterThread(void*)
{
    AdoptThread();
    free(malloc(64)); // now it has its own arena, whose lock no faulting thread holds
    g_filterThread = gettid();
    g_process = getpid();
    for (;;)
    {
        std::uint32_t state = g_desk.state;
        if (state != Posted)
        {
            FutexWait(g_desk.state, state, 3600 * 1000);
            continue;
        }
        ActOnBehalf(g_desk.thread, static_cast<pid_t>(g_desk.owner.load()));
        if (sigsetjmp(g_filterThreadJump, 1) == 0)
        {
            try
            {
                g_desk.verdict = AskFilters(*g_desk.thread, g_desk.guard);
            }
            catch (...)
            {
                g_desk.verdict = Verdict::Failed;
            }
        }
        else
        {
            g_desk.verdict = Verdict::Failed;
        }
        ActOnBehalf(nullptr, 0);
        state = Posted;
        g_desk.state.compare_exchange_strong(state, Done);
        FutexWake(g_desk.state);
    }
}

void StartFilterThread() noexcept
{
    sigset_t blocked;
    sigset_t before;
    sigfillset(&blocked);
    for (const int fault : FaultSignals)
    {
        sigdelset(&blocked, fault);
    }
    pthread_sigmask(SIG_SETMASK, &blocked, &before);
    pthread_t thread = {};
    if (CreatePlainThread(&thread, RunFilterThread, nullptr) == 0)
    {
        pthread_setname_np(thread, "kiln-faults");
        pthread_detach(thread);
        while (g_process != getpid())
        {
            sched_yield();
        }
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

// ---- The thread at fault, in its signal handler: system calls only -------------------------------------------------

bool IsMonitored(const FaultThread& thread) noexcept
{
    return thread.guard != nullptr || g_unhandledFilter != nullptr;
}

/// Reports without the filters.
void WriteReports(const FaultThread& thread) noexcept
{
    if (!IsMonitored(thread))
    {
        return;
    }
    DescribeFault(&thread.pointers, g_request);
    if (g_request.dumpFolder[0] != '\0' && g_fallback.report != nullptr)
    {
        g_fallback.report(g_request);
    }
}

/// Waits until the desk is the calling thread's. Who has it ends some time: the time limit of its filters sees to that.
void TakeDesk(std::uint32_t threadId) noexcept
{
    const bool first = static_cast<pid_t>(threadId) == getpid();
    for (;;)
    {
        std::uint32_t owner = 0;
        if (g_desk.owner.compare_exchange_strong(owner, threadId))
        {
            break;
        }
        if (first)
        {
            g_firstThreadWaits = true;
        }
        FutexWait(g_desk.owner, owner, SliceMilliseconds);
    }
    if (first)
    {
        g_firstThreadWaits = false;
    }
}

void LeaveDesk() noexcept
{
    g_desk.state = Idle;
    g_desk.owner = 0;
    FutexWake(g_desk.owner);
}

/// Has the filters decide. Verdict::Failed if they do not come to an end.
Verdict AskFilterThread(FaultThread& thread) noexcept
{
    g_desk.thread = &thread;
    g_desk.guard = nullptr;
    g_desk.state = Posted;
    FutexWake(g_desk.state);
    timespec last = {};
    clock_gettime(CLOCK_MONOTONIC, &last);
    std::int64_t used = 0; // nanoseconds
    while (g_desk.state == Posted)
    {
        FutexWait(g_desk.state, Posted, SliceMilliseconds);
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        if (g_personsAsked == 0 && !(g_fallback.isReporting != nullptr && g_fallback.isReporting()))
        {
            used += (now.tv_sec - last.tv_sec) * 1000000000L + (now.tv_nsec - last.tv_nsec);
        }
        last = now;
        std::uint32_t posted = Posted;
        if (used > g_timeLimit * std::int64_t(1000000) && g_desk.state.compare_exchange_strong(posted, Abandoned))
        {
            return Verdict::Failed;
        }
    }
    return g_desk.verdict;
}

/// Hands the signal on to whoever had it before; the system's default ends the process with this very signal.
void HandOn(FaultThread& thread, int signal, siginfo_t* info, void* context, bool mustEnd) noexcept
{
    const struct sigaction previous = g_previous[IndexOf(signal)];
    const bool function =
        (previous.sa_flags & SA_SIGINFO) != 0 || (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN);
    // One that returns without having removed the cause brings the same fault again and again.
    const bool inVain = thread.handedOn == thread.record.ExceptionAddress && thread.timesHandedOn >= 3;
    if (function && !mustEnd && !inVain)
    {
        thread.timesHandedOn = thread.handedOn == thread.record.ExceptionAddress ? thread.timesHandedOn + 1 : 1;
        thread.handedOn = thread.record.ExceptionAddress;
        thread.depth = 0;
        LeaveDesk(); // it may not come back here
        if ((previous.sa_flags & SA_SIGINFO) != 0)
        {
            previous.sa_sigaction(signal, info, context);
        }
        else
        {
            previous.sa_handler(signal);
        }
        return;
    }
    SetDefault(signal);
    const bool comesAgain = info->si_code > 0 && signal != SIGTRAP && signal != SIGSYS;
    if (!comesAgain)
    {
        syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), signal, info);
    }
    // The desk stays taken: nobody else's fault begins to be reported while the process ends.
}

[[noreturn]] void JumpBack(FaultThread& thread, GuardFrame& guard) noexcept
{
    thread.guard = guard.outer;
    thread.depth = 0;
    thread.terminating = false;
    LeaveDesk();
    siglongjmp(guard.jump, 1);
}

/// In a child after fork() there is no thread that runs filters, and the desk is as another thread may have left it.
void ForgetParent(pid_t process) noexcept
{
    pid_t parent = g_process;
    if (parent != process && g_startingProcess != process && g_filterThread.exchange(0) != 0)
    {
        g_desk.owner = 0;
        g_desk.state = Idle;
        g_personsAsked = 0;
    }
}

/// Whether the system ends the process for it whatever filters answer. After such a fault of the heap its locks stay
/// taken: the next allocation would wait for ever.
bool EndsProcess(std::uint32_t code) noexcept
{
    return code == FaultCode::HeapCorruption || code == FaultCode::StackBufferOverrun;
}

/// Whether filters leave it to a debugger. If one were there, the signal would not have come this far.
bool IsForDebuggers(std::uint32_t code) noexcept
{
    return code == FaultCode::Breakpoint || code == FaultCode::SingleStep;
}

/// Whether nobody handled \p signal before.
bool EndsByDefault(int signal) noexcept
{
    const struct sigaction& previous = g_previous[IndexOf(signal)];
    return (previous.sa_flags & SA_SIGINFO) == 0 && previous.sa_handler == SIG_DFL;
}

void HandleFault(FaultThread& thread, int signal, siginfo_t* info, void* context) noexcept
{
    const pid_t process = getpid();
    ForgetParent(process);
    if (thread.depth > 1)
    {
        // The handling itself has faulted here: once more from outside, and then the end.
        if (thread.depth == 2)
        {
            WriteReports(thread);
        }
        HandOn(thread, signal, info, context, true);
        return;
    }
    TakeDesk(static_cast<std::uint32_t>(gettid()));
    ClassifySignal(thread, signal, *info, *static_cast<const ucontext_t*>(context));
    const bool filtersRun = g_process == process && g_filterThread != 0;
    const Verdict verdict = filtersRun ? AskFilterThread(thread) : Verdict::Failed;
    switch (verdict)
    {
    case Verdict::Resume:
        thread.depth = 0;
        LeaveDesk();
        return;
    case Verdict::Jump:
        if (!EndsProcess(thread.record.ExceptionCode))
        {
            JumpBack(thread, *g_desk.guard);
        }
        HandOn(thread, signal, info, context, true);
        return;
    case Verdict::Previous:
        if (IsForDebuggers(thread.record.ExceptionCode) && EndsByDefault(signal))
        {
            WriteReports(thread);
        }
        HandOn(thread, signal, info, context, false);
        return;
    case Verdict::Failed:
        WriteReports(thread);
        if (!filtersRun && thread.guard != nullptr && !EndsProcess(thread.record.ExceptionCode))
        {
            JumpBack(thread, *thread.guard);
        }
        HandOn(thread, signal, info, context, filtersRun); // filters that failed may hold any lock
        return;
    }
}

extern "C" void KilnOnFault(int signal, siginfo_t* info, void* context)
{
    const int error = errno;
    const pid_t self = gettid();
    if (self == g_filterThread && g_desk.state != Idle)
    {
        siglongjmp(g_filterThreadJump, 1);
    }
    FaultThread* const thread = BorrowFaultThread();
    if (thread == nullptr)
    {
        SetDefault(signal); // many threads that nobody announced fault at once
        return;
    }
    ++thread->depth;
    HandleFault(*thread, signal, info, context);
    thread->depth = 0;
    ReturnFaultThread(thread);
    errno = error;
}

// ---- std::terminate ------------------------------------------------------------------------------------------------

[[noreturn]] void OnTerminate()
{
    FaultThread* const thread = BorrowFaultThread();
    if (thread != nullptr)
    {
        thread->terminating = RememberCurrentException(*thread);
    }
    if (g_previousTerminate != nullptr)
    {
        g_previousTerminate();
    }
    abort();
}

} // namespace

void FaultDispatch::Start() noexcept
{
    const pid_t process = getpid();
    pid_t started = g_startingProcess;
    if (started == process || !g_startingProcess.compare_exchange_strong(started, process))
    {
        for (const int signal : FaultSignals)
        {
            if (g_process == process)
            {
                InstallHandler(signal);
            }
        }
        return;
    }
    const bool first = started == 0;
    if (first)
    {
        PrepareClassification();
        if (g_fallback.prepare != nullptr)
        {
            g_fallback.prepare();
        }
        AdoptNewThreads();
        for (const int signal : FaultSignals)
        {
            InstallHandler(signal);
        }
        g_previousTerminate = std::set_terminate(OnTerminate);
    }
    g_desk.owner = 0;
    g_desk.state = Idle;
    g_personsAsked = 0;
    g_firstThreadWaits = false;
    StartFilterThread();
}

void FaultDispatch::MonitorThread() noexcept
{
    Start();
    AdoptThread();
}

void FaultDispatch::AddVectoredFilter(FaultFilter filter) noexcept
{
    FaultThread* const thread = OwnFaultThread();
    if (thread != nullptr && thread->filterCount < FaultThread::MaximumFilters)
    {
        thread->filters[thread->filterCount++] = filter;
    }
}

void FaultDispatch::RemoveVectoredFilter(FaultFilter filter) noexcept
{
    FaultThread* const thread = OwnFaultThread();
    if (thread != nullptr)
    {
        auto* const begin = thread->filters.data();
        auto* const end = begin + thread->filterCount;
        auto* const found = std::find(begin, end, filter);
        if (found != end)
        {
            std::copy(found + 1, end, found);
            --thread->filterCount;
        }
    }
}

FaultFilter FaultDispatch::SetUnhandledFilter(FaultFilter filter) noexcept
{
    return g_unhandledFilter.exchange(filter);
}

void FaultDispatch::SetThrowFilter(FaultFilter filter) noexcept
{
    g_throwFilter = filter;
}

bool FaultDispatch::CallGuarded(void (*work)(void*), void* argument, FaultFilter filter)
{
    MonitorThread();
    FaultThread* const thread = OwnFaultThread();
    if (thread == nullptr)
    {
        work(argument);
        return true;
    }
    struct Guarded
    {
        explicit Guarded(FaultThread& guarded, FaultFilter guardFilter) : owner(guarded)
        {
            frame.filter = guardFilter;
            frame.outer = owner.guard;
        }
        ~Guarded() { owner.guard = frame.outer; }
        Guarded(const Guarded&) = delete;
        Guarded& operator=(const Guarded&) = delete;
        FaultThread& owner;
        GuardFrame frame;
        CaughtExceptions caught; // those that the work had caught when it faulted stay caught otherwise
    };
    Guarded guarded(*thread, filter);
    if (sigsetjmp(guarded.frame.jump, 1) != 0)
    {
        guarded.caught.Restore();
        return false;
    }
    thread->guard = &guarded.frame;
    work(argument);
    return true;
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

std::uint32_t FaultDispatch::ThreadId() noexcept
{
    return static_cast<std::uint32_t>(ThreadIdOnBehalf());
}

bool FaultDispatch::FirstThreadIsAtFault() noexcept
{
    return gettid() == g_filterThread && ThreadIdOnBehalf() == getpid();
}

FaultDispatch::ScopedTimeLimitPause::ScopedTimeLimitPause() noexcept
{
    ++g_personsAsked;
}

FaultDispatch::ScopedTimeLimitPause::~ScopedTimeLimitPause()
{
    --g_personsAsked;
}

bool FaultDispatch::HasNoUserInterface() noexcept
{
    return g_firstThreadWaits;
}

void FaultDispatch::SetTimeLimit(int milliseconds) noexcept
{
    g_timeLimit = milliseconds;
}

void ShowThrow(void* object, const std::type_info* type, void* address) noexcept
{
    FaultThread* const thread = OwnFaultThread();
    const FaultFilter other = g_throwFilter;
    if (thread == nullptr || (thread->filterCount == 0 && other == nullptr))
    {
        return;
    }
    EXCEPTION_RECORD record = {};
    CONTEXT context = {};
    EXCEPTION_POINTERS pointers = {&record, &context};
    record.ExceptionCode = FaultCode::CxxException;
    record.ExceptionFlags = FaultFlag::Noncontinuable;
    record.ExceptionAddress = address;
    record.NumberParameters = 3;
    record.ExceptionInformation[0] = CxxExceptionMagic;
    record.ExceptionInformation[1] = reinterpret_cast<std::uintptr_t>(object);
    record.ExceptionInformation[2] = reinterpret_cast<std::uintptr_t>(type);
    context.ContextFlags = ContextFlag::Control;
    context.Rip = reinterpret_cast<std::uintptr_t>(address);
    for (std::size_t at = thread->filterCount; at > 0; --at)
    {
        thread->filters[at - 1](&pointers);
    }
    if (thread->filterCount == 0)
    {
        other(&pointers);
    }
}

void SetFaultFallback(const FaultFallback& fallback) noexcept
{
    g_fallback = fallback;
}

} // namespace Ardo::Kiln::Crash
