#pragma once

#include <chrono>
#include <cstdint>
#include <ratio>

namespace Ardo::MetadataLib
{

/// A point in time: signed 64-bit ticks of 100 ns since 1970-01-01T00:00:00 UTC.
///
/// `std::chrono::time_point_cast` converts from and to the time points of `std::chrono::system_clock`.
/// Documents contain milliseconds; smaller fractions are cut off on writing.
using TimePoint =
    std::chrono::time_point<std::chrono::system_clock, std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>>;

} // namespace Ardo::MetadataLib
