#pragma once

#include "Ardo/Kiln/Platform/ReportFile.h"
#include "Ardo/Kiln/Platform/StructuredException.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Exception
{

// Where the reports of this process go. Shared by minidumps and the text files beside them.

/// What the folder of the reports is as long as nobody creates it: chosen once, neither created nor announced.
std::filesystem::path ReportFolder();

/// The name, without extension, for a pair of files that begins now; free at this moment. Asks nothing that a fault may
/// have locked.
std::filesystem::path NewReportStem();

/// The version of the program, UTF-8.
std::string ReportVersion();

/// Creates \p file in the folder of the reports, and the folder if it has gone. \return the system's error; 0 for none.
std::uint32_t CreateReportFile(Platform::ReportFile& file, const std::filesystem::path& stem,
                               std::string_view extension);

/// Writes a dump of the default type and that name. Failures are told.
void CreateDumpFile(const std::filesystem::path& stem, EXCEPTION_POINTERS* pointers);

/// Brings the place where the last resort after a fault finds it up to date.
void PublishPlace() noexcept;

} // namespace Ardo::Kiln::Exception
