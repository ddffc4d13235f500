#pragma once

#include "Ardo/KilnExport.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>

namespace Ardo::Kiln::Platform
{

/// A file that several processes append to, rename and delete while it is open.
///
/// Each Append goes to the end that the file has at that moment. Use Lock for writes that must not be interleaved with
/// other processes'. One thread at a time; only FlushToDisk may run beside another method.
class KILN_EXPORT_FOR_TESTS SharedAppendFile
{
public:
    /// What the system knows of the open file.
    struct State
    {
        std::uint64_t size = 0; ///< In bytes.
        bool hasName = false;   ///< False once the file was deleted.
    };

    SharedAppendFile();
    ~SharedAppendFile(); ///< Closes the file. To be called without the lock.
    SharedAppendFile(const SharedAppendFile&) = delete;
    SharedAppendFile& operator=(const SharedAppendFile&) = delete;

    /// Opens the file and creates it where it is missing. To be called once. Never waits, not even for the reader of a
    /// pipe.
    ///
    /// \returns the system's reason on failure.
    std::error_code Open(const std::filesystem::path& path) noexcept;

    /// Writes \p text at the file's end. \p written counts the bytes that arrived, also on failure. Beyond the
    /// process's limit on file sizes it fails like on a full disk, without a signal.
    ///
    /// \returns the system's reason on failure.
    std::error_code Append(std::string_view text, std::size_t& written) noexcept;

    /// A size of 0 and no name when the system reports an error.
    State Inspect() const noexcept;

    /// True if \p path still leads to this file: it was not renamed, replaced or deleted.
    bool IsAt(const std::filesystem::path& path) const noexcept;

    /// True if the file's last byte is no line feed. \p size is its size.
    bool EndsInsideLine(std::uint64_t size) const noexcept;

    /// Removes the last \p count bytes that this object appended, unless they are no longer the end of the file. A
    /// failure leaves them. To be called under Lock, directly after an Append that wrote at least \p count bytes.
    void TakeBack(std::size_t count) noexcept;

    /// Waits until everything written is on the disk; a failure is not reported.
    void FlushToDisk() noexcept;

    /// Waits at most \p patience for the lock that keeps other processes, and other objects of this process, from the
    /// file. The system releases it when its holder dies.
    ///
    /// On Windows it is the system-wide mutex "Global\TextLoggingMutex", one for all files, and belongs to the calling
    /// thread. On Linux it is an advisory lock (flock) on the file itself.
    /// \returns true with the lock; false when its holder did not let go in time, or when there is no such lock.
    bool Lock(std::chrono::milliseconds patience) noexcept;

    /// Releases the lock that Lock took.
    void Unlock() noexcept;

private:
    struct System;
    std::unique_ptr<System> m_system;
};

} // namespace Ardo::Kiln::Platform
