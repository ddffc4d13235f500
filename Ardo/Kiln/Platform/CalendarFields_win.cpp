#include "Ardo/Kiln/Platform/CalendarFields.h"

#include <time.h>

namespace Ardo::Kiln::Platform
{

std::optional<std::tm> UtcCalendarTime(std::int64_t secondsSinceEpoch) noexcept
{
    std::tm fields{};
    return ::_gmtime64_s(&fields, &secondsSinceEpoch) == 0 ? std::optional(fields) : std::nullopt;
}

std::optional<std::tm> LocalCalendarTime(std::int64_t secondsSinceEpoch) noexcept
{
    ::_tzset(); // the C library reads TZ only once
    std::tm fields{};
    return ::_localtime64_s(&fields, &secondsSinceEpoch) == 0 ? std::optional(fields) : std::nullopt;
}

} // namespace Ardo::Kiln::Platform
