#include "Ardo/Kiln/Threading/QBaseTransmitter.h"
#include "Ardo/Kiln/Threading/ViewCapabilities.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include "Ardo/Kiln/Threading/ForegroundWorker.h"
#include "tests/Kiln/Threading/Gate.h"
#include "tests/Kiln/Threading/MainThreadTest.h"
#include "tests/Support/LogCollector.h"
#include "tests/Support/MessageOf.h"
#include "tests/Support/SystemFacilities.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <thread>

namespace Ardo::Kiln::Threading
{

using Support::MessageOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace
{

enum class Ability
{
    Acquire,
    Stop,
    Maintain,
    Highest = 63,
    TooHigh = 64,
    Negative = -1
};

enum class Command
{
    Start,
    Stop,
    Service,
    Unnamed
};

using Abilities = ModelCapabilities<Ability>;

struct Incomparable
{
};

class PresenterTest : public MainThreadTest
{
protected:
    /// Runs the main thread's event loop until the events that are queued now are handled.
    static void RunEvents()
    {
        ToMainThread(QCoreApplication::instance(), QCoreApplication::quit);
        QCoreApplication::exec();
    }
};

using CapabilitiesTest = ::testing::Test;
using ViewSignalTest = PresenterTest;
using TransmitterTest = PresenterTest;

} // namespace

TEST(CapabilitiesTest, WhatAViewOffersFollowsFromWhatTheModelCan)
{
    const ViewRules<Ability, Command> rules = {{Command::Start, {Ability::Acquire}, "not connected"},
                                               {Command::Start, {Ability::Highest}, "no beam"},
                                               {Command::Stop, {}, "never said"},
                                               {Command::Service, {Ability::Acquire}, "not connected"},
                                               {Command::Service, {Ability::Maintain}, "", Offer::Hidden}};
    struct Case
    {
        Abilities model;
        Offer start;
        std::string reason;
        Offer service;
    };
    for (const Case& row :
         {Case{{}, Offer::Disabled, "not connected", Offer::Hidden},
          Case{{Ability::Acquire}, Offer::Disabled, "no beam", Offer::Hidden},
          Case{{Ability::Highest, Ability::Maintain}, Offer::Disabled, "not connected", Offer::Disabled},
          Case{{Ability::Highest, Ability::Maintain, Ability::Acquire}, Offer::Enabled, "", Offer::Enabled}})
    {
        SCOPED_TRACE(row.reason);
        const auto view = rules.Apply(row.model);
        EXPECT_EQ(view.Of(Command::Start).offer, row.start);
        EXPECT_EQ(view.Of(Command::Start).reason, row.reason);
        EXPECT_EQ(view.Of(Command::Service).offer, row.service);
        EXPECT_TRUE(view.IsEnabled(Command::Stop));
        EXPECT_EQ(view.Of(Command::Unnamed).offer, Offer::Hidden);

        auto same = view;
        same.Set(Command::Unnamed, Offer::Hidden); // says nothing
        EXPECT_EQ(same, view);
        same.Set(Command::Unnamed, Offer::Hidden, "a reason is a difference");
        EXPECT_NE(same, view);
    }

    Abilities abilities{Ability::Stop};
    EXPECT_EQ(abilities.Set(Ability::Highest, true).Set(Ability::Stop, false), Abilities{Ability::Highest});
    for (const Ability wrong : {Ability::TooHigh, Ability::Negative})
    {
        EXPECT_THAT(MessageOf([&] { abilities.Set(wrong, true); }),
                    HasSubstr("An ability has a value from 0 to 63, not "));
        EXPECT_THROW(static_cast<void>(abilities.Can(wrong)), std::out_of_range);
    }
}

TEST_F(ViewSignalTest, EachReceiverIsCalledOnTheThreadThatItChose)
{
    using Calls = std::vector<std::pair<int, std::thread::id>>;
    std::array<Calls, 4> calls; // caller, main thread, worker, drained worker
    BackgroundWorker worker;
    ForegroundWorker drained;
    ViewSignal<int, std::string> signal;
    std::vector<ScopedConnection> connections;
    const std::array threads = {DeliverOn::Caller(), DeliverOn::MainThread(), DeliverOn::Worker(worker),
                                DeliverOn::Worker(drained)};
    for (std::size_t index = 0; index < threads.size(); ++index)
    {
        const auto receive = [&list = calls[index]](int number, const std::string& text)
        { list.emplace_back(number + static_cast<int>(text.size()), std::this_thread::get_id()); };
        connections.push_back(signal.Connect(threads[index], receive));
    }
    EXPECT_EQ(signal.ReceiverCount(), 4);

    std::thread::id sender;
    std::thread(
        [&]
        {
            sender = std::this_thread::get_id();
            signal.Emit(1, "x");
            signal.Emit(2, "");
        })
        .join();
    RunEvents();
    worker.Wait();
    drained.Wait();
    const std::array expected = {sender, std::this_thread::get_id(), worker.GetThreadId(), std::this_thread::get_id()};
    for (std::size_t index = 0; index < calls.size(); ++index)
    {
        EXPECT_THAT(calls[index], ElementsAre(std::pair(2, expected[index]), std::pair(2, expected[index]))) << index;
    }
    connections.clear();
    EXPECT_EQ(signal.ReceiverCount(), 0);
}

TEST_F(ViewSignalTest, ASlowReceiverGetsWhatItsDeliverySaysAndAlwaysTheLast)
{
    struct Case
    {
        const char* name;
        Delivery delivery;
        std::vector<int> sent; ///< While the receiver is busy with 1.
        std::vector<int> got;
    };
    for (const Case& row : {Case{"every", Delivery::Every(), {2, 2, 3}, {1, 2, 2, 3}},
                            Case{"every, full", Delivery::Every(2), {2, 3, 4, 5}, {1, 4, 5}},
                            Case{"latest", Delivery::Latest(), {2, 3, 3}, {1, 3}},
                            Case{"changes, back to the first", Delivery::Changes(), {2, 1}, {1}}})
    {
        SCOPED_TRACE(row.name);
        Gate gate;
        std::vector<int> got;
        BackgroundWorker worker;
        ViewSignal<int> signal;
        const auto connection = signal.Connect(
            DeliverOn::Worker(worker),
            [&](int value)
            {
                got.push_back(value);
                if (got.size() == 1)
                {
                    gate.Pass();
                }
            },
            row.delivery);
        signal.Emit(1);
        gate.AwaitEntry();
        for (const int value : row.sent)
        {
            signal.Emit(value);
        }
        gate.Open();
        worker.Wait();
        EXPECT_EQ(got, row.got);
    }
}

TEST_F(ViewSignalTest, AfterDisconnectNothingRunsAndNothingIsHeld)
{
    Gate gate;
    BackgroundWorker worker;
    ViewSignal<int> signal;
    auto held = std::make_shared<int>();
    const std::weak_ptr<int> captured = held;
    std::atomic<int> calls = 0;
    auto connection = signal.Connect(DeliverOn::Worker(worker),
                                     [&, own = std::move(held)](int)
                                     {
                                         ++calls;
                                         gate.Pass();
                                     });
    signal.Emit(1);
    signal.Emit(2); // waits, and is dropped
    gate.AwaitEntry();
    std::thread opener(
        [&]
        {
            while (signal.ReceiverCount() != 0) // until Disconnect() has closed the connection: 2 must not get through
            {
                std::this_thread::yield();
            }
            gate.Open();
        });
    connection.Disconnect(); // waits for the call, or the next line fails
    EXPECT_TRUE(captured.expired());
    signal.Emit(3);
    worker.Wait();
    EXPECT_EQ(calls, 1);
    opener.join();

    // Within its own call, on two kinds of threads; the captures live until the call returns.
    for (const DeliverOn& thread : {DeliverOn::Caller(), DeliverOn::Worker(worker)})
    {
        auto text = std::make_shared<std::string>("alive");
        const std::weak_ptr<std::string> end = text;
        std::string seen;
        ScopedConnection own = signal.Connect(thread,
                                              [&seen, &own, text = std::move(text)](int)
                                              {
                                                  own.Disconnect();
                                                  seen += *text;
                                              });
        signal.Emit(4);
        signal.Emit(5);
        worker.Wait();
        EXPECT_EQ(seen, "alive");
        EXPECT_TRUE(end.expired());
    }

    // What a signal has emitted outlives it.
    std::vector<int> got;
    ScopedConnection late;
    {
        ViewSignal<int> shortLived;
        late = shortLived.Connect(DeliverOn::MainThread(), [&](int value) { got.push_back(value); });
        shortLived.Emit(6);
    }
    RunEvents();
    EXPECT_THAT(got, ElementsAre(6));
}

TEST_F(ViewSignalTest, WrongUseAndFailingReceiversAreErrorsThatKeepTheOthersServed)
{
    Support::LogCollector log;
    ViewSignal<Incomparable> signal;
    const auto ignore = [](const Incomparable&) {};
    EXPECT_EQ(MessageOf([&] { const auto lost = signal.Connect(DeliverOn::Caller(), nullptr); }),
              "The receiver is an empty function");
    EXPECT_EQ(MessageOf([&] { const auto lost = signal.Connect(DeliverOn::Caller(), ignore, Delivery::Every(0)); }),
              "Delivery::maxPending is 0");
    EXPECT_EQ(MessageOf([&] { const auto lost = signal.Connect(DeliverOn::Caller(), ignore, Delivery::Changes()); }),
              "Delivery::Changes needs values that have an operator==");

    int served = 0;
    const auto fail = [](const char* text) { return [=](const Incomparable&) { throw std::runtime_error(text); }; };
    const auto first = signal.Connect(DeliverOn::Caller(), fail("first"));
    const auto second = signal.Connect(DeliverOn::Caller(), fail("second"));
    const auto onMain = signal.Connect(DeliverOn::MainThread(), fail("on the main thread"));
    const auto last = signal.Connect(DeliverOn::Caller(), [&](const Incomparable&) { ++served; });
    EXPECT_EQ(MessageOf([&] { signal.Emit({}); }), "first");
    EXPECT_EQ(served, 1);
    log.ExpectErrors({"A job on the main thread failed: on the main thread"});
    RunEvents();

    // A main thread that is not there, and one that is replaced with a value on its way.
    m_toMainThread.reset();
    EXPECT_THAT(MessageOf([&] { const QBaseTransmitter lost; }),
                HasSubstr("ToMainThread functionality not initialized."));
    std::vector<int> got;
    ViewSignal<int> numbers;
    const auto receiver = numbers.Connect(
        DeliverOn::MainThread(), [&](int value) { got.push_back(value); }, Delivery::Latest());
    EXPECT_THAT(MessageOf([&] { numbers.Emit(1); }), HasSubstr("ToMainThread functionality not initialized."));
    m_toMainThread.emplace();
    numbers.Emit(2);
    m_toMainThread.emplace();
    numbers.Emit(3);
    RunEvents();
    EXPECT_THAT(got, ElementsAre(3));
}

TEST_F(TransmitterTest, MemoryStaysFlatWhileTheMainThreadIsBlockedAndTheLastFrameIsShown)
{
    using Frame = std::pair<int, std::vector<char>>;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr std::uint64_t Bound = ~std::uint64_t{0}; // a sanitizer takes memory of its own
    constexpr int FrameCount = 20'000;
#else
    constexpr std::uint64_t Bound = 4 << 20;
    constexpr int FrameCount = 200'000; // an event for each would take more than the bound
#endif
    std::promise<void> isBlocked;
    std::promise<void> mayGoOn;
    std::vector<int> shown;
    QBaseTransmitter transmitter;
    const Sender<Frame> frames = transmitter.Open<Frame>(
        [&](const Frame& frame)
        {
            shown.push_back(frame.first);
            if (shown.size() == 1)
            {
                isBlocked.set_value();
                Await(mayGoOn.get_future());
            }
            if (frame.first == FrameCount)
            {
                QCoreApplication::quit();
            }
        });
    std::jthread detector(
        [&]
        {
            EXPECT_TRUE(frames.Send({1, {}}));
            Await(isBlocked.get_future());
            EXPECT_TRUE(frames.IsTaken());
            const std::uint64_t before = Support::PeakMemory();
            for (int number = 2; number <= FrameCount; ++number)
            {
                frames.Send({number, std::vector<char>(10'000)});
            }
            EXPECT_FALSE(frames.IsTaken());
            EXPECT_LT(Support::PeakMemory() - before, Bound);
            mayGoOn.set_value();
        });
    QCoreApplication::exec();
    detector.join();
    EXPECT_THAT(shown, ElementsAre(1, FrameCount));
    EXPECT_EQ(frames.DroppedCount(), FrameCount - 2);
}

TEST_F(TransmitterTest, ChannelsKeepTheirOrderAndEndWithTheTransmitter)
{
    std::string shown;
    auto transmitter = std::make_unique<QBaseTransmitter>();
    const auto progress = transmitter->Open<int>([&](int percent) { shown += std::to_string(percent) + " "; });
    const auto result = transmitter->Open<std::string>(
        [&](const std::string& text)
        {
            shown += text;
            transmitter.reset(); // a window that closes itself when it has what it waited for
            shown += " closed";
        });
    std::thread(
        [&]
        {
            for (int percent = 0; percent <= 100; ++percent)
            {
                EXPECT_TRUE(progress.Send(percent));
            }
            EXPECT_TRUE(result.Send("done"));
        })
        .join();
    progress.Send(101); // comes with the one that is on its way
    RunEvents();
    EXPECT_EQ(shown, "101 done closed");
    EXPECT_FALSE(progress.Send(1));
    EXPECT_TRUE(progress.IsTaken());
    EXPECT_FALSE(Sender<int>().Send(1));
    RunEvents();
    EXPECT_EQ(shown, "101 done closed");
}

TEST_F(TransmitterTest, UnderLoadFromFourThreadsNoLastValueIsLostAndNoneComesAfterDisconnecting)
{
    constexpr int Threads = 4;
    constexpr int Count = 3000;
    BackgroundWorker worker;
    ViewSignal<int, int> signal; // thread, number
    QBaseTransmitter transmitter;
    std::array<int, Threads> onMain{};
    std::array<int, Threads> onWorker{};
    std::atomic<int> onCaller = 0;
    bool isOrdered = true;
    std::vector<Sender<int>> senders;
    for (std::size_t index = 0; index < Threads; ++index)
    {
        senders.push_back(transmitter.Open<int>(
            [&, index](int number)
            {
                isOrdered = isOrdered && number > onMain[index];
                onMain[index] = number;
            },
            Delivery::Changes()));
    }
    const auto every = signal.Connect(
        DeliverOn::Worker(worker), [&](int thread, int number) { onWorker[static_cast<std::size_t>(thread)] = number; },
        Delivery::Every(Threads * Count));
    const auto atOnce = signal.Connect(DeliverOn::Caller(), [&](int, int) { ++onCaller; });

    std::atomic<int> lateCalls = 0;
    const auto work = [&](int thread)
    {
        for (int number = 1; number <= Count; ++number)
        {
            senders[static_cast<std::size_t>(thread)].Send(number);
            signal.Emit(thread, number);
            if (number % 10 == 0) // a presenter that comes and goes
            {
                const auto isGone = std::make_shared<std::atomic<bool>>(false);
                const auto receive = [&lateCalls, isGone](int, int) { lateCalls += isGone->load() ? 1 : 0; };
                ScopedConnection visit =
                    signal.Connect(thread % 2 == 0 ? DeliverOn::Worker(worker) : DeliverOn::Caller(), receive);
                signal.Emit(thread, number);
                visit.Disconnect();
                *isGone = true;
            }
        }
    };
    RunWith(Threads, work);
    RunEvents();
    worker.Wait();
    EXPECT_THAT(onMain, Each(Count));
    EXPECT_THAT(onWorker, Each(Count));
    EXPECT_EQ(onCaller, Threads * (Count + Count / 10));
    EXPECT_EQ(lateCalls, 0);
    EXPECT_TRUE(isOrdered);
    EXPECT_EQ(signal.ReceiverCount(), 2);
}

} // namespace Ardo::Kiln::Threading
