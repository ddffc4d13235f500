#include "Ardo/Kiln/Platform/ProcessId.h"

#include <unistd.h>

namespace Ardo::Kiln::Platform
{

std::uint32_t OwnProcessId() noexcept
{
    return static_cast<std::uint32_t>(::getpid());
}

std::uint32_t OwnThreadId() noexcept
{
    return static_cast<std::uint32_t>(::gettid());
}

} // namespace Ardo::Kiln::Platform
