#pragma once

#include "Ardo/Kiln/Crash/Fault/FaultThread_win.h"

namespace Ardo::Kiln::Crash
{

/// Calls \p ask with \p pointers on a thread of its own, on behalf of the calling one, and waits for its end: what is
/// left of a stack that has overflowed is enough for a few system calls only. The thread is started then and not
/// before, because a process does not end as long as it has a thread. Calls \p ask directly when no thread can be
/// started.
/// \returns what it answers; FilterResult::ContinueSearch if the thread has not begun within ten seconds, as in a
/// static constructor of a library that is being loaded.
long AskOnOtherStack(long (*ask)(EXCEPTION_POINTERS*), EXCEPTION_POINTERS* pointers) noexcept;

} // namespace Ardo::Kiln::Crash
