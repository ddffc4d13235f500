#pragma once

#include <chrono>
#include <cstdint>
#include <ratio>

namespace Ardo::Kiln::Time
{

/// The unit of a time point: 100 ns.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

/// A moment, counted in ticks of 100 ns since 1970-01-01 00:00:00 UTC without leap seconds. A signed 64-bit count,
/// which reaches 29,227 years to both sides.
using TimePoint = std::chrono::time_point<std::chrono::system_clock, Ticks>;

/// The time point at or before a `system_clock` time of any other resolution, such as `system_clock::now()`.
template <typename Duration>
constexpr TimePoint ToTimePoint(std::chrono::time_point<std::chrono::system_clock, Duration> time)
{
    return std::chrono::floor<Ticks>(time);
}

} // namespace Ardo::Kiln::Time
