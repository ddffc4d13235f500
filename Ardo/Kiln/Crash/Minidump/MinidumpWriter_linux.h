#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Crash
{

struct CrashRequest;

/// Writes a minidump: the published format, with the streams that readers of Linux dumps know. Debuggers show the
/// threads with their stacks, and the reason why the thread at fault stopped.
///
/// Makes system calls only: a signal handler may call it, in whatever state the process is. The process of the request
/// is stopped while it is copied. If it is the calling process it runs on; then only stack and instruction pointer are
/// known of the threads other than the request's.
///
/// The header is written last, so that an interrupted file is no minidump.
/// \param descriptor of a file opened for writing, whose contents are replaced; stays the caller's.
/// \returns 0, when all of it is on the disk, or the number of the system's error.
KILN_EXPORT_FOR_TESTS int WriteMinidumpFile(int descriptor, const CrashRequest& request) noexcept;

} // namespace Ardo::Kiln::Crash
