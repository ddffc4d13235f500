#pragma once

#include "Ardo/Kiln/Time/TimePoint.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Time
{

// Time points as ISO 8601 text with milliseconds: "2024-02-29T13:05:09.042Z". Ticks below a millisecond are cut off
// toward 1970. The texts do not depend on the locale. Any thread may call the functions.

/// The text in UTC, with the designator "Z". Empty if the year in UTC is not one of 1 to 9999, which the format's four
/// digits cannot hold.
KILN_EXPORT std::string ToUtcTimeISOString(TimePoint time);

/// The text in the machine's time zone, without a zone designator. Empty if the local year is not one of 1 to 9999.
KILN_EXPORT std::string ToLocalTimeISOString(TimePoint time);

/// Reads what either writer writes back to the same millisecond, and other ISO 8601 texts (no milliseconds, a date
/// alone). A designator ("Z", or an offset such as "+05:30") is honoured; a text without one is local time. Never an
/// error: an unparsable text gives the time point that an invalid `QDateTime` reports, which says nothing.
///
/// A local time that occurs twice, in the hour when the clock is set back, reads as one of the two moments. Before 1970
/// Qt writes local time with the zone's later offset and reads it with the one of that day: where they differ, the text
/// does not read back to the same moment. A result beyond the range of a time point is the nearest one that it holds.
KILN_EXPORT TimePoint FromLocalTimeISOString(const std::string& text);

/// The same for `system_clock` times of another resolution, such as `system_clock::now()`; rounded down to ticks first.
template <typename Duration>
std::string ToUtcTimeISOString(std::chrono::time_point<std::chrono::system_clock, Duration> time)
{
    return ToUtcTimeISOString(ToTimePoint(time));
}

/// \copydoc ToUtcTimeISOString(std::chrono::time_point<std::chrono::system_clock, Duration>)
template <typename Duration>
std::string ToLocalTimeISOString(std::chrono::time_point<std::chrono::system_clock, Duration> time)
{
    return ToLocalTimeISOString(ToTimePoint(time));
}

} // namespace Ardo::Kiln::Time
