#include "tests/Kiln/Logger/LogWriterProcess.h"

#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

bool g_isForkedChild = false;

} // namespace

/// Asked by LeakSanitizer at the end of a process. In a forked child it would wait for ever for the lock of its
/// allocator if another thread of the parent held it at the fork.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off()
{
    return g_isForkedChild ? 1 : 0;
}

namespace Ardo::Kiln::Logger
{

int RunInForkedChild(const std::function<void()>& function)
{
    int status = 0;
    const pid_t child = ::fork();
    if (child > 0)
    {
        ::waitpid(child, &status, 0);
    }
    else
    {
        g_isForkedChild = true;
        function();
    }
    return status == 0 ? 0 : 1;
}

void KillThisProcess()
{
    std::raise(SIGKILL);
    std::abort(); // not reached
}

void AbortSilently()
{
    std::abort();
}

} // namespace Ardo::Kiln::Logger
