#include "Ardo/Kiln/Platform/ConsoleInterrupt.h"

#include <windows.h>

#include <atomic>

namespace Ardo::Kiln::Platform
{

namespace
{

std::atomic<bool> g_wasInterrupted = false;

/// The system calls it on a new thread.
BOOL WINAPI Remember(DWORD event)
{
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
    {
        return FALSE; // the console is being closed, which ends the process
    }
    g_wasInterrupted = true;
    return TRUE;
}

} // namespace

bool CatchConsoleInterrupts() noexcept
{
    g_wasInterrupted = false;
    return ::SetConsoleCtrlHandler(Remember, TRUE) != FALSE;
}

void ReleaseConsoleInterrupts() noexcept
{
    ::SetConsoleCtrlHandler(Remember, FALSE);
}

bool WasConsoleInterrupted() noexcept
{
    return g_wasInterrupted;
}

bool IsStandardErrorConsole() noexcept
{
    DWORD mode;
    return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != FALSE;
}

} // namespace Ardo::Kiln::Platform
