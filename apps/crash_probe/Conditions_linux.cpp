#include "apps/crash_probe/Conditions.h"

#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"
#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/Kiln/Logger/Logging.h"
#include "Ardo/Kiln/Logger/SeveritySets.h"

#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
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

/// No file can grow beyond this, which is less than the smallest dump.
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

/// Nothing more can be mapped than there is now, and all of that is in use.
void NoAddressSpace()
{
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    Limit(RLIMIT_AS, pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)));
    constexpr std::size_t Largest = 1 << 20;
    for (std::size_t size = Largest; size >= 16;)
    {
        if (std::malloc(size) == nullptr)
        {
            size /= 2;
        }
    }
}

/// Logs a record that the log file keeps in memory until its next flush.
void LogRecord()
{
    const char* const folder = std::getenv("XDG_DATA_HOME");
    auto& logging = *new Logger::Logging(folder != nullptr ? folder : ".", L"Probe"); // lives until the crash
    logging.Initialize();
    logging.AddSinks({{L"Probe", 1 << 20, {}, Logger::InfoAndAbove}});
    auto logger = Logger::CreateLogger("Probe");
    BOOST_LOG_SEV(logger, Logger::info) << "the last record";
}

constexpr Condition List[] = {
    {"full-disk", "no file can grow beyond 4 KiB", &FullDisk},
    {"no-descriptors", "all file descriptors are in use", &NoDescriptors},
    {"no-memory", "no memory and no address space is left", &NoAddressSpace},
    {"log", "a record was logged just before", &LogRecord},
    {"fake-dump", "minidumps are only pretended", [] { Exception::MiniDumpGenerator::SetFakeWriteDump(true); }},
};

} // namespace

std::span<const Condition> Conditions()
{
    return List;
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
