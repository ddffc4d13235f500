#include "Ardo/Kiln/Platform/ProcessFork.h"

namespace Ardo::Kiln::Platform
{

void OnFork(void (*)(), void (*)(), void (*)()) {}

std::uint32_t ForkCount() noexcept
{
    return 0;
}

} // namespace Ardo::Kiln::Platform
