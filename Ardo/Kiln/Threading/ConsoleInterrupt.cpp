#include "Ardo/Kiln/Threading/ConsoleInterrupt.h"

#include "Ardo/Kiln/Platform/ConsoleInterrupt.h"

#include <atomic>
#include <stdexcept>

namespace Ardo::Kiln::Threading
{

namespace
{

std::atomic<bool> g_exists = false;

} // namespace

ConsoleInterrupt::ConsoleInterrupt()
{
    if (g_exists.exchange(true))
    {
        throw std::logic_error("Ctrl-C is being listened for already");
    }
    if (!Platform::CatchConsoleInterrupts())
    {
        g_exists = false;
        throw std::runtime_error("Ctrl-C cannot be listened for");
    }
}

ConsoleInterrupt::~ConsoleInterrupt()
{
    Platform::ReleaseConsoleInterrupts();
    g_exists = false;
}

bool ConsoleInterrupt::IsRequested() const noexcept
{
    return Platform::WasConsoleInterrupted();
}

bool ConsoleInterrupt::IsStandardErrorShown() noexcept
{
    return Platform::IsStandardErrorConsole();
}

} // namespace Ardo::Kiln::Threading
