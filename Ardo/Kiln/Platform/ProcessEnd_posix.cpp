#include "Ardo/Kiln/Platform/ProcessEnd.h"

#include <unistd.h>

namespace Ardo::Kiln::Platform
{

void EndProcess(int exitCode) noexcept
{
    ::_exit(exitCode);
}

bool AreOtherThreadsGone() noexcept
{
    return false;
}

} // namespace Ardo::Kiln::Platform
