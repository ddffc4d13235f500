#pragma once

#include "Ardo/Kiln/Time/Ticks.h"
#include "Ardo/Kiln/Time/TimeFormat.h"
#include "Ardo/KilnExport.h"

#include <ctime>
#include <optional>
#include <string>

namespace Ardo::Kiln::Time
{

// Time points as calendar fields and as text for people. Fractions of a second are cut off. Any thread may call the
// functions. "Local" is the time zone of the machine, or of the variable TZ where it is set.

/// The calendar fields of \p time in UTC. Empty for times before 1970-01-01T00:00:01, so that a zero-initialised time
/// point counts as absent. Empty also for times that the C library does not support (Windows: after the year 3000).
KILN_EXPORT std::optional<std::tm> ToGmtime(TimePoint time);

/// The calendar fields of \p time in local time. Empty under the conditions of ToGmtime.
KILN_EXPORT std::optional<std::tm> ToLocaltime(TimePoint time);

/// The local time as text, independent of the locale. L"-" if \p time is empty or ToLocaltime returns no fields for it.
/// A value of \p format that has no name gives an empty text.
KILN_EXPORT std::wstring ToLocalTimeString(const std::optional<TimePoint>& time, TimeFormat format);

/// The same for `system_clock` times of another resolution, such as `system_clock::now()`. They are rounded down to
/// ticks first.
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
