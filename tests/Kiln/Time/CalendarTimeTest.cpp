#include "Ardo/Kiln/Time/CalendarTime.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cwchar>

namespace Ardo::Kiln::Time
{

using std::chrono::seconds;

TEST(CalendarTimeTest, TimesUpToTheFirstSecondAreAbsent)
{
    for (const Ticks ticks : {Ticks::min(), Ticks(seconds(-1)), Ticks(0), Ticks(seconds(1)) - Ticks(1)})
    {
        EXPECT_FALSE(ToGmtime(TimePoint(ticks))) << ticks.count();
        EXPECT_FALSE(ToLocaltime(TimePoint(ticks))) << ticks.count();
        EXPECT_EQ(ToLocalTimeString(TimePoint(ticks), TimeFormat::Iso), L"-") << ticks.count();
    }
    EXPECT_EQ(ToLocalTimeString(std::nullopt, TimeFormat::Plain), L"-");
    EXPECT_EQ(ToLocalTimeString(std::optional<std::chrono::system_clock::time_point>(), TimeFormat::Plain), L"-");
}

TEST(CalendarTimeTest, FieldsOfUtcAreTheCalendars)
{
    const std::tm first = ToGmtime(TimePoint(seconds(1))).value();
    EXPECT_EQ(std::tie(first.tm_year, first.tm_mon, first.tm_mday), std::tuple(70, 0, 1));
    EXPECT_EQ(std::tie(first.tm_hour, first.tm_min, first.tm_sec), std::tuple(0, 0, 1));
    EXPECT_EQ(std::tie(first.tm_wday, first.tm_yday, first.tm_isdst), std::tuple(4, 0, 0));
}

TEST(CalendarTimeTest, LocalFieldsAndTextsMatchTheClockOnTheWall)
{
    const std::time_t time = 1'709'211'909;
    const TimePoint point{seconds(time)};
    const std::tm expected = *std::localtime(&time);
    const std::tm local = ToLocaltime(point).value();
    EXPECT_EQ(std::tie(local.tm_yday, local.tm_hour, local.tm_min, local.tm_sec),
              std::tie(expected.tm_yday, expected.tm_hour, expected.tm_min, expected.tm_sec));

    // "%z" is the name of the zone with some C libraries.
    std::tm utc = *std::gmtime(&time);
    utc.tm_isdst = expected.tm_isdst;
    const auto minutes = static_cast<long>(std::difftime(time, std::mktime(&utc)) / 60);
    wchar_t text[64];
    ASSERT_NE(std::wcsftime(text, std::size(text), L"%Y-%m-%dT%H:%M:%S", &expected), 0U);
    wchar_t offset[16];
    std::swprintf(offset, std::size(offset), L"%+.2ld%.2ld", minutes / 60, std::abs(minutes % 60));
    std::wstring plain = text;
    plain[10] = L' ';
    EXPECT_EQ(ToLocalTimeString(point, TimeFormat::Iso), std::wstring(text) + offset);
    EXPECT_EQ(ToLocalTimeString(std::chrono::system_clock::from_time_t(time), TimeFormat::Plain), plain);
    EXPECT_EQ(ToLocalTimeString(point, static_cast<TimeFormat>(2)), L"");
}

} // namespace Ardo::Kiln::Time
