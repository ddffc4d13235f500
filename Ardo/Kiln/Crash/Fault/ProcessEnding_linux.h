#pragma once

#include <atomic>

namespace Ardo::Kiln::Crash
{

/// Whether the process has been asked to end while a fault is being dealt with: by exit() or by SIGTERM, SIGINT, SIGHUP
/// or SIGQUIT. A question to a person will hardly be answered then, and nobody should wait for the answer.
///
/// A signal that another thread takes ends the process, or runs the application's handler, as if there was no fault.
class ProcessEnding
{
public:
    /// Notes that exit() was called.
    void ExitBegins() noexcept { m_isRequested = true; }

    /// Looks for one of the signals above that is pending for the calling thread, which blocks it, and that the
    /// application does not ignore. System calls only. \returns IsRequested().
    bool Poll() noexcept;

    /// What Poll found or ExitBegins noted.
    bool IsRequested() const noexcept { return m_isRequested; }

    /// In a forked child, and when a fault has been dealt with and the process goes on.
    void Reset() noexcept { m_isRequested = false; }

private:
    std::atomic<bool> m_isRequested = false;
};

} // namespace Ardo::Kiln::Crash
