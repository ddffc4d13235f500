#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <system_error>

namespace Ardo::Kiln::Platform
{

/// A file on whose bytes threads and processes hold locks. The bytes need not exist; the file stays empty.
///
/// A lock belongs to the object, not to the process: two objects in one process exclude each other like two processes.
/// All locks of an object end with it, also when the process is killed. On Linux they are "open file description"
/// locks, which work on NFS and SMB, too; a child of `fork` shares them until it ends or executes another program.
///
/// One thread at a time.
class KILN_EXPORT_FOR_TESTS RangeLockFile
{
public:
    /// How a lock excludes others.
    enum class Kind
    {
        Shared,    ///< Any number of shared locks, no exclusive one.
        Exclusive, ///< No other lock.
    };

    RangeLockFile();
    ~RangeLockFile();
    RangeLockFile(const RangeLockFile&) = delete;
    RangeLockFile& operator=(const RangeLockFile&) = delete;

    /// Opens the file, which is made if it is missing: readable and writable for everybody whom the process's mask
    /// allows, hidden on Windows.
    /// \returns the system's reason; no error if the file is open.
    std::error_code Open(const std::filesystem::path& path) noexcept;

    /// True if the open file is still the one with this name: somebody may have removed it.
    bool IsAt(const std::filesystem::path& path) const noexcept;

    /// Locks the byte at \p offset, from 0 to 2^62, without waiting. A byte that this object has locked already gets
    /// the new kind; in between it may be unlocked.
    /// \returns std::errc::resource_unavailable_try_again if another object holds a lock that excludes this one,
    ///          otherwise the system's reason; no error if the byte is locked.
    std::error_code TryLock(std::uint64_t offset, Kind kind) noexcept;

    /// Gives back the lock on the byte at \p offset, if there is one.
    void Unlock(std::uint64_t offset) noexcept;

private:
    struct System;

    std::unique_ptr<System> m_system;
};

} // namespace Ardo::Kiln::Platform
