#include "Ardo/Kiln/Profiling/Recording.h"
#include "Ardo/Kiln/Profiling/Report.h"
#include "Ardo/Kiln/Profiling/Stage.h"
#include "Ardo/Kiln/Profiling/Trace.h"

#include "Ardo/Kiln/Profiling/Histogram_p.h"
#include "tests/Kiln/Profiling/TraceCheck.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <fstream>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>
#include <thread>

namespace Ardo::Kiln::Profiling
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace
{

/// Interned before any test: one of them fills the table of names.
const char* const g_read = InternName("read");

class ProfilingTest : public ::testing::Test
{
protected:
    ~ProfilingTest() override { StopRecording(); }

    /// The stages of the report, each as "name count" with two blanks for each stage around it.
    static std::vector<std::string> Stages()
    {
        std::vector<std::string> stages;
        for (const StageFigures& stage : MakeReport().stages)
        {
            stages.push_back(std::string(2 * stage.depth, ' ') + stage.name + " " + std::to_string(stage.count));
        }
        return stages;
    }
};

void Recurse(int depth)
{
    const Stage stage("recurse");
    if (depth > 1)
    {
        Recurse(depth - 1);
    }
}

} // namespace

TEST_F(ProfilingTest, TheHistogramKeepsDurationsWithinAThirtySecondPart)
{
    using namespace Private;
    std::size_t before = 0;
    for (double exact = 0; exact < std::ldexp(1.0, 47); exact = exact < 40 ? exact + 1 : exact * 1.01)
    {
        const auto duration = static_cast<std::uint64_t>(exact);
        const std::size_t bin = BinOf(duration);
        ASSERT_GE(bin, before);
        ASSERT_LE(std::abs(static_cast<double>(MiddleOf(bin)) - static_cast<double>(duration)),
                  duration < 32 ? 0.0 : static_cast<double>(duration) / 32)
            << duration;
        before = bin;
    }
    EXPECT_EQ(BinOf(std::numeric_limits<std::uint64_t>::max()), BinCount - 1);

    Bins bins{};
    for (std::uint64_t duration = 1; duration <= 20; ++duration)
    {
        ++bins[BinOf(duration)];
    }
    struct Case
    {
        unsigned percent;
        std::uint64_t duration;
    };
    for (const Case& row : {Case{5, 1}, Case{50, 10}, Case{51, 11}, Case{99, 20}, Case{100, 20}})
    {
        EXPECT_EQ(Quantile(bins, 20, row.percent), row.duration) << row.percent;
    }
}

TEST_F(ProfilingTest, StagesAreToldApartByTheirNestingAndSummedUpOverThreads)
{
    StartRecording();
    EXPECT_TRUE(IsRecording());
    const auto work = []
    {
        const Stage convert("convert");
        for (int i = 0; i < 3; ++i)
        {
            Stage read(i == 0 ? "read" : g_read);
            read.AddBytes(1000);
            read.AddItems(2);
        }
        const Stage write("write");
        const Stage read("read"); // another one than that within "convert"
    };
    std::thread(work).join();
    work();
    RecordCounter("queue", 3);
    std::thread([] { RecordCounter("queue", -1); }).join();
    RecordCounter("queue", std::numeric_limits<double>::infinity());
    StopRecording();
    EXPECT_FALSE(IsRecording());
    work();
    RecordCounter("queue", 7);

    const Report report = MakeReport();
    ASSERT_EQ(report.stages.size(), 4);
    EXPECT_EQ(report.stages[0].name, "convert");
    std::size_t found = 0;
    for (const StageFigures& stage : report.stages)
    {
        const bool isRead = stage.name == "read" && stage.depth == 1;
        EXPECT_EQ(stage.count, isRead ? 6 : 2) << stage.name << stage.depth;
        EXPECT_EQ(stage.bytes, isRead ? 6000 : 0);
        EXPECT_EQ(stage.items, isRead ? 12 : 0);
        EXPECT_LE(stage.shortest, stage.median);
        EXPECT_LE(stage.median, stage.percentile99);
        EXPECT_LE(stage.percentile99, stage.longest);
        EXPECT_EQ(stage.mean.count(), stage.total.count() / static_cast<std::int64_t>(stage.count));
        EXPECT_LE(stage.total, report.stages[0].total);
        found += isRead ? 1 : 0;
    }
    EXPECT_EQ(found, 1);
    EXPECT_EQ(report.stages[0].share, 1.0);
    EXPECT_GE(report.duration * 2, report.stages[0].total);
    ASSERT_EQ(report.counters.size(), 1);
    const CounterFigures& queue = report.counters[0];
    EXPECT_THAT((std::array{queue.least, queue.mean, queue.most}), ElementsAre(-1, 1, 3));
    EXPECT_EQ(queue.count, 2);
    EXPECT_EQ(MakeReport().duration, report.duration);
}

TEST_F(ProfilingTest, AReportIsATableForAPerson)
{
    using namespace std::chrono_literals;
    Report report;
    report.stages = {{"Größe\n", 0, 12, 1234567us, 1us, 2s, 102880583ns, 99999us, 1234567us, 0.98765, 0, 24},
                     {"read", 1, 1, 5ns, 5ns, 5ns, 5ns, 5ns, 5ns, 0.0004, 1000, 3},
                     {"open", 2}};
    EXPECT_EQ(ToText(report), "stage     count    total     mean   median     99 %   share  throughput\n"
                              "Größe?       12   1.23 s   103 ms   100 ms   1.23 s  98.8 %     19.4 /s\n"
                              "  read        1  5.00 ns  5.00 ns  5.00 ns  5.00 ns     0 %    200 GB/s\n"
                              "    open      0     0 ns     0 ns     0 ns     0 ns     0 %\n");
    report.counters = {{"queue", 2, -1, 0.5, 30000}};
    EXPECT_THAT(ToText(report),
                HasSubstr("\n\ncounter  count  least  mean   most\nqueue        2     -1   0.5  3e+04\n"));
}

TEST_F(ProfilingTest, AStageCountsWhenItBeginsAndEndsDuringOneRecording)
{
    std::optional<Stage> beforeStart(std::in_place, "before the start");
    StartRecording();
    std::optional<Stage> acrossRestart(std::in_place, "across the restart");
    beforeStart.reset();
    StartRecording(); // discards
    {
        const Stage inner("inner"); // in no stage of this recording
        acrossRestart.reset();
        const Stage nested("nested"); // still within "inner"
    }
    auto ofOtherThread = std::make_unique<Stage>("ends elsewhere");
    std::thread([&] { ofOtherThread.reset(); }).join();
    std::thread([] { const Stage own("own"); }).join();
    EXPECT_THAT(Stages(), ::testing::UnorderedElementsAre("inner 1", "  nested 1", "own 1", "ends elsewhere 0"));

    StartRecording();
    std::optional<Stage> acrossStop(std::in_place, "across the stop");
    StopRecording();
    StopRecording();
    acrossStop.reset();
    EXPECT_THAT(Stages(), ElementsAre("across the stop 0"));
    StartRecording();
    EXPECT_THAT(Stages(), IsEmpty());
    {
        const Stage fresh("fresh");
    }
    EXPECT_THAT(Stages(), ElementsAre("fresh 1"));
}

TEST_F(ProfilingTest, WhatIsKeptIsLimitedAndWhatIsNotIsCounted)
{
    EXPECT_LE(std::string(InternName(std::string(254, 'x') + "\u00B5")).size(), 255);
    StartRecording();
    Recurse(1000);
    std::uint64_t count = 0;
    for (const StageFigures& stage : MakeReport().stages)
    {
        count += stage.count;
    }
    EXPECT_EQ(count, 1000);
    EXPECT_EQ(MakeReport().stages.size(), 257); // with the one for the others

    // A ring of the last events, and figures of all.
    StartRecording();
    for (int i = 0; i < 40'000; ++i)
    {
        const Stage stage(i < 30'000 ? "early" : "late");
    }
    EXPECT_THAT(Stages(), ::testing::UnorderedElementsAre("early 30000", "late 10000"));
    const std::string trace = CheckedTrace();
    EXPECT_THAT(trace, HasSubstr("X early {}\nX late {}\n"));
    EXPECT_THAT(trace, HasSubstr("dropped 23617\n")); // the slot that is filled next is not read

    // Of threads that ended the last events, and figures of all; names by the thousand.
    StartRecording();
    const auto many = [](int thread)
    {
        for (int i = 0; i < 10'000; ++i)
        {
            const Stage stage(InternName("stage " + std::to_string(thread * 200 + i % 200)));
        }
        for (int i = 0; i < 70; ++i)
        {
            RecordCounter(InternName("counter " + std::to_string(i)), i);
        }
    };
    for (int thread = 0; thread < 25; ++thread)
    {
        std::thread(many, thread).join();
    }
    const Report report = MakeReport();
    EXPECT_LE(report.stages.size(), 4097);
    EXPECT_GT(report.stages.size(), 3000);
    EXPECT_EQ(report.counters.size(), 64);
    count = 0;
    for (const StageFigures& stage : report.stages)
    {
        count += stage.count;
    }
    EXPECT_EQ(count, 250'000);
    EXPECT_THAT(CheckedTrace(), HasSubstr("dropped " + std::to_string(25 * 10'070 - 6 * 10'070)));
    EXPECT_STREQ(InternName("one name too many"), "(other names)");
    EXPECT_EQ(InternName(std::string("read")), g_read);
}

TEST_F(ProfilingTest, ATraceIsInTheTraceEventFormatWhateverTheNames)
{
    StartRecording();
    {
        Stage outer("quote \" backslash \\ line\n \u00B5m \xFF");
        outer.AddItems(18446744073709551615U);
        for (int i = 0; i < 2; ++i)
        {
            Stage inner("inner");
            inner.AddBytes(5);
        }
        RecordCounter("fraction", 0.1);
        RecordCounter("fraction", -1e300);
    }
    std::thread([] { const Stage stage("of a thread that ended"); }).join();
    const std::string trace = CheckedTrace();
    EXPECT_THAT(trace, HasSubstr("M process_name {\"name\":\"ProfilingTests"));
    EXPECT_THAT(trace, HasSubstr("X quote \" backslash \\ line\n \u00B5m \uFFFD {\"bytes\":0,\"items\":"));
    EXPECT_THAT(TraceText(), HasSubstr("\"items\":18446744073709551615}")); // more digits than the JSON reader keeps
    EXPECT_THAT(trace, HasSubstr("}\nX inner {\"bytes\":5,\"items\":0}\nX inner"));
    EXPECT_THAT(trace, HasSubstr("C fraction {\"value\":0.1}\nC fraction {\"value\":-1e+300}\n"));
    EXPECT_THAT(trace, HasSubstr("X of a thread that ended {}\n"));
    EXPECT_THAT(trace, HasSubstr("dropped 0\n"));

    std::ostringstream full;
    full.setstate(std::ios::badbit);
    EXPECT_NO_THROW(WriteTrace(full)); // the caller checks
    const Support::ScopedTempDir folder;
    EXPECT_THROW(WriteTraceFile(folder / "missing" / "trace.json"), std::filesystem::filesystem_error);
    EXPECT_THROW(WriteTraceFile(folder.Path()), std::filesystem::filesystem_error);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

} // namespace Ardo::Kiln::Profiling
