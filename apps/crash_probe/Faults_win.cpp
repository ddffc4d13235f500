#include "apps/crash_probe/Scenario.h"

#include "Ardo/Kiln/Exception/Handler.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include <windows.h>

namespace Ardo::Kiln::CrashProbe
{

namespace
{

// Volatile, so that the compiler cannot optimise the faults away.
int* volatile g_pointer = nullptr;
volatile int g_number = 0;

void GuardPage()
{
    void* const page = ::VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE | PAGE_GUARD);
    g_pointer = static_cast<int*>(page);
    g_number = *g_pointer; // <- guard-page
}

/// Raises an exception that has this system but no instruction of the processor.
template <DWORD Code, DWORD Flags>
void Raise()
{
    constexpr ULONG_PTR Words[] = {0, 0x1000, 0xC000000E};
    ::RaiseException(Code, Flags, 3, Words); // <- raise
}

/// As code of another compiler throws, which this one's catch blocks do not see.
void RaiseForeignThrow()
{
    constexpr ULONG_PTR Words[] = {0x19930520, 0x1000, 0x2000, 0x3000};
    ::RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 4, Words); // <- raise-msvc
}

/// What names a thread for a debugger. A process without one goes on when a handler lets it.
void RaiseThreadName()
{
    constexpr ULONG_PTR Words[] = {0x1000, 0, static_cast<ULONG_PTR>(-1), 0};
    ::RaiseException(0x406D1388, 0, 4, Words);
}

// While something is locked ---------------------------------------------------------------------------------------

void FaultWithHeapLocked()
{
    ::HeapLock(::GetProcessHeap());
    g_number = *g_pointer; // <- in-malloc
}

void FaultInLoader()
{
    // The plug-in faults in a static constructor of its own.
    ::LoadLibraryA(CRASH_PROBE_PLUGIN);
}

void OverflowInLoader()
{
    ::_putenv("CRASH_PROBE_OVERFLOW=1");
    ::LoadLibraryA(CRASH_PROBE_PLUGIN);
}

void FaultWithStdioLocked()
{
    ::_lock_file(stdout);
    ::_lock_file(stderr);
    g_number = *g_pointer; // <- stdio-lock
}

/// The thread ends here, inside what may be guarded work.
void EndThread()
{
    ::ExitThread(0);
}

/// The scenario "before-main": main has not begun, so the arguments are looked at here.
struct BeforeMain
{
    BeforeMain()
    {
        const char* const line = ::GetCommandLineA();
        const char* const name = std::strstr(line, " before-main");
        if (name != nullptr && std::strlen(name) <= std::strlen(" before-main\""))
        {
            Exception::Handler::SetFlags(Exception::Handler::CatchUncaught);
            g_number = *g_pointer; // <- before-main
        }
    }
} g_beforeMain;

constexpr Scenario List[] = {
    {"guard-page", "touch a guard page", &GuardPage},
    {"raise-misaligned", "raise DATATYPE_MISALIGNMENT", &Raise<0x80000002, 0>},
    {"raise-in-page", "raise IN_PAGE_ERROR", &Raise<0xC0000006, 0>},
    {"raise-handle", "raise INVALID_HANDLE", &Raise<0xC0000008, 0>},
    {"raise-bounds", "raise ARRAY_BOUNDS_EXCEEDED", &Raise<0xC000008C, 0>},
    {"raise-heap", "raise the code of a corrupted heap", &Raise<0xC0000374, EXCEPTION_NONCONTINUABLE>},
    {"raise-own", "raise a code of the application", &Raise<0xE0000042, 0>},
    {"raise-msvc", "a C++ exception of another compiler", &RaiseForeignThrow},
    {"raise-name", "name a thread for a debugger", &RaiseThreadName},
    {"in-malloc", "fault with the heap locked", &FaultWithHeapLocked},
    {"in-loader", "fault in a static constructor of a plug-in, the loader's lock held", &FaultInLoader},
    {"overflow-in-loader", "recurse there without end", &OverflowInLoader},
    {"stdio-lock", "fault with standard output and standard error locked", &FaultWithStdioLocked},
    {"end-thread", "end the thread", &EndThread},
};

} // namespace

std::span<const Scenario> SystemFaults()
{
    return List;
}

} // namespace Ardo::Kiln::CrashProbe
