#include "Ardo/Kiln/Crash/Report/ReportFile.h"

#include <algorithm>
#include <windows.h>

namespace Ardo::Kiln::Crash
{

// Only the user: the folder of a user's or a product's data grants no more, and a file takes its rights from there.
std::uint32_t ReportFile::CreateNew(const std::filesystem::path& path, void*& file) noexcept
{
    const HANDLE handle = ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                        CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
    {
        return ::GetLastError();
    }
    file = handle;
    return 0;
}

std::uint32_t ReportFile::Write(std::string_view bytes) noexcept
{
    while (!bytes.empty())
    {
        constexpr std::size_t Largest = 1U << 30U;
        DWORD count = 0;
        if (!::WriteFile(m_file, bytes.data(), static_cast<DWORD>(std::min(bytes.size(), Largest)), &count, nullptr))
        {
            return ::GetLastError();
        }
        bytes.remove_prefix(count);
    }
    return 0;
}

std::uint32_t ReportFile::FlushAndClose(void* file) noexcept
{
    const DWORD error = ::FlushFileBuffers(file) ? 0 : ::GetLastError();
    return !::CloseHandle(file) && error == 0 ? ::GetLastError() : error;
}

std::uint32_t ReportFile::RenameToNew(const std::filesystem::path& from, const std::filesystem::path& to) noexcept
{
    return ::MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH) ? 0 : ::GetLastError();
}

bool ReportFile::IsTaken(std::uint32_t error) noexcept
{
    return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS;
}

void ReportFile::ReserveDescriptor() noexcept
{
    // There is no small number of handles that a process could use up.
}

std::string SystemErrorText(std::uint32_t error)
{
    wchar_t wide[512] = {};
    DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, wide,
                                    static_cast<DWORD>(std::size(wide)), nullptr);
    while (length > 0 && (wide[length - 1] == L'\n' || wide[length - 1] == L'\r'))
    {
        --length;
    }
    char text[3 * 512] = {};
    const int size =
        ::WideCharToMultiByte(CP_UTF8, 0, wide, static_cast<int>(length), text, sizeof text, nullptr, nullptr);
    return size > 0 ? std::string(text, static_cast<std::size_t>(size)) : "Unknown error";
}

} // namespace Ardo::Kiln::Crash
