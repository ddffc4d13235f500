#include "Ardo/Kiln/Crash/Fault/SignalHandlers_linux.h"

#include "Ardo/Kiln/Crash/Fault/FaultSignal_linux.h"
#include "Ardo/Kiln/Platform/ProcessMemory_linux.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

namespace Ardo::Kiln::Crash
{

namespace
{

using SignalMask = std::uint64_t; // the kernel's, of which the C library's sigset_t is the beginning

std::array<struct sigaction, FaultSignals.size()> g_previous;
std::uintptr_t g_abortBegin = 0; // the C library's abort()
std::uintptr_t g_abortEnd = 0;
constinit std::mutex g_installMutex; // never taken for a fault

constexpr SignalMask MaskOf(int signal) noexcept
{
    return SignalMask(1) << static_cast<unsigned>(signal - 1);
}

SignalMask MaskOf(const sigset_t& set) noexcept
{
    SignalMask mask = 0;
    static_assert(sizeof set >= sizeof mask);
    std::copy_n(reinterpret_cast<const std::byte*>(&set), sizeof mask, reinterpret_cast<std::byte*>(&mask));
    return mask;
}

void ChangeMask(int how, SignalMask mask) noexcept
{
    syscall(SYS_rt_sigprocmask, how, &mask, nullptr, sizeof mask);
}

struct sigaction& Previous(int signal) noexcept
{
    return g_previous[static_cast<std::size_t>(std::find(FaultSignals.begin(), FaultSignals.end(), signal) -
                                               FaultSignals.begin())];
}

bool IsFunction(const struct sigaction& action) noexcept
{
    return (action.sa_flags & SA_SIGINFO) != 0 || (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN);
}

void FindAbort() noexcept
{
    Dl_info info = {};
    void* symbol = nullptr;
    void* const abortFunction = dlsym(RTLD_DEFAULT, "abort");
    if (abortFunction != nullptr && dladdr1(abortFunction, &info, &symbol, RTLD_DL_SYMENT) != 0 && symbol != nullptr)
    {
        g_abortBegin = reinterpret_cast<std::uintptr_t>(abortFunction);
        g_abortEnd = g_abortBegin + static_cast<const ElfW(Sym)*>(symbol)->st_size;
    }
}

bool IsOurs(const struct sigaction& action) noexcept
{
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == KilnFaultEntry;
}

void Install(int signal, bool first) noexcept
{
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) != 0)
    {
        return;
    }
    constexpr int Flags = SA_ONSTACK | SA_NODEFER;
    const bool isComplete = IsOurs(action) && (action.sa_flags & Flags) == Flags;
    if (isComplete || (!first && !IsOurs(action) && IsFunction(action)))
    {
        return;
    }
    if (!IsOurs(action))
    {
        Previous(signal) = action;
    }
    struct sigaction own = {};
    own.sa_sigaction = KilnFaultEntry;
    // Not deferred: the kernel would kill the process for a fault of the handling itself.
    own.sa_flags = SA_SIGINFO | Flags;
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

/// The kernel discards signals that process 1 has no handler for, but not those of its own faults.
[[noreturn]] void EndFirstProcess(int signal) noexcept
{
    ChangeMask(SIG_UNBLOCK, MaskOf(signal));
    switch (signal)
    {
    case SIGSEGV:
        asm volatile("hlt");
        break;
    case SIGILL:
        asm volatile("ud2");
        break;
    case SIGFPE:
        asm volatile("xorl %%ecx, %%ecx\n\tidivl %%ecx" : : "a"(1), "d"(0) : "ecx", "cc");
        break;
    case SIGTRAP:
        asm volatile("int3");
        break;
    default:
        break;
    }
    _exit(128 + signal); // how shells and container managers tell the signal
}

} // namespace

void InstallFaultHandlers() noexcept
{
    static bool g_isInstalled = false;
    const std::lock_guard lock(g_installMutex);
    if (!g_isInstalled)
    {
        FindAbort();
    }
    for (const int signal : FaultSignals)
    {
        Install(signal, !g_isInstalled);
    }
    g_isInstalled = true;
}

void ResetInstallationInChild() noexcept
{
    std::construct_at(&g_installMutex); // the thread that owns it does not exist in the child
}

void UnblockFaultSignals() noexcept
{
    sigset_t faults;
    sigemptyset(&faults);
    for (const int signal : FaultSignals)
    {
        sigaddset(&faults, signal);
    }
    pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);
}

bool IsOursInstalled(int signal) noexcept
{
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && IsOurs(action);
}

bool HasPreviousHandler(int signal) noexcept
{
    return IsFunction(Previous(signal));
}

bool EndsByDefault(int signal) noexcept
{
    const struct sigaction& previous = Previous(signal);
    return !IsFunction(previous) && previous.sa_handler == SIG_DFL;
}

bool IsSentByAbort(int signal, const ucontext_t& context) noexcept
{
    if (signal != SIGABRT)
    {
        return false;
    }
    std::array<std::uintptr_t, 64> words = {};
    const auto stackPointer = static_cast<std::uint64_t>(context.uc_mcontext.gregs[REG_RSP]);
    Platform::ReadProcessMemory(getpid(), stackPointer, words.data(), sizeof words);
    return std::any_of(words.begin(), words.end(),
                       [](std::uintptr_t word) { return word > g_abortBegin && word < g_abortEnd; });
}

bool IsIgnored(int signal, const siginfo_t& info, const ucontext_t& context) noexcept
{
    const struct sigaction& previous = Previous(signal);
    return !IsFunction(previous) && previous.sa_handler == SIG_IGN && info.si_code <= 0 &&
           !IsSentByAbort(signal, context);
}

void CallPreviousHandler(int signal, siginfo_t* info, ucontext_t& context) noexcept
{
    const struct sigaction previous = Previous(signal);
    if (!IsFunction(previous))
    {
        return;
    }
    if ((static_cast<unsigned>(previous.sa_flags) & SA_RESETHAND) != 0)
    {
        Previous(signal).sa_handler = SIG_DFL;
        Previous(signal).sa_flags = 0;
    }
    const SignalMask own = (previous.sa_flags & SA_NODEFER) != 0 ? 0 : MaskOf(signal);
    ChangeMask(SIG_SETMASK, MaskOf(context.uc_sigmask) | MaskOf(previous.sa_mask) | own);
    if ((previous.sa_flags & SA_SIGINFO) != 0)
    {
        previous.sa_sigaction(signal, info, &context);
    }
    else
    {
        previous.sa_handler(signal);
    }
}

void EndBySignal(int signal, siginfo_t* info) noexcept
{
    SetDefault(signal);
    const pid_t process = getpid();
    if (process == 1)
    {
        EndFirstProcess(signal);
    }
    // Sent in any case: another thread may have removed the cause of the fault by now. Blocked until the handler
    // returns.
    ChangeMask(SIG_BLOCK, MaskOf(signal));
    if (syscall(SYS_rt_tgsigqueueinfo, process, gettid(), signal, info) != 0 &&
        syscall(SYS_tgkill, process, gettid(), signal) != 0)
    {
        _exit(128 + signal);
    }
}

} // namespace Ardo::Kiln::Crash
