#pragma once

#include <chrono>
#include <cstdint>
#include <ratio>

namespace Ardo::Kiln::Time
{

/// The unit of a time point: 100 ns.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

/// A point in time: signed 64-bit ticks of 100 ns since 1970-01-01T00:00:00 UTC, without leap seconds. The range is
/// 29,227 years in both directions.
using TimePoint = std::chrono::time_point<std::chrono::system_clock, Ticks>;

/// Rounds a `system_clock` time of another resolution, such as `system_clock::now()`, down to a time point.
template <typename Duration>
constexpr TimePoint ToTimePoint(std::chrono::time_point<std::chrono::system_clock, Duration> time)
{
    return std::chrono::floor<Ticks>(time);
}

} // namespace Ardo::Kiln::Time
