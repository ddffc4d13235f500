#include "Ardo/Kiln/Threading/ScopedScheduledWork.h"

#include "Ardo/Kiln/Threading/Asynchronizer.h"
#include "Ardo/Kiln/Threading/ForegroundWorker.h"
#include "Ardo/Kiln/Threading/ScheduledWork.h"
#include "Ardo/Kiln/Threading/WorkBase.h"
#include "tests/Kiln/Threading/Gate.h"

#include <gmock/gmock.h>

#include <thread>

namespace Ardo::Kiln::Threading
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

/// An item that tells what is done to it, a letter and its name each. Never runs.
struct Item : WorkBase
{
    Item(char theName, std::string& theEvents, bool running)
        : WorkBase({}), name(theName), events(theEvents), isRunning(running)
    {
    }
    ~Item() override { Tell("~"); }

    bool Cancel() override { return Tell("c") && !isRunning; }
    bool Wait() override { return Tell("w"); }
    void operator()() override {}
    void Succeed() override {}
    void Fail() override {}
    bool Tell(const char* what) const { return !(events += what + std::string(1, name) + " ").empty(); }

    const char name;
    std::string& events;
    const bool isRunning;
};

constexpr bool Running = true;
constexpr bool Waiting = false;

} // namespace

class ScopedScheduledWorkTest : public ::testing::Test
{
protected:
    std::unique_ptr<ScheduledWork> Make(char name, bool isRunning)
    {
        return std::make_unique<ScheduledWork>(std::make_shared<Item>(name, m_events, isRunning));
    }

    /// Owns \p previous, which runs, and \p current.
    ScopedScheduledWork Make(char previous, char current, bool isRunning)
    {
        ScopedScheduledWork work(Make(previous, Running));
        work = Make(current, isRunning);
        m_events.clear();
        return work;
    }

    std::string Take() { return std::exchange(m_events, {}); }

private:
    std::string m_events;
};

TEST_F(ScopedScheduledWorkTest, ItsEndCancelsOrWaitsForBoth)
{
    {
        ScopedScheduledWork work = Make('a', 'b', Waiting);
        EXPECT_TRUE(work.Cancel());
        work.Wait();
        const ScopedScheduledWork moved(std::move(work));
        EXPECT_TRUE(work.Cancel()); // owns nothing any more
        EXPECT_EQ(Take(), "cb wb ");
    }
    EXPECT_EQ(Take(), "cb ca wa ~a ~b ");
}

TEST_F(ScopedScheduledWorkTest, AssigningAHandleRemembersOneRunningPredecessor)
{
    ScopedScheduledWork work(Make('a', Waiting));
    work = Make('b', Running);
    EXPECT_EQ(Take(), "ca ~a ");
    work = Make('c', Running);
    work = Make('d', Waiting);
    EXPECT_EQ(Take(), "cb cc ~b "); // b is let go unwaited
    work = nullptr;
    EXPECT_EQ(Take(), "cd ~d ");
}

TEST_F(ScopedScheduledWorkTest, MovingTreatsTheOthersPredecessorByWhetherItsOwnItemRuns)
{
    {
        ScopedScheduledWork target = Make('a', 'b', Waiting);
        ScopedScheduledWork source = Make('x', 'y', Waiting);
        target = std::move(source);
        EXPECT_EQ(Take(), "cb ~a ~b "); // takes x over, unasked
    }
    EXPECT_EQ(Take(), "cy cx wx ~x ~y ");
    {
        ScopedScheduledWork target = Make('a', 'b', Running);
        ScopedScheduledWork source = Make('x', 'y', Waiting);
        target = std::move(source);
        EXPECT_EQ(Take(), "cb ~a cx wx ");
        ScopedScheduledWork& same = target;
        target = std::move(same);
        EXPECT_EQ(Take(), "");
    }
    EXPECT_EQ(Take(), "cx wx ~x cy cb wb ~b ~y ") << "x has stayed with the source";
}

TEST(AsynchronizerTest, OnlyTheLatestOfWhatWaitsRuns)
{
    std::vector<int> ran;
    Gate gate;
    {
        Asynchronizer latest({}, "Preview");
        latest.Post([&] { gate.Pass(), ran.push_back(1); });
        gate.AwaitEntry();
        latest.Post([&] { ran.push_back(2); });
        latest.Post([&] { ran.push_back(3); });
        gate.Open();
        latest.Wait();
        EXPECT_THAT(ran, ElementsAre(1, 3));
    }
    BackgroundWorker worker;
    Gate other;
    {
        Asynchronizer latest(worker);
        const auto postOn = [&]
        {
            other.Pass();
            for (int i = 0; i < 1000; ++i) // until the destructor has begun, and into it
            {
                latest.Post([&] { ran.push_back(5); });
            }
            ran.push_back(4);
        };
        latest.Post(postOn);
        other.AwaitEntry();
        other.Open();
    }
    EXPECT_EQ(ran[2], 4) << "what runs is waited for";
    ran.clear();
    worker.Wait();
    EXPECT_THAT(ran, IsEmpty()) << "what waits is cancelled";
}

TEST(AsynchronizerTest, WhatACancelledRequestHoldsMayPost)
{
    std::vector<int> ran;
    ForegroundWorker worker;
    {
        Asynchronizer latest(worker);
        const auto posting = [&](int number)
        {
            const auto post = [&latest, &ran, number](void*)
            { latest.Post([&ran, number] { ran.push_back(number); }); };
            return std::shared_ptr<void>(nullptr, post);
        };
        latest.Post([&, held = posting(2)] { ran.push_back(1); });
        latest.Post([&] { ran.push_back(3); }); // cancels 1, which posts 2 in its place
        worker.Wait();
        EXPECT_THAT(ran, ElementsAre(2));
        latest.Post([&, held = posting(5)] { ran.push_back(4); });
        worker.Wait();
        worker.Wait();
        EXPECT_THAT(ran, ElementsAre(2, 4, 5)) << "what a request holds goes with its run";
        latest.Post([&, held = posting(7)] { ran.push_back(6); });
    }
    worker.Wait();
    EXPECT_THAT(ran, ElementsAre(2, 4, 5)) << "ignored by the destructor";
}

TEST(AsynchronizerTest, ItsEndWaitsForAPostInProgress)
{
    /// Keeps whoever posts until the gate opens.
    struct SlowWorker : ForegroundWorker
    {
        void InternalPost(const std::function<void()>& function) override
        {
            ForegroundWorker::InternalPost(function);
            gate.Pass();
        }
        Gate gate;
    } worker;
    bool ran = false;
    auto latest = std::make_unique<Asynchronizer>(worker);
    std::thread poster([&, raw = latest.get()] { raw->Post([&] { ran = true; }); });
    worker.gate.AwaitEntry();
    std::promise<void> end;
    std::thread ender([&] { latest.reset(), end.set_value(); });
    EXPECT_EQ(end.get_future().wait_for(std::chrono::milliseconds(500)), std::future_status::timeout);
    worker.gate.Open();
    poster.join();
    ender.join();
    worker.Wait();
    EXPECT_FALSE(ran) << "posted, and cancelled by the end";
}

} // namespace Ardo::Kiln::Threading
