#include "tests/Support/SystemFacilities.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Platform/ModulePath.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <utility>
#include <windows.h>

#include <psapi.h> // needs windows.h before it

namespace Ardo::Kiln::Support
{

namespace fs = std::filesystem;
using Conversion::String;

std::string HiddenName(const std::string& name)
{
    return name;
}

void Hide(const fs::path& file)
{
    EXPECT_TRUE(::SetFileAttributesW(file.c_str(), ::GetFileAttributesW(file.c_str()) | FILE_ATTRIBUTE_HIDDEN)) << file;
}

fs::path NameThatIsNoText(const std::string& before, const std::string& after)
{
    return String::FromUtf8(before) + L'\xD800' + String::FromUtf8(after);
}

bool CanHaveNameThatIsNoText()
{
    const ScopedTempDir folder;
    std::error_code error;
    return fs::create_directory(folder.Path() / NameThatIsNoText("", ""), error);
}

std::string SaidOnStandardError(const std::function<void()>& action)
{
    testing::internal::CaptureStderr();
    action();
    const int mode = std::exchange(_fmode, _O_BINARY); // of files that are opened without one, as the captured text is
    const std::string said = testing::internal::GetCapturedStderr();
    _fmode = mode;
    return said;
}

int HandoverCost()
{
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr ? 10 : 1;
}

std::uint64_t PeakMemory()
{
    PROCESS_MEMORY_COUNTERS counters{};
    EXPECT_TRUE(::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters));
    return counters.PeakWorkingSetSize;
}

void LimitMemory(std::uint64_t bytes)
{
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_PROCESS_MEMORY;
    limits.ProcessMemoryLimit = bytes;
    const HANDLE job = ::CreateJobObjectW(nullptr, nullptr);
    EXPECT_TRUE(::SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits));
    EXPECT_TRUE(::AssignProcessToJobObject(job, ::GetCurrentProcess()));
}

ProcessResult RunWithLibraryCopy(const fs::path& folder, const std::string& filter, const std::string& variable)
{
    // The system looks for the library beside the program first.
    const fs::path program = folder / Platform::ExecutablePath().filename();
    fs::copy_file(Platform::ExecutablePath(), program);
    fs::copy_file(Platform::LibraryPath(), folder / Platform::LibraryPath().filename());
    return Run({{program.string(), "--gtest_filter=" + filter}, folder, "", {{variable, "1"}}});
}

struct ScopedMachineSettings::System
{
    HKEY machine = nullptr; ///< Takes the place of HKEY_LOCAL_MACHINE.
    std::wstring name = L"Software\\KilnTests" + std::to_wstring(::GetCurrentProcessId());

    HKEY Open(const std::string& key) const
    {
        HKEY opened = nullptr;
        const std::wstring path = String::FromUtf8("SOFTWARE\\" + Replaced(key, "/", "\\"));
        EXPECT_EQ(::RegCreateKeyExW(machine, path.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                                    &opened, nullptr),
                  0);
        return opened;
    }
};

ScopedMachineSettings::ScopedMachineSettings() : m_system(std::make_unique<System>())
{
    EXPECT_EQ(::RegCreateKeyExW(HKEY_CURRENT_USER, m_system->name.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                                KEY_ALL_ACCESS, nullptr, &m_system->machine, nullptr),
              0);
    EXPECT_EQ(::RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_system->machine), 0);
}

ScopedMachineSettings::~ScopedMachineSettings()
{
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    ::RegCloseKey(m_system->machine);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, m_system->name.c_str());
}

void ScopedMachineSettings::Set(const std::string& key, const std::string& name, const std::string& text)
{
    Remove(key);
    const HKEY opened = m_system->Open(key);
    const std::wstring value = String::FromUtf8(text);
    EXPECT_EQ(::RegSetValueExW(opened, String::FromUtf8(name).c_str(), 0, REG_SZ,
                               reinterpret_cast<const BYTE*>(value.c_str()),
                               static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))),
              0);
    ::RegCloseKey(opened);
}

void ScopedMachineSettings::Remove(const std::string& key)
{
    ::RegDeleteTreeW(m_system->machine, String::FromUtf8("SOFTWARE\\" + Replaced(key, "/", "\\")).c_str());
}

void ScopedMachineSettings::Spoil(const std::string& key, const std::string& name)
{
    Remove(key);
    const HKEY opened = m_system->Open(key);
    const DWORD number = 1;
    EXPECT_EQ(::RegSetValueExW(opened, String::FromUtf8(name).c_str(), 0, REG_DWORD,
                               reinterpret_cast<const BYTE*>(&number), sizeof number),
              0);
    ::RegCloseKey(opened);
}

} // namespace Ardo::Kiln::Support
