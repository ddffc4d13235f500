#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Threading
{

/// For a program in a console: as long as it lives, Ctrl-C no longer ends the process but is remembered, so that what
/// runs can be brought to a clean end.
///
/// On Linux that is SIGINT, from wherever it comes; a process that ignores it, such as one that a shell runs in the
/// background, goes on ignoring it. On Windows Ctrl-Break counts, too.
/// One at a time in a process. Any thread may ask.
///
///     const ConsoleInterrupt interrupt;
///     while (done.wait_for(50ms) != std::future_status::ready)
///         if (interrupt.IsRequested())
///             work->Cancel();
class KILN_EXPORT ConsoleInterrupt
{
public:
    /// \throws std::logic_error when there is one already, std::runtime_error when the system refuses.
    ConsoleInterrupt();
    ~ConsoleInterrupt(); ///< Ctrl-C does again what it did before.
    ConsoleInterrupt(const ConsoleInterrupt&) = delete;
    ConsoleInterrupt& operator=(const ConsoleInterrupt&) = delete;

    /// Whether Ctrl-C was pressed since construction.
    bool IsRequested() const noexcept;

    /// Whether what the program writes to standard error is shown on a console, where progress is worth showing.
    static bool IsStandardErrorShown() noexcept;
};

} // namespace Ardo::Kiln::Threading
