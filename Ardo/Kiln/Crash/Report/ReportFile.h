#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Crash
{

/// A new file that is there under its name only when it is whole: it is written as "<name>.part" and renamed at the
/// end. Nothing that exists is ever replaced; a name that is taken gets a counter ("<stem>_2<extension>").
///
/// Only the user of the process may read it. System errors are answered as the system's number, 0 for none; nothing
/// throws but std::bad_alloc. Not for use by several threads at once.
class KILN_EXPORT_FOR_TESTS ReportFile
{
public:
    ReportFile() = default;

    /// Removes the file if it was not published.
    ~ReportFile();
    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;

    /// Creates the file for \p stem and \p extension (with its dot) in \p folder. Once only.
    /// On Linux a descriptor that ReserveDescriptor kept is given up for it if the process has no other left.
    std::uint32_t Create(const std::filesystem::path& folder, const std::filesystem::path& stem,
                         std::string_view extension);

    /// The system's handle; on Linux the file descriptor's number. Null before Create.
    void* Native() const noexcept { return m_file; }

    /// Adds \p bytes at the end.
    std::uint32_t Write(std::string_view bytes) noexcept;

    /// Brings the file to the disk and gives it its name. On failure it is removed.
    std::uint32_t Publish();

    /// The path under which it was or will be published.
    const std::filesystem::path& Path() const noexcept { return m_path; }

    /// On Linux keeps a descriptor back for the day on which all are used up; later calls renew it. On Windows handles
    /// do not run out and nothing is done. Any thread may call it.
    static void ReserveDescriptor() noexcept;

private:
    // What the systems do differently.
    static std::uint32_t CreateNew(const std::filesystem::path& path, void*& file) noexcept;
    static std::uint32_t FlushAndClose(void* file) noexcept;
    static std::uint32_t RenameToNew(const std::filesystem::path& from, const std::filesystem::path& to) noexcept;
    static bool IsTaken(std::uint32_t error) noexcept;

    void Discard() noexcept;

    void* m_file = nullptr; ///< On Windows a HANDLE, on Linux the number of a descriptor.
    std::filesystem::path m_folder;
    std::filesystem::path m_stem;
    std::string m_extension;
    std::filesystem::path m_path;
    std::filesystem::path m_part; ///< Empty when there is nothing to remove.
};

/// The first of "<stem>", "<stem>_2", "<stem>_3" ... for which \p folder has neither report nor dump, whole or partial.
KILN_EXPORT_FOR_TESTS std::filesystem::path FreeReportStem(const std::filesystem::path& folder,
                                                           const std::filesystem::path& stem);

/// The system's text for one of its error numbers, UTF-8. On Linux in English whatever the locale.
KILN_EXPORT_FOR_TESTS std::string SystemErrorText(std::uint32_t error);

} // namespace Ardo::Kiln::Crash
