#include "Ardo/Kiln/Crash/Writer/Minidump.h"

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"

#include <windows.h>
// After windows.h, which it needs.
#include <dbghelp.h>

namespace Ardo::Kiln::Crash
{

std::uint32_t WriteMinidump(void* file, EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type) noexcept
{
    // The system's function is not for several threads at once.
    static SRWLOCK g_lock = SRWLOCK_INIT;
    MINIDUMP_EXCEPTION_INFORMATION exception{FaultDispatch::ThreadId(), pointers, FALSE};
    ::AcquireSRWLockExclusive(&g_lock);
    const BOOL written = ::MiniDumpWriteDump(::GetCurrentProcess(), ::GetCurrentProcessId(), file, type,
                                             pointers != nullptr ? &exception : nullptr, nullptr, nullptr);
    const DWORD error = written ? ERROR_SUCCESS : ::GetLastError();
    ::ReleaseSRWLockExclusive(&g_lock);
    return error;
}

} // namespace Ardo::Kiln::Crash
