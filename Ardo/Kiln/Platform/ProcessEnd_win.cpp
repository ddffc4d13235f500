#include "Ardo/Kiln/Platform/ProcessEnd.h"

#include <cstdlib>
#include <windows.h>

namespace Ardo::Kiln::Platform
{

void EndProcess(int exitCode) noexcept
{
    // ExitProcess would run the notifications of all libraries, and wait for the lock of the loader.
    const HANDLE process = ::OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, ::GetCurrentProcessId());
    ::TerminateProcess(process != nullptr ? process : ::GetCurrentProcess(), static_cast<UINT>(exitCode));
    std::abort(); // never reached: ending oneself returns only when it fails
}

} // namespace Ardo::Kiln::Platform
