#include "Ardo/Kiln/System/SystemInformation.h"

#include "Ardo/Kiln/Platform/ScopedHandle_win.h"

#include <charconv>
// After windows.h, which it needs.
#include <psapi.h>

namespace Ardo::Kiln::System
{

namespace
{

/// A text of the registry in UTF-8; empty if it does not exist.
std::string Setting(const wchar_t* key, const wchar_t* name)
{
    wchar_t wide[256] = {};
    DWORD size = sizeof wide;
    char text[3 * 256] = {};
    if (::RegGetValueW(HKEY_LOCAL_MACHINE, key, name, RRF_RT_REG_SZ, nullptr, wide, &size) != ERROR_SUCCESS ||
        ::WideCharToMultiByte(CP_UTF8, 0, wide, -1, text, sizeof text, nullptr, nullptr) == 0)
    {
        return {};
    }
    return text;
}

/// The version of the kernel. GetVersionEx returns the version that the manifest of the program claims to support.
std::string KernelVersion()
{
    using RtlGetVersionType = LONG(WINAPI*)(OSVERSIONINFOW*);
    const HMODULE library = ::GetModuleHandleW(L"ntdll.dll");
    // Through void*, because the compiler warns about casts between different function types.
    const auto ask =
        library != nullptr
            ? reinterpret_cast<RtlGetVersionType>(reinterpret_cast<void*>(::GetProcAddress(library, "RtlGetVersion")))
            : nullptr;
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    std::string text;
    if (ask != nullptr && ask(&version) == 0)
    {
        for (const DWORD part : {version.dwMajorVersion, version.dwMinorVersion, version.dwBuildNumber})
        {
            char digits[16];
            text.append(text.empty() ? "" : ".")
                .append(digits, std::to_chars(digits, digits + sizeof digits, part).ptr);
        }
    }
    return text;
}

} // namespace

SystemInformation ReadSystemInformation(std::uint32_t processId)
{
    SystemInformation information;
    information.processor = Setting(L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0", L"ProcessorNameString");
    information.processors = ::GetActiveProcessorCount(ALL_PROCESSOR_GROUPS);

    MEMORYSTATUSEX memory = {};
    memory.dwLength = sizeof memory;
    if (::GlobalMemoryStatusEx(&memory))
    {
        // The page file sizes of the system include the physical memory.
        const auto beyond = [](DWORDLONG all, DWORDLONG physical) { return all > physical ? all - physical : 0; };
        information.physicalMemory = memory.ullTotalPhys;
        information.availableMemory = memory.ullAvailPhys;
        information.swapMemory = beyond(memory.ullTotalPageFile, memory.ullTotalPhys);
        information.freeSwapMemory = beyond(memory.ullAvailPageFile, memory.ullAvailPhys);
    }

    const Platform::ScopedHandle process(
        ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | PROCESS_VM_READ, FALSE, processId));
    PROCESS_MEMORY_COUNTERS_EX use = {};
    if (process &&
        ::K32GetProcessMemoryInfo(process.Get(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&use), sizeof use))
    {
        information.processMemory = use.WorkingSetSize;
        information.peakProcessMemory = use.PeakWorkingSetSize;
        information.processAddresses = use.PrivateUsage;
    }

    information.systemName = Setting(L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", L"ProductName");
    information.systemName = information.systemName.empty() ? "Windows" : information.systemName;
    information.systemVersion = KernelVersion();
    return information;
}

} // namespace Ardo::Kiln::System
