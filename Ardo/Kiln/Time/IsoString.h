#pragma once

#include "Ardo/Kiln/Time/Ticks.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::Time
{

// Time points as ISO 8601 text with milliseconds: "2024-02-29T13:05:09.042Z". Smaller fractions are cut off toward
// 1970. The texts do not depend on the locale. Any thread may call the functions.

/// The text in UTC, with the designator "Z". Empty if the year in UTC is not in the range 1 to 9999.
KILN_EXPORT std::string ToUtcTimeISOString(TimePoint time);

/// The text in local time, without a zone designator. Empty if the local year is not in the range 1 to 9999.
KILN_EXPORT std::string ToLocalTimeISOString(TimePoint time);

/// Reads an ISO 8601 text. A text of the two functions above gives the same millisecond; texts without milliseconds or
/// with a date alone are read, too.
///
/// A designator ("Z", or an offset such as "+05:30") decides the zone; a text without one is local time. There is no
/// error: malformed text gives the time point that an invalid `QDateTime` reports, which has no meaning. A result out
/// of range gives the nearest time point.
///
/// Two kinds of local time are ambiguous. A time that occurs twice, when the clock is set back, gives one of the two
/// time points. Before 1970 Qt writes local time with a later offset of the zone and reads it with the offset of that
/// day; where the two differ, the text gives another time point than the one that was written.
KILN_EXPORT TimePoint FromLocalTimeISOString(const std::string& text);

/// The same for `system_clock` times of another resolution, such as `system_clock::now()`. They are rounded down to
/// ticks first.
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
