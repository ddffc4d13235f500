#include "Ardo/Kiln/Platform/PartialFile.h"

#include "Ardo/Kiln/Platform/FileSizeSignal_posix.h"
#include "Ardo/Kiln/Platform/ScopedDescriptor_posix.h"
#include "Ardo/Kiln/Platform/SystemError.h"

#include <cerrno>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

namespace
{

namespace fs = std::filesystem;

std::error_code ResultOf(int result) noexcept
{
    return result == 0 ? std::error_code() : LastSystemError();
}

/// Gives the open file the group and the permissions of the file at \p path, if that is a regular file.
void TakeRightsOf(const fs::path& path, int descriptor) noexcept
{
    struct stat old
    {
    };
    struct stat own
    {
    };
    if (::stat(path.c_str(), &old) != 0 || !S_ISREG(old.st_mode) || ::fstat(descriptor, &own) != 0)
    {
        return;
    }
    // Without the set-user-ID bit, which would refer to another user now. The system clears it on overwriting, too.
    mode_t mode = old.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    if (own.st_gid != old.st_gid && ::fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) != 0)
    {
        mode &= ~static_cast<mode_t>(S_IRWXG) | ((mode & S_IRWXO) << 3U);
    }
    // A file system without permissions refuses; there are none to preserve then.
    static_cast<void>(::fchmod(descriptor, mode));
}

/// A rename survives a power loss when its folder has been flushed. Some file systems cannot flush a folder; this is
/// ignored.
void FlushFolder(const fs::path& folder) noexcept
{
    const ScopedDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor)
    {
        static_cast<void>(::fsync(descriptor.Get()));
    }
}

} // namespace

struct PartialFile::System
{
    System() = default;
    ~System()
    {
        if (hasName)
        {
            ::unlink(path.c_str());
        }
    }
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    bool CreateUnnamed(const fs::path& folder, mode_t mode)
    {
        file = ScopedDescriptor(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode));
        path = "/proc/self/fd/" + std::to_string(file.Get());
        // Without /proc, or if a security policy forbids this, the file could be neither written nor named.
        return file && ScopedDescriptor(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    }

    std::error_code CreateNamed(const fs::path& folder, mode_t mode)
    {
        do
        {
            path = folder / RandomName();
            file = ScopedDescriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode));
            hasName = static_cast<bool>(file);
        } while (!hasName && errno == EEXIST);
        return ResultOf(hasName ? 0 : -1);
    }

    /// Links the file without a name as \p target. If \p target exists, it is linked under a temporary name instead,
    /// because a link never replaces a file. A process that is killed before the rename leaves the complete file under
    /// the temporary name.
    std::error_code Link(const fs::path& target, bool& isThere)
    {
        fs::path name = target;
        while (::linkat(AT_FDCWD, path.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) != 0)
        {
            if (errno != EEXIST)
            {
                return LastSystemError();
            }
            name = target.parent_path() / RandomName();
        }
        isThere = name == target;
        hasName = !isThere;
        path = std::move(name);
        return {};
    }

    std::error_code Flush() const noexcept { return ResultOf(::fsync(file.Get())); }

    /// Copies contents and permissions of \p source to this empty file.
    std::error_code CopyFrom(const System& source) const noexcept
    {
        struct stat status
        {
        };
        if (::fstat(source.file.Get(), &status) != 0 || ::fchmod(file.Get(), status.st_mode & 07777U) != 0)
        {
            return LastSystemError();
        }
        const FileSizeSignalBlock withoutSignal;
        constexpr std::size_t MaxTransfer = 0x7ffff000; // the system's limit for one call
        off_t offset = 0;
        ssize_t count = 0;
        do
        {
            count = ::sendfile(file.Get(), source.file.Get(), &offset, MaxTransfer);
        } while (count > 0 || (count < 0 && errno == EINTR));
        return ResultOf(static_cast<int>(count));
    }

    ScopedDescriptor file;
    fs::path path; ///< Opens the file.
    bool hasName = false;
};

PartialFile::PartialFile() = default;

PartialFile::~PartialFile() = default;

fs::path PartialFile::Path() const
{
    return m_system != nullptr ? m_system->path : fs::path();
}

std::error_code PartialFile::Create(const fs::path& folder, Rights rights)
{
    const mode_t mode = rights == Rights::Owner ? 0600 : 0666;
    auto system = std::make_unique<System>();
    // If the file cannot be created without a name, for whatever reason, it is created with one.
    if (!system->CreateUnnamed(folder, mode))
    {
        if (const std::error_code error = system->CreateNamed(folder, mode))
        {
            return error;
        }
    }
    m_system = std::move(system);
    return {};
}

std::error_code PartialFile::MoveTo(const fs::path& target)
{
    TakeRightsOf(target, m_system->file.Get());
    if (const std::error_code error = m_system->Flush())
    {
        return error;
    }
    bool isThere = false;
    if (!m_system->hasName)
    {
        if (const std::error_code error = m_system->Link(target, isThere))
        {
            // Some systems support files without a name but forbid to link them.
            auto copy = std::make_unique<System>();
            if (copy->CreateNamed(target.parent_path(), 0600) || copy->CopyFrom(*m_system))
            {
                return error;
            }
            m_system = std::move(copy);
            return MoveTo(target);
        }
    }
    if (!isThere)
    {
        if (const std::error_code error = ResultOf(std::rename(m_system->path.c_str(), target.c_str())))
        {
            return error;
        }
        m_system->hasName = false;
    }
    FlushFolder(target.parent_path());
    m_system.reset();
    return {};
}

} // namespace Ardo::Kiln::Platform
