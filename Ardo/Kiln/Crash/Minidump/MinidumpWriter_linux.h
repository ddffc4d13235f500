#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Crash
{

struct CrashRequest;

/// Writes a minidump: the published format, with the streams that readers of Linux dumps know. Debuggers that read such
/// files show the threads with their stacks, and what stopped the one at fault.
///
/// Makes system calls only: a signal handler may call it, in whatever state the process is. The process of the request
/// is held still while it is copied; if it is the own one it runs on, and of its threads that are not the request's
/// only stack and instruction pointer are known.
///
/// All is written before the first bytes, which make it a minidump: what was interrupted is none.
/// \param descriptor of a file opened for writing, whose contents are replaced; stays the caller's.
/// \returns 0, when all of it is on the disk, or the number of the system's error.
KILN_EXPORT_FOR_TESTS int WriteMinidumpFile(int descriptor, const CrashRequest& request) noexcept;

} // namespace Ardo::Kiln::Crash
