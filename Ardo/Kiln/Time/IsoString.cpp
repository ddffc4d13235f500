#include "Ardo/Kiln/Time/IsoString.h"

#include "Ardo/Kiln/Time/ReadIsoString.h"

#include <QDateTime>

#include <algorithm>
#include <limits>
#include <optional>
#include <string_view>

namespace Ardo::Kiln::Time
{

namespace
{

using std::chrono::milliseconds;

constexpr std::string_view UtcPattern = "yyyy-MM-ddTHH:mm:ss.zzzZ";

// Offsets of the fields in UtcPattern.
constexpr std::size_t Year = 0;
constexpr std::size_t Month = 5;
constexpr std::size_t Day = 8;
constexpr std::size_t Hour = 11;
constexpr std::size_t Minute = 14;
constexpr std::size_t Second = 17;
constexpr std::size_t Millisecond = 20;

constexpr qint64 TicksPerMillisecond = Ticks(milliseconds(1)).count();
constexpr qint64 MaxMilliseconds = std::numeric_limits<Ticks::rep>::max() / TicksPerMillisecond;

milliseconds SinceEpoch(TimePoint time)
{
    return std::chrono::duration_cast<milliseconds>(time.time_since_epoch()); // toward zero
}

void PutDigits(std::string& text, std::size_t place, int digits, unsigned int value)
{
    for (std::size_t end = place + static_cast<std::size_t>(digits); end > place; value /= 10)
    {
        text[--end] = static_cast<char>('0' + value % 10);
    }
}

unsigned int GetDigits(std::string_view text, std::size_t place, int digits)
{
    unsigned int value = 0;
    for (const char digit : text.substr(place, static_cast<std::size_t>(digits)))
    {
        value = value * 10 + static_cast<unsigned int>(digit - '0');
    }
    return value;
}

/// Reads a text of exactly the form of UtcPattern. Empty for any other text, and for a date or time of day that does
/// not exist.
std::optional<milliseconds> ReadUtcPattern(std::string_view text)
{
    if (text.size() != UtcPattern.size())
    {
        return std::nullopt;
    }
    for (std::size_t place = 0; place < text.size(); ++place)
    {
        const char expected = UtcPattern[place];
        const bool isField = (expected >= 'a' && expected <= 'z') || expected == 'M' || expected == 'H';
        if (isField ? text[place] < '0' || text[place] > '9' : text[place] != expected)
        {
            return std::nullopt;
        }
    }
    const std::chrono::year_month_day date(std::chrono::year(static_cast<int>(GetDigits(text, Year, 4))),
                                           std::chrono::month(GetDigits(text, Month, 2)),
                                           std::chrono::day(GetDigits(text, Day, 2)));
    const unsigned int hour = GetDigits(text, Hour, 2);
    const unsigned int minute = GetDigits(text, Minute, 2);
    const unsigned int second = GetDigits(text, Second, 2);
    // Qt reads the year 0, 24:00 and leap seconds in its own way: such texts are left to it.
    if (!date.ok() || date.year() == std::chrono::year(0) || hour > 23 || minute > 59 || second > 59)
    {
        return std::nullopt;
    }
    return std::chrono::sys_days(date).time_since_epoch() + std::chrono::hours(hour) + std::chrono::minutes(minute) +
           std::chrono::seconds(second) + milliseconds(GetDigits(text, Millisecond, 3));
}

/// The nearest time point within the range of TimePoint.
TimePoint ToTimePoint(const QDateTime& time)
{
    const qint64 sinceEpoch = std::clamp(time.toMSecsSinceEpoch(), -MaxMilliseconds, MaxMilliseconds);
    return TimePoint(Ticks(sinceEpoch * TicksPerMillisecond));
}

} // namespace

std::string ToUtcTimeISOString(TimePoint time)
{
    const milliseconds sinceEpoch = SinceEpoch(time);
    const auto day = std::chrono::floor<std::chrono::days>(sinceEpoch);
    const std::chrono::year_month_day date{std::chrono::sys_days(day)};
    const std::chrono::hh_mm_ss timeOfDay(sinceEpoch - day);
    const int year = static_cast<int>(date.year());
    if (year < 1 || year > 9999)
    {
        return {};
    }
    std::string text(UtcPattern);
    PutDigits(text, Year, 4, static_cast<unsigned int>(year));
    PutDigits(text, Month, 2, static_cast<unsigned int>(date.month()));
    PutDigits(text, Day, 2, static_cast<unsigned int>(date.day()));
    PutDigits(text, Hour, 2, static_cast<unsigned int>(timeOfDay.hours().count()));
    PutDigits(text, Minute, 2, static_cast<unsigned int>(timeOfDay.minutes().count()));
    PutDigits(text, Second, 2, static_cast<unsigned int>(timeOfDay.seconds().count()));
    PutDigits(text, Millisecond, 3, static_cast<unsigned int>(timeOfDay.subseconds().count()));
    return text;
}

std::string ToLocalTimeISOString(TimePoint time)
{
    return QDateTime::fromMSecsSinceEpoch(SinceEpoch(time).count(), Qt::LocalTime)
        .toString(Qt::ISODateWithMs)
        .toStdString();
}

TimePoint FromLocalTimeISOString(const std::string& text)
{
    const auto utc = ReadUtcPattern(text);
    return utc ? TimePoint(*utc) : ToTimePoint(QDateTime::fromString(QString::fromStdString(text), Qt::ISODateWithMs));
}

std::optional<TimePoint> ReadISOString(const std::string& text)
{
    if (const auto utc = ReadUtcPattern(text))
    {
        return TimePoint(*utc);
    }
    const QDateTime time = QDateTime::fromString(QString::fromStdString(text), Qt::ISODateWithMs);
    // Qt calls a local time invalid that is skipped when the clock is set forward, but still converts it.
    return time.date().isValid() && time.time().isValid() ? std::optional(ToTimePoint(time)) : std::nullopt;
}

} // namespace Ardo::Kiln::Time
