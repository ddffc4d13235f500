#include "tests/Support/Process.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

#include <map>
#include <windows.h>

namespace Ardo::Kiln::Support
{

namespace
{

using Conversion::String;

/// A word as the C library of the started program reads it: backslashes count only before a quotation mark.
std::wstring Escaped(const std::wstring& word)
{
    std::wstring escaped = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t unit : word)
    {
        if (unit == L'"')
        {
            escaped.append(backslashes + 1, L'\\');
        }
        backslashes = unit == L'\\' ? backslashes + 1 : 0;
        escaped += unit;
    }
    return escaped.append(backslashes, L'\\') + L'"';
}

/// The environment of this process with additional variables.
std::wstring EnvironmentWith(const std::vector<std::pair<std::string, std::string>>& variables)
{
    std::map<std::wstring, std::wstring> values;
    wchar_t* const strings = ::GetEnvironmentStringsW();
    for (const wchar_t* at = strings; *at != L'\0'; at += std::wcslen(at) + 1)
    {
        const std::wstring text = at;
        const std::size_t end = text.find(L'=', 1);
        values[text.substr(0, end)] = text.substr(end + 1);
    }
    ::FreeEnvironmentStringsW(strings);
    for (const auto& [name, value] : variables)
    {
        values[String::FromUtf8(name)] = String::FromUtf8(value);
    }
    std::wstring block;
    for (const auto& [name, value] : values)
    {
        block += name + L'=' + value + L'\0';
    }
    return block + L'\0';
}

HANDLE OpenStream(const std::filesystem::path& path, DWORD access)
{
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return ::CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                         access == GENERIC_READ ? OPEN_EXISTING : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// Starts a program with the streams "in", "out" and "err" of a folder.
/// \returns the process; null if it cannot be started.
HANDLE Start(const Program& program, const std::filesystem::path& streams)
{
    std::wstring line;
    for (const std::string& word : program.words)
    {
        line += (line.empty() ? L"" : L" ") + Escaped(String::FromUtf8(word));
    }
    WriteFile(streams / "in", program.input);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = OpenStream(streams / "in", GENERIC_READ);
    startup.hStdOutput = OpenStream(streams / "out", GENERIC_WRITE);
    startup.hStdError = OpenStream(streams / "err", GENERIC_WRITE);
    std::wstring environment = EnvironmentWith(program.variables);
    PROCESS_INFORMATION process{};
    const bool isStarted =
        ::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_UNICODE_ENVIRONMENT, environment.data(),
                         program.folder.empty() ? nullptr : program.folder.c_str(), &startup, &process);
    EXPECT_TRUE(isStarted) << program.words.front() << ": error " << ::GetLastError();
    for (const HANDLE handle : {startup.hStdInput, startup.hStdOutput, startup.hStdError, process.hThread})
    {
        ::CloseHandle(handle);
    }
    return process.hProcess;
}

} // namespace

std::vector<ProcessResult> RunSideBySide(const std::vector<Program>& programs)
{
    const ScopedTempDir streams;
    std::vector<HANDLE> processes;
    const auto folder = [&](std::size_t index) { return streams / std::to_string(index); };
    for (const Program& program : programs)
    {
        std::filesystem::create_directory(folder(processes.size()));
        processes.push_back(Start(program, folder(processes.size())));
    }
    std::vector<ProcessResult> results;
    for (std::size_t index = 0; index < programs.size(); ++index)
    {
        DWORD status = 127;
        if (processes[index] != nullptr)
        {
            ::WaitForSingleObject(processes[index], INFINITE);
            ::GetExitCodeProcess(processes[index], &status);
            ::CloseHandle(processes[index]);
        }
        results.push_back({static_cast<int>(status), ReadFile(folder(index) / "out"), ReadFile(folder(index) / "err")});
    }
    return results;
}

ProcessResult RunShell(const std::string& line, const std::filesystem::path& /*folder*/)
{
    ADD_FAILURE() << "no POSIX shell on this system for: " << line;
    return {127, "", ""};
}

} // namespace Ardo::Kiln::Support
