#include "Ardo/Kiln/Profiling/Recording.h"
#include "Ardo/Kiln/Profiling/Report.h"
#include "Ardo/Kiln/Profiling/Stage.h"
#include "tests/Kiln/Profiling/TraceCheck.h"

#include <gmock/gmock.h>

#include <atomic>
#include <sstream>
#include <thread>
#include <vector>

namespace Ardo::Kiln::Profiling
{

namespace
{

/// What each thread does: nested stages, a long-lived one around, a counter.
void Work(const std::atomic<bool>& isDone)
{
    do
    {
        Stage outer("outer");
        outer.AddItems(1);
        for (int i = 0; i < 50; ++i)
        {
            Stage inner(i % 2 == 0 ? "even" : "odd");
            inner.AddBytes(100);
        }
        RecordCounter("counter", 1.5);
    } while (!isDone);
}

} // namespace

TEST(ProfilingLoadTest, ThreadsEndRecordingsBeginAndTracesAreWrittenWhileOthersRecord)
{
    std::atomic<bool> isDone = false;
    std::vector<std::jthread> threads;
    StartRecording();
    for (int i = 0; i < 3; ++i)
    {
        threads.emplace_back([&] { Work(isDone); });
    }
    threads.emplace_back(
        [&]
        {
            const std::atomic<bool> atOnce = true;
            while (!isDone)
            {
                std::thread(Work, std::cref(atOnce)).join(); // a thread that ends
            }
        });
    for (int round = 0; round < 12; ++round)
    {
        std::ostringstream trace;
        WriteTrace(trace);
        EXPECT_THAT(trace.str(), ::testing::EndsWith("}}\n"));
        for (const StageFigures& stage : MakeReport().stages)
        {
            EXPECT_LE(stage.depth, stage.name == "outer" ? 0 : 1) << stage.name; // 0 where "outer" began before
            EXPECT_LE(stage.shortest, stage.longest);
        }
        if (round % 3 == 1)
        {
            StopRecording();
        }
        if (round % 3 != 0)
        {
            StartRecording();
        }
    }
    EXPECT_THAT(CheckedTrace(), ::testing::HasSubstr("dropped "));
    isDone = true;
    threads.clear();
}

} // namespace Ardo::Kiln::Profiling
