#include "Ardo/Kiln/Threading/JobQueue_p.h"

#include "Ardo/Kiln/Exception/Warning.h"

#include <gmock/gmock.h>

#include <boost/asio/steady_timer.hpp>

#include <memory>
#include <string>
#include <vector>

namespace Ardo::Kiln::Threading
{

using ::testing::ElementsAre;
using Caller = JobQueue::Caller;

TEST(JobQueueTest, RunsInOrderAndGoesOnAfterTheFunctionThatThrew)
{
    std::string ran;
    std::vector<std::string> warnings;
    const std::function<void(const Exception::Warning&)> handler = [&](const Exception::Warning& warning)
    { warnings.emplace_back(warning.what()); };
    JobQueue queue;
    const auto note = [&ran](char name) { return [&ran, name] { ran += name; }; };
    queue.Post({note('a')}, Caller::GoesOn);
    queue.Post({[&] { throw Exception::Warning("handled"); }, &handler}, Caller::GoesOn);
    queue.Post({[&] { queue.Post({note('e')}, Caller::GoesOn), ran += 'b'; }}, Caller::Waits);
    queue.Post({[&] { throw Exception::Warning("not handled"); }}, Caller::GoesOn);
    queue.Post({[] { throw 42; }, &handler}, Caller::Waits);
    queue.Post({note('c'), &handler}, Caller::Waits);
    queue.Post({[&] { queue.Post({[&] { queue.Stop(); }}, Caller::GoesOn), ran += 'd'; }}, Caller::GoesOn);
    EXPECT_THROW(queue.Run(), Exception::Warning);
    EXPECT_EQ(ran, "ab");
    EXPECT_THROW(queue.Run(), int);
    queue.Run();
    EXPECT_EQ(ran, "abcde");
    EXPECT_THAT(warnings, ElementsAre("handled"));
    EXPECT_TRUE(queue.IsStopped());
}

TEST(JobQueueTest, WhatAFunctionHoldsIsDestroyedWithItsRunOrWithTheQueueAndMayPost)
{
    std::string events;
    {
        JobQueue queue;
        const auto note = [&](char name) { queue.Post({[&events, name] { events += name; }}, Caller::GoesOn); };
        const auto holding = [&](char name)
        {
            std::shared_ptr<void> held(nullptr,
                                       [&, name](void*)
                                       {
                                           events += '~';
                                           events += name;
                                           note(static_cast<char>(name + 1));
                                       });
            return [&events, name, held = std::move(held)] { events += name; };
        };
        queue.Post({holding('a')}, Caller::GoesOn);
        queue.Post({[&] { events += 'x', queue.Stop(); }}, Caller::GoesOn);
        queue.Post({[held = holding('p')] {}}, Caller::GoesOn);
        queue.Run();
        EXPECT_EQ(events, "a~ax");
        queue.Run(); // stopped for good
        queue.Post({[held = std::make_shared<int>()] {}}, Caller::Waits);
        EXPECT_EQ(events, "a~ax");
        events.clear();
    }
    EXPECT_EQ(events, "~p") << "destroyed uncalled";
}

TEST(JobQueueTest, TimersHaveTheirTurnHoweverManyFunctionsCome)
{
    JobQueue queue;
    boost::asio::steady_timer timer(queue.Context(), std::chrono::milliseconds(1));
    timer.async_wait([&](const boost::system::error_code&) { queue.Stop(); });
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    std::function<void()> again = [&]
    {
        if (std::chrono::steady_clock::now() < end)
        {
            queue.Post({again}, Caller::GoesOn);
        }
        else
        {
            ADD_FAILURE() << "the timer never had its turn";
            queue.Stop();
        }
    };
    again();
    queue.Run();
}

} // namespace Ardo::Kiln::Threading
