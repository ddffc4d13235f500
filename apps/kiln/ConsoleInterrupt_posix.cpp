#include "apps/kiln/ConsoleInterrupt.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <unistd.h>

namespace Ardo::Kiln::Tool
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

ConsoleInterrupt::ConsoleInterrupt()
{
    g_wasInterrupted = false;
    struct sigaction action = {};
    action.sa_handler = Remember;
    action.sa_flags = SA_RESTART; // a write in progress is not interrupted
    if (::sigaction(SIGINT, nullptr, &g_before) != 0 ||
        (g_before.sa_handler != SIG_IGN && ::sigaction(SIGINT, &action, nullptr) != 0))
    {
        throw std::system_error(errno, std::generic_category(), "Ctrl-C cannot be caught");
    }
}

ConsoleInterrupt::~ConsoleInterrupt()
{
    ::sigaction(SIGINT, &g_before, nullptr);
}

bool ConsoleInterrupt::IsRequested() const noexcept
{
    return g_wasInterrupted;
}

bool ConsoleInterrupt::IsStandardErrorShown() noexcept
{
    return ::isatty(STDERR_FILENO) == 1;
}

} // namespace Ardo::Kiln::Tool
