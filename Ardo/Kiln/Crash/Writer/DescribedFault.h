#pragma once

#include "Ardo/Kiln/Crash/Report/FaultFacts.h"
#include "Ardo/Kiln/Platform/MinidumpType.h"
#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <optional>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Crash
{

/// The description of a fault, or of the process as it stands, made once, and the files that can be written from it.
///
/// On Linux it allocates nothing but where said, and its functions but TextFromOutside may be called by signal
/// handlers. One thread at a time may use an object; any number of objects may be used side by side.
class KILN_EXPORT_FOR_TESTS DescribedFault
{
public:
    /// \param pointers the fault, of the thread on whose behalf the caller runs (see FaultDispatch); both outlive
    /// the object. Null: the process as it stands.
    /// \param logFiles see FaultFacts::logFiles.
    explicit DescribedFault(EXCEPTION_POINTERS* pointers, std::string_view logFiles = {}) noexcept;
    ~DescribedFault();
    DescribedFault(const DescribedFault&) = delete;
    DescribedFault& operator=(const DescribedFault&) = delete;

    /// Whether there is a fault.
    bool HasFault() const noexcept { return m_pointers != nullptr; }

    /// Valid as long as the object.
    const FaultFacts& Facts() const noexcept { return m_facts; }

    /// The report text as it is made independently of what is broken in this process. On Linux a process outside makes
    /// it, which does not depend on what is locked here either; empty if there is no such process or it could not do
    /// it. On Windows it is made here, in a guarded call: a fault while symbols are read costs the call stacks.
    /// \throws std::bad_alloc only.
    std::optional<std::string> TextFromOutside();

    /// Writes a minidump of the calling process into \p file.
    ///
    /// On Windows the system writes it. On Linux the writer does; it stops the threads of this process while it copies
    /// them. Where the system does not allow that, this process writes it; then only stack and instruction pointer are
    /// known of the other threads. Calls at the same time wait for each other.
    ///
    /// \param file the system's handle of a file opened for writing; on Linux its descriptor as a pointer. On Linux its
    /// contents are replaced. Stays the caller's.
    /// \returns 0, or the number of the system's error. After an error the file holds no minidump.
    int WriteMinidump(void* file, MINIDUMP_TYPE type) noexcept;

private:
    EXCEPTION_POINTERS* m_pointers;
    CrashRequest* m_request = nullptr; ///< Linux only; null without memory for it.
    FaultFacts m_facts;
};

/// Sets the folder and the names of the reports, and whether dumps are faked, for faults whose filters cannot run.
/// Texts are UTF-8. On Windows nothing is done: such faults are reported by the system's own error reporting. Any
/// thread may call it.
void PublishReportPlace(const std::string& dumpFolder, const std::string& applicationName,
                        const std::string& fullVersion, MINIDUMP_TYPE type, bool fakesDump) noexcept;

} // namespace Ardo::Kiln::Crash
