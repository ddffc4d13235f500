#include "Ardo/Kiln/Threading/PeriodicWork.h"

#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Polling/Poller.h"
#include "Ardo/Kiln/Threading/PeriodicScheduledWork.h"
#include "tests/Kiln/Threading/Gate.h"

#include <gmock/gmock.h>

#include <boost/asio/io_context.hpp>

#include <atomic>
#include <thread>

namespace Ardo::Kiln::Threading
{

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace
{

/// Every() with the finer period. No derived class, whose constructor would race with the thread.
ScopedScheduledWork InternalEvery(BackgroundWorker& worker, std::chrono::microseconds period,
                                  std::function<void()>&& function)
{
    struct Access : BackgroundWorker
    {
        using BackgroundWorker::InternalEvery;
    };
    return (worker.*&Access::InternalEvery)(period, std::move(function));
}

/// Counts its calls; others wait for them.
struct Counter
{
    std::atomic<int> runs = 0;

    void operator()()
    {
        ++runs;
        runs.notify_all();
    }

    void WaitFor(int count) const
    {
        for (int seen = runs; seen < count; seen = runs)
        {
            runs.wait(seen);
        }
    }
};

} // namespace

TEST(PeriodicWorkTest, RunsPeriodByPeriodWithoutMeetingItselfUntilItsOwnerGoes)
{
    Counter counter;
    std::atomic<int> inside = 0;
    BackgroundWorker worker;
    const auto begin = Clock::now();
    const auto run = [&]
    {
        EXPECT_EQ(++inside, 1);
        EXPECT_GE(Clock::now() - begin, (counter.runs + 1) * 5ms);
        for (const auto end = Clock::now() + 6ms; Clock::now() < end;) // longer than the period
        {
        }
        --inside;
        counter();
    };
    {
        const ScopedScheduledWork series = InternalEvery(worker, 5ms, run);
        counter.WaitFor(2);
        worker.Wait(); // other work has its turn between two runs
    }
    const int runs = counter.runs;
    Counter later; // its first run comes after the time of the ended series' next
    Polling::Poller poller(worker, 6ms);
    poller.Disable();
    poller.Enable(std::ref(later));
    later.WaitFor(1);
    EXPECT_EQ(counter.runs, runs);
    Counter second;
    poller.Enable(std::ref(second));
    worker.Wait();
    const int last = later.runs;
    second.WaitFor(2);
    EXPECT_EQ(later.runs, last);
}

TEST(PeriodicWorkTest, APeriodCountsItsLow32BitsOnly)
{
    Counter counter;
    BackgroundWorker worker;
    const auto begin = Clock::now();
    // Negative, and so over at once, again and again.
    ScopedScheduledWork series = InternalEvery(worker, 2'147'483'648us, std::ref(counter));
    counter.WaitFor(3);
    series = worker.Every(std::chrono::seconds::max(), std::ref(counter)); // no integer of microseconds at all
    counter.WaitFor(10);
    series = InternalEvery(worker, 4'294'967'296us + 1ms, std::ref(counter)); // a millisecond
    counter.WaitFor(counter.runs + 2);
    EXPECT_LT(Clock::now() - begin, 30min);
}

TEST(PeriodicWorkTest, CancelEndsTheSeriesAfterTheRunInProgress)
{
    BackgroundWorker worker;
    Gate gate;
    ScopedScheduledWork series = InternalEvery(worker, 1ms, [&] { gate.Pass(); }); // a second run would throw
    gate.AwaitEntry();
    EXPECT_FALSE(series.Cancel());
    gate.Open();
    series.Wait();
    EXPECT_TRUE(series.Cancel());
    series = worker.Every(1800s, [] {});
    EXPECT_TRUE(series.Cancel()); // between two runs: at once
    series.Wait();
    EXPECT_TRUE(worker.IsRunning());
}

TEST(PeriodicWorkTest, TheOwnersEndWaitsForARunWhoseSeriesWasReplacedLongAgo)
{
    // The last function holds what lets the first one finish: it is destroyed when the owner's destructor has begun.
    const auto lateRun = [](Gate& gate, std::atomic<bool>& hasEnded)
    {
        return [&]
        {
            gate.Pass();
            std::this_thread::sleep_for(20ms); // an owner that does not wait is gone by then
            hasEnded = true;
        };
    };
    const auto opener = [](Gate& gate) { return std::shared_ptr<void>(nullptr, [&](void*) { gate.Open(); }); };
    BackgroundWorker worker;
    for (const int replacements : {1, 2, 5})
    {
        Gate gate;
        std::atomic<bool> hasEnded = false;
        {
            Polling::Poller poller(worker, 1ms);
            poller.Enable(lateRun(gate, hasEnded));
            gate.AwaitEntry();
            for (int count = 1; count < replacements; ++count)
            {
                poller.Enable([] {});
            }
            poller.Enable([held = opener(gate)] {});
        }
        EXPECT_TRUE(hasEnded) << replacements;

        Gate other;
        hasEnded = false;
        {
            ScopedScheduledWork series = InternalEvery(worker, 1ms, lateRun(other, hasEnded));
            other.AwaitEntry();
            for (int count = 1; count < replacements; ++count)
            {
                series = worker.Every(1s, [] {});
            }
            ScopedScheduledWork last;
            last = std::move(series);
            last = worker.Every(1s, [held = opener(other)] {});
        }
        EXPECT_TRUE(hasEnded) << replacements;
    }
    Polling::Poller endless(worker, std::chrono::milliseconds::max()); // wraps around to a negative time: at once
    Counter counter;
    endless.Enable(std::ref(counter));
    counter.WaitFor(2);
}

TEST(PeriodicWorkTest, HandledWarningsDoNotEndASeriesOtherExceptionsDo)
{
    Counter warnings;
    BackgroundWorker worker("", [&](const Exception::Warning&) { warnings(); });
    const ScopedScheduledWork series = InternalEvery(worker, 1ms, [] { throw Exception::Warning("low"); });
    warnings.WaitFor(2);

    boost::asio::io_context context; // where the exception comes to light
    const auto work = std::make_shared<PeriodicWork>([] { throw std::runtime_error("failed"); });
    PeriodicScheduledWork failing(context, work, 0us);
    EXPECT_THROW(context.run(), std::runtime_error);
    EXPECT_FALSE(failing.Cancel());
    EXPECT_TRUE(failing.Wait()); // a failed series has ended, too
    EXPECT_EQ(context.run(), 1U) << "the wait that was begun before the run, and no other";
}

TEST(PeriodicWorkTest, TheHandleMayMoveStopAndOutliveItsContext)
{
    int runs = 0;
    const auto held = std::make_shared<int>();
    const auto make = [&] { return std::make_shared<PeriodicWork>([&runs, held] { ++runs; }); };
    PeriodicScheduledWork survivor;
    {
        boost::asio::io_context context;
        PeriodicScheduledWork first(context, make(), 0us);
        survivor = std::move(first);
        first = PeriodicScheduledWork(context, make(), 1h);
        EXPECT_EQ(context.run_one(), 1U); // the survivor's: moving has not stopped it
        EXPECT_EQ(runs, 1);
        first = PeriodicScheduledWork(context, make(), 1h);
        survivor = PeriodicScheduledWork(context, make(), 1h);
    }
    EXPECT_EQ(held.use_count(), 2) << "only the survivor's item is left";
    EXPECT_TRUE(survivor.Cancel());
}

} // namespace Ardo::Kiln::Threading
