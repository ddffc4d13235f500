#pragma once

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"

namespace Ardo::Kiln::Crash
{

// The interposed __cxa_throw: the only place where a throw can be seen. Once an exception is on its way up, nothing
// tells any more where it came from.

/// Sets the filter that is shown the throws of threads without vectored filters; null for none.
void SetHookFilter(FaultFilter filter) noexcept;

} // namespace Ardo::Kiln::Crash
