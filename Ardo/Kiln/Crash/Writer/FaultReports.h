#pragma once

#include "Ardo/Kiln/Crash/Writer/DescribedFault.h"
#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <optional>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Crash
{

// The reports about a fatal fault, for the exception handler. The functions may run on any thread of the faulted
// process while the thread at fault waits. Messages go to the standard error stream, without a lock.

/// Acquires in advance everything the crash path needs: chooses the folder of the reports without creating it, finds
/// the names of application and version and the program that reports from outside, reserves descriptors. Called when
/// monitoring begins, and again when the application may have set its name or version.
KILN_EXPORT_FOR_TESTS void PrepareReports() noexcept;

/// The reports of one fault, or of the process as it stands. One thread at a time may use an object.
class KILN_EXPORT_FOR_TESTS FaultReports
{
public:
    /// Describes the fault.
    /// \param pointers what the filter was called with, or null; outlives the object.
    /// \param logFiles see FaultFacts::logFiles; outlives the object.
    explicit FaultReports(EXCEPTION_POINTERS* pointers, std::string_view logFiles = {}) noexcept;

    /// Prints the block about the fault to the standard error stream and returns it.
    /// \throws std::bad_alloc only.
    std::string Print() const;

    /// The text of the report, UTF-8; empty without a fault. The writer makes it where there is one, because memory or
    /// locks of this process may be broken; otherwise this process does. It is made once, so that the file has the same
    /// text.
    /// \throws std::bad_alloc only.
    const std::string& Text();

    /// Writes the report as "<tagged name>.txt" and the minidump as "<tagged name>.dmp", of the default type, into the
    /// folder of the reports. A failure of one is printed, and the other is written all the same.
    void Write() noexcept;

private:
    DescribedFault m_fault;
    std::optional<std::string> m_text;
};

} // namespace Ardo::Kiln::Crash
