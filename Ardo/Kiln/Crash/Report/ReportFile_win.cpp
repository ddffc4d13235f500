#include "Ardo/Kiln/Crash/Report/ReportFile.h"

#include "Ardo/Kiln/Crash/Report/TextSink.h"
#include "Ardo/Kiln/Platform/DataFolder.h"
#include "Ardo/Kiln/Platform/SystemError.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <windows.h>

namespace Ardo::Kiln::Crash
{

namespace
{

/// A stem with an extension as wide text, in memory of its own.
struct WidePath
{
    WidePath(const char* stem, std::string_view extension) noexcept
    {
        char narrow[4096 + 32];
        const std::size_t length = std::strlen(stem);
        std::memcpy(narrow, stem, length);
        std::memcpy(narrow + length, extension.data(), extension.size());
        narrow[length + extension.size()] = '\0';
        if (::MultiByteToWideChar(CP_UTF8, 0, narrow, -1, text, static_cast<int>(std::size(text))) == 0)
        {
            text[0] = L'\0'; // no name: every call fails with a clear number
        }
        std::replace(text, text + std::wcslen(text), L'/', L'\\');
    }
    wchar_t text[4096 + 32];
};

int LastError() noexcept
{
    return static_cast<int>(::GetLastError());
}

HANDLE HandleOf(const Platform::NativeHandle& file) noexcept
{
    return reinterpret_cast<HANDLE>(file.Get());
}

} // namespace

int ReportStem::OpenFolder(const char* folder) noexcept
{
    return Platform::MakePrivateFolder(folder);
}

bool ReportStem::Exists(std::string_view extension) const noexcept
{
    return ::GetFileAttributesW(WidePath(m_path, extension).text) != INVALID_FILE_ATTRIBUTES;
}

// The file takes its rights from its folder. Other processes may read while it is written, not write.
int ReportStem::CreateNew(std::string_view extension, Platform::NativeHandle& file) const noexcept
{
    const HANDLE handle = ::CreateFileW(WidePath(m_path, extension).text, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                        nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
    {
        return LastError();
    }
    file = Platform::NativeHandle(reinterpret_cast<std::intptr_t>(handle));
    return 0;
}

int ReportStem::Rename(std::string_view from, std::string_view to) const noexcept
{
    return ::MoveFileExW(WidePath(m_path, from).text, WidePath(m_path, to).text, MOVEFILE_WRITE_THROUGH) ? 0
                                                                                                         : LastError();
}

void ReportStem::Remove(std::string_view extension) const noexcept
{
    ::DeleteFileW(WidePath(m_path, extension).text);
}

bool ReportStem::IsTaken(int error) noexcept
{
    return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS;
}

int ReportStem::TakenError() noexcept
{
    return ERROR_FILE_EXISTS;
}

int ReportStem::TooLongError() noexcept
{
    return ERROR_FILENAME_EXCED_RANGE;
}

int ReportFile::Write(std::string_view bytes) noexcept
{
    while (!bytes.empty())
    {
        constexpr std::size_t MaxPiece = 1U << 30U;
        DWORD count = 0;
        if (!::WriteFile(HandleOf(m_file), bytes.data(), static_cast<DWORD>(std::min(bytes.size(), MaxPiece)), &count,
                         nullptr))
        {
            return LastError();
        }
        bytes.remove_prefix(count);
    }
    return 0;
}

int ReportFile::FlushAndClose() noexcept
{
    const int error = ::FlushFileBuffers(HandleOf(m_file)) ? 0 : LastError();
    m_file.Close();
    return error;
}

void AppendSystemError(TextSink& text, int error) noexcept
{
    try
    {
        text << Platform::SystemErrors().message(error);
    }
    catch (const std::bad_alloc&)
    {
        text << "Unknown error";
    }
}

void ReportFile::ReserveDescriptors() noexcept
{
    // There is no small number of handles that a process could use up.
}

} // namespace Ardo::Kiln::Crash
