#pragma once

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"

namespace Ardo::Kiln::Crash
{

// The interposed __cxa_throw, the only place where a throw can be observed. After unwinding has begun the throw site is
// lost.

/// Sets the filter that is shown the throws of threads without vectored filters; null for none.
void SetHookFilter(FaultFilter filter) noexcept;

} // namespace Ardo::Kiln::Crash
