#include "Ardo/Kiln/Platform/ProcessEnd.h"

#include <unistd.h>

namespace Ardo::Kiln::Platform
{

void EndProcess(int exitCode) noexcept
{
    ::_exit(exitCode);
}

} // namespace Ardo::Kiln::Platform
