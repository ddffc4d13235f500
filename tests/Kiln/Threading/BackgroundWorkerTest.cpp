#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Platform/ComApartment.h"
#include "Ardo/Kiln/Threading/Work.h"
#include "tests/Kiln/Threading/Gate.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <thread>

namespace Ardo::Kiln::Threading
{

using Platform::ComApartment;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::ThrowsMessage;

namespace
{

const auto Fail = [] { throw std::runtime_error("failed"); };
const auto Warn = [] { throw Exception::Warning("low"); };

} // namespace

TEST(BackgroundWorkerTest, AllHandOversRunInOneOrderOnItsThread)
{
    std::string order;
    BackgroundWorker worker;
    EXPECT_FALSE(worker.IsOnBackgroundThread());
    Gate gate;
    gate.Occupy(worker);
    worker.Post([&] { worker.Post([&] { order += "d"; }), order += "a"; }); // after what is queued already
    const auto scheduled = worker.Schedule([&] { order += "b"; });
    std::thread opener([&] { gate.Open(); });
    worker.Call(
        [&]
        {
            EXPECT_TRUE(worker.IsOnBackgroundThread());
            EXPECT_EQ(std::this_thread::get_id(), worker.GetThreadId());
            order += "c";
        });
    worker.Wait();
    opener.join();
    EXPECT_THAT(order, AnyOf("abcd", "abdc")); // the gate may have been opened before the call
}

TEST(BackgroundWorkerTest, RefusesToWaitForItself)
{
    bool ran = false;
    BackgroundWorker worker;
    worker.Call(
        [&]
        {
            EXPECT_EQ(Refusal([&] { worker.Call([&] { ran = true; }); }), Deadlock);
            EXPECT_EQ(Refusal([&] { worker.Wait(); }), Deadlock);
        });
    worker.Wait();
    EXPECT_FALSE(ran);
}

TEST(BackgroundWorkerTest, CallBringsExceptionsBackAndReleasesWhatTheFunctionHolds)
{
    const auto held = std::make_shared<int>();
    std::vector<std::string> warnings;
    BackgroundWorker worker("", [&](const Exception::Warning& warning) { warnings.emplace_back(warning.what()); });
    EXPECT_THROW(worker.Call(std::function<void()>()), std::bad_function_call);
    EXPECT_THROW(worker.Call(Warn), Exception::Warning); // the handler is for those who do not wait
    EXPECT_THAT([&] { worker.Call([held] { Fail(); }); }, ThrowsMessage<std::runtime_error>("failed"));
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_TRUE(worker.IsRunning());
    EXPECT_TRUE(warnings.empty());
}

TEST(BackgroundWorkerTest, WarningsGoToTheHandlerOnTheWorkersThread)
{
    std::vector<std::string> warnings;
    BackgroundWorker* itself = nullptr;
    const auto handler = [&](const Exception::Warning& warning)
    { warnings.emplace_back(itself->IsOnBackgroundThread() ? warning.what() : "elsewhere"); };
    BackgroundWorker worker(BackgroundWorker::DEFAULT_THREAD_NAME, handler);
    itself = &worker;
    worker.Post(Warn);
    const auto scheduled = worker.Schedule(Warn);
    EXPECT_FALSE(scheduled->Wait());
    EXPECT_FALSE(scheduled->Cancel());
    struct Forwarder : BackgroundWorker
    {
        Forwarder(BackgroundWorker& theTarget, const std::function<void(const Exception::Warning&)>& warningHandler)
            : BackgroundWorker(false, "", warningHandler, NO_COM_INITIALIZATION), target(theTarget)
        {
        }
        void InternalPost(const std::function<void()>& function) override { target.Post(function); }
        BackgroundWorker& target;
    } forwarder(worker, [&](const Exception::Warning&) { warnings.emplace_back("forwarder's"); });
    forwarder.Post(Warn); // meets the handler of the worker that it was given to
    worker.Call([] {});
    EXPECT_THAT(warnings, ElementsAre("low", "low", "forwarder's"));
}

TEST(BackgroundWorkerTest, AnItemIsCancelledOnlyBeforeItBegins)
{
    const auto held = std::make_shared<int>();
    bool ran = false;
    Gate gate;
    BackgroundWorker worker;
    const auto running = worker.Schedule([&, held] { gate.Pass(); });
    gate.AwaitEntry();
    const auto waiting = worker.Schedule([&, held] { ran = true; });
    EXPECT_TRUE(waiting->Cancel());
    EXPECT_EQ(held.use_count(), 2) << "a cancelled item keeps nothing";
    EXPECT_TRUE(waiting->Cancel());
    EXPECT_FALSE(waiting->Wait());
    EXPECT_FALSE(running->Cancel());
    gate.Open();
    EXPECT_TRUE(running->Wait());
    EXPECT_EQ(held.use_count(), 1) << "an item that is done keeps nothing, though its handle is there";
    EXPECT_FALSE(running->Cancel());
    worker.Wait();
    EXPECT_FALSE(ran);

    ScheduledWork none;
    EXPECT_TRUE(none.Cancel());
    EXPECT_TRUE(none.Wait());
    none = std::move(*running);
    EXPECT_FALSE(none.Cancel());
    EXPECT_TRUE(running->Cancel()); // holds nothing any more
}

TEST(BackgroundWorkerTest, TheDestructorFinishesWhatRunsAndDestroysWhatWaits)
{
    const auto held = std::make_shared<int>();
    std::vector<int> ran;
    std::unique_ptr<ScheduledWork> left;
    std::unique_ptr<ScheduledWork> running;
    std::thread opener;
    {
        Gate gate;
        BackgroundWorker worker;
        running = worker.Schedule(
            [&]
            {
                gate.Pass();
                while (worker.IsRunning()) // until the destructor has begun
                {
                    std::this_thread::yield();
                }
                ran.push_back(1);
                EXPECT_EQ(Refusal([&] { worker.Post([] {}); }), NotRunning);
                EXPECT_TRUE(worker.IsOnBackgroundThread());
                EXPECT_EQ(Refusal([&] { worker.Call([] {}); }), Deadlock);
                std::thread([&] { EXPECT_EQ(Refusal([&] { worker.Call([] {}); }), NotRunning); }).join();
            });
        gate.AwaitEntry();
        worker.Post([&, held] { ran.push_back(2); });
        left = worker.Schedule([&, held] { ran.push_back(3); });
        gate.Open();
    }
    EXPECT_THAT(ran, ElementsAre(1));
    EXPECT_TRUE(running->Wait());
    EXPECT_EQ(held.use_count(), 2) << "only the item, whose handle is there, keeps its function";
    EXPECT_TRUE(left->Cancel()) << "it had stayed Scheduled";
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_FALSE(left->Wait());
}

TEST(BackgroundWorkerTest, TheDestructorWaitsForCallsInProgress)
{
    for (int round = 0; round < 200;
         ++round) // the call gives up, or has just been done: either may use the worker last
    {
        std::promise<void> hasBegun;
        auto worker = std::make_unique<BackgroundWorker>();
        std::thread caller(
            [&, raw = worker.get()]
            {
                const auto untilTheDestructorHasBegun = [&, raw]
                {
                    hasBegun.set_value();
                    while (raw->IsRunning())
                    {
                    }
                };
                EXPECT_THAT(Refusal([&] { raw->Call(untilTheDestructorHasBegun); }), AnyOf(NotRunning, ""));
            });
        Await(hasBegun.get_future());
        worker.reset();
        caller.join();
    }
}

TEST(BackgroundWorkerTest, AFunctionMayDestroyItsOwnWorker)
{
    std::promise<void> queueIsGone;
    std::string ran;
    std::vector<std::string> warnings;
    const auto handler = [&](const Exception::Warning& warning) { warnings.emplace_back(warning.what()); };
    auto worker = std::make_shared<BackgroundWorker>("", handler);
    Gate gate;
    gate.Occupy(*worker);
    const auto scheduled = worker->Schedule(
        [&, worker]() mutable
        {
            worker.reset();
            ran += "a";
            Warn(); // goes to the handler even now
        });
    worker->Post([&, atTheEnd = std::shared_ptr<void>(nullptr, [&](void*) { queueIsGone.set_value(); })]
                 { ran += "x"; });
    const std::weak_ptr<BackgroundWorker> observer = worker;
    worker.reset();
    gate.Open();
    Await(queueIsGone.get_future());
    EXPECT_TRUE(observer.expired());
    EXPECT_FALSE(scheduled->Wait()); // a warning is a failure
    EXPECT_EQ(ran, "a");
    EXPECT_THAT(warnings, ElementsAre("low"));
}

TEST(BackgroundWorkerDeathTest, AFunctionMayCallExitWhileItsWorkerIsStatic)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto exitOnWorker = []
    {
        static BackgroundWorker g_worker;
        g_worker.Post([] { std::exit(5); });
        std::this_thread::sleep_for(std::chrono::hours(1));
    };
    EXPECT_EXIT(exitOnWorker(), ::testing::ExitedWithCode(5), "^$");
}

TEST(BackgroundWorkerTest, WhatAFunctionHoldsGoesBeforeItsItemHasEnded)
{
    struct Probe : Work
    {
        using Work::Work;
        WorkState State()
        {
            const std::lock_guard lock(m_mutex);
            return m_state;
        }
    };
    for (const bool fails : {false, true})
    {
        std::shared_ptr<Probe> item;
        WorkState seen = WorkState::Scheduled;
        const auto look = [&](void*) { seen = item->State(); };
        item =
            std::make_shared<Probe>([fails, held = std::shared_ptr<void>(nullptr, look)] { fails ? Fail() : void(); });
        BackgroundWorker worker;
        if (fails)
        {
            EXPECT_THROW(worker.Call([&] { (*item)(); }), std::runtime_error);
        }
        else
        {
            worker.Call([&] { (*item)(); });
        }
        EXPECT_EQ(seen, WorkState::Running);
        EXPECT_EQ(item->State(), fails ? WorkState::Failed : WorkState::Succeeded);
    }
}

TEST(BackgroundWorkerTest, EntersTheApartmentAskedFor)
{
    const std::tuple<int, ComApartment> apartments[] = {{0, ComApartment::None},
                                                        {1, ComApartment::ApartmentThreaded},
                                                        {2, ComApartment::MultiThreaded},
                                                        {77, ComApartment::MultiThreaded},
                                                        {-1, ComApartment::MultiThreaded}};
    for (const auto& [type, expected] : apartments)
    {
        ComApartment apartment{};
        BackgroundWorker worker("", {}, static_cast<ComInitializationType>(type));
        worker.Call([&] { apartment = Platform::CurrentComApartment(); });
        EXPECT_EQ(apartment, expected) << type;
    }
    EXPECT_EQ(Platform::EnterComApartment(ComApartment::MultiThreaded), 0);
    EXPECT_EQ(Platform::EnterComApartment(ComApartment::MultiThreaded), 1);
    EXPECT_EQ(static_cast<std::uint32_t>(Platform::EnterComApartment(ComApartment::ApartmentThreaded)), 0x80010106);
    Platform::LeaveComApartment();
    Platform::LeaveComApartment();
    EXPECT_EQ(Platform::CurrentComApartment(), ComApartment::None);
}

TEST(BackgroundWorkerTest, WithoutAThreadFunctionsRunAtOnce)
{
    struct Direct : BackgroundWorker
    {
        Direct() : BackgroundWorker(false, "", NO_WARNING_HANDLER, NO_COM_INITIALIZATION) {}
        void Wait() override { ++waits; }
        int waits = 0;
    } worker;
    int ran = 0;
    worker.Post([&] { ++ran; });
    EXPECT_EQ(ran, 1);
    EXPECT_TRUE(worker.Schedule([&] { ++ran; })->Wait());
    worker.Call([&] { ran += worker.waits; }); // waits first
    EXPECT_EQ(ran, 3);
    EXPECT_TRUE(worker.IsRunning());
    EXPECT_TRUE(worker.IsOnBackgroundThread());
    EXPECT_EQ(worker.GetThreadId(), std::this_thread::get_id());
    EXPECT_EQ(Refusal([&] { worker.Every(std::chrono::seconds(1), [] {}); }),
              "Cannot schedule periodic tasks without a thread");
}

} // namespace Ardo::Kiln::Threading
