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

bool AreOtherThreadsGone() noexcept
{
    using Question = BOOLEAN(WINAPI*)();
    const HMODULE system = ::GetModuleHandleW(L"ntdll.dll");
    const FARPROC address = system != nullptr ? ::GetProcAddress(system, "RtlDllShutdownInProgress") : nullptr;
    return address != nullptr && reinterpret_cast<Question>(reinterpret_cast<void*>(address))() != FALSE;
}

} // namespace Ardo::Kiln::Platform
