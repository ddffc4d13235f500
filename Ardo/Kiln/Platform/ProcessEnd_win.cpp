#include "Ardo/Kiln/Platform/ProcessEnd.h"

#include <cstdlib>
#include <windows.h>

namespace Ardo::Kiln::Platform
{

void EndProcess(int exitCode) noexcept
{
    // ExitProcess would call the DllMain of all libraries and wait for the loader lock.
    const HANDLE process = ::OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, ::GetCurrentProcessId());
    ::TerminateProcess(process != nullptr ? process : ::GetCurrentProcess(), static_cast<UINT>(exitCode));
    std::abort(); // only reached if TerminateProcess fails
}

} // namespace Ardo::Kiln::Platform
