#include "apps/crash_probe/Conditions.h"

#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <threads.h>
#include <time.h>
#include <unistd.h>

namespace Ardo::Kiln::CrashProbe
{

namespace
{

void Limit(int resource, rlim_t value)
{
    rlimit limit{};
    ::getrlimit(static_cast<__rlimit_resource_t>(resource), &limit);
    limit.rlim_cur = value;
    ::setrlimit(static_cast<__rlimit_resource_t>(resource), &limit);
}

/// Limits the size of files to less than the smallest dump.
void FullDisk()
{
    constexpr rlim_t Size = 4096;
    std::signal(SIGXFSZ, SIG_IGN); // writing fails instead
    Limit(RLIMIT_FSIZE, Size);
}

void NoDescriptors()
{
    constexpr rlim_t Count = 64;
    Limit(RLIMIT_NOFILE, Count);
    while (::open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0)
    {
    }
}

/// Limits the address space to its present size, all of which is in use.
void NoAddressSpace()
{
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    Limit(RLIMIT_AS, pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)));
    constexpr std::size_t MaxSize = 1 << 20;
    for (std::size_t size = MaxSize; size >= 16;)
    {
        if (std::malloc(size) == nullptr)
        {
            size /= 2;
        }
    }
}

/// Standard error is a pipe that nobody reads.
void BrokenPipe()
{
    std::array<int, 2> pipe{};
    if (::pipe(pipe.data()) == 0)
    {
        ::dup2(pipe[1], STDERR_FILENO);
        ::close(pipe[0]);
        ::close(pipe[1]);
    }
}

/// For a process that was started without standard error, whose first file gets that number.
void FileInItsPlace()
{
    if (::open("data", O_CREAT | O_RDWR, S_IRUSR | S_IWUSR) != STDERR_FILENO)
    {
        Say("has a standard error stream");
    }
}

constexpr Condition List[] = {
    {"broken-pipe", "standard error is a pipe that nobody reads", &BrokenPipe, true},
    {"file-as-stderr", "a file of the application has the number of standard error (2>&-)", &FileInItsPlace, true},
    {"full-disk", "no file can grow beyond 4 KiB", &FullDisk},
    {"no-descriptors", "all file descriptors are in use", &NoDescriptors},
    {"no-memory", "no memory and no address space is left", &NoAddressSpace},
    {"log", "a record was logged just before", [] { LogRecord(std::getenv("XDG_DATA_HOME")); }},
    {"fake-dump", "minidumps are only pretended", [] { Exception::MiniDumpGenerator::SetFakeWriteDump(true); }},
    {"own-terminate", "the application has set a terminate handler after the library", &OwnTerminateHandler},
};

} // namespace

std::span<const Condition> Conditions()
{
    return List;
}

void RunOnForeignThread(const std::string& kind, const std::function<void()>& work)
{
    static const std::function<void()>* g_work = nullptr;
    g_work = &work;
    if (kind == "c11")
    {
        thrd_t thread{};
        ::thrd_create(
            &thread,
            [](void*)
            {
                (*g_work)();
                return 0;
            },
            nullptr);
    }
    else
    {
        sigevent event{};
        event.sigev_notify = SIGEV_THREAD;
        event.sigev_notify_function = [](sigval) { (*g_work)(); };
        timer_t timer{};
        const itimerspec soon{{0, 0}, {0, 1}};
        if (::timer_create(CLOCK_MONOTONIC, &event, &timer) == 0 && ::timer_delete(timer) == 0 &&
            ::timer_create(CLOCK_MONOTONIC, &event, &timer) == 0)
        {
            ::timer_settime(timer, 0, &soon, nullptr);
        }
    }
    for (;;)
    {
        ::pause();
    }
}

void RunInChild(const std::function<void()>& work)
{
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0)
    {
        work();
        EndQuietly();
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    std::printf(WIFSIGNALED(status) ? "child: signal %d\n" : "child: status %d\n",
                WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status));
}

void PrintIds()
{
    char text[80];
    std::snprintf(text, sizeof(text), "process %d, thread %d", ::getpid(), ::gettid());
    Say(text);
}

void Say(const char* line)
{
    [[maybe_unused]] const ssize_t written =
        ::write(STDOUT_FILENO, line, std::strlen(line)) + ::write(STDOUT_FILENO, "\n", 1);
}

void EndQuietly()
{
    ::_exit(0);
}

} // namespace Ardo::Kiln::CrashProbe
