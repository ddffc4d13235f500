#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include "Ardo/Kiln/Platform/Utf.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include <windows.h>

namespace Ardo::Kiln::Platform
{

namespace
{

/// A transfer is counted in 32 bits.
constexpr std::int64_t MaxTransfer = 0x40000000;

std::string Describe(DWORD error)
{
    std::wstring text(512, L'\0');
    text.resize(::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                                 text.data(), static_cast<DWORD>(text.size()), nullptr));
    text.resize(text.find_last_not_of(L"\r\n. ") + 1);
    std::string utf8;
    return !text.empty() && WideToUtf8(text, utf8) == 0 ? utf8 : "error " + std::to_string(error);
}

[[noreturn]] void Refuse(DWORD error)
{
    throw std::runtime_error(Describe(error));
}

HANDLE ToHandle(std::intptr_t handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

OVERLAPPED At(std::uint64_t offset)
{
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return place;
}

} // namespace

RandomAccessFile::RandomAccessFile(const std::wstring& path, Access access)
{
    if (path.find(L'\0') != std::wstring::npos)
    {
        // The system would open the file whose name ends there.
        Refuse(ERROR_INVALID_NAME);
    }
    const bool reading = access == Access::Read;
    // Emptied only after it is known to be a file on a disk.
    const HANDLE handle = ::CreateFileW(path.c_str(), reading ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                        reading ? OPEN_EXISTING : OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
    {
        Refuse(::GetLastError());
    }
    m_handle = reinterpret_cast<std::intptr_t>(handle);

    if (::GetFileType(handle) != FILE_TYPE_DISK)
    {
        ::CloseHandle(handle);
        throw std::runtime_error("Not a regular file");
    }
    LARGE_INTEGER size{};
    if (reading ? ::GetFileSizeEx(handle, &size) == FALSE : ::SetEndOfFile(handle) == FALSE)
    {
        const DWORD error = ::GetLastError();
        ::CloseHandle(handle);
        Refuse(error);
    }
    m_sizeWhenOpened = static_cast<std::uint64_t>(size.QuadPart);
}

RandomAccessFile::~RandomAccessFile()
{
    ::CloseHandle(ToHandle(m_handle));
}

std::string RandomAccessFile::LastError() const
{
    return m_lastError != 0 ? Describe(static_cast<DWORD>(m_lastError)) : std::string();
}

std::int64_t RandomAccessFile::ReadAt(std::uint64_t offset, void* bytes, std::int64_t size) noexcept
{
    std::int64_t done = 0;
    while (done < size)
    {
        OVERLAPPED place = At(offset + static_cast<std::uint64_t>(done));
        DWORD count = 0;
        if (::ReadFile(ToHandle(m_handle), static_cast<char*>(bytes) + done,
                       static_cast<DWORD>(std::min(size - done, MaxTransfer)), &count, &place) == FALSE &&
            ::GetLastError() != ERROR_HANDLE_EOF)
        {
            m_lastError = static_cast<std::int32_t>(::GetLastError());
            return -1;
        }
        if (count == 0)
        {
            break;
        }
        done += count;
    }
    return done;
}

std::int64_t RandomAccessFile::WriteAt(std::uint64_t offset, const void* bytes, std::int64_t size) noexcept
{
    std::int64_t done = 0;
    while (done < size)
    {
        OVERLAPPED place = At(offset + static_cast<std::uint64_t>(done));
        DWORD count = 0;
        if (::WriteFile(ToHandle(m_handle), static_cast<const char*>(bytes) + done,
                        static_cast<DWORD>(std::min(size - done, MaxTransfer)), &count, &place) == FALSE)
        {
            m_lastError = static_cast<std::int32_t>(::GetLastError());
            return -1;
        }
        done += count;
    }
    return done;
}

} // namespace Ardo::Kiln::Platform
