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
    // Asked once: a thread at fault may call this while another one has locked the loader.
    static const auto g_question = reinterpret_cast<Question>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "RtlDllShutdownInProgress")));
    return g_question != nullptr && g_question() != FALSE;
}

} // namespace Ardo::Kiln::Platform
