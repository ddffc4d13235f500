#pragma once

#include <cstdint>

namespace Ardo::Kiln::Time
{

/// How a local time is written for people.
enum class TimeFormat : std::int32_t
{
    Plain = 0, ///< "2024-02-29 13:05:09": date and time of day, no zone
    Iso = 1    ///< "2024-02-29T13:05:09+0530": date, time of day and the offset from UTC
};

} // namespace Ardo::Kiln::Time
