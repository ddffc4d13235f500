#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Platform
{

/// From now on Ctrl-C on the console (on Linux SIGINT from anywhere) is remembered and does not end the process.
/// Forgets what was remembered before.
///
/// On Linux a process for which interrupts are ignored, as for one that a shell runs in the background, goes on
/// ignoring them. On Windows Ctrl-Break counts, too.
/// \returns false when the system refuses, and nothing has changed.
KILN_EXPORT_FOR_TESTS bool CatchConsoleInterrupts() noexcept;

/// Ctrl-C does again what it did before CatchConsoleInterrupts.
KILN_EXPORT_FOR_TESTS void ReleaseConsoleInterrupts() noexcept;

/// Whether Ctrl-C was pressed since CatchConsoleInterrupts. Any thread.
KILN_EXPORT_FOR_TESTS bool WasConsoleInterrupted() noexcept;

/// Whether what goes to standard error is shown on a console.
KILN_EXPORT_FOR_TESTS bool IsStandardErrorConsole() noexcept;

} // namespace Ardo::Kiln::Platform
