#include "tests/Kiln/Threading/MainThreadTest.h"

#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/Kiln/Threading/ThreadChecks.h"
#include "tests/Support/LogCollector.h"

#include <gmock/gmock.h>

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

/// Counts the jobs whose captures end on the main thread.
using Capture = std::unique_ptr<std::atomic<int>, void (*)(std::atomic<int>*)>;

Capture Counted(std::atomic<int>& ended)
{
    return {&ended, [](std::atomic<int>* count)
            { *count += QThread::currentThread() == QCoreApplication::instance()->thread() ? 1 : 0; }};
}

class MainThreadDispatchTest : public MainThreadTest
{
protected:
    static std::string Blocking(const GuardedQObjectPointer& guard)
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
};

} // namespace

TEST_F(MainThreadDispatchTest, TheDispatcherAndItsMetaTypes)
{
    EXPECT_EQ(ToMainThreadInitialization::GetDispatcher()->objectName(), "MainThreadDispatcher");
    EXPECT_NE(QMetaType::type("VoidJob"), 0);
    EXPECT_EQ(QMetaType::type("VoidJob"), QMetaType::type("Ardo::Kiln::Threading::VoidJob"));
    EXPECT_NE(QMetaType::type("GuardedQObjectPointer"), 0);
    EXPECT_EQ(QMetaType::type("GuardedQObjectPointer"), QMetaType::type("QPointer<QObject>"));
    auto guard = std::make_unique<QObject>();
    const QVariant value = QVariant::fromValue(GuardedQObjectPointer(guard.get()));
    EXPECT_EQ(value.value<QObject*>(), guard.get());
    guard.reset();
    EXPECT_EQ(value.value<QObject*>(), nullptr);

    std::atomic<int> ended = 0;
    bool ran = false;
    ToMainThread(&m_application, [&ran, capture = Counted(ended)] { ran = true; });
    const ToMainThreadInitialization second; // its dispatcher takes the place of the first, jobs and all
    EXPECT_EQ(ended, 1);
    const VoidJob byHand = [&ended] { ++ended; };
    ASSERT_TRUE(QMetaObject::invokeMethod(
        ToMainThreadInitialization::GetDispatcher(), "ExecuteOnMainThread", Qt::QueuedConnection,
        Q_ARG(GuardedQObjectPointer, GuardedQObjectPointer(&m_application)), Q_ARG(VoidJob, byHand)));
    QCoreApplication::processEvents();
    EXPECT_FALSE(ran);
    EXPECT_EQ(ended, 2);
    m_toMainThread.reset(); // either of them takes the current one
    EXPECT_EQ(ToMainThreadInitialization::GetDispatcherOrNull(), nullptr);
    EXPECT_EQ(Blocking(&m_application), "ToMainThread functionality not initialized. Please create an instance of "
                                        "ToMainThreadInitialization.");
}

TEST_F(MainThreadDispatchTest, JobsRunInOrderAndEndOnTheMainThread)
{
    Support::LogCollector log;
    log.ExpectErrors({"A job on the main thread failed: no detector"});
    std::atomic<int> ended = 0;
    std::vector<int> order; // touched by the main thread only
    RunWith(1,
            [&](int)
            {
                ToMainThread(&m_application, [&order, capture = Counted(ended)] { order.push_back(1); });
                ToMainThread(&m_application, [] { throw Exception::Error("no detector"); });
                EXPECT_EQ(ToMainThreadBlocking(&m_application, [&order, capture = Counted(ended)] { return order; }),
                          std::vector{1});
                EXPECT_EQ(ended, 2); // also those that somebody waits for, before he goes on
                EXPECT_THROW(ToMainThreadBlocking(&m_application, [] { throw std::out_of_range("beam"); }),
                             std::out_of_range);
            });
    ToMainThread(&m_application, [&order] { order.push_back(3); }); // from the main thread: queued, and at once
    ToMainThreadBlocking(&m_application, [&order] { order.push_back(2); });
    QCoreApplication::processEvents();
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
    EXPECT_THAT(log.Messages(), ElementsAre("A job on the main thread failed: no detector"));
}

TEST_F(MainThreadDispatchTest, NobodyWaitsForAnEventLoopThatHasEndedOrADispatcherThatIsGone)
{
    // The waiting thread comes between the end of the event loop and the moment when the dispatcher learns of it: its
    // job is queued and removed, or refused.
    m_toMainThread.reset();
    std::string answer;
    std::thread waiting;
    const auto wait = [&] { waiting = std::thread([&] { answer = Blocking(&m_application); }); };
    QObject::connect(&m_application, &QCoreApplication::aboutToQuit, &m_application, wait);
    m_toMainThread.emplace();
    for (int round = 0; round < 50; ++round)
    {
        ToMainThread(&m_application, QCoreApplication::quit);
        QCoreApplication::exec();
        waiting.join();
        ASSERT_EQ(answer, "gone");
    }
    // An event loop runs again. Nothing tells that a job is queued; a dispatcher that goes before is another answer.
    answer.clear();
    for (int round = 1; round < 100 && answer != "gone"; ++round)
    {
        m_toMainThread.emplace();
        QCoreApplication::processEvents();
        wait();
        std::this_thread::sleep_for(std::chrono::milliseconds(round));
        m_toMainThread.reset();
        waiting.join();
    }
    EXPECT_EQ(answer, "gone");
}

TEST_F(MainThreadDispatchTest, GuardsAreDeletedWhileThreadsDispatch)
{
    constexpr int Rounds = 2000;
    constexpr int Threads = 3;
    const Support::LogCollector log;
    std::atomic<int> ended = 0;
    std::atomic<int> ran = 0;
    std::atomic<int> gone = 0;
    RunWith(Threads,
            [&](int)
            {
                for (int round = 0; round < Rounds; ++round)
                {
                    const GuardedQObjectPointer guard =
                        ToMainThreadBlocking(&m_application, [] { return GuardedQObjectPointer(new QObject); });
                    ToMainThread(guard, [&ran, capture = Counted(ended)] { ++ran; });
                    ToMainThread(&m_application, [guard] { delete guard.data(); });
                    ToMainThread(guard, [&ran, capture = Counted(ended)] { ran = -1; });
                    gone += round % 10 == 0 && Blocking(guard) == "gone" ? 1 : 0;
                }
            });
    EXPECT_EQ(ran, Threads * Rounds);
    EXPECT_EQ(ended, 2 * Threads * Rounds);
    EXPECT_EQ(gone, Threads * Rounds / 10);
    EXPECT_EQ(Blocking(nullptr), "gone");
    EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST_F(MainThreadDispatchTest, AThreadCheckThatFailsIsLoggedAsAWarning)
{
    const Support::LogCollector log;
    std::ostringstream numbers; // as the classic locale writes them
    numbers.imbue(std::locale::classic());
    BackgroundWorker worker;
    const std::thread::id mainThread = std::this_thread::get_id();
    AssertMainThread();
    EXPECT_TRUE(IsOnThread(mainThread) && IsNotOnThread(std::thread::id()) && IsNotOnThread(worker));
    EXPECT_THAT(log.Messages(), IsEmpty());
    EXPECT_FALSE(IsOnThread(worker) || IsNotOnThread(mainThread));
    worker.Call(
        [&]
        {
            AssertMainThread();
            EXPECT_FALSE(IsOnThread(mainThread) || IsNotOnThread(worker));
            EXPECT_TRUE(IsOnThread(worker) && IsNotOnThread(mainThread));
            numbers << "Not called from expected thread|Called from thread " << mainThread
                    << " - expected another thread|Expected main thread, got thread "
                    << reinterpret_cast<quintptr>(QThread::currentThreadId())
                    << " instead|Called from wrong thread: expected: " << mainThread
                    << " - actual: " << std::this_thread::get_id() << "|Unexpectedly called from background thread|";
        });
    std::string texts;
    for (const auto& record : log.Records())
    {
        EXPECT_EQ(record.severity, Logger::warning);
        texts += record.message + "|";
    }
    EXPECT_EQ(texts, numbers.str());
}

TEST(ToMainThreadInitializationTest, WithoutAnApplicationTheProgramEnds)
{
    qputenv("QT_FORCE_STDERR_LOGGING", "1"); // without a console Qt would tell a debugger on Windows
    AssertMainThread();                      // there is none
    EXPECT_DEATH(ToMainThreadInitialization(), "Ensure the QApplication instance is created before initializing "
                                               "ToMainThread functionality");
}

} // namespace Ardo::Kiln::Threading
