#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include "Ardo/Kiln/Platform/Utf.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
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

/// English, because the C library would translate it into the encoding of the locale, and safe on any thread.
std::string Describe(int error)
{
    const char* const text = ::strerrordesc_np(error);
    return text != nullptr ? text : "error " + std::to_string(error);
}

[[noreturn]] void Refuse(int error)
{
    throw std::runtime_error(Describe(error));
}

} // namespace

RandomAccessFile::RandomAccessFile(const std::wstring& path, Access access)
{
    std::string utf8;
    if (!path.empty() && WideToUtf8(path, utf8) != 0)
    {
        Refuse(EILSEQ);
    }
    if (utf8.find('\0') != std::string::npos)
    {
        // The system would open the file whose name ends there.
        Refuse(EINVAL);
    }
    // Without O_NONBLOCK a pipe would wait for its other end. Emptied only after it is known to be a regular file.
    const int flags = (access == Access::Read ? O_RDONLY : O_RDWR | O_CREAT) | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    constexpr mode_t AllMayReadAndWrite = 0666;
    const int descriptor = ::open(utf8.c_str(), flags, AllMayReadAndWrite);
    if (descriptor < 0)
    {
        Refuse(errno);
    }
    m_handle = descriptor;

    struct stat status
    {
    };
    int error = 0;
    if (::fstat(descriptor, &status) != 0 ||
        (access == Access::Replace && S_ISREG(status.st_mode) && ::ftruncate(descriptor, 0) != 0))
    {
        error = errno;
    }
    else if (S_ISDIR(status.st_mode))
    {
        error = EISDIR;
    }
    if (error != 0 || !S_ISREG(status.st_mode))
    {
        ::close(descriptor);
        error != 0 ? Refuse(error) : throw std::runtime_error("Not a regular file");
    }
    m_sizeWhenOpened = access == Access::Read ? static_cast<std::uint64_t>(status.st_size) : 0;
}

RandomAccessFile::~RandomAccessFile()
{
    ::close(static_cast<int>(m_handle));
}

std::string RandomAccessFile::LastError() const
{
    return m_lastError != 0 ? Describe(m_lastError) : std::string();
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
            m_lastError = errno;
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
            m_lastError = errno;
            return -1;
        }
        done += std::max<ssize_t>(count, 0);
    }
    return done;
}

} // namespace Ardo::Kiln::Platform
