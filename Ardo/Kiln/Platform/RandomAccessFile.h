#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

namespace Ardo::Kiln::Platform
{

/// An open regular file that is read and written at given offsets.
///
/// The object owns the system's handle and closes it in the destructor; child processes do not inherit it. There is no
/// current position. One thread at a time. The file is not mapped into memory: reading from a file that another program
/// has truncated returns fewer bytes and causes no fault. A write beyond the process's limit on file sizes fails like a
/// write on a full disk, without a signal.
class KILN_EXPORT_FOR_TESTS RandomAccessFile
{
public:
    /// How the file is opened.
    enum class Access
    {
        Read,    ///< an existing file, for reading only
        Replace, ///< a new or emptied file, for reading and writing
    };

    /// Opens \p path and never blocks. A folder, a pipe and a device are refused and left unchanged. On Windows other
    /// programs may read and write the open file, but not delete it. On Linux a new file is readable and writable for
    /// all, less the permissions in the umask of the process.
    /// \throws std::system_error whose text is the system's reason and nothing else.
    /// \throws std::runtime_error "Not a regular file".
    RandomAccessFile(const std::filesystem::path& path, Access access);
    /// Deleted because the conversion of wide text to a path would depend on the locale. Use FileSystem::ToPath.
    RandomAccessFile(const std::wstring& path, Access access) = delete;
    ~RandomAccessFile();
    RandomAccessFile(const RandomAccessFile&) = delete;
    RandomAccessFile& operator=(const RandomAccessFile&) = delete;

    /// Reads \p size bytes at \p offset, fewer only at the end of the file.
    /// \returns the number of bytes, or -1 on failure. LastError() is then the reason.
    std::int64_t ReadAt(std::uint64_t offset, void* bytes, std::int64_t size) noexcept;

    /// Writes \p size bytes at \p offset. A gap between the end of the file and \p offset reads as zeros.
    /// \returns \p size, or -1 on failure. LastError() is then the reason, and some bytes may have been written.
    std::int64_t WriteAt(std::uint64_t offset, const void* bytes, std::int64_t size) noexcept;

    /// The size of the file in bytes when it was opened; 0 with Access::Replace.
    std::uint64_t SizeWhenOpened() const noexcept { return m_sizeWhenOpened; }

    /// The reason of the last failure of ReadAt() or WriteAt(), a code of SystemErrors(). No error if none has failed.
    std::error_code LastError() const noexcept { return m_lastError; }

private:
    struct System;
    std::unique_ptr<System> m_system;
    std::uint64_t m_sizeWhenOpened = 0;
    std::error_code m_lastError;
};

} // namespace Ardo::Kiln::Platform
