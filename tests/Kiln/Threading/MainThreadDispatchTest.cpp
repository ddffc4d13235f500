#include "Ardo/Kiln/Threading/ToMainThread.h"

#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/Kiln/Threading/ThreadChecks.h"
#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"
#include "tests/Support/LogCollector.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QThread>
#include <QVariant>

#include <atomic>
#include <thread>

namespace Ardo::Kiln::Threading
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

/// Counts where captures end.
struct Capture
{
    explicit Capture(std::atomic<int>& endedOnMainThread) : m_ended(&endedOnMainThread) {}
    Capture(Capture&& other) noexcept : m_ended(std::exchange(other.m_ended, nullptr)) {}
    ~Capture()
    {
        if (m_ended != nullptr && QThread::currentThread() == QCoreApplication::instance()->thread())
        {
            ++*m_ended;
        }
    }

private:
    std::atomic<int>* m_ended;
};

class MainThreadDispatchTest : public ::testing::Test
{
protected:
    /// Runs the main thread's event loop until \p count threads have called \p work.
    void RunWith(int count, const std::function<void()>& work)
    {
        std::atomic<int> running = count;
        std::vector<std::thread> threads;
        for (int index = 0; index < count; ++index)
        {
            threads.emplace_back(
                [&]
                {
                    work();
                    if (--running == 0)
                    {
                        ToMainThread(&m_application, [] { QCoreApplication::quit(); });
                    }
                });
        }
        QCoreApplication::exec();
        for (std::thread& thread : threads)
        {
            thread.join();
        }
    }

    static std::string Blocking(QObject* guard)
    {
        try
        {
            return ToMainThreadBlocking(guard, [] { return std::string("ran"); });
        }
        catch (const MainThreadDispatchException&)
        {
            return "gone";
        }
        catch (const std::runtime_error& error)
        {
            return error.what();
        }
    }

    int m_argc = 1;
    std::string m_name = "test";
    char* m_argv[2] = {m_name.data(), nullptr};
    QCoreApplication m_application{m_argc, m_argv};
    std::optional<ToMainThreadInitialization> m_toMainThread{std::in_place};
};

} // namespace

TEST_F(MainThreadDispatchTest, TheDispatcherExistsWhileAnInitializationDoes)
{
    Private::MainThreadDispatcher* const first = ToMainThreadInitialization::GetDispatcher();
    EXPECT_EQ(first->objectName(), "MainThreadDispatcher");
    EXPECT_EQ(first->parent(), nullptr);
    std::atomic<int> ended = 0;
    bool ran = false;
    ToMainThread(&m_application, [&ran, capture = Capture(ended)] { ran = true; });
    const ToMainThreadInitialization second; // its dispatcher takes the place of the first, jobs and all
    EXPECT_EQ(ended, 1);
    QCoreApplication::processEvents();
    EXPECT_FALSE(ran);
    m_toMainThread.reset(); // either of them takes the current one
    EXPECT_EQ(ToMainThreadInitialization::GetDispatcherOrNull(), nullptr);
    EXPECT_EQ(Blocking(&m_application), "ToMainThread functionality not initialized. Please create an instance of "
                                        "ToMainThreadInitialization.");
}

TEST_F(MainThreadDispatchTest, TheMetaTypesAreKnownByBothNames)
{
    EXPECT_NE(QMetaType::type("VoidJob"), 0);
    EXPECT_EQ(QMetaType::type("VoidJob"), QMetaType::type("Ardo::Kiln::Threading::VoidJob"));
    EXPECT_NE(QMetaType::type("GuardedQObjectPointer"), 0);
    EXPECT_EQ(QMetaType::type("GuardedQObjectPointer"), QMetaType::type("QPointer<QObject>"));

    auto guard = std::make_unique<QObject>();
    const QVariant value = QVariant::fromValue(GuardedQObjectPointer(guard.get()));
    EXPECT_EQ(value.value<QObject*>(), guard.get());
    guard.reset();
    EXPECT_EQ(value.value<QObject*>(), nullptr);

    bool ran = false; // an invocation by hand
    const VoidJob job = [&ran] { ran = true; };
    ASSERT_TRUE(QMetaObject::invokeMethod(
        ToMainThreadInitialization::GetDispatcher(), "ExecuteOnMainThread", Qt::QueuedConnection,
        Q_ARG(GuardedQObjectPointer, GuardedQObjectPointer(&m_application)), Q_ARG(VoidJob, job)));
    EXPECT_FALSE(ran);
    QCoreApplication::processEvents();
    EXPECT_TRUE(ran);
}

TEST_F(MainThreadDispatchTest, JobsRunInOrderOnTheMainThreadAndEndThere)
{
    std::atomic<int> ended = 0;
    std::vector<int> order; // touched by the main thread only
    RunWith(1,
            [&]
            {
                ToMainThread(&m_application, [&order, capture = Capture(ended)] { order.push_back(1); });
                ToMainThread(&m_application, [&order] { order.push_back(2); });
                const int size = ToMainThreadBlocking(&m_application,
                                                      [&order, capture = Capture(ended)]
                                                      {
                                                          order.push_back(3);
                                                          return static_cast<int>(order.size());
                                                      });
                EXPECT_EQ(size, 3);
                EXPECT_EQ(ended, 2); // also those that somebody waits for, before he goes on
                EXPECT_THROW(ToMainThreadBlocking(&m_application, [] { throw std::out_of_range("beam"); }),
                             std::out_of_range);
                EXPECT_EQ(&ToMainThreadBlocking(&m_application, [&order]() -> std::vector<int>& { return order; }),
                          &order);
            });
    EXPECT_THAT(order, ElementsAre(1, 2, 3));

    // On the main thread itself: queued, and at once.
    ToMainThread(&m_application, [&order] { order.push_back(5); });
    ToMainThreadBlocking(&m_application, [&order] { order.push_back(4); });
    QCoreApplication::processEvents();
    EXPECT_THAT(order, ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(MainThreadDispatchTest, AJobThatThrowsIsLoggedAndDropped)
{
    const Support::LogCollector log;
    ToMainThread(&m_application, [] { throw Exception::Error("no detector"); });
    ToMainThread(&m_application, [] { throw 7; });
    QCoreApplication::processEvents();
    EXPECT_THAT(log.Messages(), ElementsAre("A job on the main thread failed: no detector",
                                            "A job on the main thread failed: unknown exception"));
    EXPECT_EQ(log.Records().at(0).severity, Logger::error);
}

TEST_F(MainThreadDispatchTest, WithoutItsGuardAJobIsDroppedAndWhoeverWaitsIsTold)
{
    const Support::LogCollector log;
    std::atomic<int> ended = 0;
    auto guard = std::make_unique<QObject>();
    bool ran = false;
    ToMainThread(guard.get(), [&ran, capture = Capture(ended)] { ran = true; });
    ToMainThread(nullptr, [&ran, capture = Capture(ended)] { ran = true; });
    std::thread waiting;
    ToMainThread(&m_application,
                 [&]
                 {
                     waiting = std::thread(
                         [&, pointer = GuardedQObjectPointer(guard.get())]
                         {
                             ToMainThread(&m_application, [&guard] { guard.reset(); });
                             EXPECT_THROW(ToMainThreadBlocking(pointer, [capture = Capture(ended)] {}),
                                          MainThreadDispatchException);
                             EXPECT_EQ(ended, 3);
                             ToMainThread(&m_application, [] { QCoreApplication::quit(); });
                         });
                 });
    guard.reset();
    guard = std::make_unique<QObject>();
    QCoreApplication::exec();
    waiting.join();
    EXPECT_FALSE(ran);
    EXPECT_EQ(Blocking(nullptr), "gone");
    EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST_F(MainThreadDispatchTest, NobodyWaitsForAnEventLoopThatHasEndedOrADispatcherThatIsGone)
{
    // The waiting thread comes between the end of the event loop and the moment when the dispatcher learns of it: its
    // job is queued and removed, or refused.
    m_toMainThread.reset();
    std::string answer;
    std::thread waiting;
    QObject::connect(&m_application, &QCoreApplication::aboutToQuit, &m_application,
                     [&] { waiting = std::thread([&] { answer = Blocking(&m_application); }); });
    m_toMainThread.emplace();
    for (int round = 0; round < 50; ++round)
    {
        ToMainThread(&m_application, [] { QCoreApplication::quit(); });
        QCoreApplication::exec();
        waiting.join();
        ASSERT_EQ(answer, "gone");
    }

    waiting = std::thread([&] { answer = Blocking(&m_application); });
    waiting.join();
    EXPECT_EQ(answer, "gone");
    QCoreApplication::processEvents(); // an event loop runs again
    waiting = std::thread([&] { answer = Blocking(&m_application); });
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED // there is no other way to see that a job is queued
        while (!QCoreApplication::hasPendingEvents())
    {
        std::this_thread::yield();
    }
    QT_WARNING_POP
    m_toMainThread.reset();
    waiting.join();
    EXPECT_EQ(answer, "gone");
}

TEST_F(MainThreadDispatchTest, GuardsAreDeletedWhileThreadsDispatch)
{
    constexpr int Rounds = 2000;
    constexpr int Threads = 3;
    std::atomic<int> ended = 0;
    std::atomic<int> ran = 0;
    std::atomic<int> gone = 0;
    int runAfterDeletion = 0;
    RunWith(Threads,
            [&]
            {
                for (int round = 0; round < Rounds; ++round)
                {
                    const GuardedQObjectPointer guard =
                        ToMainThreadBlocking(&m_application, [] { return GuardedQObjectPointer(new QObject); });
                    ToMainThread(guard, [&ran, capture = Capture(ended)] { ++ran; });
                    ToMainThread(&m_application, [guard] { delete guard.data(); });
                    ToMainThread(guard, [&runAfterDeletion, capture = Capture(ended)] { ++runAfterDeletion; });
                    if (round % 10 == 0)
                    {
                        try
                        {
                            ToMainThreadBlocking(guard, [] {});
                        }
                        catch (const MainThreadDispatchException&)
                        {
                            ++gone;
                        }
                    }
                }
            });
    EXPECT_EQ(ran, Threads * Rounds);
    EXPECT_EQ(runAfterDeletion, 0);
    EXPECT_EQ(ended, 2 * Threads * Rounds);
    EXPECT_EQ(gone, Threads * Rounds / 10);
}

TEST_F(MainThreadDispatchTest, AThreadCheckThatFailsIsLoggedAsAWarning)
{
    const Support::LogCollector log;
    const auto number = [](const auto& value) // as the classic locale writes it
    {
        std::ostringstream text;
        text.imbue(std::locale::classic());
        text << value;
        return text.str();
    };
    const BackgroundWorker worker;
    const std::thread::id mainThread = std::this_thread::get_id();
    AssertMainThread();
    EXPECT_TRUE(IsOnThread(mainThread));
    EXPECT_TRUE(IsNotOnThread(std::thread::id()));
    EXPECT_TRUE(IsNotOnThread(worker));
    EXPECT_THAT(log.Messages(), IsEmpty());

    std::vector<std::string> expected = {"Called from thread " + number(mainThread) + " - expected another thread",
                                         "Not called from expected thread"};
    EXPECT_FALSE(IsNotOnThread(mainThread));
    EXPECT_FALSE(IsOnThread(worker));
    BackgroundWorker other;
    other.Call(
        [&]
        {
            expected.push_back("Expected main thread, got thread " +
                               number(reinterpret_cast<quintptr>(QThread::currentThreadId())) + " instead");
            expected.push_back("Called from wrong thread: expected: " + number(mainThread) +
                               " - actual: " + number(std::this_thread::get_id()));
            expected.emplace_back("Unexpectedly called from background thread");
            AssertMainThread();
            EXPECT_FALSE(IsOnThread(mainThread));
            EXPECT_FALSE(IsNotOnThread(other));
            EXPECT_TRUE(IsOnThread(other));
            EXPECT_TRUE(IsNotOnThread(mainThread));
        });
    EXPECT_EQ(log.Messages(), expected);
    for (const auto& record : log.Records())
    {
        EXPECT_EQ(record.severity, Logger::warning);
    }
}

TEST(ToMainThreadInitializationTest, WithoutAnApplicationTheProgramEnds)
{
    AssertMainThread(); // there is none
    EXPECT_EQ(ToMainThreadInitialization::GetDispatcherOrNull(), nullptr);
    EXPECT_DEATH(ToMainThreadInitialization(), "Ensure the QApplication instance is created before initializing "
                                               "ToMainThread functionality");
}

} // namespace Ardo::Kiln::Threading
