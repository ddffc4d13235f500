#pragma once

#include "Ardo/Kiln/Platform/MinidumpType.h"
#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// Writes a minidump of the calling process into \p file.
///
/// On Windows the system writes it. On Linux a process outside does, which holds the threads of this one still for as
/// long as it copies them, and where the system does not let it, this process itself: then of the other threads only
/// stack and instruction pointer are known. On Linux it makes system calls only, and signal handlers may call it.
/// Any thread may call it; calls at the same time wait for each other.
///
/// \param file the system's handle of a file opened for writing; on Linux its descriptor as a pointer. On Linux its
/// contents are replaced. Stays the caller's. \param pointers the fault, of the thread on whose behalf the caller runs
/// (see FaultDispatch); null: the process as it stands.
/// \returns 0, or the number of the system's error. Then what is in the file is no minidump.
KILN_EXPORT_FOR_TESTS std::uint32_t WriteMinidump(void* file, EXCEPTION_POINTERS* pointers,
                                                  MINIDUMP_TYPE type) noexcept;

} // namespace Ardo::Kiln::Crash
