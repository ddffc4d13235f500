#pragma once

#include <atomic>

namespace Ardo::Kiln::Crash
{

/// Whether the process has been asked to end while a fault is being dealt with: by exit() or by SIGTERM, SIGINT, SIGHUP
/// or SIGQUIT. A question to a person will hardly be answered then, and nobody should wait for the answer.
///
/// A signal that another thread takes ends the process, or runs the application's handler, as if there was no fault.
class EndRequest
{
public:
    /// Notes that exit() was called.
    void ExitBegins() noexcept { m_exits = true; }

    /// Looks for one of the signals above that is pending for the calling thread, which blocks it, and that the
    /// application does not ignore. System calls only.
    /// \returns IsRequested().
    bool Poll() noexcept;

    /// What Poll found or ExitBegins noted.
    bool IsRequested() const noexcept { return m_exits || m_isSignalled; }

    /// The fault is over: a signal that Poll found is delivered now, and the application may go on.
    void FaultIsOver() noexcept { m_isSignalled = false; }

    /// In a forked child.
    void Reset() noexcept { m_exits = m_isSignalled = false; }

private:
    std::atomic<bool> m_exits = false;
    std::atomic<bool> m_isSignalled = false;
};

} // namespace Ardo::Kiln::Crash
