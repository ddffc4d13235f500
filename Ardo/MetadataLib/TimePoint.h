#pragma once

#include <chrono>
#include <cstdint>
#include <ratio>

namespace Ardo::MetadataLib
{

/// A moment on the system clock, counted in signed 64-bit ticks of 100 ns since 1970-01-01T00:00:00 UTC.
///
/// A time point of `std::chrono::system_clock` itself converts with `std::chrono::time_point_cast`.
/// Documents hold milliseconds: the rest is cut off when a time point is written.
using TimePoint =
    std::chrono::time_point<std::chrono::system_clock, std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>>;

} // namespace Ardo::MetadataLib
