#include "Ardo/Kiln/Platform/DataFolder.h"

#include <algorithm>
#include <cwchar>
#include <windows.h>

namespace Ardo::Kiln::Platform
{

namespace
{

constexpr int MaxPath = 4096;
constexpr int MaxProbe = 32; // of "\\.<process>.part" and the terminating null

} // namespace

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
        folders.emplace_back(L"."); // the environment is empty
    }
    return folders;
}

int MakePrivateFolder(const char* folder) noexcept
{
    wchar_t path[MaxPath];
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, folder, -1, path, MaxPath - MaxProbe);
    if (size == 0)
    {
        return static_cast<int>(::GetLastError());
    }
    std::replace(path, path + size, L'/', L'\\');
    // For each parent folder. A folder or a drive that exists is no failure; the file below tells whether all exist.
    for (wchar_t* at = path; *at != L'\0'; ++at)
    {
        if (*at == L'\\' && at != path)
        {
            *at = L'\0';
            ::CreateDirectoryW(path, nullptr);
            *at = L'\\';
        }
    }
    if (!::CreateDirectoryW(path, nullptr) && ::GetLastError() != ERROR_ALREADY_EXISTS)
    {
        return static_cast<int>(::GetLastError());
    }
    // The rights depend on too many settings to be computed, so a file is created.
    ::swprintf(path + size - 1, MaxProbe, L"\\.%lu.part", ::GetCurrentProcessId());
    const HANDLE file = ::CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        return static_cast<int>(::GetLastError());
    }
    ::CloseHandle(file);
    return 0;
}

} // namespace Ardo::Kiln::Platform
