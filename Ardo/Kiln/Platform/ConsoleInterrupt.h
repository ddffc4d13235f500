#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Platform
{

/// Records Ctrl-C on the console from now on, instead of ending the process. Resets WasConsoleInterrupted().
///
/// On Linux every SIGINT is recorded. A process that ignores SIGINT, for example because a shell runs it in the
/// background, continues to ignore it. On Windows Ctrl-Break is recorded, too.
/// \returns false when the system refuses. Nothing has changed then.
KILN_EXPORT_FOR_TESTS bool CatchConsoleInterrupts() noexcept;

/// Restores the handling of Ctrl-C from before CatchConsoleInterrupts.
KILN_EXPORT_FOR_TESTS void ReleaseConsoleInterrupts() noexcept;

/// Whether Ctrl-C was pressed since CatchConsoleInterrupts. Any thread may call it.
KILN_EXPORT_FOR_TESTS bool WasConsoleInterrupted() noexcept;

/// Whether standard error is a console.
KILN_EXPORT_FOR_TESTS bool IsStandardErrorConsole() noexcept;

} // namespace Ardo::Kiln::Platform
