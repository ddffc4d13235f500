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

/// Calls \p call with the number of transferred bytes and the number of bytes to transfer next, until \p size bytes are
/// transferred or a call transfers none.
/// \returns the number of transferred bytes, or -1 with errno.
template <typename Call>
std::int64_t Transfer(std::int64_t size, Call call) noexcept
{
    constexpr std::int64_t MaxTransfer = 0x7ffff000; // the system's limit for one call
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
        Refuse(EINVAL); // the system takes the path up to this character and would open another file
    }
    // Without O_NONBLOCK opening a pipe blocks. No O_TRUNC: the file is emptied when it is known to be a regular one.
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
