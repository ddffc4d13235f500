#include "Ardo/Kiln/Exception/Handler.h"
#include "Ardo/Kiln/Threading/Asynchronizer.h"
#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/Kiln/Threading/ForegroundWorker.h"
#include "Ardo/Kiln/Threading/Work.h"
#include "tests/Kiln/Threading/Gate.h"
#include "tests/Support/SystemFacilities.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <barrier>
#include <thread>

namespace Ardo::Kiln::Threading
{

using ::testing::AnyOf;
using namespace std::chrono_literals;

namespace
{

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
const int Scale = 1;
#else
const int Scale = 10 / Support::HandoverCost();
#endif

/// Runs \p body in \p count threads, numbered from 0, and waits for all of them.
void InThreads(int count, const std::function<void(int)>& body)
{
    std::barrier begin(count);
    std::vector<std::thread> threads;
    for (int index = 0; index < count; ++index)
    {
        threads.emplace_back(
            [&, index]
            {
                begin.arrive_and_wait();
                body(index);
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

} // namespace

TEST(ThreadingLoadTest, EveryItemOfEightThreadsRunsOnceInTheOrderOfItsThread)
{
    constexpr int Threads = 8;
    const int Items = 12'500 * Scale / Support::HandoverCost(); // a thread: a million in all, under wine ten thousand
    struct Lane
    {
        std::vector<int> ran;
        int cancelled = 0;
    };
    std::array<Lane, Threads> lanes;
    BackgroundWorker worker;
    InThreads(Threads,
              [&](int index)
              {
                  Lane& lane = lanes[static_cast<std::size_t>(index)];
                  std::vector<std::pair<int, std::unique_ptr<ScheduledWork>>> scheduled;
                  for (int item = 0; item < Items; ++item)
                  {
                      const auto run = [&lane, item] { lane.ran.push_back(item); };
                      switch ((item + index) % 16)
                      {
                      case 0:
                          worker.Call(run);
                          break;
                      case 1:
                      case 2:
                          scheduled.emplace_back(item, worker.Schedule(run));
                          break;
                      case 3:
                          lane.cancelled += worker.Schedule(run)->Cancel() ? 1 : 0;
                          break;
                      default:
                          worker.Post(run);
                      }
                  }
                  for (const auto& [item, work] : scheduled)
                  {
                      EXPECT_TRUE(work->Wait()) << item;
                  }
              });
    worker.Wait();
    for (const Lane& lane : lanes)
    {
        EXPECT_EQ(lane.ran.size() + static_cast<std::size_t>(lane.cancelled), static_cast<std::size_t>(Items));
        EXPECT_TRUE(std::ranges::is_sorted(lane.ran, std::less_equal<>())) << "once, and in order";
    }
}

TEST(ThreadingLoadTest, AnEscapingExceptionStopsTheWorkerAndNobodyHangs)
{
    std::atomic<int> faults = 0;
    Exception::Handler::SetHandler([&](EXCEPTION_POINTERS*, const Exception::Handler::Notify&) { ++faults; });
    for (int round = 0; round < 30 * Scale; ++round)
    {
        BackgroundWorker worker;
        std::unique_ptr<ScheduledWork> failing;
        InThreads(5,
                  [&](int index)
                  {
                      if (index == 4)
                      {
                          failing = worker.Schedule([] { throw std::runtime_error("failed"); });
                          return;
                      }
                      std::string refusal;
                      while (refusal.empty())
                      {
                          bool ran = false;
                          refusal = Refusal([&] { worker.Call([&] { ran = true; }); });
                          EXPECT_TRUE(refusal == NotRunning || ran);
                      }
                      EXPECT_EQ(refusal, NotRunning);
                  });
        EXPECT_FALSE(failing->Wait());
        EXPECT_FALSE(worker.IsRunning());
        worker.Wait();
        EXPECT_EQ(Refusal([&] { worker.Post([] {}); }), NotRunning);
        EXPECT_EQ(Refusal([&] { worker.Schedule([] {}); }), NotRunning);
        EXPECT_EQ(Refusal([&] { worker.Call([] {}); }), NotRunning);
    }
    EXPECT_EQ(faults, 30 * Scale);
    Exception::Handler::ResetHandler();
}

#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__) // whose own handlers take the fault
TEST(ThreadingLoadTest, AFaultEndsEveryItemThatItInterrupts)
{
    Exception::Handler::SetHandler([](EXCEPTION_POINTERS*, const Exception::Handler::Notify&) {});
    int* volatile nowhere = nullptr;
    const auto fault = [&] { *nowhere = 1; };
    ForegroundWorker inner;
    BackgroundWorker worker;
    const auto caught = inner.Schedule(fault);
    const auto catching = worker.Schedule([&] { Exception::Handler::Execute([&] { inner.Wait(); }); });
    EXPECT_TRUE(catching->Wait());
    EXPECT_FALSE(caught->Wait());
    EXPECT_TRUE(worker.IsRunning());

    ForegroundWorker middle;
    const auto innermost = inner.Schedule(fault);
    const auto between = middle.Schedule([&] { inner.Wait(); });
    const auto outermost = worker.Schedule([&] { middle.Wait(); });
    EXPECT_FALSE(outermost->Wait());
    EXPECT_FALSE(between->Wait());
    EXPECT_FALSE(innermost->Wait());
    EXPECT_EQ(Refusal([&] { worker.Call([] {}); }), NotRunning);
    Exception::Handler::ResetHandler();
}
#endif

TEST(ThreadingLoadTest, AnItemsOwnersMayGoAtEveryMomentOfItsLife)
{
    const auto held = std::make_shared<int>();
    std::atomic<int> wrong = 0;
    {
        BackgroundWorker worker;
        ScopedScheduledWork current;
        Asynchronizer latest(worker);
        InThreads(3,
                  [&](int index)
                  {
                      for (int round = 0; round < 500 * Scale; ++round)
                      {
                          bool mayRun = true;
                          const auto use = [&wrong, &mayRun, held] { wrong += mayRun ? 0 : 1; };
                          if (index == 0)
                          {
                              const auto work = worker.Schedule(use);
                              work->Cancel() || work->Wait();
                          }
                          else if (index == 1)
                          {
                              current = worker.Schedule([held] {});
                              latest.Post([held] {});
                          }
                          else
                          {
                              const ScopedScheduledWork scoped = worker.Schedule(use);
                              current = std::make_unique<ScheduledWork>(std::make_shared<Work>([held] {}));
                              current.Cancel();
                              ScopedScheduledWork series = worker.Every(0s, use);
                              (round % 2 == 0) || series.Cancel();
                              ScopedScheduledWork survivor;
                              BackgroundWorker shortLived;
                              survivor = shortLived.Every(0s, [held] {});
                              survivor = shortLived.Schedule([held] {});
                          }
                          mayRun = false;
                      }
                  });
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(held.use_count(), 1);
}

} // namespace Ardo::Kiln::Threading
