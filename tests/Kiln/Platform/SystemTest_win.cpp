#include "Ardo/Kiln/Platform/ComApartment.h"
#include "Ardo/Kiln/Platform/FileVersion.h"
#include "Ardo/Kiln/Platform/ModulePath.h"
#include "Ardo/Kiln/Platform/ProcessEnd.h"
#include "Ardo/Kiln/Platform/Setting.h"
#include "Ardo/Kiln/Platform/SharedAppendFile.h"
#include "Ardo/Kiln/Platform/ThreadName.h"
#include "tests/Support/Environment.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/ScopedVariable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <future>
#include <thread>

#include <windows.h>

#include <objbase.h> // needs windows.h before it

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

namespace
{

/// What a debugger is told about the name of a thread.
struct ThreadNameEvent
{
    ULONG_PTR words[3] = {}; ///< Type, address of the name, thread.
    std::string name;
    int count = 0;
};

/// Starts this program as a debugger does and follows it to its end.
/// \returns what was the last such event; status is that of the program.
ThreadNameEvent Debug(const std::wstring& arguments, DWORD& status)
{
    std::wstring line = L'"' + ExecutablePath().wstring() + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    EXPECT_TRUE(::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, DEBUG_ONLY_THIS_PROCESS, nullptr,
                                 nullptr, &startup, &process));
    ThreadNameEvent seen;
    DEBUG_EVENT event{};
    while (event.dwDebugEventCode != EXIT_PROCESS_DEBUG_EVENT && ::WaitForDebugEvent(&event, 60'000))
    {
        const EXCEPTION_RECORD& record = event.u.Exception.ExceptionRecord;
        const bool isException = event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT;
        if (isException && record.ExceptionCode == 0x406D1388 && record.NumberParameters == 3)
        {
            std::copy_n(record.ExceptionInformation, 3, seen.words);
            char name[64] = {};
            EXPECT_TRUE(::ReadProcessMemory(process.hProcess, reinterpret_cast<const void*>(seen.words[1]), name,
                                            sizeof name - 1, nullptr));
            seen.name = name;
            ++seen.count;
        }
        const bool isBreakpoint = isException && record.ExceptionCode == EXCEPTION_BREAKPOINT; // at the start
        ::ContinueDebugEvent(event.dwProcessId, event.dwThreadId,
                             isException && !isBreakpoint ? DBG_EXCEPTION_NOT_HANDLED : DBG_CONTINUE);
    }
    EXPECT_EQ(event.dwDebugEventCode, static_cast<DWORD>(EXIT_PROCESS_DEBUG_EVENT)) << "the program hangs";
    ::TerminateProcess(process.hProcess, 1); // fails for one that has ended
    ::WaitForSingleObject(process.hProcess, INFINITE);
    ::GetExitCodeProcess(process.hProcess, &status);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return seen;
}

} // namespace

TEST(SystemTest, ADebuggerIsToldTheNameOfAThread)
{
    constexpr const char* IsDebugged = "KILN_TEST_IS_DEBUGGED";
    const std::string name = "worker \xC2\xB5";
    if (Support::EnvironmentValue(IsDebugged))
    {
        std::promise<DWORD> id;
        std::thread thread(
            [&id]
            {
                id.set_value(::GetCurrentThreadId());
                ::Sleep(INFINITE);
            });
        const DWORD threadId = id.get_future().get();
        SetThreadName(thread.native_handle(), name);
        EndProcess(static_cast<int>(threadId & 0x7FFF)); // nothing waits for the thread
    }
    const Support::ScopedVariable variable(IsDebugged, "1");
    DWORD status = 0;
    const ThreadNameEvent seen = Debug(L"--gtest_filter=SystemTest.ADebuggerIsToldTheNameOfAThread", status);
    EXPECT_EQ(seen.count, 1);
    EXPECT_EQ(seen.name, name);
    EXPECT_EQ(seen.words[0], 0x1000U);
    EXPECT_EQ(seen.words[2] & 0x7FFF, status); // and the program went on behind it
}

TEST(SystemTest, ApartmentsAreThoseOfTheSystem)
{
    std::thread(
        []
        {
            for (const auto& [model, other] : {std::pair{ComApartment::ApartmentThreaded, ComApartment::MultiThreaded},
                                               std::pair{ComApartment::MultiThreaded, ComApartment::ApartmentThreaded}})
            {
                EXPECT_EQ(CurrentComApartment(), ComApartment::None);
                EXPECT_EQ(EnterComApartment(model), S_OK);
                APTTYPE current = APTTYPE_CURRENT;
                APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
                EXPECT_EQ(::CoGetApartmentType(&current, &qualifier), S_OK);
                EXPECT_EQ(current == APTTYPE_MTA, model == ComApartment::MultiThreaded) << current;
                EXPECT_EQ(CurrentComApartment(), model);
                EXPECT_EQ(EnterComApartment(model), S_FALSE);
                EXPECT_EQ(EnterComApartment(other), RPC_E_CHANGED_MODE);
                LeaveComApartment();
                LeaveComApartment();
            }
            EXPECT_EQ(CurrentComApartment(), ComApartment::None);
        })
        .join();
}

TEST(SystemDeathTest, TheMutexOfTheLogFilesIsOneForAllProcesses)
{
    const auto lock = [](std::chrono::milliseconds patience)
    {
        const Support::ScopedTempDir folder;
        SharedAppendFile file;
        return !file.Open(folder / "a.log") && file.Lock(patience);
    };
    constexpr std::chrono::milliseconds Brief(50);
    constexpr std::chrono::milliseconds Long(30'000); // other programs that log have it for a moment
    const HANDLE mutex = ::CreateMutexW(nullptr, FALSE, L"Global\\TextLoggingMutex");
    ::WaitForSingleObject(mutex, 5'000); // in vain in the first process of EXPECT_EXIT, which runs this test, too
    EXPECT_EXIT(std::_Exit(lock(Brief) ? 1 : 0), testing::ExitedWithCode(0), "") << "another process has it";
    EXPECT_TRUE(lock(Brief)) << "the thread that has it may lock again";
    ::ReleaseMutex(mutex);
    ::ReleaseMutex(mutex);
    EXPECT_EXIT(std::_Exit(lock(Long) ? 0 : 1), testing::ExitedWithCode(0), "");
    ::CloseHandle(mutex);
}

} // namespace Ardo::Kiln::Platform
