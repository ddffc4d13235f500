#pragma once

#include "Ardo/Kiln/Crash/CrashRequest_linux.h"

namespace Ardo::Kiln::Crash
{

// Memory for requests. They are too large for the stack of a thread that has overflowed, and the allocator may be
// broken. A signal handler may call both functions.

/// A new request; null if there is no memory. Four are preallocated, more come from the kernel.
CrashRequest* AcquireCrashRequest() noexcept;

/// Gives \p request back; null is allowed.
void ReleaseCrashRequest(CrashRequest* request) noexcept;

} // namespace Ardo::Kiln::Crash
