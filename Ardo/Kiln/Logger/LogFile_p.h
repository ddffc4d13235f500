#pragma once

#include "Ardo/KilnExport.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace Ardo::Kiln::Platform
{
class SharedAppendFile;
}

namespace Ardo::Kiln::Logger
{

/// A log file that is rotated by size and that several processes, or several objects of one process, may write.
///
/// X.log is the newest file, X.1.log the one before it, up to the given number of files. A record is never cut by a
/// rotation, and none is lost at one. A process that dies while it writes leaves at most its own last line unfinished;
/// the next writer begins a new line.
///
/// Failures never reach the caller. While the file cannot be written its records are kept up to some 64 KiB, later ones
/// are lost, and standard error gets one line for each cause. The part of a record that a full disk took is removed,
/// unless another process has appended to it or does not release the lock. A deleted file or folder is made again.
///
/// Any thread may call any method.
class KILN_EXPORT_FOR_TESTS LogFile
{
public:
    /// Opens the file at its end and creates it, with its folder, where it is missing. A failure is reported, and the
    /// next record tries again.
    ///
    /// \param maxSize in bytes; a file that would grow beyond it is rotated. A single longer record gets a file of its
    ///        own. 0: no limit.
    /// \param fileCount the number of files, including the newest; at least 1.
    LogFile(std::filesystem::path path, std::uint64_t maxSize, unsigned fileCount);
    ~LogFile(); ///< Writes the records that are still kept.
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /// Rotates whatever the size is, unless the file is empty.
    void BeginNewFile() noexcept;

    /// Keeps one record, which ends with a line feed, for the next Flush.
    void Append(std::string_view record) noexcept;

    /// Writes one record, and those kept before it, to the file at once.
    ///
    /// A record that needs no rotation is appended without the lock between processes, in a single system call, which
    /// keeps it in one piece. That the file was deleted, or filled by others, is noticed within a millisecond.
    ///
    /// \param now the present time.
    void AppendAtOnce(std::string_view record, std::chrono::system_clock::time_point now) noexcept;

    /// Writes the kept records to the file, so that they survive the end of this process.
    void Flush() noexcept;

    /// Flush after a fault, whose thread may hold this file's lock for ever: then nothing happens.
    /// \param limit how long to wait for the lock.
    void FlushAfterFault(std::chrono::milliseconds limit) noexcept;

    /// Flushes, then waits until the disk has what was written since the last Sync. Other threads can log meanwhile.
    void Sync() noexcept;

    /// Locks out all other threads until AfterFork, so that a child process gets a consistent copy.
    void BeforeFork() noexcept;

    /// Ends BeforeFork. The child drops the kept records, which its parent writes, and opens the file anew: the lock
    /// between processes belongs to the open file and would not exclude parent and child from each other.
    void AfterFork(bool inChild) noexcept;

    const std::filesystem::path& Path() const { return m_path; }

    /// Whether rotating this file, or rotating another one at \p path that keeps \p fileCount files, would overwrite
    /// the other one. Two objects with the same path rotate the same files and do not conflict.
    bool ConflictsWith(const std::filesystem::path& path, unsigned fileCount) const;

private:
    struct Failure
    {
        const char* what = nullptr; ///< Null: none.
        std::error_code reason;
    };

    void Keep(std::string_view record);
    void WriteKept();
    Failure WriteRecords(std::size_t& done);
    Failure OpenAndLock();
    Failure Open();
    Failure WriteUntilFull(std::size_t& done, bool mayRotate, bool& full);
    std::error_code Rotate();
    void TakeBack(std::size_t count);
    void Close();
    static std::filesystem::path RotatedName(const std::filesystem::path& path, unsigned number);
    void Report(const Failure& failure);

    const std::filesystem::path m_path;
    const std::uint64_t m_maxSize;
    const unsigned m_fileCount;

    std::mutex m_mutex;                                 ///< Guards all that follows.
    std::shared_ptr<Platform::SharedAppendFile> m_file; ///< Null while not open. Shared with Sync only.
    bool m_locked = false;                              ///< This object holds the lock between processes.
    bool m_lockHangs = false;                           ///< Its holder did not let go in time.
    bool m_unsynced = false;                            ///< Written since the last Sync.
    std::string m_kept;                                 ///< Records that are not written yet, one after another.
    std::vector<std::size_t> m_ends;                    ///< Where each of them ends in m_kept.
    std::chrono::system_clock::time_point m_inspected;  ///< When AppendAtOnce last looked at the file.
    std::uint64_t m_room = 0;                           ///< What fits the file, by that look.
    Failure m_lastFailure;
    bool m_failing = false;
    std::chrono::steady_clock::time_point m_healed; ///< When the last failure was over.
};

} // namespace Ardo::Kiln::Logger
