#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Platform
{

/// Ends the calling process immediately with \p exitCode, whatever its state. No stream is flushed, and no destructor
/// and no `atexit` function runs. Makes system calls only; a signal handler may call it.
[[noreturn]] KILN_EXPORT_FOR_TESTS void EndProcess(int exitCode) noexcept;

} // namespace Ardo::Kiln::Platform
