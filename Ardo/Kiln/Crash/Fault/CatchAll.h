#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Crash
{

/// Calls \p work, and \p caught inside the `catch` block of an exception that leaves it; both with \p argument.
///
/// What passes through: on Linux the end of the thread, as pthread_exit and cancellation unwind the stack. A `catch`
/// of everything that does not throw it on makes the C library abort.
/// \throws what \p caught throws.
/// \returns whether the work ended without an exception.
KILN_EXPORT_FOR_TESTS bool CatchAll(void (*work)(void*), void (*caught)(void*), void* argument);

} // namespace Ardo::Kiln::Crash
