#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

namespace Ardo::Kiln::Platform
{

/// An open regular file, read and written at given places.
///
/// Owns the system's handle, which is not inherited by started processes; the destructor closes it. Reading and
/// writing change nothing in the object but LastError(), so that no position is shared with anybody. Not for use by
/// several threads at once. What is read lies in the caller's buffer: a file that shrinks meanwhile gives fewer bytes,
/// never a fault. A write beyond the process's limit on file sizes fails like one on a full disk, without a signal.
class KILN_EXPORT_FOR_TESTS RandomAccessFile
{
public:
    /// What the file is opened for.
    enum class Access
    {
        Read,    ///< an existing file, for reading only
        Replace, ///< a new or emptied file, for reading and writing
    };

    /// Opens \p path. Never waits: what is no regular file (a folder, a pipe, a device) is refused and left as it is.
    /// On Windows other programs may read and write the file meanwhile, but not delete it. On Linux a new file gets the
    /// permissions that the process's mask leaves of read and write for all.
    /// \throws std::system_error whose text is the system's reason and nothing else.
    /// \throws std::runtime_error "Not a regular file".
    RandomAccessFile(const std::filesystem::path& path, Access access);
    /// Wide text would become a path by the locale: FileSystem::ToPath makes one of it.
    RandomAccessFile(const std::wstring& path, Access access) = delete;
    ~RandomAccessFile();
    RandomAccessFile(const RandomAccessFile&) = delete;
    RandomAccessFile& operator=(const RandomAccessFile&) = delete;

    /// Reads up to \p size bytes from \p offset on, fewer only at the end of the file.
    /// \returns their number, or -1 after a failure, whose reason is LastError() then.
    std::int64_t ReadAt(std::uint64_t offset, void* bytes, std::int64_t size) noexcept;

    /// Writes \p size bytes at \p offset; a gap before them reads as zeros.
    /// \returns \p size, or -1 after a failure, whose reason is LastError() then; some bytes may have been written.
    std::int64_t WriteAt(std::uint64_t offset, const void* bytes, std::int64_t size) noexcept;

    /// The size of the file in bytes when it was opened: 0 for a replaced one.
    std::uint64_t SizeWhenOpened() const noexcept { return m_sizeWhenOpened; }

    /// The reason of the last failure of ReadAt() or WriteAt(), a code of SystemErrors(); no error without a failure.
    std::error_code LastError() const noexcept { return m_lastError; }

private:
    struct System;
    std::unique_ptr<System> m_system;
    std::uint64_t m_sizeWhenOpened = 0;
    std::error_code m_lastError;
};

} // namespace Ardo::Kiln::Platform
