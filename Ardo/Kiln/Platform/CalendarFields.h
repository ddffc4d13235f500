#pragma once

#include "Ardo/KilnExport.h"

#include <chrono>
#include <cstdint>
#include <ctime>
#include <optional>

namespace Ardo::Kiln::Platform
{

/// Converts seconds since 1970-01-01T00:00:00Z to calendar fields in UTC.
///
/// Empty if the system cannot represent the time: on Windows before 1970 (less half a day) or after the year 3000, on
/// Linux when the year does not fit `int`. Any thread may call it; no shared static buffer is used.
KILN_EXPORT_FOR_TESTS std::optional<std::tm> UtcCalendarTime(std::int64_t secondsSinceEpoch) noexcept;

/// The same in the time zone of the machine. Every call reads the environment variable TZ again.
///
/// On Linux `tm_gmtoff` and `tm_zone` describe the zone of the result; on Windows only `tm_isdst` does.
KILN_EXPORT_FOR_TESTS std::optional<std::tm> LocalCalendarTime(std::int64_t secondsSinceEpoch) noexcept;

/// Converts calendar fields in UTC to seconds since 1970-01-01T00:00:00Z. For fields of LocalCalendarTime, the result
/// minus the original time is the offset of local time from UTC. Any thread and any signal handler may call it.
inline std::int64_t SecondsOf(const std::tm& fields) noexcept
{
    using namespace std::chrono;
    const sys_days day = year(fields.tm_year + 1900) / (fields.tm_mon + 1) / fields.tm_mday;
    return (sys_seconds(day) + hours(fields.tm_hour) + minutes(fields.tm_min) + seconds(fields.tm_sec))
        .time_since_epoch()
        .count();
}

} // namespace Ardo::Kiln::Platform
