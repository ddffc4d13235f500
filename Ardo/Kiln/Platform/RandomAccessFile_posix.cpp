#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

namespace
{

/// More than this in one call is cut by the system anyway.
constexpr std::int64_t MaxTransfer = 0x7ffff000;

std::error_code SystemError()
{
    return {errno, std::system_category()};
}

[[noreturn]] void Refuse(const std::error_code& error)
{
    throw std::runtime_error(error.message());
}

} // namespace

RandomAccessFile::RandomAccessFile(const std::filesystem::path& path, Access access)
{
    if (path.native().find('\0') != std::string::npos)
    {
        // The system would open the file whose name ends there.
        Refuse(std::make_error_code(std::errc::invalid_argument));
    }
    // Without O_NONBLOCK a pipe would wait for its other end. Emptied only after it is known to be a regular file.
    const int flags = (access == Access::Read ? O_RDONLY : O_RDWR | O_CREAT) | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    constexpr mode_t AllMayReadAndWrite = 0666;
    const int descriptor = ::open(path.c_str(), flags, AllMayReadAndWrite);
    if (descriptor < 0)
    {
        Refuse(SystemError());
    }
    m_handle = descriptor;

    struct stat status
    {
    };
    std::error_code error;
    if (::fstat(descriptor, &status) != 0 ||
        (access == Access::Replace && S_ISREG(status.st_mode) && ::ftruncate(descriptor, 0) != 0))
    {
        error = SystemError();
    }
    else if (S_ISDIR(status.st_mode))
    {
        error = std::make_error_code(std::errc::is_a_directory);
    }
    if (error || !S_ISREG(status.st_mode))
    {
        ::close(descriptor);
        error ? Refuse(error) : throw std::runtime_error("Not a regular file");
    }
    m_sizeWhenOpened = access == Access::Read ? static_cast<std::uint64_t>(status.st_size) : 0;
}

RandomAccessFile::~RandomAccessFile()
{
    ::close(static_cast<int>(m_handle));
}

std::int64_t RandomAccessFile::ReadAt(std::uint64_t offset, void* bytes, std::int64_t size) noexcept
{
    std::int64_t done = 0;
    while (done < size)
    {
        const ssize_t count =
            ::pread(static_cast<int>(m_handle), static_cast<char*>(bytes) + done,
                    static_cast<std::size_t>(std::min(size - done, MaxTransfer)), static_cast<off_t>(offset) + done);
        if (count < 0 && errno != EINTR)
        {
            m_lastError = SystemError();
            return -1;
        }
        if (count == 0)
        {
            break;
        }
        done += std::max<ssize_t>(count, 0);
    }
    return done;
}

std::int64_t RandomAccessFile::WriteAt(std::uint64_t offset, const void* bytes, std::int64_t size) noexcept
{
    std::int64_t done = 0;
    while (done < size)
    {
        const ssize_t count =
            ::pwrite(static_cast<int>(m_handle), static_cast<const char*>(bytes) + done,
                     static_cast<std::size_t>(std::min(size - done, MaxTransfer)), static_cast<off_t>(offset) + done);
        if (count < 0 && errno != EINTR)
        {
            m_lastError = SystemError();
            return -1;
        }
        done += std::max<ssize_t>(count, 0);
    }
    return done;
}

} // namespace Ardo::Kiln::Platform
