#include "Ardo/Kiln/Time/CalendarTime.h"

#include <gtest/gtest.h>

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

    wchar_t iso[64];
    ASSERT_NE(std::wcsftime(iso, std::size(iso), L"%Y-%m-%dT%H:%M:%S%z", &expected), 0U);
    std::wstring plain(iso, 19);
    plain[10] = L' ';
    EXPECT_EQ(ToLocalTimeString(point, TimeFormat::Iso), iso);
    EXPECT_EQ(ToLocalTimeString(std::chrono::system_clock::from_time_t(time), TimeFormat::Plain), plain);
    EXPECT_EQ(ToLocalTimeString(point, static_cast<TimeFormat>(2)), L"");
}

} // namespace Ardo::Kiln::Time
