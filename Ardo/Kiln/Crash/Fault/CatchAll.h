#pragma once

#include "Ardo/KilnExport.h"

namespace Ardo::Kiln::Crash
{

/// Calls \p work, and \p caught inside the `catch` block of an exception that leaves it; both with \p argument.
///
/// On Linux pthread_exit and cancellation end a thread by unwinding its stack. That passes through: the C library
/// aborts when a `catch` of everything does not throw it on.
/// \throws what \p caught throws.
/// \returns whether the work ended without an exception.
KILN_EXPORT_FOR_TESTS bool CatchAll(void (*work)(void*), void (*caught)(void*), void* argument);

} // namespace Ardo::Kiln::Crash
