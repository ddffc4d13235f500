#include "Ardo/Kiln/Crash/Writer/CrashWriterProcess_linux.h"

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"
#include "Ardo/Kiln/Crash/Writer/SystemCall_linux.h"
#include "Ardo/Kiln/Platform/MapsReader_linux.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <iterator>
#include <string_view>

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

// Two processes are started, because of SIGCHLD: the kernel sends it to the parent of every process that has called
// execve(), and the application may have a handler for it. So a keeper that never calls execve() is the writer's
// parent. It shares the memory of this process, which costs nothing to make, ends the writer when it takes too long,
// and its own end sends no signal. Whatever runs in it uses SystemCall: errno is that of the thread that waits for it.

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr std::size_t StackSize = 32768; // of the keeper, and the same for the writer until execve()
constexpr int WriterDescriptor = 3;      // where the writer finds the file for the dump
constexpr std::size_t SignalSetSize = 8; // of the kernel
constexpr std::uint64_t AllSignals = ~std::uint64_t{0};

/// What the keeper and the writer need. Prepared at start-up, then filled under the lock.
struct Launch
{
    char program[1024];
    char libraryPath[4096]; // "LD_LIBRARY_PATH=..."
    char timeZone[256];     // "TZ=..."
    const char* environment[3];

    char* stacks;
    char processText[16];
    char addressText[24];
    const char* arguments[4];
    int descriptor;
    bool hasStandardError;
    int timeoutMilliseconds;
};
Launch g_launch;

// Process and thread that use g_launch, 0: none. Not a lock of the C library: the thread at fault may hold that, and
// after a fork() the child must not wait for a thread that it does not have.
std::atomic<std::uint64_t> g_owner;

template <std::size_t Size>
bool CopyText(char (&target)[Size], std::string_view text) noexcept
{
    if (text.size() >= Size)
    {
        return false;
    }
    std::memcpy(target, text.data(), text.size());
    target[text.size()] = '\0';
    return true;
}

bool FindProgram() noexcept
{
    // The file that this code was loaded from, as the kernel knows it: dladdr() returns what the loader was told, which
    // may be relative to a folder that is no longer current.
    Platform::MappedArray<char> maps;
    const bool read = Platform::ReadMaps(getpid(), maps) == 0;
    const auto self =
        read ? Platform::FindModule({maps.begin(), maps.Size()}, reinterpret_cast<std::uint64_t>(&FindProgram))
             : std::nullopt;
    const std::string_view file = self ? self->file : std::string_view();
    const std::string_view folder = file.substr(0, file.rfind('/') + 1);
    for (const std::string_view place : {"kiln-crash-writer", KILN_CRASH_WRITER_FROM_LIBRARY})
    {
        if (!folder.empty() && folder.size() + place.size() < sizeof g_launch.program)
        {
            std::memcpy(g_launch.program, folder.data(), folder.size());
            std::memcpy(g_launch.program + folder.size(), place.data(), place.size());
            g_launch.program[folder.size() + place.size()] = '\0';
            if (::access(g_launch.program, X_OK) == 0)
            {
                return true;
            }
        }
    }
    return false;
}

bool PrepareOnce() noexcept
{
    if (!FindProgram())
    {
        return false;
    }
    // Of the environment the writer gets only the path of libraries and the time zone.
    std::size_t count = 0;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry)
    {
        const std::string_view text(*entry);
        if (text.starts_with("LD_LIBRARY_PATH=") && CopyText(g_launch.libraryPath, text))
        {
            g_launch.environment[count++] = g_launch.libraryPath;
        }
        else if (text.starts_with("TZ=") && CopyText(g_launch.timeZone, text))
        {
            g_launch.environment[count++] = g_launch.timeZone;
        }
        if (count + 1 == std::size(g_launch.environment))
        {
            break;
        }
    }
    void* const stacks =
        ::mmap(nullptr, 2 * StackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (stacks == MAP_FAILED)
    {
        return false;
    }
    g_launch.stacks = static_cast<char*>(stacks);
    return true;
}

std::uint64_t Self() noexcept
{
    return static_cast<std::uint64_t>(SystemCall(SYS_getpid)) << 32 |
           static_cast<std::uint64_t>(SystemCall(SYS_gettid));
}

void Sleep(int milliseconds) noexcept
{
    const timespec time{milliseconds / 1000, milliseconds % 1000 * 1000000L};
    SystemCall(SYS_nanosleep, ToSyscallArgument(&time));
}

/// Whether the lock will never be released: it was inherited by a fork(), or its thread has ended.
bool HasEnded(std::uint64_t owner) noexcept
{
    return owner >> 32 != Self() >> 32 ||
           SystemCall(SYS_tgkill, static_cast<long>(owner >> 32), static_cast<long>(owner & 0xFFFFFFFF), 0) == -ESRCH;
}

bool Lock(int timeoutMilliseconds) noexcept
{
    const std::uint64_t self = Self();
    for (int waited = 0; waited <= timeoutMilliseconds; ++waited)
    {
        std::uint64_t owner = 0;
        if (g_owner.compare_exchange_strong(owner, self, std::memory_order_acquire) ||
            (HasEnded(owner) && g_owner.compare_exchange_strong(owner, self, std::memory_order_acquire)))
        {
            return true;
        }
        if (owner == self)
        {
            return false; // this function or its caller has faulted
        }
        Sleep(1);
    }
    return false;
}

// In the process that becomes the writer.
int BecomeWriter()
{
    SystemCall(SYS_prctl, PR_SET_PDEATHSIG, SIGKILL);
    // A limit of memory that the application has reached must not hold for the writer.
    for (const int resource : {RLIMIT_AS, RLIMIT_DATA})
    {
        rlimit limit{};
        if (SystemCall(SYS_prlimit64, 0, resource, 0, ToSyscallArgument(&limit)) == 0)
        {
            limit.rlim_cur = limit.rlim_max;
            SystemCall(SYS_prlimit64, 0, resource, ToSyscallArgument(&limit), 0);
        }
    }
    // Signals of the terminal are meant for the application. SIGPIPE, because the standard error stream may have no
    // reader.
    constexpr auto bit = [](int signal) { return std::uint64_t{1} << (signal - 1); };
    constexpr std::uint64_t blocked = bit(SIGINT) | bit(SIGQUIT) | bit(SIGTSTP) | bit(SIGHUP) | bit(SIGPIPE);
    SystemCall(SYS_rt_sigprocmask, SIG_SETMASK, ToSyscallArgument(&blocked), 0, SignalSetSize);
    SystemCall(SYS_execve, ToSyscallArgument(g_launch.program), ToSyscallArgument(g_launch.arguments),
               ToSyscallArgument(g_launch.environment));
    return 127;
}

void LeaveOnlyStandardStreams(int keep) noexcept
{
    if (!g_launch.hasStandardError)
    {
        SystemCall(SYS_close, STDERR_FILENO); // a file of the application
    }
    if (keep == WriterDescriptor)
    {
        SystemCall(SYS_fcntl, keep, F_SETFD, 0);
    }
    else if (keep >= 0)
    {
        if (SystemCall(SYS_dup2, keep, WriterDescriptor) < 0)
        {
            SystemCall(SYS_close, WriterDescriptor); // some other file of the application, not to be written over
        }
    }
    const long first = keep >= 0 ? WriterDescriptor + 1 : WriterDescriptor;
    if (SystemCall(SYS_close_range, first, ~0U, 0) < 0)
    {
        for (long descriptor = first; descriptor < 65536; ++descriptor)
        {
            SystemCall(SYS_close, descriptor);
        }
    }
}

// The keeper's main function. All signals are blocked in it.
int RunKeeper()
{
    // The keeper has its own table of signal actions. With SIGCHLD ignored it could not wait for the writer.
    struct
    {
        long handler, flags, restorer, mask;
    } byDefault{};
    for (int signal = 1; signal <= 64; ++signal)
    {
        byDefault.flags = signal == SIGCHLD ? SA_NOCLDSTOP : 0; // only its end matters
        SystemCall(SYS_rt_sigaction, signal, ToSyscallArgument(&byDefault), 0, SignalSetSize);
    }
    LeaveOnlyStandardStreams(g_launch.descriptor);
    const long writer = StartProcess(CLONE_VM | CLONE_VFORK | SIGCHLD, g_launch.stacks + 2 * StackSize, BecomeWriter);
    if (writer < 0)
    {
        return EAGAIN;
    }
    constexpr std::uint64_t childSignal = std::uint64_t{1} << (SIGCHLD - 1);
    int result = 0;
    for (int remaining : {g_launch.timeoutMilliseconds, 1000})
    {
        const timespec limit{remaining / 1000, remaining % 1000 * 1000000L};
        SystemCall(SYS_rt_sigtimedwait, ToSyscallArgument(&childSignal), 0, ToSyscallArgument(&limit), SignalSetSize);
        int status = 0;
        if (SystemCall(SYS_wait4, writer, ToSyscallArgument(&status), WNOHANG | __WALL, 0) == writer)
        {
            return result != 0 ? result : WIFEXITED(status) ? WEXITSTATUS(status) : EINTR;
        }
        SystemCall(SYS_kill, writer, SIGKILL);
        result = ETIMEDOUT;
    }
    return result;
}

// Returns 0 or why there are no answers.
int RunWriter() noexcept
{
    // Some systems allow only the parents of a process to trace it, and nobody to trace a process that has dropped
    // privileges.
    const long dumpable = SystemCall(SYS_prctl, PR_GET_DUMPABLE);
    if (dumpable != 1)
    {
        SystemCall(SYS_prctl, PR_SET_DUMPABLE, 1);
    }
    SystemCall(SYS_prctl, PR_SET_PTRACER, static_cast<long>(PR_SET_PTRACER_ANY));

    const long keeper = StartProcess(CLONE_VM, g_launch.stacks + StackSize, RunKeeper);
    int error = keeper < 0 ? static_cast<int>(-keeper) : 0;
    if (keeper > 0)
    {
        int status = 0;
        long waited = 0;
        do
        {
            waited = SystemCall(SYS_wait4, keeper, ToSyscallArgument(&status), __WALL, 0);
        } while (waited == -EINTR);
        error = waited == keeper && WIFEXITED(status) ? WEXITSTATUS(status) : ECHILD;
    }

    SystemCall(SYS_prctl, PR_SET_PTRACER, 0);
    if (dumpable != 1)
    {
        SystemCall(SYS_prctl, PR_SET_DUMPABLE, 0); // 2, which only the system sets, becomes 0, which allows less
    }
    return error;
}

} // namespace

bool CrashWriterProcess::Prepare() noexcept
{
    static const bool g_isReady = PrepareOnce();
    return g_isReady;
}

bool CrashWriterProcess::Run(CrashRequest& request, int descriptor, int timeoutMilliseconds) noexcept
{
    const int savedErrno = errno;
    request.done = 0;
    request.systemError = 0;
    request.textLength = 0;
    std::uint64_t signals = 0;
    SystemCall(SYS_rt_sigprocmask, SIG_SETMASK, ToSyscallArgument(&AllSignals), ToSyscallArgument(&signals),
               SignalSetSize);
    if (g_launch.stacks == nullptr || !Lock(timeoutMilliseconds))
    {
        request.systemError = g_launch.stacks == nullptr ? ENOENT : EBUSY;
    }
    else
    {
        *std::to_chars(g_launch.processText, std::end(g_launch.processText) - 1, SystemCall(SYS_getpid)).ptr = '\0';
        *std::to_chars(g_launch.addressText, std::end(g_launch.addressText) - 1, ToSyscallArgument(&request)).ptr =
            '\0';
        g_launch.arguments[0] = g_launch.program;
        g_launch.arguments[1] = g_launch.processText;
        g_launch.arguments[2] = g_launch.addressText;
        g_launch.descriptor = descriptor;
        g_launch.hasStandardError = Platform::HasStandardError();
        g_launch.timeoutMilliseconds = timeoutMilliseconds;
        const int error = RunWriter();
        if (request.systemError == 0)
        {
            request.systemError = error;
        }
        g_owner.store(0, std::memory_order_release);
    }
    SystemCall(SYS_rt_sigprocmask, SIG_SETMASK, ToSyscallArgument(&signals), 0, SignalSetSize);
    errno = savedErrno;
    return (request.done & request.tasks) == request.tasks;
}

bool CrashWriterProcess::IsRunning() noexcept
{
    return g_owner.load(std::memory_order_acquire) >> 32 == Self() >> 32;
}

} // namespace Ardo::Kiln::Crash
