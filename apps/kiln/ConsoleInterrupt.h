#pragma once

namespace Ardo::Kiln::Tool
{

/// While an object of this class exists, Ctrl-C does not end the process. It is recorded, so that the program can end
/// its work cleanly.
///
/// On Linux this is SIGINT from any source; a process that ignores SIGINT, such as one that a shell runs in the
/// background, continues to ignore it. On Windows Ctrl-Break is recorded too.
/// One object at a time in a process. Any thread may call IsRequested().
class ConsoleInterrupt
{
public:
    /// \throws std::system_error if the system refuses.
    ConsoleInterrupt();
    ~ConsoleInterrupt(); ///< Restores what Ctrl-C did before.
    ConsoleInterrupt(const ConsoleInterrupt&) = delete;
    ConsoleInterrupt& operator=(const ConsoleInterrupt&) = delete;

    /// Whether Ctrl-C was pressed since construction.
    bool IsRequested() const noexcept;

    /// Whether standard error is a console, where it makes sense to show progress.
    static bool IsStandardErrorShown() noexcept;
};

} // namespace Ardo::Kiln::Tool
