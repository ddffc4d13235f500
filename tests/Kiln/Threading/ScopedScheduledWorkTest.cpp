#include "Ardo/Kiln/Threading/ScopedScheduledWork.h"

#include "Ardo/Kiln/Threading/Asynchronizer.h"
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

using Events = std::vector<std::string>;

/// An item that tells what is done to it. Never runs.
class Item : public WorkBase
{
public:
    Item(std::string name, Events& events, bool isRunning)
        : WorkBase({}), m_name(std::move(name)), m_events(events), m_isRunning(isRunning)
    {
    }
    ~Item() override { m_events.push_back("drop " + m_name); }

    bool Cancel() override
    {
        m_events.push_back("cancel " + m_name);
        return !m_isRunning;
    }
    bool Wait() override
    {
        m_events.push_back("wait " + m_name);
        return true;
    }
    void operator()() override {}

private:
    void Succeed() override {}
    void Fail() override {}

    const std::string m_name;
    Events& m_events;
    const bool m_isRunning;
};

constexpr bool Running = true;
constexpr bool Waiting = false;

} // namespace

class ScopedScheduledWorkTest : public ::testing::Test
{
protected:
    std::unique_ptr<ScheduledWork> Make(const std::string& name, bool isRunning)
    {
        return std::make_unique<ScheduledWork>(std::make_shared<Item>(name, m_events, isRunning));
    }

    Events Take() { return std::exchange(m_events, {}); }

private:
    Events m_events;
};

TEST_F(ScopedScheduledWorkTest, ItsEndCancelsOrWaitsForBoth)
{
    {
        ScopedScheduledWork none;
        EXPECT_TRUE(none.Cancel());
        none.Wait();
    }
    {
        ScopedScheduledWork work(Make("a", Running));
        work = Make("b", Waiting);
        EXPECT_THAT(Take(), ElementsAre("cancel a"));
        EXPECT_TRUE(work.Cancel());
        work.Wait();
        EXPECT_THAT(Take(), ElementsAre("cancel b", "wait b"));
        const ScopedScheduledWork moved(std::move(work));
        EXPECT_TRUE(work.Cancel());
        EXPECT_THAT(Take(), IsEmpty());
    }
    EXPECT_THAT(Take(), ElementsAre("cancel b", "cancel a", "wait a", "drop a", "drop b"));
}

TEST_F(ScopedScheduledWorkTest, AssigningAHandleRemembersOneRunningPredecessor)
{
    ScopedScheduledWork work(Make("a", Waiting));
    work = Make("b", Running);
    EXPECT_THAT(Take(), ElementsAre("cancel a", "drop a"));
    work = Make("c", Running);
    work = Make("d", Waiting);
    EXPECT_THAT(Take(), ElementsAre("cancel b", "cancel c", "drop b")); // b is let go unwaited
    work = nullptr;
    EXPECT_THAT(Take(), ElementsAre("cancel d", "drop d"));
}

TEST_F(ScopedScheduledWorkTest, MovingTreatsTheOthersPredecessorByWhetherItsOwnItemRuns)
{
    const auto make = [this](const std::string& name, bool isRunning)
    {
        ScopedScheduledWork work(Make(name + "1", Running));
        work = Make(name + "2", isRunning);
        return work;
    };
    {
        ScopedScheduledWork target = make("a", Waiting);
        ScopedScheduledWork source = make("b", Waiting);
        Take();
        target = std::move(source);
        EXPECT_THAT(Take(), ElementsAre("cancel a2", "drop a1", "drop a2")); // takes b1 over, unasked
    }
    EXPECT_THAT(Take(), ElementsAre("cancel b2", "cancel b1", "wait b1", "drop b1", "drop b2"));
    {
        ScopedScheduledWork target = make("a", Running);
        ScopedScheduledWork source = make("b", Waiting);
        Take();
        target = std::move(source);
        EXPECT_THAT(Take(), ElementsAre("cancel a2", "drop a1", "cancel b1", "wait b1"));
        source = nullptr;
        EXPECT_THAT(Take(), IsEmpty()) << "b1 has stayed with the source";
        ScopedScheduledWork& same = target;
        target = std::move(same);
        EXPECT_THAT(Take(), IsEmpty());
    }
    EXPECT_THAT(Take(), ElementsAre("cancel b1", "wait b1", "drop b1", "cancel b2", "cancel a2", "wait a2", "drop a2",
                                    "drop b2"));
}

TEST(AsynchronizerTest, OnlyTheLatestOfWhatWaitsRuns)
{
    std::vector<int> ran;
    Gate gate;
    {
        Asynchronizer latest({}, "Preview");
        latest.Post(
            [&]
            {
                gate.Pass();
                ran.push_back(1);
            });
        gate.entered.get_future().wait();
        latest.Post([&] { ran.push_back(2); });
        latest.Post([&] { ran.push_back(3); });
        gate.Open();
        latest.Wait();
        EXPECT_THAT(ran, ElementsAre(1, 3));
    }
    BackgroundWorker worker;
    Gate other;
    std::thread opener;
    {
        Asynchronizer latest(worker);
        latest.Post(
            [&]
            {
                other.Pass();
                // Posts until the destructor has begun, and into it.
                for (int i = 0; i < 1000; ++i)
                {
                    latest.Post([&] { ran.push_back(5); });
                }
                ran.push_back(4);
            });
        other.entered.get_future().wait();
        other.Open();
    }
    EXPECT_EQ(ran[2], 4) << "what runs is waited for";
    ran.clear();
    worker.Wait();
    EXPECT_THAT(ran, IsEmpty()) << "what waits is cancelled";
}

} // namespace Ardo::Kiln::Threading
