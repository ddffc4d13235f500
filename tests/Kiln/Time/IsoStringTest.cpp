#include "Ardo/Kiln/Time/IsoString.h"

#include <gtest/gtest.h>

#include <QDateTime>

#include <random>

namespace Ardo::Kiln::Time
{

namespace
{

std::string QtText(TimePoint time, Qt::TimeSpec spec)
{
    const qint64 milliseconds = time.time_since_epoch().count() / 10'000;
    return QDateTime::fromMSecsSinceEpoch(milliseconds, spec).toString(Qt::ISODateWithMs).toStdString();
}

TimePoint FromMilliseconds(std::int64_t milliseconds)
{
    return TimePoint(std::chrono::milliseconds(milliseconds));
}

} // namespace

TEST(IsoStringTest, UtcTextHasMillisecondsCutTowardTheEpoch)
{
    const std::pair<std::int64_t, const char*> rows[] = {
        {0, "1970-01-01T00:00:00.000Z"},
        {9'999, "1970-01-01T00:00:00.000Z"},
        {-9'999, "1970-01-01T00:00:00.000Z"},
        {-10'000, "1969-12-31T23:59:59.999Z"},
        {-10'001, "1969-12-31T23:59:59.999Z"},
        {17'092'119'090'429'999, "2024-02-29T13:05:09.042Z"},
        {2'534'023'007'999'999'999, "9999-12-31T23:59:59.999Z"},
        {2'534'023'008'000'000'000, ""},
        {-621'355'968'000'000'000, "0001-01-01T00:00:00.000Z"},
        {-621'355'968'000'010'000, ""},
    };
    for (const auto& [ticks, text] : rows)
    {
        EXPECT_EQ(ToUtcTimeISOString(TimePoint(Ticks(ticks))), text) << ticks;
    }
}

TEST(IsoStringTest, BothTextsAreThoseOfQDateTimeOverTheWholeRange)
{
    std::mt19937_64 random(1); // any seed
    std::vector<TimePoint> times = {TimePoint::min(), TimePoint::max()};
    for (int shift = 0; shift < 64; ++shift)
    {
        for (int count = 0; count < 20; ++count)
        {
            times.emplace_back(Ticks(static_cast<std::int64_t>(random()) >> shift));
        }
    }
    for (const TimePoint time : times)
    {
        ASSERT_EQ(ToUtcTimeISOString(time), QtText(time, Qt::UTC)) << time.time_since_epoch().count();
        ASSERT_EQ(ToLocalTimeISOString(time), QtText(time, Qt::LocalTime)) << time.time_since_epoch().count();
    }
}

TEST(IsoStringTest, BothTextsReadBackToTheSameMillisecond)
{
    for (const std::int64_t milliseconds : {-62'135'596'800'000L, -1L, 0L, 1L, 951'827'696'789L, 253'402'214'400'000L})
    {
        const TimePoint time = FromMilliseconds(milliseconds);
        EXPECT_EQ(FromLocalTimeISOString(ToUtcTimeISOString(time)), time) << milliseconds;
        if (const std::string local = ToLocalTimeISOString(time); !local.empty()) // west of UTC, year 1 is out of reach
        {
            EXPECT_EQ(FromLocalTimeISOString(local), time) << milliseconds;
        }
    }
}

TEST(IsoStringTest, EveryTextReadsAsQDateTimeReadsIt)
{
    for (const char* text : {
             "2024-02-29T13:05:09.042Z",
             "2023-02-29T13:05:09.042Z",
             "1900-02-29T00:00:00.000Z",
             "2024-13-01T00:00:00.000Z",
             "2024-00-10T00:00:00.000Z",
             "2024-04-31T00:00:00.000Z",
             "2024-04-00T00:00:00.000Z",
             "0000-01-01T00:00:00.000Z",
             "0001-01-01T00:00:00.000Z",
             "9999-12-31T23:59:59.999Z",
             "2024-01-01T24:00:00.000Z",
             "2024-01-01T24:00:01.000Z",
             "2024-01-01T25:00:00.000Z",
             "2024-01-01T00:60:00.000Z",
             "2016-12-31T23:59:60.000Z",
             "2024-01-01 00:00:00.000Z",
             "2024-01-01t00:00:00.000z",
             "2024-01-01T00:00:00,000Z",
             "+024-01-01T00:00:00.000Z",
             "2024-01-01T00:00:00.-01Z",
             "2024-01-01T00:00:00.00 Z",
             "2024-01-01T13:05:09.042",
             "2024-01-01T13:05:09.0426",
             "2024-01-01T13:05:09Z",
             "2024-01-01T13:05:09.042+05:30",
             "2024-01-01T13:05:09.042-11:00",
             "2024-01-01T13:05:09.042+99:99",
             "2024-01-01",
             "2024-01-01T13:05",
             "9999-12-31T23:59:59.999-14:00",
             "",
             "yesterday",
             "\xFF\xFE",
         })
    {
        const qint64 expected = QDateTime::fromString(QString::fromUtf8(text), Qt::ISODateWithMs).toMSecsSinceEpoch();
        EXPECT_EQ(FromLocalTimeISOString(text), FromMilliseconds(expected)) << text;
    }
}

TEST(IsoStringTest, ClockTimesOfOtherResolutionsAreRoundedDown)
{
    using namespace std::chrono;
    const system_clock::time_point now = system_clock::now();
    EXPECT_EQ(ToUtcTimeISOString(now), ToUtcTimeISOString(floor<Ticks>(now)));
    EXPECT_EQ(ToUtcTimeISOString(sys_time<nanoseconds>(nanoseconds(-999'901))), "1969-12-31T23:59:59.999Z");
    EXPECT_EQ(ToLocalTimeISOString(sys_seconds(seconds(5))), ToLocalTimeISOString(TimePoint(seconds(5))));
}

} // namespace Ardo::Kiln::Time
