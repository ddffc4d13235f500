#include "Ardo/Kiln/Platform/FileVersion.h"
#include "Ardo/Kiln/Platform/ModulePath.h"
#include "Ardo/Kiln/Platform/Setting.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <windows.h>

namespace Ardo::Kiln::Platform
{

TEST(SystemTest, LibraryAndProgramsCarryTheirVersion)
{
    const std::filesystem::path folder = ExecutablePath().parent_path();
    for (const char* const name : {"Common.dll", "kiln.exe", "viewer.exe", "PlatformTests.exe"})
    {
        EXPECT_EQ(ReadFileVersion(folder / name), (FileVersion{1, 0, 0, 0})) << name;
    }
    EXPECT_TRUE(ReadFileVersion(std::filesystem::path(::getenv("windir")) / "system32/kernel32.dll").has_value());
}

TEST(SystemTest, TheSettingsOfProgramsOf32BitsHaveTheirOwnKey)
{
    const std::wstring name = L"KilnTests" + std::to_wstring(::GetCurrentProcessId());
    const std::wstring path = L"SOFTWARE\\" + name;
    HKEY key = nullptr;
    if (::RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                          KEY_ALL_ACCESS | KEY_WOW64_32KEY, nullptr, &key, nullptr) == ERROR_ACCESS_DENIED)
    {
        GTEST_SKIP() << "only an administrator may do that";
    }
    const std::wstring text(1000, L'\u00E4'); // longer than the first buffer
    EXPECT_EQ(::RegSetValueExW(key, L"a name", 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                               static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
              0);
    ::RegCloseKey(key);
    const auto read = [](const std::wstring& from) { return ReadSetting(SettingScope::Machine, from, L"a name"); };
    EXPECT_EQ(read(L"SOFTWARE\\Wow6432Node\\" + name), SettingValue(text));
    EXPECT_EQ(read(path), std::nullopt);
    ::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), KEY_WOW64_32KEY, 0);
    EXPECT_EQ(read(L"SOFTWARE\\Wow6432Node\\" + name), std::nullopt);
}

} // namespace Ardo::Kiln::Platform
