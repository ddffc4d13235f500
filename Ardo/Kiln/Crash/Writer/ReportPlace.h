#pragma once

#include "Ardo/Kiln/Crash/Report/ReportWriter.h"
#include "Ardo/Kiln/Platform/MinidumpType.h"

#include <filesystem>
#include <string>

namespace Ardo::Kiln::Crash
{

// The place and the names of the reports of this process: the folder, the application's name and version, the kind of
// minidump. Texts are UTF-8. Any thread may call the functions, also after a fault.

/// The folder of the reports: the one that CreateReportFolder chose, or else the preferred one, which has not been
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

/// "<application>_<version>_[<day>-<month>_<hour>-<minute>-<second>]" at this moment. Takes no lock that a faulted
/// thread may hold.
std::string TaggedNameOfNow();

/// The type of dumps for which none is given.
MINIDUMP_TYPE DefaultMinidumpType() noexcept;
/// The same.
void SetDefaultMinidumpType(MINIDUMP_TYPE type) noexcept;

/// Whether dumps are announced but not written.
bool DumpsAreFaked() noexcept;
/// The same.
void SetDumpsAreFaked(bool fake) noexcept;

/// Writes files of \p contents into the folder of the reports, under the tagged name of this moment. See WriteReports.
void CreateFiles(ReportContents& contents, const ReportParts& parts) noexcept;

/// Publishes the place for faults whose filters cannot run; see PublishReportPlace.
void PublishPlace() noexcept;

} // namespace Ardo::Kiln::Crash
