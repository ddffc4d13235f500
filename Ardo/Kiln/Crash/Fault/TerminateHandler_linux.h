#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"

#include <signal.h>
#include <ucontext.h>

namespace Ardo::Kiln::Crash
{

// std::terminate because of an exception: the thread itself describes the exception before it aborts, and its SIGABRT
// is then classified as an uncaught C++ exception. Whether the application replaces the terminate handler does not
// matter.

/// Puts a handler in front of the terminate handler of the process, which it calls after it has described the
/// exception; once.
void InstallTerminateHandler() noexcept;

/// For the signal handler, before anything else is done about SIGABRT: when the thread aborts inside std::terminate and
/// has not described its exception, because another terminate handler has taken the place of ours, \p context is
/// changed so that the thread does so behind the signal handler, and then raises SIGABRT again. The registers of now
/// are kept.
/// \returns whether it was changed; the signal handler is to return at once.
bool DescribeBeforeAbort(const siginfo_t& info, ucontext_t& context) noexcept;

/// The registers of the abort that the calling thread has raised SIGABRT again for; null when it has not. Once for
/// each.
const CONTEXT* TakeAbortContext() noexcept;

} // namespace Ardo::Kiln::Crash
