#include "Ardo/Kiln/Crash/Process/ProcessThreads_linux.h"

#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Platform/ProcFile_linux.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include <elf.h>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <time.h>

namespace Ardo::Kiln::Crash
{

namespace
{

// How long a thread may take to return from a system call. One that waits for an unreachable network drive never does.
constexpr long StopMilliseconds = 2000;

long NowMilliseconds() noexcept
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

template <typename T>
bool GetRegisterSet(std::int32_t id, long set, T& registers) noexcept
{
    iovec area{&registers, sizeof registers};
    return ::ptrace(static_cast<__ptrace_request>(PTRACE_GETREGSET), id, set, &area) == 0;
}

bool ReadStoppedRegisters(ThreadImage& thread) noexcept
{
    user_regs_struct general{};
    user_fpregs_struct floating{};
    if (!GetRegisterSet(thread.id, NT_PRSTATUS, general))
    {
        return false;
    }
    CONTEXT& context = thread.context;
    context.SegCs = static_cast<std::uint16_t>(general.cs);
    context.SegDs = static_cast<std::uint16_t>(general.ds);
    context.SegEs = static_cast<std::uint16_t>(general.es);
    context.SegFs = static_cast<std::uint16_t>(general.fs);
    context.SegGs = static_cast<std::uint16_t>(general.gs);
    context.SegSs = static_cast<std::uint16_t>(general.ss);
    context.EFlags = static_cast<std::uint32_t>(general.eflags);
    context.Rax = general.rax;
    context.Rcx = general.rcx;
    context.Rdx = general.rdx;
    context.Rbx = general.rbx;
    context.Rsp = general.rsp;
    context.Rbp = general.rbp;
    context.Rsi = general.rsi;
    context.Rdi = general.rdi;
    context.R8 = general.r8;
    context.R9 = general.r9;
    context.R10 = general.r10;
    context.R11 = general.r11;
    context.R12 = general.r12;
    context.R13 = general.r13;
    context.R14 = general.r14;
    context.R15 = general.r15;
    context.Rip = general.rip;
    thread.threadPointer = general.fs_base;
    if (GetRegisterSet(thread.id, NT_PRFPREG, floating))
    {
        static_assert(sizeof floating == sizeof context.FltSave);
        std::memcpy(context.FltSave, &floating, sizeof floating);
        context.MxCsr = floating.mxcsr;
    }
    return true;
}

// From "232 0x3 0x7ffd... 0x7ffd<stack pointer> 0x7f<instruction pointer>", or "running".
void ReadRunningRegisters(std::int32_t process, ThreadImage& thread) noexcept
{
    char buffer[256];
    std::string_view text =
        Platform::ReadSmallFile(Platform::ProcPath(process, thread.id, "syscall").Text(), buffer, sizeof buffer);
    text = text.substr(0, text.find('\n'));
    const std::size_t last = text.rfind(" 0x");
    if (last == std::string_view::npos || last == 0)
    {
        return;
    }
    const std::size_t previous = text.rfind(" 0x", last - 1);
    if (previous == std::string_view::npos)
    {
        return;
    }
    std::string_view instruction = text.substr(last + 3);
    std::string_view stack = text.substr(previous + 3);
    thread.context.Rip = Platform::TakeNumber(instruction, 16);
    thread.context.Rsp = Platform::TakeNumber(stack, 16);
}

// Name and times; false for one that has ended.
bool Describe(std::int32_t process, ThreadImage& thread) noexcept
{
    char buffer[512];
    std::string_view stat =
        Platform::ReadSmallFile(Platform::ProcPath(process, thread.id, "stat").Text(), buffer, sizeof buffer);
    // "ID (name) S ...": the name may contain any characters, also ") ".
    const std::size_t open = stat.find('(');
    const std::size_t close = stat.rfind(") ");
    if (open == std::string_view::npos || close == std::string_view::npos || stat.size() < close + 4)
    {
        return false;
    }
    const std::string_view name = stat.substr(open + 1, close - open - 1);
    std::memcpy(thread.name, name.data(), std::min(name.size(), sizeof thread.name - 1));
    const char state = stat[close + 2];
    stat.remove_prefix(close + 4);
    for (int field = 4; field < 14; ++field)
    {
        Platform::TakeUntil(stat, ' ');
    }
    constexpr std::uint64_t hundredNanosecondsPerTick = 100000; // user space always sees 100 ticks a second on x86
    thread.userTime = Platform::TakeNumber(stat, 10) * hundredNanosecondsPerTick;
    thread.systemTime = Platform::TakeNumber(stat, 10) * hundredNanosecondsPerTick;
    thread.context.ContextFlags = ContextFlag::Full;
    return state != 'Z' && state != 'X';
}

} // namespace

int StoppedThreads::AttachNewThreads(std::int32_t process, bool& foundNew) noexcept
{
    Platform::MappedArray<std::int32_t> ids;
    if (const int error = Platform::ReadThreadIds(process, ids); error != 0)
    {
        return error;
    }
    foundNew = false;
    for (const std::int32_t id : ids)
    {
        if (std::find_if(m_holds.begin(), m_holds.end(), [id](const Hold& hold) { return hold.id == id; }) !=
            m_holds.end())
        {
            continue;
        }
        foundNew = true;
        Hold hold{id, 0, false, false};
        hold.attached = ::ptrace(static_cast<__ptrace_request>(PTRACE_SEIZE), id, nullptr, nullptr) == 0;
        if (!m_holds.Add(hold))
        {
            return ENOMEM; // threads outside the list are detached by the kernel when this process ends
        }
        if (hold.attached)
        {
            ::ptrace(static_cast<__ptrace_request>(PTRACE_INTERRUPT), id, nullptr, nullptr);
        }
    }
    return 0;
}

void StoppedThreads::WaitUntilStopped() noexcept
{
    const long deadline = NowMilliseconds() + StopMilliseconds;
    for (;;)
    {
        bool waiting = false;
        for (Hold& hold : m_holds)
        {
            if (!hold.attached || hold.stopped)
            {
                continue;
            }
            int status = 0;
            const pid_t got = ::waitpid(hold.id, &status, __WALL | WNOHANG);
            if (got == hold.id && WIFSTOPPED(status))
            {
                hold.stopped = true;
                hold.signal = status >> 16 == 0 ? WSTOPSIG(status) : 0;
            }
            else if (got == hold.id || (got == -1 && errno != EINTR))
            {
                hold.attached = false; // it has ended
            }
            else
            {
                waiting = true;
            }
        }
        if (!waiting || NowMilliseconds() > deadline)
        {
            return;
        }
        constexpr timespec pause{0, 50000};
        ::nanosleep(&pause, nullptr);
    }
}

int StoppedThreads::StopAll(std::int32_t process, Platform::MappedArray<ThreadImage>& threads) noexcept
{
    // A thread that still runs may start another, so the passes go on until one finds no new thread.
    for (bool foundNew = true; foundNew;)
    {
        if (const int error = AttachNewThreads(process, foundNew); error != 0)
        {
            return error;
        }
        WaitUntilStopped();
    }
    for (const Hold& hold : m_holds)
    {
        ThreadImage thread;
        thread.id = hold.id;
        if (!Describe(process, thread))
        {
            continue;
        }
        if (!hold.stopped || !ReadStoppedRegisters(thread))
        {
            ReadRunningRegisters(process, thread);
        }
        if (!threads.Add(thread))
        {
            return ENOMEM;
        }
    }
    return 0;
}

void StoppedThreads::Release() noexcept
{
    for (Hold& hold : m_holds)
    {
        if (hold.attached)
        {
            // A thread that has not stopped yet is detached by the kernel when this process ends.
            ::ptrace(PTRACE_DETACH, hold.id, nullptr, static_cast<std::intptr_t>(hold.signal));
            hold.attached = false;
        }
    }
}

int ReadRunningThreads(std::int32_t process, Platform::MappedArray<ThreadImage>& threads) noexcept
{
    Platform::MappedArray<std::int32_t> ids;
    if (const int error = Platform::ReadThreadIds(process, ids); error != 0)
    {
        return error;
    }
    for (const std::int32_t id : ids)
    {
        ThreadImage thread;
        thread.id = id;
        if (Describe(process, thread))
        {
            ReadRunningRegisters(process, thread);
            if (!threads.Add(thread))
            {
                return ENOMEM;
            }
        }
    }
    return 0;
}

} // namespace Ardo::Kiln::Crash
