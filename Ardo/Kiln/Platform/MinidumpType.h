#pragma once

// The flags of `MiniDumpWriteDump` of Windows, which select the contents of a minidump. On Windows it is the system's
// enumeration; elsewhere one with the same names and values. Public, because the functions that write minidumps take
// it. The only public header that includes <windows.h>: an enumeration without a fixed underlying type cannot be
// declared ahead, and the header that defines it needs most of <windows.h>.

#ifdef _WIN32

#include <windows.h>
// After windows.h, which it needs.
#include <dbghelp.h>

#else

/// Flags, combined by adding. The published "minidumpapiset.h" explains each.
enum MINIDUMP_TYPE : unsigned // NOLINT(readability-identifier-naming): the system's name
{
    MiniDumpNormal = 0x0,
    MiniDumpWithDataSegs = 0x1,
    MiniDumpWithFullMemory = 0x2,
    MiniDumpWithHandleData = 0x4,
    MiniDumpFilterMemory = 0x8,
    MiniDumpScanMemory = 0x10,
    MiniDumpWithUnloadedModules = 0x20,
    MiniDumpWithIndirectlyReferencedMemory = 0x40,
    MiniDumpFilterModulePaths = 0x80,
    MiniDumpWithProcessThreadData = 0x100,
    MiniDumpWithPrivateReadWriteMemory = 0x200,
    MiniDumpWithoutOptionalData = 0x400,
    MiniDumpWithFullMemoryInfo = 0x800,
    MiniDumpWithThreadInfo = 0x1000,
    MiniDumpWithCodeSegs = 0x2000
};

#endif
