#include "Ardo/Kiln/Platform/CalendarFields.h"

#include <time.h>

namespace Ardo::Kiln::Platform
{

static_assert(sizeof(std::time_t) == sizeof(std::int64_t));

std::optional<std::tm> UtcCalendarTime(std::int64_t secondsSinceEpoch) noexcept
{
    std::tm fields{};
    return ::gmtime_r(&secondsSinceEpoch, &fields) != nullptr ? std::optional(fields) : std::nullopt;
}

std::optional<std::tm> LocalCalendarTime(std::int64_t secondsSinceEpoch) noexcept
{
    ::tzset(); // localtime_r is not required to read TZ; QDateTime and the Windows source do
    std::tm fields{};
    return ::localtime_r(&secondsSinceEpoch, &fields) != nullptr ? std::optional(fields) : std::nullopt;
}

} // namespace Ardo::Kiln::Platform
