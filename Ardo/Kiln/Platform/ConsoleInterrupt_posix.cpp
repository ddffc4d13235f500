#include "Ardo/Kiln/Platform/ConsoleInterrupt.h"

#include <atomic>
#include <csignal>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

namespace
{

std::atomic<bool> g_wasInterrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

struct sigaction g_before = {};

void Remember(int)
{
    g_wasInterrupted = true;
}

} // namespace

bool CatchConsoleInterrupts() noexcept
{
    g_wasInterrupted = false;
    if (::sigaction(SIGINT, nullptr, &g_before) != 0)
    {
        return false;
    }
    if (g_before.sa_handler == SIG_IGN)
    {
        return true;
    }
    struct sigaction action = {};
    action.sa_handler = Remember;
    action.sa_flags = SA_RESTART; // a write in progress is not interrupted
    return ::sigaction(SIGINT, &action, nullptr) == 0;
}

void ReleaseConsoleInterrupts() noexcept
{
    ::sigaction(SIGINT, &g_before, nullptr);
}

bool WasConsoleInterrupted() noexcept
{
    return g_wasInterrupted;
}

bool IsStandardErrorConsole() noexcept
{
    return ::isatty(STDERR_FILENO) == 1;
}

} // namespace Ardo::Kiln::Platform
