#include "Ardo/Kiln/Platform/DataFolder.h"

#include <system_error>
#include <windows.h>

namespace Ardo::Kiln::Platform
{

std::vector<std::filesystem::path> DataFolders()
{
    std::vector<std::filesystem::path> folders;
    wchar_t path[MAX_PATH + 1] = {};
    if (const auto length = ::GetEnvironmentVariableW(L"ProgramData", path, MAX_PATH); length > 0 && length < MAX_PATH)
    {
        folders.emplace_back(path);
    }
    if (const auto length = ::GetTempPathW(MAX_PATH, path); length > 0 && length < MAX_PATH)
    {
        folders.emplace_back(path);
    }
    if (folders.empty())
    {
        folders.emplace_back(L"."); // an environment without anything; better than nowhere
    }
    return folders;
}

std::uint32_t MakeWritableFolder(const std::filesystem::path& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
    {
        return static_cast<std::uint32_t>(error.value());
    }
    // Rights on Windows are too many to compute: it is tried.
    const auto probe = folder / (L"." + std::to_wstring(::GetCurrentProcessId()) + L".part");
    const HANDLE file = ::CreateFileW(probe.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        return ::GetLastError();
    }
    ::CloseHandle(file);
    return 0;
}

} // namespace Ardo::Kiln::Platform
