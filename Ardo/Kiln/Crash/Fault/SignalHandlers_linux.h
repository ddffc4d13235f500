#pragma once

#include <signal.h>
#include <ucontext.h>

namespace Ardo::Kiln::Crash
{

/// The signal handler of all FaultSignals. Clears the processor's alignment check, which the kernel leaves on, and
/// calls KilnOnFault.
extern "C" void KilnFaultEntry(int signal, siginfo_t* info, void* context);

/// Installs KilnFaultEntry for all FaultSignals and remembers what was installed before.
///
/// A handler that was installed over ours later stays, and is responsible for calling ours. Where SIG_DFL or SIG_IGN
/// has replaced ours, ours is installed again. Any thread may call it; not a signal handler.
void InstallFaultHandlers() noexcept;

/// For a forked child: another thread of the parent may have held the lock of the installation at the fork.
void ResetInstallationInChild() noexcept;

/// Unblocks all FaultSignals for the calling thread: the kernel kills a process for a fault whose signal is blocked.
void UnblockFaultSignals() noexcept;

// The last steps of a signal handler. System calls only.

/// Whether a function, which was installed before ours, handles \p signal.
bool HasPreviousHandler(int signal) noexcept;

/// Whether the system's default action handled \p signal before ours was installed.
bool EndsByDefault(int signal) noexcept;

/// Whether abort() has sent the signal of the interrupted thread, and not raise() or kill(): one of the innermost
/// return addresses is in it.
bool IsSentByAbort(int signal, const ucontext_t& context) noexcept;

/// Whether the application ignores this signal: it was ignored before ours was installed, and it was sent. The kernel
/// does not let a program ignore its own faults, nor does abort() end because its signal is ignored.
bool IsIgnored(int signal, const siginfo_t& info, const ucontext_t& context) noexcept;

/// Calls the handler that was installed before, with the signal mask that it would have without ours. It may jump out.
/// Nothing happens if there is none.
void CallPreviousHandler(int signal, siginfo_t* info, ucontext_t& context) noexcept;

/// Ends the process by \p signal, with its default action, as soon as the signal handler that calls this returns: a
/// core file shows the registers of the fault. Whatever other threads do meanwhile, the process does not go on.
///
/// Process 1 of a container, which the kernel protects from signals, ends with the status 128 + \p signal unless a
/// fault of an instruction can end it by the signal itself; the call does not return then.
void EndBySignal(int signal, siginfo_t* info) noexcept;

/// Whether KilnFaultEntry is the installed handler of \p signal.
bool IsOursInstalled(int signal) noexcept;

} // namespace Ardo::Kiln::Crash
