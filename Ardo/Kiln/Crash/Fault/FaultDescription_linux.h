#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Crash
{

struct CrashRequest;

/// Where reports go by the library's own choice, and what belongs to them, for a fault whose filters cannot run.
/// Copied; null-terminated UTF-8. One thread at a time may call it.
KILN_EXPORT_FOR_TESTS void SetReportPlace(const char* dumpFolder, const char* applicationName, const char* fullVersion,
                                          std::uint32_t minidumpType, bool fakesDump) noexcept;

/// Fills \p request with what is known about \p pointers, or about the calling thread when it is null, and with the
/// place last set. Tasks and answers are left as they are. Makes system calls only; a signal handler may call it.
KILN_EXPORT_FOR_TESTS void DescribeFault(const EXCEPTION_POINTERS* pointers, CrashRequest& request) noexcept;

} // namespace Ardo::Kiln::Crash
