#include "Ardo/Kiln/Threading/PeriodicWork.h"

#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Threading/PeriodicScheduledWork.h"
#include "Ardo/Kiln/Threading/Poller.h"
#include "tests/Kiln/Threading/Gate.h"

#include <gmock/gmock.h>

#include <boost/asio/io_context.hpp>

#include <atomic>
#include <latch>

namespace Ardo::Kiln::Threading
{

using ::testing::ElementsAre;
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

/// A function that counts its runs, and those who wait for one of them.
struct Counter
{
    std::atomic<int> runs = 0;

    std::function<void()> Function()
    {
        return [this]
        {
            ++runs;
            runs.notify_all();
        };
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

TEST(PeriodicWorkTest, RunsFirstAfterOnePeriodAndThenPeriodByPeriodUntilItsOwnerGoes)
{
    Counter counter;
    std::vector<Clock::time_point> times{Clock::now()};
    BackgroundWorker worker;
    {
        const ScopedScheduledWork series = InternalEvery(worker, 5ms,
                                                         [&, count = counter.Function()]
                                                         {
                                                             times.push_back(Clock::now());
                                                             count();
                                                         });
        counter.WaitFor(3);
    }
    const int runs = counter.runs;
    for (std::size_t i = 1; i < times.size(); ++i)
    {
        EXPECT_GE(times[i] - times[0], i * 5ms) << i;
    }
    Counter later; // its first run comes after the time of the ended series' next
    const ScopedScheduledWork other = InternalEvery(worker, 6ms, later.Function());
    later.WaitFor(1);
    EXPECT_EQ(counter.runs, runs);
}

TEST(PeriodicWorkTest, EveryCountsSeconds)
{
    Counter counter;
    BackgroundWorker worker;
    const auto begin = Clock::now();
    const ScopedScheduledWork series = worker.Every(1s, counter.Function());
    counter.WaitFor(1);
    EXPECT_GE(Clock::now() - begin, 1s);
}

TEST(PeriodicWorkTest, APeriodCountsItsLow32BitsOnly)
{
    Counter counter;
    BackgroundWorker worker;
    // Negative, and so over at once, again and again; but each time after what is queued.
    ScopedScheduledWork wrapped = InternalEvery(worker, 2'147'483'648us, counter.Function());
    counter.WaitFor(3);
    wrapped = worker.Every(std::chrono::seconds::max(), counter.Function()); // no integer of microseconds at all
    counter.WaitFor(10);
    wrapped = InternalEvery(worker, 4'294'967'296us + 1ms, counter.Function()); // a millisecond
    counter.WaitFor(counter.runs + 2);
}

TEST(PeriodicWorkTest, CancelEndsTheSeriesAfterTheRunInProgress)
{
    BackgroundWorker worker;
    Gate gate;
    std::atomic<int> runs = 0;
    ScopedScheduledWork series = InternalEvery(worker, 1ms,
                                               [&]
                                               {
                                                   ++runs;
                                                   gate.Pass(); // a second run would throw
                                               });
    gate.entered.get_future().wait();
    EXPECT_FALSE(series.Cancel());
    gate.Open();
    series.Wait();
    EXPECT_TRUE(series.Cancel());

    series = InternalEvery(worker, 1h, [] {});
    EXPECT_TRUE(series.Cancel()); // between two runs: at once
    series.Wait();
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(worker.IsRunning());
}

TEST(PeriodicWorkTest, ARunThatTakesLongerThanThePeriodIsFollowedByTheNextAndNeverMet)
{
    std::atomic<int> inside = 0;
    Counter counter;
    BackgroundWorker worker;
    const ScopedScheduledWork series = InternalEvery(worker, 100us,
                                                     [&, count = counter.Function()]
                                                     {
                                                         EXPECT_EQ(++inside, 1);
                                                         const auto end = Clock::now() + 1ms;
                                                         while (Clock::now() < end)
                                                         {
                                                         }
                                                         --inside;
                                                         count();
                                                     });
    for (int i = 0; i < 5; ++i)
    {
        worker.Wait(); // other work gets its turn between the runs
    }
    counter.WaitFor(5);
}

TEST(PeriodicWorkTest, HandledWarningsDoNotEndASeriesOtherExceptionsDo)
{
    std::atomic<int> warnings = 0;
    Counter counter;
    BackgroundWorker worker("", [&](const Exception::Warning&) { ++warnings; });
    const ScopedScheduledWork series = InternalEvery(worker, 1ms,
                                                     [count = counter.Function()]
                                                     {
                                                         count();
                                                         throw Exception::Warning("low");
                                                     });
    counter.WaitFor(3);
    EXPECT_GE(warnings, 2);

    // The same on a context of one's own, where the exception comes to light.
    boost::asio::io_context context;
    const auto work = std::make_shared<PeriodicWork>([] { throw std::runtime_error("failed"); });
    PeriodicScheduledWork failing(context, work, 0us);
    EXPECT_THROW(context.run(), std::runtime_error);
    EXPECT_FALSE(work->IsScheduled());
    EXPECT_FALSE(failing.Cancel());
    EXPECT_TRUE(failing.Wait()); // a failed series has ended, too
    EXPECT_EQ(context.run(), 1U) << "the wait that was begun before the run";
    EXPECT_EQ(context.run(), 0U) << "and no other";
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
        first = PeriodicScheduledWork();
        EXPECT_EQ(context.run_one(), 1U); // either the aborted wait, or the next run
        PeriodicScheduledWork(context, make(), 1h);
        PeriodicScheduledWork pending(context, make(), 1h);
        pending = PeriodicScheduledWork(context, make(), 1h);
        survivor = PeriodicScheduledWork(context, make(), 1h);
    }
    EXPECT_EQ(held.use_count(), 2) << "only the survivor's item is left";
    EXPECT_TRUE(survivor.Cancel());
    EXPECT_EQ(held.use_count(), 1);
}

TEST(PollerTest, EnableReplacesDisableEnds)
{
    Counter first;
    Counter second;
    BackgroundWorker worker;
    Polling::Poller poller(worker, 1ms);
    poller.Disable();
    poller.Enable(first.Function());
    first.WaitFor(2);
    poller.Enable(second.Function());
    worker.Wait();
    const int runs = first.runs;
    second.WaitFor(3);
    EXPECT_EQ(first.runs, runs);
    poller.Disable();
    worker.Wait();
    const int last = second.runs;
    first.runs = 0;
    Polling::Poller other(worker, 2ms);
    other.Enable(first.Function());
    first.WaitFor(1);
    EXPECT_EQ(second.runs, last);
}

} // namespace Ardo::Kiln::Threading
