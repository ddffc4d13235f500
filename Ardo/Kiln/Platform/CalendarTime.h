#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <ctime>
#include <optional>

namespace Ardo::Kiln::Platform
{

/// Splits seconds since 1970-01-01T00:00:00Z into the fields of UTC.
///
/// Empty if the system cannot represent the time: on Windows before 1970 (less half a day) or after the year 3000, on
/// Linux when the year does not fit `int`. Any thread may call it; no shared static buffer is used.
KILN_EXPORT_FOR_TESTS std::optional<std::tm> UtcCalendarTime(std::int64_t secondsSinceEpoch) noexcept;

/// The same in the machine's time zone, read anew from the environment (TZ) by every call.
///
/// On Linux `tm_gmtoff` and `tm_zone` tell the zone of the result; on Windows only `tm_isdst` does.
KILN_EXPORT_FOR_TESTS std::optional<std::tm> LocalCalendarTime(std::int64_t secondsSinceEpoch) noexcept;

} // namespace Ardo::Kiln::Platform
