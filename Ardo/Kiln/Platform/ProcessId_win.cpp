#include "Ardo/Kiln/Platform/ProcessId.h"

#include <windows.h>

namespace Ardo::Kiln::Platform
{

std::uint32_t OwnProcessId() noexcept
{
    return ::GetCurrentProcessId();
}

std::uint32_t OwnThreadId() noexcept
{
    return ::GetCurrentThreadId();
}

} // namespace Ardo::Kiln::Platform
