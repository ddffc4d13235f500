#pragma once

#include "Ardo/Kiln/Crash/Report/ReportFile.h"
#include "Ardo/Kiln/Platform/MinidumpType.h"
#include "Ardo/Kiln/Platform/StructuredException.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Crash
{

// Where the reports of this process go and what they are called: the folder, the application's name and version, the
// kind of minidump. Texts are UTF-8. Any thread may call the functions, also after a fault.

/// The folder of the reports: the one that CreateReportFolder chose, or else the preferred one, which nobody has
/// created yet.
std::filesystem::path ReportFolder();

/// Chooses the folder anew, creates it with its parents, and writes its name to the standard error stream.
void CreateReportFolder();

/// Whether the folder has been chosen.
bool HasReportFolder() noexcept;

/// The path of the program.
std::filesystem::path ApplicationPath();

/// The file name of the program without the extension of programs; "Application" if the system does not tell it.
std::string ApplicationName();

/// The version of the program: of its file, else of Qt's application object, else "0.0.0.0".
std::string ApplicationVersion();

/// "<application>_<version>_[<day>-<month>_<hour>-<minute>-<second>]" at this moment. Asks nothing that a fault may
/// have locked.
std::string TaggedNameOfNow();

/// That name, followed by a counter if the folder has a report or a dump of that name.
std::filesystem::path NewReportStem();

/// The type of dumps for which none is given.
MINIDUMP_TYPE DefaultMinidumpType() noexcept;
/// The same.
void SetDefaultMinidumpType(MINIDUMP_TYPE type) noexcept;

/// Whether dumps are announced but not written.
bool DumpsAreFaked() noexcept;
/// The same.
void SetDumpsAreFaked(bool fake) noexcept;

/// Creates \p file in the folder of the reports, and the folder if it has gone. \returns the system's error; 0 for
/// none.
std::uint32_t CreateReportFile(ReportFile& file, const std::filesystem::path& stem, std::string_view extension);

/// Writes a dump into \p file, the system's handle. Failures are written to the standard error stream.
/// \returns whether there is a dump in the file now.
bool WriteDump(void* file, EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type) noexcept;

/// Writes a dump of that name. Failures are written to the standard error stream.
void CreateDumpFile(const std::filesystem::path& stem, EXCEPTION_POINTERS* pointers, MINIDUMP_TYPE type);

/// Tells those who report when the filters cannot run where reports go.
void PublishPlace() noexcept;

} // namespace Ardo::Kiln::Crash
