#include "Ardo/Kiln/Logger/LogFile_p.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Logger/LockWithin_p.h"
#include "Ardo/Kiln/Logger/LogText_p.h"
#include "Ardo/Kiln/Platform/FileRename.h"
#include "Ardo/Kiln/Platform/SharedAppendFile.h"
#include "Ardo/Kiln/Platform/StandardError.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Ardo::Kiln::Logger
{

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace
{

// Large enough that a burst of records costs few system calls, small enough that losing it is acceptable.
constexpr std::size_t MaxKeptBytes = 65536;

// How long a thread waits for another process: longer than any rotation, short for a person who waits for the thread.
constexpr auto LockPatience = 2s;

// A cause that returns sooner than this is not reported again: a full disk takes a short record now and then.
constexpr auto HealthyFor = 60s;

// How often a file that is written without the lock is inspected: that costs as much as writing a record.
constexpr auto InspectedAgain = 1ms;

} // namespace

LogFile::LogFile(fs::path path, std::uint64_t maxSize, unsigned fileCount)
    : m_path(std::move(path)),
      m_maxSize(maxSize == 0 ? std::numeric_limits<std::uint64_t>::max() : maxSize),
      m_fileCount(fileCount)
{
    Report(Open());
}

LogFile::~LogFile()
{
    Flush();
}

void LogFile::BeginNewFile() noexcept
{
    try
    {
        const std::lock_guard lock(m_mutex);
        Failure failure = OpenAndLock();
        if (failure.what == nullptr && m_locked && m_file->Inspect().size > 0)
        {
            if (const std::error_code error = Rotate())
            {
                failure = {"cannot be rotated", error};
            }
        }
        Close();
        Report(failure);
    }
    catch (...)
    {
        // No memory: the old file is continued.
    }
}

void LogFile::Append(std::string_view record) noexcept
{
    try
    {
        const std::lock_guard lock(m_mutex);
        Keep(record);
    }
    catch (...)
    {
        // No memory: the record is lost.
    }
}

void LogFile::AppendAtOnce(std::string_view record, std::chrono::system_clock::time_point now) noexcept
{
    try
    {
        const std::lock_guard lock(m_mutex);
        if (m_file != nullptr && m_ends.empty() && !m_failing)
        {
            if (now < m_inspected || now - m_inspected >= InspectedAgain)
            {
                const Platform::SharedAppendFile::State state = m_file->Inspect();
                m_room = state.hasName && m_maxSize > state.size ? m_maxSize - state.size : 0;
                m_inspected = now;
            }
            std::size_t written = 0;
            if (record.size() <= m_room)
            {
                if (!m_file->Append(record, written))
                {
                    m_room -= record.size();
                    m_unsynced = true;
                    return;
                }
                TakeBack(written);
            }
        }
        m_inspected = {};
        Keep(record);
        WriteKept();
    }
    catch (...)
    {
        // No memory: the record is lost.
    }
}

void LogFile::Flush() noexcept
{
    try
    {
        const std::lock_guard lock(m_mutex);
        if (!m_ends.empty())
        {
            WriteKept();
        }
        else if (m_file != nullptr && !m_file->IsAt(m_path))
        {
            Close(); // a file that others rotated out would keep its space, and on Windows its name
        }
    }
    catch (...)
    {
        // No memory: the records stay for the next time.
    }
}

void LogFile::FlushAfterFault(std::chrono::milliseconds limit) noexcept
{
    try
    {
        const auto lock = LockWithin(m_mutex, limit);
        if (lock.owns_lock() && !m_ends.empty())
        {
            WriteKept();
        }
    }
    catch (...)
    {
        // No memory: the records are lost with the process.
    }
}

void LogFile::Sync() noexcept
{
    Flush();
    std::shared_ptr<Platform::SharedAppendFile> file;
    {
        const std::lock_guard lock(m_mutex);
        if (std::exchange(m_unsynced, false))
        {
            file = m_file;
        }
    }
    if (file != nullptr)
    {
        file->FlushToDisk(); // outside the lock: only this thread waits for the disk
    }
}

void LogFile::BeforeFork() noexcept
{
    m_mutex.lock();
}

void LogFile::AfterFork(bool inChild) noexcept
{
    if (inChild)
    {
        Close();
        m_kept.clear();
        m_ends.clear();
    }
    m_mutex.unlock();
}

bool LogFile::ConflictsWith(const fs::path& path, unsigned fileCount) const
{
    for (unsigned number = 1; number < std::max(m_fileCount, fileCount); ++number)
    {
        if ((number < m_fileCount && path == RotatedName(m_path, number)) ||
            (number < fileCount && m_path == RotatedName(path, number)))
        {
            return true;
        }
    }
    return false;
}

void LogFile::Keep(std::string_view record)
{
    if (!m_ends.empty() && m_kept.size() + record.size() > MaxKeptBytes)
    {
        WriteKept();
        if (!m_ends.empty() && m_kept.size() + record.size() > MaxKeptBytes)
        {
            return; // lost; standard error has the reason
        }
    }
    m_ends.reserve(m_ends.size() + 1);
    m_kept += record;
    m_ends.push_back(m_kept.size());
}

void LogFile::WriteKept()
{
    std::size_t done = 0;
    const Failure failure = WriteRecords(done);
    if (done > 0)
    {
        const std::size_t bytes = m_ends[done - 1];
        m_kept.erase(0, bytes);
        m_ends.erase(m_ends.begin(), m_ends.begin() + static_cast<std::ptrdiff_t>(done));
        for (std::size_t& end : m_ends)
        {
            end -= bytes;
        }
        m_unsynced = true;
    }
    if (m_kept.size() > MaxKeptBytes) // a single record of that size
    {
        m_kept.clear();
        m_ends.clear();
    }
    Report(failure);
}

LogFile::Failure LogFile::WriteRecords(std::size_t& done)
{
    Failure failure;
    bool mayRotate = true;
    while (done < m_ends.size())
    {
        if (const Failure fatal = OpenAndLock(); fatal.what != nullptr)
        {
            return fatal;
        }
        if (!m_locked)
        {
            failure = {"is locked by a process that does not answer; it grows beyond its limit", {}};
            mayRotate = false; // appending needs no lock, renaming does
        }
        bool full = false;
        const Failure fatal = WriteUntilFull(done, mayRotate, full);
        if (fatal.what == nullptr && full)
        {
            if (const std::error_code error = Rotate())
            {
                failure = {"cannot be rotated; it grows beyond its limit", error};
                mayRotate = false;
            }
            else
            {
                Close(); // the open file has another name now
            }
        }
        if (m_locked)
        {
            m_file->Unlock();
            m_locked = false;
        }
        if (fatal.what != nullptr)
        {
            Close();
            return fatal;
        }
    }
    return failure;
}

/// Opens the file that has the name at the moment, and locks it if its holder lets it go in time.
LogFile::Failure LogFile::OpenAndLock()
{
    const auto deadline = std::chrono::steady_clock::now() + LockPatience;
    for (;;)
    {
        if (m_file == nullptr)
        {
            if (const Failure failure = Open(); failure.what != nullptr)
            {
                return failure;
            }
        }
        const auto patience = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        m_locked = m_file->Lock(m_lockHangs ? 0ms : std::max(patience, 0ms));
        m_lockHangs = !m_locked;
        if (m_file->IsAt(m_path) || std::chrono::steady_clock::now() >= deadline)
        {
            return {};
        }
        Close(); // it was rotated by another process, or deleted
    }
}

LogFile::Failure LogFile::Open()
{
    auto file = std::make_shared<Platform::SharedAppendFile>();
    std::error_code error = file->Open(m_path);
    if (error == std::errc::no_such_file_or_directory)
    {
        std::error_code ignored; // the second attempt reports it
        fs::create_directory(m_path.parent_path(), ignored);
        error = file->Open(m_path);
    }
    if (error)
    {
        return {"cannot be opened", error};
    }
    m_file = std::move(file);
    return {};
}

/// Appends as many records as fit. \p full: the next one needs a new file.
LogFile::Failure LogFile::WriteUntilFull(std::size_t& done, bool mayRotate, bool& full)
{
    const std::uint64_t size = m_file->Inspect().size;
    const bool unfinishedLine = m_file->EndsInsideLine(size); // of a process that died
    const std::size_t begin = done == 0 ? 0 : m_ends[done - 1];

    const std::uint64_t used = size + (unfinishedLine ? 1 : 0);
    auto last = m_ends.end();
    if (mayRotate)
    {
        const std::uint64_t room = m_maxSize > used ? std::min<std::uint64_t>(m_maxSize - used, m_kept.size()) : 0;
        last = std::upper_bound(m_ends.begin() + static_cast<std::ptrdiff_t>(done), m_ends.end(), begin + room);
        full = last != m_ends.end();
        if (full && size == 0 && last == m_ends.begin() + static_cast<std::ptrdiff_t>(done))
        {
            ++last; // longer than any file may be: it gets one of its own
            full = last != m_ends.end();
        }
    }
    const auto count = static_cast<std::size_t>(last - m_ends.begin());
    if (count == done)
    {
        return {};
    }

    std::size_t written = 0;
    std::error_code error;
    if (unfinishedLine)
    {
        error = m_file->Append("\n", written);
    }
    if (!error)
    {
        error = m_file->Append(std::string_view(m_kept).substr(begin, m_ends[count - 1] - begin), written);
        while (done < count && m_ends[done] - begin <= written)
        {
            ++done;
        }
    }
    if (!error)
    {
        return {};
    }
    const std::size_t whole = done == 0 ? 0 : m_ends[done - 1] - begin;
    if (m_locked && written > whole)
    {
        m_file->TakeBack(written - whole);
    }
    full = false;
    return {"cannot be written", error};
}

/// Gives every file the next number. Stops at the first that cannot have it, so that none is overwritten too early.
std::error_code LogFile::Rotate()
{
    std::error_code error;
    if (m_fileCount == 1)
    {
        fs::remove(m_path, error);
        return error;
    }
    for (unsigned number = m_fileCount - 1; number > 0; --number)
    {
        error = Platform::RenameFile(RotatedName(m_path, number - 1), RotatedName(m_path, number));
        if (error && error != std::errc::no_such_file_or_directory)
        {
            return error;
        }
    }
    return {};
}

/// Removes the last \p count bytes that a failed Append has written without the lock.
void LogFile::TakeBack(std::size_t count)
{
    if (count > 0 && m_file->Lock(m_lockHangs ? 0ms : LockPatience))
    {
        m_file->TakeBack(count);
        m_file->Unlock();
    }
}

void LogFile::Close()
{
    if (m_file != nullptr && m_locked)
    {
        m_file->Unlock();
        m_locked = false;
    }
    m_file.reset();
}

fs::path LogFile::RotatedName(const fs::path& path, unsigned number)
{
    if (number == 0)
    {
        return path;
    }
    fs::path name = path.stem();
    name += "." + std::to_string(number);
    name += path.extension();
    return path.parent_path() / name;
}

void LogFile::Report(const Failure& failure)
{
    const auto now = std::chrono::steady_clock::now();
    if (failure.what == nullptr)
    {
        if (std::exchange(m_failing, false))
        {
            m_healed = now;
        }
        return;
    }
    const bool known = m_lastFailure.what == failure.what && m_lastFailure.reason == failure.reason &&
                       (m_failing || now - m_healed < HealthyFor);
    m_failing = true;
    if (known)
    {
        return;
    }
    m_lastFailure = failure;
    std::string line = "Log file ";
    AppendText(line, FileSystem::ToDisplayText(m_path));
    line.append(" ").append(failure.what);
    if (failure.reason)
    {
        line += ": " + failure.reason.message();
    }
    line += "\n";
    Platform::WriteStandardError(line); // in one call, so that lines of several threads do not mix
}

} // namespace Ardo::Kiln::Logger
