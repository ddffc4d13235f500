#pragma once

#include <signal.h>
#include <ucontext.h>

#include <cstdint>

namespace Ardo::Kiln::Crash
{

/// Finds out whether the application's own signal handler, which was called for a fault of this thread and returned,
/// has removed the cause. One object a thread; for its signal handler only.
///
/// It lets the processor execute a single instruction after the handler has returned. If that ends in SIGTRAP the
/// thread goes on; if the same fault comes again, with the single step still pending, nothing was executed in between.
/// So a handler that recovers is never taken for an endless loop, however often and however fast it does.
class RecoveryCheck
{
public:
    /// First of all, for each signal.
    /// \returns whether it is the single step of this object, and dealt with.
    bool TakeStep(int signal, const siginfo_t& info, ucontext_t& context) noexcept;

    /// A fault has come.
    /// \returns whether the application's handler was called for the one before, and the thread has
    /// gone on since: that one is over.
    bool BeginFault(const siginfo_t& info, ucontext_t& context) noexcept;

    /// The application's handler is being called.
    void HandlerCalled(const siginfo_t& info, const ucontext_t& context) noexcept;

    /// It has returned, and so may have changed \p context.
    void HandlerReturned(int signal, const siginfo_t& info, ucontext_t& context) noexcept;

    /// How many times in a row the handler has returned in vain.
    unsigned TimesInVain() const noexcept { return m_timesInVain; }

private:
    greg_t m_instruction = 0;
    const void* m_address = nullptr;
    unsigned m_timesInVain = 0;
    bool m_wasCalled = false;
    bool m_stepping = false;
};

} // namespace Ardo::Kiln::Crash
