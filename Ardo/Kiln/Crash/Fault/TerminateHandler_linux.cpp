#include "Ardo/Kiln/Crash/Fault/TerminateHandler_linux.h"

#include "Ardo/Kiln/Crash/Fault/CaughtThrow.h"
#include "Ardo/Kiln/Crash/Fault/FaultSignal_linux.h"
#include "Ardo/Kiln/Crash/Fault/FaultThread_linux.h"
#include "Ardo/Kiln/Crash/Fault/GuardedQuestion.h"
#include "Ardo/Kiln/Crash/Fault/LanguageRuntime.h"
#include "Ardo/Kiln/Crash/Fault/TerminateSearch_linux.h"

#include <pthread.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <new>
#include <utility>

namespace Ardo::Kiln::Crash
{

namespace
{

std::terminate_handler g_previousTerminate = nullptr;

/// See TakeAbortContext. Initial-exec, because a signal handler must not cause an allocation.
[[gnu::tls_model("initial-exec")]] constinit thread_local const CONTEXT* g_abortContext = nullptr;

/// Describes the exception that has ended in std::terminate.
/// \returns false when its text could not be had.
bool Describe() noexcept
{
    FaultThread* const thread = AdoptThread();
    if (thread == nullptr)
    {
        return true;
    }
    thread->terminating = RememberCaughtException(thread->uncaught);
    return !thread->terminating || thread->uncaught.hasMessage;
}

[[noreturn]] void OnTerminate()
{
    GiveUpQuestion();
    // The handlers below print to a stream that nobody may read any more. The process must live until it has reported.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
    const bool hasText = Describe();
    // The runtime's own handler prints the text of the exception, and would fail at it as we have.
    if (g_previousTerminate != nullptr && (hasText || g_previousTerminate != &__gnu_cxx::__verbose_terminate_handler))
    {
        g_previousTerminate();
    }
    abort();
}

/// The thread continues here, in place of the abort that is interrupted. \p context on its stack.
[[noreturn]] void DescribeAndAbort(const CONTEXT* context)
{
    g_abortContext = context;
    Describe();
    raise(SIGABRT);
    abort(); // somebody else handles the signal, and returns from it
}

} // namespace

void InstallTerminateHandler() noexcept
{
    g_previousTerminate = std::set_terminate(OnTerminate);
}

bool DescribeBeforeAbort(const siginfo_t& info, ucontext_t& context) noexcept
{
    const bool isOwn = info.si_signo == SIGABRT && info.si_code == SI_TKILL && info.si_pid == getpid();
    if (!isOwn || g_abortContext != nullptr || !HasCaughtException())
    {
        return false;
    }
    const FaultThread* const thread = OwnFaultThread();
    if (thread != nullptr && thread->terminating)
    {
        return false;
    }
    bool inTerminate = false;
    AskGuarded([](void* result) { *static_cast<bool*>(result) = IsInTerminate(); }, &inTerminate);
    if (!inTerminate)
    {
        return false;
    }
    constexpr std::uint64_t RedZone = 128; // below the stack pointer, in use by the interrupted function
    constexpr std::uint64_t Alignment = 16;
    constexpr greg_t DirectionFlag = 0x400;
    static_assert(alignof(CONTEXT) <= Alignment);
    auto& registers = context.uc_mcontext.gregs;
    const auto top = static_cast<std::uint64_t>(registers[REG_RSP]) - RedZone - sizeof(CONTEXT);
    const std::uint64_t stack = top & ~(Alignment - 1);
    auto* const saved = new (reinterpret_cast<void*>(stack)) CONTEXT; // NOLINT(performance-no-int-to-ptr)
    ToContext(context, *saved);
    registers[REG_RSP] = static_cast<greg_t>(stack - sizeof(void*)); // as behind a call
    registers[REG_RDI] = static_cast<greg_t>(stack);                 // the first argument
    registers[REG_RIP] = reinterpret_cast<greg_t>(&DescribeAndAbort);
    registers[REG_EFL] &= ~DirectionFlag;
    return true;
}

const CONTEXT* TakeAbortContext() noexcept
{
    return std::exchange(g_abortContext, nullptr);
}

} // namespace Ardo::Kiln::Crash
