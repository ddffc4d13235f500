#include "apps/kiln/ConsoleInterrupt.h"

#include <windows.h>

#include <atomic>
#include <system_error>

namespace Ardo::Kiln::Tool
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

ConsoleInterrupt::ConsoleInterrupt()
{
    g_wasInterrupted = false;
    if (::SetConsoleCtrlHandler(Remember, TRUE) == FALSE)
    {
        throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), "Ctrl-C cannot be caught");
    }
}

ConsoleInterrupt::~ConsoleInterrupt()
{
    ::SetConsoleCtrlHandler(Remember, FALSE);
}

bool ConsoleInterrupt::IsRequested() const noexcept
{
    return g_wasInterrupted;
}

bool ConsoleInterrupt::IsStandardErrorShown() noexcept
{
    DWORD mode;
    return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != FALSE;
}

} // namespace Ardo::Kiln::Tool
