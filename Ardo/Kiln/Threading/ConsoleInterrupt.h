#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Threading
{

/// For a program in a console: while an object of this class exists, Ctrl-C does not end the process. It is recorded,
/// so that the program can end its work cleanly.
///
/// On Linux this is SIGINT from any source; a process that ignores SIGINT, such as one that a shell runs in the
/// background, goes on ignoring it. On Windows Ctrl-Break is recorded too.
/// One object at a time in a process. Any thread may call IsRequested().
///
///     const ConsoleInterrupt interrupt;
///     while (done.wait_for(50ms) != std::future_status::ready)
///         if (interrupt.IsRequested())
///             work->Cancel();
class KILN_EXPORT ConsoleInterrupt
{
public:
    /// \throws std::logic_error if there is such an object already, std::runtime_error if the system refuses.
    ConsoleInterrupt();
    ~ConsoleInterrupt(); ///< Restores what Ctrl-C did before.
    ConsoleInterrupt(const ConsoleInterrupt&) = delete;
    ConsoleInterrupt& operator=(const ConsoleInterrupt&) = delete;

    /// Whether Ctrl-C was pressed since construction.
    bool IsRequested() const noexcept;

    /// Whether standard error is a console, where it makes sense to show progress.
    static bool IsStandardErrorShown() noexcept;
};

} // namespace Ardo::Kiln::Threading
