#pragma once

#include "Ardo/KilnExport.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Logger
{

/// Writes one text log file, shared with other processes and rotated by size (see LogFile).
///
/// A line is made of date, time with fraction and zone, level, thread, process and "originator: message", separated by
/// tabs; see AppendText for what becomes of control characters. Lines of code 2 and above reach the file at once, those
/// of code 1 with the next Flush, with a full buffer, or within a second while the registry of log files, to which each
/// writer adds its file, flushes periodically.
///
/// Any thread may call any method. Failures of the file are not thrown, see LogFile.
class KILN_EXPORT_FOR_TESTS TextLogWriter
{
public:
    /// \param path the file's full path.
    /// \param maxSize in bytes; 0: no limit.
    /// \param fileCount the number of files that are kept, including the newest; at least 1.
    /// \param rotateOnOpen whether an existing file is rotated at once.
    TextLogWriter(const std::filesystem::path& path, std::uint64_t maxSize, unsigned fileCount, bool rotateOnOpen);
    ~TextLogWriter();
    TextLogWriter(const TextLogWriter&) = delete;
    TextLogWriter& operator=(const TextLogWriter&) = delete;

    /// Writes one line.
    ///
    /// \param levelCode 1 (information), 2 (warning), 4 (error) or 8 (critical); any other is a warning.
    void Write(int levelCode, std::wstring_view originator, std::wstring_view message) noexcept;

    /// The same for UTF-8, with the time of the record.
    void WriteUtf8(int levelCode, std::string_view originator, std::string_view message,
                   std::chrono::system_clock::time_point time) noexcept;

    /// Writes all kept lines to the file.
    void Flush() noexcept;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace Ardo::Kiln::Logger
