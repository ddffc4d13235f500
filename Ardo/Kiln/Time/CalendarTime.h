#pragma once

#include "Ardo/Kiln/Time/TimeFormat.h"
#include "Ardo/Kiln/Time/TimePoint.h"
#include "Ardo/KilnExport.h"

#include <ctime>
#include <optional>
#include <string>

namespace Ardo::Kiln::Time
{

// Time points as calendar fields and as text for people. Ticks below a second are cut off. Any thread may call the
// functions; the local ones use the machine's time zone (TZ, where it is set).

/// The fields of the time in UTC. Empty up to the first second of 1970 itself, so that a zero-initialised time point
/// reads as absent, and where the C library knows no such time (Windows: after the year 3000).
KILN_EXPORT std::optional<std::tm> ToGmtime(TimePoint time);

/// The fields of the time in the machine's time zone. Empty under the conditions of ToGmtime.
KILN_EXPORT std::optional<std::tm> ToLocaltime(TimePoint time);

/// The time in the machine's time zone as text, the same under every locale; L"-" if there is none, or if ToLocaltime
/// has no fields for it. \p format is one of the two named values; any other gives an empty text.
KILN_EXPORT std::wstring ToLocalTimeString(const std::optional<TimePoint>& time, TimeFormat format);

/// The same for `system_clock` times of another resolution, such as `system_clock::now()`; rounded down to ticks first.
template <typename Duration>
std::optional<std::tm> ToGmtime(std::chrono::time_point<std::chrono::system_clock, Duration> time)
{
    return ToGmtime(ToTimePoint(time));
}

/// \copydoc ToGmtime(std::chrono::time_point<std::chrono::system_clock, Duration>)
template <typename Duration>
std::optional<std::tm> ToLocaltime(std::chrono::time_point<std::chrono::system_clock, Duration> time)
{
    return ToLocaltime(ToTimePoint(time));
}

/// \copydoc ToGmtime(std::chrono::time_point<std::chrono::system_clock, Duration>)
template <typename Duration>
std::wstring ToLocalTimeString(std::chrono::time_point<std::chrono::system_clock, Duration> time, TimeFormat format)
{
    return ToLocalTimeString(std::optional(ToTimePoint(time)), format);
}

/// \copydoc ToGmtime(std::chrono::time_point<std::chrono::system_clock, Duration>)
template <typename Duration>
std::wstring ToLocalTimeString(const std::optional<std::chrono::time_point<std::chrono::system_clock, Duration>>& time,
                               TimeFormat format)
{
    return time ? ToLocalTimeString(*time, format) : ToLocalTimeString(std::optional<TimePoint>(), format);
}

} // namespace Ardo::Kiln::Time
