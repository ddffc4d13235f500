#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Crash
{

struct CrashRequest;

/// Sets the folder and the names of the reports for a fault whose filters cannot run. The texts are null-terminated
/// UTF-8 and are copied. One thread at a time may call it.
KILN_EXPORT_FOR_TESTS void SetReportPlace(const char* dumpFolder, const char* applicationName, const char* fullVersion,
                                          std::uint32_t minidumpType, bool fakesDump) noexcept;

/// Fills \p request with the facts about \p pointers, or about the calling thread when it is null, and with the folder
/// and names last set. Tasks and answers stay as they are. Makes system calls only; a signal handler may call it.
KILN_EXPORT_FOR_TESTS void DescribeFault(const EXCEPTION_POINTERS* pointers, CrashRequest& request) noexcept;

} // namespace Ardo::Kiln::Crash
