#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>

namespace Ardo::Kiln::Platform
{

/// Asks the system how far local time is ahead of UTC now, and when that changes in the next 400 days. The library
/// calls it when it is loaded. Call it again to notice another time zone. Not for a faulted process, because the C
/// library locks its time zone. Any thread may call it.
KILN_EXPORT_FOR_TESTS void RefreshLocalOffset() noexcept;

/// Seconds that local time is ahead of UTC now, by what RefreshLocalOffset has found out: right also after a change to
/// or from daylight saving time. Any thread and any signal handler may call it.
KILN_EXPORT_FOR_TESTS std::int32_t LocalOffset() noexcept;

/// The same for another moment, in seconds since 1970-01-01T00:00:00Z: not before the last RefreshLocalOffset and at
/// most 400 days after it. Any thread and any signal handler may call it.
KILN_EXPORT_FOR_TESTS std::int32_t LocalOffsetAt(std::int64_t time) noexcept;

} // namespace Ardo::Kiln::Platform
