#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include "Ardo/Kiln/Platform/ScopedHandle_win.h"
#include "Ardo/Kiln/Platform/SystemError.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace Ardo::Kiln::Platform
{

namespace
{

[[noreturn]] void Refuse(DWORD error)
{
    throw std::system_error(static_cast<int>(error), SystemErrors());
}

/// Calls \p call with the place in the file, the number of transferred bytes and the number of bytes to transfer next,
/// until \p size bytes are transferred or a call transfers none.
/// \returns the number of transferred bytes, or -1 with the system's last error.
template <typename Call>
std::int64_t Transfer(std::uint64_t offset, std::int64_t size, Call call) noexcept
{
    constexpr std::int64_t MaxTransfer = 0x40000000; // a transfer is counted in 32 bits
    std::int64_t done = 0;
    while (done < size)
    {
        const std::uint64_t from = offset + static_cast<std::uint64_t>(done);
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>(from);
        place.OffsetHigh = static_cast<DWORD>(from >> 32);
        DWORD count = 0;
        if (call(&place, done, static_cast<DWORD>(std::min(size - done, MaxTransfer)), &count) == FALSE &&
            ::GetLastError() != ERROR_HANDLE_EOF)
        {
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

} // namespace

struct RandomAccessFile::System
{
    ScopedHandle file;
};

RandomAccessFile::RandomAccessFile(const std::filesystem::path& path, Access access)
    : m_system(std::make_unique<System>())
{
    if (path.native().find(L'\0') != std::wstring::npos)
    {
        Refuse(ERROR_INVALID_NAME); // the system takes the path up to this character and would open another file
    }
    const bool reading = access == Access::Read;
    // Not CREATE_ALWAYS: the file is emptied when it is known to be a file on a disk.
    m_system->file = ScopedHandle(::CreateFileW(path.c_str(), reading ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                reading ? OPEN_EXISTING : OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!m_system->file)
    {
        Refuse(::GetLastError());
    }
    if (::GetFileType(m_system->file.Get()) != FILE_TYPE_DISK)
    {
        throw std::runtime_error("Not a regular file");
    }
    LARGE_INTEGER size{};
    if (!(reading ? ::GetFileSizeEx(m_system->file.Get(), &size) : ::SetEndOfFile(m_system->file.Get())))
    {
        Refuse(::GetLastError());
    }
    m_sizeWhenOpened = static_cast<std::uint64_t>(size.QuadPart);
}

RandomAccessFile::~RandomAccessFile() = default;

std::int64_t RandomAccessFile::ReadAt(std::uint64_t offset, void* bytes, std::int64_t size) noexcept
{
    const std::int64_t done =
        Transfer(offset, size,
                 [&](OVERLAPPED* place, std::int64_t from, DWORD count, DWORD* read)
                 { return ::ReadFile(m_system->file.Get(), static_cast<char*>(bytes) + from, count, read, place); });
    m_lastError = done < 0 ? LastSystemError() : m_lastError;
    return done;
}

std::int64_t RandomAccessFile::WriteAt(std::uint64_t offset, const void* bytes, std::int64_t size) noexcept
{
    const std::int64_t done = Transfer(
        offset, size,
        [&](OVERLAPPED* place, std::int64_t from, DWORD count, DWORD* written)
        { return ::WriteFile(m_system->file.Get(), static_cast<const char*>(bytes) + from, count, written, place); });
    m_lastError = done < 0 ? LastSystemError() : m_lastError;
    return done;
}

} // namespace Ardo::Kiln::Platform
