#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Platform
{

/// Asks the system how far local time is ahead of UTC, for LocalOffset. Not for a faulted process: the C library locks
/// its time zone. Any thread may call it.
KILN_EXPORT_FOR_TESTS void RefreshLocalOffset() noexcept;

/// Seconds that local time was ahead of UTC when RefreshLocalOffset was last called. The library calls it when it is
/// loaded. Any thread and any signal handler may call this function.
KILN_EXPORT_FOR_TESTS std::int32_t LocalOffset() noexcept;

} // namespace Ardo::Kiln::Platform
