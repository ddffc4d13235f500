#pragma once

#include "Ardo/Kiln/Platform/MinidumpType.h"
#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <optional>
#include <string>

namespace Ardo::Kiln::Crash
{

/// The report text about \p pointers, not null, from a process outside, which does not mind what is broken or locked in
/// this one. Empty if there is no such process or it could not do it; on Windows always. Any thread may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::optional<std::string> ReportFromOutside(const EXCEPTION_POINTERS* pointers);

/// Tells those who report when nothing of this library can run any more where reports go, how they are named, and
/// whether dumps are only faked. Texts are UTF-8. On Windows the system's own error reporting takes that part, and
/// nothing is done. Any thread may call it.
KILN_EXPORT_FOR_TESTS void PublishReportPlace(const std::string& dumpFolder, const std::string& applicationName,
                                              const std::string& fullVersion, MINIDUMP_TYPE type,
                                              bool fakesDump) noexcept;

} // namespace Ardo::Kiln::Crash
