#include "Ardo/Kiln/Platform/RangeLockFile.h"

#include "Ardo/Kiln/Platform/ScopedDescriptor_posix.h"
#include "Ardo/Kiln/Platform/SystemError.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace Ardo::Kiln::Platform
{

namespace
{

std::error_code SetLock(int file, std::uint64_t offset, short kind) noexcept
{
    struct flock lock
    {
    };
    lock.l_type = kind;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(offset);
    lock.l_len = 1;
    while (::fcntl(file, F_OFD_SETLK, &lock) != 0)
    {
        if (errno == EACCES || errno == EAGAIN)
        {
            return std::make_error_code(std::errc::resource_unavailable_try_again);
        }
        if (errno != EINTR)
        {
            return LastSystemError();
        }
    }
    return {};
}

} // namespace

struct RangeLockFile::System
{
    ScopedDescriptor file;
};

RangeLockFile::RangeLockFile() : m_system(std::make_unique<System>()) {}

RangeLockFile::~RangeLockFile() = default;

std::error_code RangeLockFile::Open(const std::filesystem::path& path) noexcept
{
    constexpr mode_t EverybodyWithinUmask = 0666;
    m_system->file = ScopedDescriptor(
        ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW, EverybodyWithinUmask));
    return m_system->file ? std::error_code() : LastSystemError();
}

bool RangeLockFile::IsAt(const std::filesystem::path& path) const noexcept
{
    struct stat named
    {
    };
    struct stat open
    {
    };
    return ::stat(path.c_str(), &named) == 0 && ::fstat(m_system->file.Get(), &open) == 0 &&
           named.st_ino == open.st_ino && named.st_dev == open.st_dev;
}

std::error_code RangeLockFile::TryLock(std::uint64_t offset, Kind kind) noexcept
{
    return SetLock(m_system->file.Get(), offset, kind == Kind::Shared ? F_RDLCK : F_WRLCK);
}

void RangeLockFile::Unlock(std::uint64_t offset) noexcept
{
    SetLock(m_system->file.Get(), offset, F_UNLCK);
}

} // namespace Ardo::Kiln::Platform
