#include "Ardo/Kiln/Time/CalendarTime.h"

#include "Ardo/Kiln/Platform/CalendarTime.h"

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

const wchar_t* FormatOf(TimeFormat format)
{
    switch (format)
    {
    case TimeFormat::Plain:
        return L"%F %T";
    case TimeFormat::Iso:
        return L"%FT%T%z";
    }
    return L"";
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
    text << std::put_time(&*fields, FormatOf(format));
    return text.str();
}

} // namespace Ardo::Kiln::Time
