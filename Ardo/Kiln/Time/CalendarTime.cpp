#include "Ardo/Kiln/Time/CalendarTime.h"

#include "Ardo/Kiln/Platform/CalendarFields.h"

#include <iomanip>
#include <locale>
#include <sstream>

namespace Ardo::Kiln::Time
{

namespace
{

std::optional<std::tm> Split(TimePoint time, std::optional<std::tm> (&split)(std::int64_t) noexcept)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
    return seconds > 0 ? split(seconds) : std::nullopt;
}

/// Appends the offset of local time from UTC as hours and minutes: the "%z" of some C libraries is the zone's name.
void AppendOffset(std::wostream& text, std::chrono::seconds offset)
{
    const auto minutes = std::chrono::abs(std::chrono::duration_cast<std::chrono::minutes>(offset)).count();
    text << (offset < std::chrono::seconds(0) ? L'-' : L'+') << std::setfill(L'0') << std::setw(2) << minutes / 60
         << std::setw(2) << minutes % 60;
}

} // namespace

std::optional<std::tm> ToGmtime(TimePoint time)
{
    return Split(time, Platform::UtcCalendarTime);
}

std::optional<std::tm> ToLocaltime(TimePoint time)
{
    return Split(time, Platform::LocalCalendarTime);
}

std::wstring ToLocalTimeString(const std::optional<TimePoint>& time, TimeFormat format)
{
    const std::optional<std::tm> fields = time ? ToLocaltime(*time) : std::nullopt;
    if (!fields)
    {
        return L"-";
    }
    std::wostringstream text;
    text.imbue(std::locale::classic());
    // Not "%F" and "%T", which some C libraries do not know.
    switch (format)
    {
    case TimeFormat::Plain:
        text << std::put_time(&*fields, L"%Y-%m-%d %H:%M:%S");
        break;
    case TimeFormat::Iso:
        text << std::put_time(&*fields, L"%Y-%m-%dT%H:%M:%S");
        AppendOffset(text, std::chrono::seconds(Platform::SecondsOf(*fields)) -
                               std::chrono::floor<std::chrono::seconds>(time->time_since_epoch()));
        break;
    }
    return text.str();
}

} // namespace Ardo::Kiln::Time
