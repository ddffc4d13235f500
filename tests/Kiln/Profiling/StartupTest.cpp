#include "Ardo/Kiln/Profiling/Startup.h"

#include "tests/Kiln/Profiling/TraceCheck.h"
#include "tests/Support/LogCollector.h"
#include "tests/Support/Pattern.h"

#include <gmock/gmock.h>

#include <thread>

namespace Ardo::Kiln::Profiling
{

TEST(StartupTest, MarksCountFromTheStartOfTheProcessAndAreLogged)
{
    const Support::LogCollector log;
    const auto earliest = SinceProcessStart();
    EXPECT_GT(earliest.count(), 0);
    EXPECT_GT(StartResolution().count(), 0);
    MarkStartup("main");
    std::thread([] { MarkStartup("detector \u00B5"); }).join();
    for (int i = 0; i < 200; ++i)
    {
        MarkStartup("again and again");
    }
    const std::vector<StartupMark> marks = StartupMarks();
    ASSERT_EQ(marks.size(), 100);
    auto last = earliest;
    for (const StartupMark& mark : marks)
    {
        EXPECT_GE(mark.sinceStart, last);
        last = mark.sinceStart;
    }
    EXPECT_LE(last, SinceProcessStart());
    EXPECT_EQ(marks[1].name, "detector \u00B5");

    LogStartup();
    ASSERT_EQ(log.Messages().size(), 100);
    EXPECT_THAT(log.Messages()[1], Support::MatchesPattern("Start-up: detector .* after .* [mn]?.*s \\(\\+.*s\\)"));
    EXPECT_EQ(log.Records()[0].severity, Logger::info);
    EXPECT_THAT(CheckedTrace(), ::testing::HasSubstr("i main {}\ni detector \u00B5 {}\ni again and again {}\n"));
}

} // namespace Ardo::Kiln::Profiling
