#include "Ardo/Kiln/Exception/ErrorDialog.h"

#include "Ardo/Kiln/Exception/ErrorDialogQueue_p.h"
#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/ErrorWithCode.h"
#include "Ardo/Kiln/Exception/Handler.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/NotifyException.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Platform/FaultDispatch.h"

#include <boost/throw_exception.hpp>
#include <gmock/gmock.h>

#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <QTimer>

#include <atomic>
#include <thread>

namespace Ardo::Kiln::Exception
{

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace
{

/// A question and what becomes of it.
struct Question
{
    std::shared_ptr<Notification> notification = std::make_shared<Notification>();
    std::future<MinidumpActions> answer = notification->reply.get_future();

    int Decision()
    {
        notification.reset(); // an unanswered question would end the wait with an exception
        return answer.get().decision;
    }
};

class ErrorDialogTest : public ::testing::Test
{
protected:
    using Action = std::function<void(QDialog*)>;

    ErrorDialogTest()
    {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        m_application = std::make_unique<QApplication>(m_argc, m_argv);
        ::testing::internal::CaptureStderr();
    }

    ~ErrorDialogTest() override
    {
        m_application.reset();
        ErrorDialogQueue::SetTakeUpLimit(std::chrono::seconds(30));
        if (!m_consoleTaken)
        {
            EXPECT_THAT(Console(), Not(::testing::ContainsRegex("------- (Error|Warning)")));
        }
    }

    /// What went to the standard error stream.
    std::string Console()
    {
        m_consoleTaken = true;
        return ::testing::internal::GetCapturedStderr();
    }

    static QDialog* Window() { return qobject_cast<QDialog*>(QApplication::activeModalWidget()); }

    /// Does \p action when the event loop runs and a window other than \p before is shown and active.
    static void WhenShown(const Action& action, const QPointer<QDialog>& before = nullptr)
    {
        QTimer::singleShot(0,
                           [action, before]
                           {
                               QDialog* const window = Window();
                               window == nullptr || window == before || !window->isActiveWindow()
                                   ? WhenShown(action, before)
                                   : action(window);
                           });
    }

    /// Runs the event loop until \p work has ended on a thread of its own.
    void RunWith(const std::function<void()>& work)
    {
        std::thread thread(
            [&]
            {
                work();
                QMetaObject::invokeMethod(
                    m_application.get(), [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
            });
        QApplication::exec();
        thread.join();
    }

    static int VisibleWindows()
    {
        const QWidgetList windows = QApplication::topLevelWidgets();
        return static_cast<int>(
            std::count_if(windows.begin(), windows.end(), [](QWidget* w) { return w->isVisible(); }));
    }

    static QString Message(QDialog* window) { return window->findChild<QTextEdit*>()->toPlainText(); }

    std::unique_ptr<QApplication> m_application;

private:
    int m_argc = 1;
    std::string m_name = "test";
    char* m_argv[2] = {m_name.data(), nullptr};
    bool m_consoleTaken = false;
};

} // namespace

TEST_F(ErrorDialogTest, WhateverThePersonDoesTheQuestionIsAnsweredOnce)
{
    const auto press = [](int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    { return [=](QDialog* window) { QTest::keyClick(window->focusWidget(), static_cast<Qt::Key>(key), modifiers); }; };
    struct Row
    {
        const char* name;
        bool offer;
        Action action;
        int decision;
    };
    const Row rows[] = {
        {"Return", true, press(Qt::Key_Return), 1},
        {"the letter of write", true, press(Qt::Key_W, Qt::AltModifier), 1},
        {"the letter of do not", true, press(Qt::Key_N, Qt::AltModifier), 0},
        {"the next button", true,
         [&](QDialog* window)
         {
             press(Qt::Key_Tab)(window);
             press(Qt::Key_Space)(window);
         },
         0},
        {"Escape", true, press(Qt::Key_Escape), 1},
        {"closed", true, [](QDialog* window) { window->close(); }, 1},
        {"the application quits", true, [](QDialog* /*window*/) { QCoreApplication::quit(); }, 1},
        {"Return without an offer", false, press(Qt::Key_Return), 1},
        {"Escape without an offer", false, press(Qt::Key_Escape), 1},
    };
    for (const Row& row : rows)
    {
        for (const bool fromWorker : {false, true})
        {
            SCOPED_TRACE(row.name + std::string(fromWorker ? ", worker" : ""));
            Question question;
            WhenShown(row.action);
            const auto show = [&] { ErrorDialog::ShowErrorDialog(question.notification, "no beam", row.offer); };
            int decision = -1;
            if (fromWorker)
            {
                RunWith(
                    [&]
                    {
                        show();
                        decision = question.Decision();
                    });
            }
            else
            {
                show();
                decision = question.Decision();
            }
            EXPECT_EQ(decision, row.decision);
            EXPECT_EQ(Window(), nullptr);
        }
    }
}

TEST_F(ErrorDialogTest, ShowsTheMessageAndFoldsTheDetailsAway)
{
    Question question;
    try
    {
        BOOST_THROW_EXCEPTION(ErrorWithCode(5, "no <b>beam</b> \xC2\xB5 \r\n")
                              << CategoryInfo("Gun") << ReportInfo("the report\nits end"));
    }
    catch (...)
    {
        question.notification->exception = std::current_exception();
    }
    WhenShown(
        [&](QDialog* window)
        {
            EXPECT_EQ(window->windowTitle(), "Error");
            EXPECT_EQ(Message(window), QStringLiteral("no <b>beam</b> \u00B5"));
            auto* const details = window->findChild<QPlainTextEdit*>();
            EXPECT_FALSE(details->isVisible());
            const int folded = window->height();
            QTest::keyClick(window, Qt::Key_D, Qt::AltModifier);
            EXPECT_TRUE(QTest::qWaitFor([&] { return details->isVisible(); })); // a button is seen to be pressed first
            EXPECT_GT(window->height(), folded);
            EXPECT_THAT(details->toPlainText().toStdString(),
                        AllOf(StartsWith("Severity: Fatal\nCategory: Gun\nCode: 5\nOrigin: "),
                              HasSubstr("ErrorDialogTest.cpp ("),
                              HasSubstr("\nType: Ardo::Kiln::Exception::ErrorWithCode\n\nthe report\nits end\n")));
            QTest::keyClick(window, Qt::Key_C, Qt::AltModifier);
            EXPECT_TRUE(QTest::qWaitFor([&] { return !QApplication::clipboard()->text().isEmpty(); }));
            EXPECT_EQ(QApplication::clipboard()->text(),
                      QStringLiteral("Error: no <b>beam</b> \u00B5\n\n") + details->toPlainText());
            QTest::keyClick(window, Qt::Key_D, Qt::AltModifier);
            EXPECT_TRUE(QTest::qWaitFor([&] { return !details->isVisible(); }));
            EXPECT_EQ(window->height(), folded);
            QTest::keyClick(window, Qt::Key_Escape);
        });
    NotifyException(question.notification);
    EXPECT_EQ(question.Decision(), 1);

    WhenShown(
        [](QDialog* window)
        {
            EXPECT_EQ(window->windowTitle(), "Warning");
            // A long message, without a blank to break it at, is cut and scrolls; the details have all of it.
            EXPECT_LT(Message(window).size(), 5000);
            EXPECT_THAT(window->findChild<QPlainTextEdit*>()->toPlainText().toStdString(),
                        StartsWith(std::string(100'000, 'W') + "\n\nSeverity: Warning"));
            EXPECT_LT(window->height(), 400);
            EXPECT_LT(window->width(), 800);
            QTest::keyClick(window->focusWidget(), Qt::Key_Return);
        });
    ErrorDialog::ShowWarningDialog(Warning(std::string(100'000, 'W')));
}

TEST_F(ErrorDialogTest, SeveralWaitTheirTurnAlsoInsideOneAnother)
{
    std::vector<std::string> shown;
    Question outer;
    Question inner;
    Question other;
    const Action close = [&](QDialog* window)
    {
        shown.push_back(Message(window).toStdString());
        EXPECT_EQ(VisibleWindows(), 1);
        WhenShown(close, window);
        window->close();
    };
    std::thread worker;
    WhenShown(
        [&](QDialog* window)
        {
            worker = std::thread([&] { ErrorDialog::ShowErrorDialog(other.notification, "other", true); });
            QTimer::singleShot(0, [&close, window] { close(window); });
            ErrorDialog::ShowErrorDialog(inner.notification, "inner", true);
            EXPECT_EQ(outer.Decision(), 1); // answered although the inner call had not returned
        });
    ErrorDialog::ShowErrorDialog(outer.notification, "outer", true);
    EXPECT_EQ(inner.Decision(), 1);
    RunWith(
        [&]
        {
            worker.join();
            EXPECT_EQ(other.Decision(), 1);
        });
    EXPECT_THAT(shown, ElementsAre("outer", "inner", "other"));
}

TEST_F(ErrorDialogTest, WarningsOfWorkersDoNotWaitAndTheirNumberIsLimited)
{
    const auto warnings = [](const std::string& console)
    {
        const QString text = QString::fromStdString(console);
        return text.count(QStringLiteral("- (WWW)\n"));
    };
    std::string whileRunning;
    RunWith(
        [&]
        {
            for (int index = 0; index < 40; ++index)
            {
                ErrorDialog::ShowWarningDialog(Warning("warning " + std::to_string(index / 2)));
            }
            QMetaObject::invokeMethod(
                m_application.get(),
                [&]
                {
                    whileRunning = ::testing::internal::GetCapturedStderr();
                    ::testing::internal::CaptureStderr();
                },
                Qt::QueuedConnection);
        });
    EXPECT_EQ(warnings(whileRunning), 16 + 2 * 4); // said before, or the seventeenth and further
    EXPECT_EQ(warnings(Console()), 15);            // not shown when the event loop ended
}

TEST_F(ErrorDialogTest, AnEventLoopThatDoesNotRunDoesNotKeepAnybodyWaiting)
{
    // A busy user-interface thread, which waits for the one that asks.
    ErrorDialogQueue::SetTakeUpLimit(std::chrono::milliseconds(1));
    Question busy;
    std::thread worker([&] { ErrorDialog::ShowErrorDialog(busy.notification, "busy", true); });
    worker.join();
    EXPECT_EQ(busy.Decision(), 1);

    // The end of the event loop with one question shown and one waiting for its turn.
    ErrorDialogQueue::SetTakeUpLimit(std::chrono::hours(1));
    Question shown;
    Question waiting;
    RunWith(
        [&]
        {
            ErrorDialog::ShowErrorDialog(shown.notification, "shown", true);
            ErrorDialog::ShowErrorDialog(waiting.notification, "waiting", true);
        });
    EXPECT_EQ(shown.Decision() + waiting.Decision(), 2);
    Question tooLate;
    worker = std::thread([&] { ErrorDialog::ShowErrorDialog(tooLate.notification, "too late", true); });
    worker.join();
    EXPECT_EQ(tooLate.Decision(), 1);
    QCoreApplication::processEvents(); // another event loop

    // The end of the application object while a thread asks.
    Question last;
    std::atomic<bool> asking = false;
    worker = std::thread(
        [&]
        {
            asking = true;
            ErrorDialog::ShowErrorDialog(last.notification, "last", true);
        });
    while (!asking)
    {
        std::this_thread::yield();
    }
    m_application.reset();
    worker.join();
    EXPECT_EQ(last.Decision(), 1);
    const std::string console = Console();
    for (const char* text : {"(EEE)\nbusy\n", "(EEE)\nwaiting\n", "(EEE)\ntoo late\n", "(EEE)\nlast\n"})
    {
        EXPECT_THAT(console, HasSubstr(text));
    }
    EXPECT_THAT(console, Not(HasSubstr("shown")));
}

TEST_F(ErrorDialogTest, AFaultOfAnotherThreadIsAskedAboutOnTheUserInterfaceThread)
{
    Handler::SetFlags(Handler::CatchUncaught | Handler::AlwaysAsk);
    WhenShown(
        [](QDialog* window)
        {
            EXPECT_EQ(Message(window), "A unfiltered exception has been caught. Orbex must be ended.");
            EXPECT_GT(window->findChild<QPlainTextEdit*>()->toPlainText().count('\n'), 20) << "the crash report";
            QTest::keyClick(window->focusWidget(), Qt::Key_N, Qt::AltModifier);
        });
    bool wentOn = false;
    RunWith(
        [&]
        {
            Handler::Initialize();
            Handler::Execute([] { __builtin_trap(); });
            wentOn = true;
        });
    EXPECT_TRUE(wentOn);
    Handler::SetFlags(0);
}

TEST_F(ErrorDialogTest, AFaultOfTheUserInterfaceThreadIsAnsweredWithoutItsEventLoop)
{
    static Question* g_question = nullptr;
    Question question;
    g_question = &question;
    Platform::FaultDispatch::MonitorThread();
    const bool ended =
        Platform::FaultDispatch::CallGuarded([](void* /*argument*/) { __builtin_trap(); }, nullptr,
                                             [](EXCEPTION_POINTERS* /*pointers*/)
                                             {
                                                 ErrorDialog::ShowErrorDialog(g_question->notification, "fault", true);
                                                 return Platform::FilterResult::ExecuteHandler;
                                             });
    EXPECT_FALSE(ended);
    EXPECT_EQ(question.Decision(), 1);
    EXPECT_THAT(Console(), HasSubstr("(EEE)\nfault\n"));
}

} // namespace Ardo::Kiln::Exception
