#pragma once

#include "Ardo/Kiln/Platform/NativeHandle.h"
#include "Ardo/KilnExport.h"

#include <cstddef>
#include <string_view>

namespace Ardo::Kiln::Crash
{

class TextSink;

// Files of reports. Nothing here allocates or throws: on Linux a signal handler may use all of it. Errors are the
// system's numbers, 0 for none. One thread at a time may use an object.

/// The name that the report and the minidump of one fault have in common, reserved in their folder: as long as the
/// object lives, no other process and no other object gets the same one.
///
/// The reservation is a file "<name>.part". A name is free if no such file exists and neither a report nor a minidump
/// has the name, whole or partial; a name that is taken gets a counter: "<name>_2".
///
/// The folder must be one that Platform::MakePrivateFolder accepts: a minidump holds the memory of the process, and
/// another user must not choose where it goes.
class KILN_EXPORT_FOR_TESTS ReportStem
{
public:
    ReportStem() = default;

    /// Gives the reservation up.
    ~ReportStem();
    ReportStem(const ReportStem&) = delete;
    ReportStem& operator=(const ReportStem&) = delete;

    /// Reserves \p name in \p folder, which is created with its parents if it is missing. Once only. Both are
    /// null-terminated UTF-8, on Linux the bytes of the path. See Platform::MakePrivateFolder for folders that are
    /// refused.
    int Reserve(const char* folder, const char* name) noexcept;

    /// The path without an extension; empty before Reserve has succeeded.
    const char* Path() const noexcept { return m_path; }

private:
    friend class ReportFile;

    static constexpr std::size_t MaxPath = 4096; ///< In bytes, with the terminating null.

    // Implemented for each system. `extension`, `from` and `to` are extensions of this name.
    int OpenFolder(const char* folder) noexcept;
    bool Exists(std::string_view extension) const noexcept;
    int CreateNew(std::string_view extension, Platform::NativeHandle& file) const noexcept;
    int Rename(std::string_view from, std::string_view to) const noexcept;
    void Remove(std::string_view extension) const noexcept;
    static bool IsTaken(int error) noexcept;
    static int TakenError() noexcept;
    static int TooLongError() noexcept;

    bool IsFree() const noexcept;

    Platform::NativeHandle m_folder; ///< Linux only: files are created in the folder that was checked.
    char m_path[MaxPath] = {};
    std::size_t m_nameAt = 0; ///< Where the name begins in m_path.
    bool m_isReserved = false;
};

/// A new file that has its name only when it is whole: it is written as "<stem><extension>.part" and renamed at the
/// end. Nothing that exists is ever replaced. On Linux only the user of the process may read it; on Windows it has the
/// rights of its folder, and below %ProgramData% these let all users of the machine read.
class KILN_EXPORT_FOR_TESTS ReportFile
{
public:
    ReportFile() = default;

    /// Removes the file if it was not published.
    ~ReportFile();
    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;

    /// Creates the file for \p stem, which is reserved and outlives this object, and \p extension (with its dot; refers
    /// to a constant). Once only.
    int Create(const ReportStem& stem, std::string_view extension) noexcept;

    /// The system's handle; on Linux the number of the descriptor as a pointer.
    void* Native() const noexcept;

    /// Adds \p bytes at the end.
    int Write(std::string_view bytes) noexcept;

    /// Flushes the file to the disk and gives it its name. On failure it is removed.
    int Publish() noexcept;

    /// On Linux reserves two descriptors for when the process has run out of them: for a folder and a file. Later calls
    /// reserve again what has been used. On Windows nothing is done, because there is no small limit of handles. Any
    /// thread may call it.
    static void ReserveDescriptors() noexcept;

private:
    int FlushAndClose() noexcept;

    const ReportStem* m_stem = nullptr;
    std::string_view m_extension;
    Platform::NativeHandle m_file;
    bool m_exists = false; ///< Under its partial name.
};

/// Appends the system's words for one of its error numbers: on Linux in English whatever the locale.
void AppendSystemError(TextSink& text, int error) noexcept;

} // namespace Ardo::Kiln::Crash
