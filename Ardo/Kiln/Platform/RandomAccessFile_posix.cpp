#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include "Ardo/Kiln/Platform/FileSizeSignal_posix.h"
#include "Ardo/Kiln/Platform/ScopedDescriptor_posix.h"
#include "Ardo/Kiln/Platform/SystemError.h"

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

[[noreturn]] void Refuse(int error)
{
    throw std::system_error(error, SystemErrors());
}

/// Repeats \p call, which is told how many bytes are done and how many to do next, until \p size bytes are done or it
/// does none.
/// \returns the bytes done, or -1 with errno.
template <typename Call>
std::int64_t Transfer(std::int64_t size, Call call) noexcept
{
    constexpr std::int64_t MaxTransfer = 0x7ffff000; // the system does no more in one call
    std::int64_t done = 0;
    while (done < size)
    {
        const ssize_t count = call(done, static_cast<std::size_t>(std::min(size - done, MaxTransfer)));
        if (count == 0 || (count < 0 && errno != EINTR))
        {
            return count == 0 ? done : -1;
        }
        done += std::max<ssize_t>(count, 0);
    }
    return done;
}

} // namespace

struct RandomAccessFile::System
{
    ScopedDescriptor file;
};

RandomAccessFile::RandomAccessFile(const std::filesystem::path& path, Access access)
    : m_system(std::make_unique<System>())
{
    if (path.native().find('\0') != std::string::npos)
    {
        Refuse(EINVAL); // the system would open the file whose name ends there
    }
    // Without O_NONBLOCK a pipe would wait for its other end. Emptied only after it is known to be a regular file.
    const int flags = (access == Access::Read ? O_RDONLY : O_RDWR | O_CREAT) | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    constexpr mode_t AllMayReadAndWrite = 0666;
    m_system->file = ScopedDescriptor(::open(path.c_str(), flags, AllMayReadAndWrite));
    struct stat status
    {
    };
    if (!m_system->file || ::fstat(m_system->file.Get(), &status) != 0)
    {
        Refuse(errno);
    }
    if (S_ISDIR(status.st_mode))
    {
        Refuse(EISDIR);
    }
    if (!S_ISREG(status.st_mode))
    {
        throw std::runtime_error("Not a regular file");
    }
    if (access == Access::Read)
    {
        m_sizeWhenOpened = static_cast<std::uint64_t>(status.st_size);
    }
    else if (::ftruncate(m_system->file.Get(), 0) != 0)
    {
        Refuse(errno);
    }
}

RandomAccessFile::~RandomAccessFile() = default;

std::int64_t RandomAccessFile::ReadAt(std::uint64_t offset, void* bytes, std::int64_t size) noexcept
{
    const std::int64_t done = Transfer(size,
                                       [&](std::int64_t place, std::size_t count)
                                       {
                                           return ::pread(m_system->file.Get(), static_cast<char*>(bytes) + place,
                                                          count, static_cast<off_t>(offset) + place);
                                       });
    m_lastError = done < 0 ? LastSystemError() : m_lastError;
    return done;
}

std::int64_t RandomAccessFile::WriteAt(std::uint64_t offset, const void* bytes, std::int64_t size) noexcept
{
    const FileSizeSignalBlock withoutSignal;
    const std::int64_t done =
        Transfer(size,
                 [&](std::int64_t place, std::size_t count)
                 {
                     return ::pwrite(m_system->file.Get(), static_cast<const char*>(bytes) + place, count,
                                     static_cast<off_t>(offset) + place);
                 });
    m_lastError = done < 0 ? LastSystemError() : m_lastError;
    return done;
}

} // namespace Ardo::Kiln::Platform
