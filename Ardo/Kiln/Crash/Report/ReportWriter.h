#pragma once

#include "Ardo/Kiln/Crash/Report/ReportFile.h"

#include <cstdint>
#include <string_view>

namespace Ardo::Kiln::Crash
{

// Names the reports, writes them in order, and prints messages about it on the standard error stream. No other code
// does. It is used in the faulted process, in the writer and, as the last resort, by the thread at fault: it does not
// allocate, and on Linux a signal handler may call it.

/// Where reports go and what they are called.
struct ReportNames
{
    const char* folder;           ///< Null-terminated UTF-8; created if it is missing.
    std::string_view application; ///< UTF-8.
    std::string_view version;     ///< UTF-8.
    std::int64_t time;            ///< In seconds since 1970-01-01 UTC.
    std::int32_t utcOffset;       ///< Seconds that local time is ahead of UTC.
};

/// What is written into the files. Errors are the system's numbers, 0 for none; the functions do not throw.
class ReportContents
{
public:
    ReportContents(const ReportContents&) = delete;
    ReportContents& operator=(const ReportContents&) = delete;

    /// Writes the minidump into \p file, the system's handle.
    virtual int WriteDump(void* file) noexcept = 0;

    /// Writes the text of the report.
    virtual int WriteText(ReportFile& file) noexcept = 0;

protected:
    ReportContents() = default;
    ~ReportContents() = default;
};

/// Which files are written.
struct ReportParts
{
    bool dump = true;
    bool dumpIsFaked = false; ///< The dump is announced as faked, and none is written.
    bool text = true;
    bool textFirst = false; ///< Else the dump is first, because producing the text may use up the process's memory.
};

/// Writes minidump and report under one name. A failure of one is printed, and the other is written all the same.
/// \returns the first error, 0 for none.
int WriteReports(const ReportNames& names, ReportContents& contents, const ReportParts& parts) noexcept;

/// Writes the minidump of \p contents into \p file, the system's handle, or announces it as faked. A failure is printed
/// on the standard error stream.
/// \returns the system's error, 0 for none.
int WriteDumpTo(void* file, ReportContents& contents, bool isFaked) noexcept;

/// Writes "<text><error> \n" to the standard error stream, \p error in decimal.
void SayError(std::string_view text, int error) noexcept;

} // namespace Ardo::Kiln::Crash
