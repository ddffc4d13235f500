#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Platform
{

/// Ends the calling process immediately with \p exitCode, whatever its state. No stream is flushed, and no destructor
/// and no `atexit` function runs. Makes system calls only; a signal handler may call it.
[[noreturn]] KILN_EXPORT_FOR_TESTS void EndProcess(int exitCode) noexcept;

/// Whether the process is ending and all other threads are gone. On Windows this is so when the destructors of static
/// objects of a DLL run: a mutex may stay locked then, and std::thread::join may wait for ever. On Linux never. Any
/// thread may call it.
bool AreOtherThreadsGone() noexcept;

} // namespace Ardo::Kiln::Platform
