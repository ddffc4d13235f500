#pragma once

#include "Ardo/KilnExport.h"

#include <chrono>
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

/// The seconds since 1970-01-01T00:00:00Z of \p fields, taken as UTC. The difference to the time that they were made
/// from by LocalCalendarTime is how far local time was ahead of UTC then. Any thread and any signal handler may call
/// it.
inline std::int64_t SecondsOf(const std::tm& fields) noexcept
{
    using namespace std::chrono;
    const sys_days day = year(fields.tm_year + 1900) / (fields.tm_mon + 1) / fields.tm_mday;
    return (sys_seconds(day) + hours(fields.tm_hour) + minutes(fields.tm_min) + seconds(fields.tm_sec))
        .time_since_epoch()
        .count();
}

} // namespace Ardo::Kiln::Platform
