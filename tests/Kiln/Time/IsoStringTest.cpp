#include "Ardo/Kiln/Time/IsoString.h"

#include "tests/Support/ScopedTimeZone.h"

#include <gtest/gtest.h>

#include <QDateTime>

#include <limits>
#include <random>

namespace Ardo::Kiln::Time
{

namespace
{

std::string QtText(TimePoint time)
{
    const qint64 milliseconds = time.time_since_epoch().count() / 10'000;
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC).toString(Qt::ISODateWithMs).toStdString();
}

TimePoint FromMilliseconds(std::int64_t milliseconds)
{
    return TimePoint(std::chrono::milliseconds(milliseconds));
}

} // namespace

TEST(IsoStringTest, LocalTextsAreThoseOfTheZone)
{
    const Support::ScopedTimeZone zone("NST3:30NDT,M3.2.0,M11.1.0");
    EXPECT_EQ(ToLocalTimeISOString(TimePoint(Ticks(17'092'119'090'429'999))), "2024-02-29T09:35:09.042");
    EXPECT_EQ(ToLocalTimeISOString(FromMilliseconds(1'720'000'000'000)), "2024-07-03T07:16:40.000"); // summer
}

TEST(IsoStringTest, UtcTextsAreThoseOfQDateTimeOverTheWholeRange)
{
    EXPECT_EQ(ToUtcTimeISOString(TimePoint(Ticks(17'092'119'090'429'999))), "2024-02-29T13:05:09.042Z");
    EXPECT_EQ(ToUtcTimeISOString(TimePoint(Ticks(-10'001))), "1969-12-31T23:59:59.999Z"); // cut toward the epoch

    constexpr std::int64_t Year1 = -621'355'968'000'000'000;
    constexpr std::int64_t Year10000 = 2'534'023'008'000'000'000;
    std::vector<std::int64_t> times = {
        std::numeric_limits<std::int64_t>::min(), Year1 - 10'000, Year1, -9'999, 0, 9'999, Year10000 - 1, Year10000,
        std::numeric_limits<std::int64_t>::max()};
    std::mt19937_64 random(1); // any seed
    for (int shift = 0; shift < 1280; ++shift)
    {
        times.push_back(static_cast<std::int64_t>(random()) >> shift % 64);
    }
    for (const std::int64_t ticks : times)
    {
        const TimePoint time{Ticks(ticks)};
        ASSERT_EQ(ToUtcTimeISOString(time), QtText(time)) << ticks;
    }
}

TEST(IsoStringTest, BothTextsReadBackToTheSameMillisecond)
{
    for (const std::int64_t milliseconds :
         std::initializer_list<std::int64_t>{-62'135'596'800'000, -1, 0, 1, 951'827'696'789, 253'402'214'400'000})
    {
        const TimePoint time = FromMilliseconds(milliseconds);
        EXPECT_EQ(FromLocalTimeISOString(ToUtcTimeISOString(time)), time) << milliseconds;
        if (milliseconds >= 0) // Qt reads and writes earlier local times by different rules of some zones
        {
            EXPECT_EQ(FromLocalTimeISOString(ToLocalTimeISOString(time)), time) << milliseconds;
        }
    }
}

TEST(IsoStringTest, EveryTextReadsAsQDateTimeReadsIt)
{
    std::vector<std::string> texts = {"1900-02-29T00:00:00.000Z",
                                      "0000-01-01T00:00:00.000Z",
                                      "0001-01-01T00:00:00.000Z",
                                      "9999-12-31T23:59:59.999Z",
                                      "2024-01-01T24:00:00.000Z",
                                      "2024-01-01T24:30:00.000Z",
                                      "2024-01-01T23:60:00.000Z",
                                      "2016-12-31T23:59:60.000Z",
                                      "2024-01-01T13:05:09.042+05:30",
                                      "2024-01-01T13:05:09.042+99:99",
                                      "9999-12-31T23:59:59.999-14:00",
                                      "2024-01-01T13:05:09.0426",
                                      "2024-01-01T13:05:09.042",
                                      "2024-01-01T13:05:09Z",
                                      "2024-01-01T13:05",
                                      "2024-01-01",
                                      "yesterday",
                                      "\xFF\xFE",
                                      ""};
    const std::string valid = "2024-02-29T13:05:09.042Z";
    for (std::size_t place = 0; place < valid.size(); ++place)
    {
        for (const char other : std::string("0123456789+-:., tTzZ\0\x80", 22))
        {
            texts.push_back(valid);
            texts.back()[place] = other;
        }
    }
    for (const std::string& text : texts)
    {
        const QDateTime expected = QDateTime::fromString(QString::fromStdString(text), Qt::ISODateWithMs);
        EXPECT_EQ(FromLocalTimeISOString(text), FromMilliseconds(expected.toMSecsSinceEpoch())) << text;
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
