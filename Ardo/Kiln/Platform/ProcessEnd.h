#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Platform
{

/// Ends the calling process at once with \p exitCode: nothing is flushed, no destructor and no function of `atexit`
/// runs, whatever state the process is in. Makes system calls only; a signal handler may call it.
[[noreturn]] KILN_EXPORT_FOR_TESTS void EndProcess(int exitCode) noexcept;

} // namespace Ardo::Kiln::Platform
