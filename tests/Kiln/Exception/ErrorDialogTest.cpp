#include "Ardo/Kiln/Exception/ErrorDialog.h"

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Exception/ErrorDialogQueue_p.h"
#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/ErrorWithCode.h"
#include "Ardo/Kiln/Exception/Handler.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "tests/Support/Pattern.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/SystemFacilities.h"

#include <boost/throw_exception.hpp>
#include <gmock/gmock.h>

#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QPlainTextEdit>
#include <QPointer>
#include <QTest>
#include <QTextEdit>
#include <QTimer>

#include <cstdlib>
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

    void Ask(const std::string& message) const { ErrorDialog::ShowErrorDialog(notification, message, true); }

    void AskFromAnotherThread(const std::string& message) const
    {
        std::thread([&] { Ask(message); }).join();
    }

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
        EXPECT_THAT(::testing::internal::GetCapturedStderr(), Not(Support::ContainsPattern("------- (Error|Warning)")));
    }

    /// What went to the standard error stream since the last call.
    static std::string Console()
    {
        const std::string text = ::testing::internal::GetCapturedStderr();
        ::testing::internal::CaptureStderr();
        return text;
    }

    /// Does \p action when the event loop runs and a window other than \p before is shown and active.
    static void WhenShown(const Action& action, const QPointer<QDialog>& before = nullptr)
    {
        const auto look = [action, before]
        {
            auto* const window = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            window == nullptr || window == before || !window->isActiveWindow() ? WhenShown(action, before)
                                                                               : action(window);
        };
        QTimer::singleShot(0, look);
    }

    /// Runs the event loop until \p work has ended on a thread of its own.
    void RunWith(const std::function<void()>& work)
    {
        const std::jthread thread(
            [&]
            {
                work();
                QMetaObject::invokeMethod(m_application.get(), QCoreApplication::quit, Qt::QueuedConnection);
            });
        QApplication::exec();
    }

    static std::string Message(QDialog* window) { return window->findChild<QTextEdit*>()->toPlainText().toStdString(); }

    static void PressAlt(QDialog* window, Qt::Key key) { QTest::keyClick(window->focusWidget(), key, Qt::AltModifier); }

    std::unique_ptr<QApplication> m_application;

private:
    int m_argc = 1;
    std::string m_name = "test";
    char* m_argv[2] = {m_name.data(), nullptr};
};

} // namespace

TEST_F(ErrorDialogTest, WhateverThePersonDoesTheQuestionIsAnsweredOnce) // keys: see ErrorDialogKeyboardTest
{
    const std::pair<Action, int> rows[] = {
        {[](QDialog* window) { PressAlt(window, Qt::Key_N); }, 0},
        {[](QDialog* window) { window->close(); }, 1},
        {[](QDialog* /*window*/) { QCoreApplication::quit(); }, 1},
    };
    for (const auto& [action, decision] : rows)
    {
        Question question;
        WhenShown(action);
        question.Ask("no beam");
        EXPECT_EQ(question.Decision(), decision);
        Question fromAnotherThread;
        WhenShown(action);
        RunWith(
            [&, expected = decision]
            {
                fromAnotherThread.Ask("no beam");
                EXPECT_EQ(fromAnotherThread.Decision(), expected);
            });
    }
}

TEST_F(ErrorDialogTest, ShowsTheMessageAndFoldsTheDetailsAway)
{
    WhenShown(
        [&](QDialog* window)
        {
            EXPECT_EQ(Message(window), "no <b>beam</b> \xC2\xB5");
            const auto* const details = window->findChild<QPlainTextEdit*>();
            EXPECT_FALSE(details->isVisible());
            const int folded = window->height();
            PressAlt(window, Qt::Key_D); // a button is seen to be pressed before it acts
            EXPECT_TRUE(QTest::qWaitFor([&] { return details->isVisible() && window->height() > folded; }));
            EXPECT_THAT(details->toPlainText().toStdString(),
                        AllOf(StartsWith("Severity: Fatal\nCategory: Gun\nCode: 5\nOrigin: "),
                              HasSubstr("ErrorDialogTest.cpp ("),
                              HasSubstr("\nType: Ardo::Kiln::Exception::ErrorWithCode\n\nthe report\nits end\n")));
            PressAlt(window, Qt::Key_C);
            const QString all = QStringLiteral("Error: no <b>beam</b> \u00B5\n\n") + details->toPlainText();
            EXPECT_TRUE(QTest::qWaitFor([&] { return QApplication::clipboard()->text() == all; }));
            PressAlt(window, Qt::Key_D);
            EXPECT_TRUE(QTest::qWaitFor([&] { return !details->isVisible() && window->height() == folded; }));
            window->close();
        });
    try
    {
        BOOST_THROW_EXCEPTION(ErrorWithCode(5, "no <b>beam</b> \xC2\xB5 \r\n")
                              << CategoryInfo("Gun") << ReportInfo("the report\nits end"));
    }
    catch (const std::exception& exception)
    {
        ErrorDialog::ShowErrorDialog(nullptr, exception);
    }

    WhenShown(
        [](QDialog* window)
        {
            // A long message, without a blank to break it at, is cut and scrolls; the details have all of it.
            EXPECT_LT(Message(window).size(), 5000U);
            EXPECT_THAT(window->findChild<QPlainTextEdit*>()->toPlainText().toStdString(),
                        StartsWith(std::string(100'000, 'W') + "\n\nSeverity: Warning"));
            EXPECT_TRUE(window->height() < 400 && window->width() < 800);
            window->close();
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
        shown.push_back(Message(window));
        WhenShown(close, window);
        window->close();
    };
    std::thread worker;
    WhenShown(
        [&](QDialog* window)
        {
            worker = std::thread([&] { other.Ask("other"); });
            QTimer::singleShot(0, [&close, window] { close(window); });
            inner.Ask("inner");
            EXPECT_EQ(outer.Decision(), 1); // answered although the inner call had not returned
        });
    outer.Ask("outer");
    EXPECT_EQ(inner.Decision(), 1);
    RunWith(
        [&]
        {
            worker.join();
            EXPECT_EQ(other.Decision(), 1);
        });
    EXPECT_THAT(shown, ElementsAre("outer", "inner", "other"));
}

TEST_F(ErrorDialogTest, WarningsOfOtherThreadsDoNotWaitAndTheirNumberIsLimited)
{
    const auto warnings = []
    { return QString::fromStdString(Console()).count(QStringLiteral("(WWW) ------- Warning")); };
    int whileRunning = 0;
    RunWith(
        [&]
        {
            for (int index = 0; index < 40; ++index)
            {
                ErrorDialog::ShowWarningDialog(Warning("warning " + std::to_string(index / 2)));
            }
            QMetaObject::invokeMethod(
                m_application.get(), [&] { whileRunning = warnings(); }, Qt::QueuedConnection);
        });
    EXPECT_EQ(whileRunning, 16 + 2 * 4); // said before, or the seventeenth and further
    EXPECT_EQ(warnings(), 15);           // not shown when the event loop ended
}

TEST_F(ErrorDialogTest, AnEventLoopThatDoesNotRunDoesNotKeepAnybodyWaiting)
{
    Question questions[5];
    ErrorDialogQueue::SetTakeUpLimit(std::chrono::milliseconds(1));
    questions[0].AskFromAnotherThread("busy"); // this thread waits for the one that asks
    ErrorDialogQueue::SetTakeUpLimit(std::chrono::hours(1));
    RunWith(
        [&]
        {
            questions[1].Ask("seen");
            questions[2].Ask("waits for its turn");
        });
    questions[3].AskFromAnotherThread("after the event loop");
    QCoreApplication::processEvents(); // another event loop
    std::promise<void> asking;
    std::thread worker(
        [&]
        {
            asking.set_value();
            questions[4].Ask("as the application ends");
        });
    asking.get_future().wait();
    m_application.reset();
    worker.join();
    for (Question& question : questions)
    {
        EXPECT_EQ(question.Decision(), 1);
    }
    const std::string console = Console();
    EXPECT_THAT(console, AllOf(HasSubstr("(EEE)\nbusy\n"), HasSubstr("(EEE)\nwaits"), HasSubstr("(EEE)\nafter"),
                               HasSubstr("(EEE)\nas the"), Not(HasSubstr("seen"))));
}

TEST_F(ErrorDialogTest, WithoutThePluginEverythingGoesToTheConsole)
{
    if (std::getenv("KILN_WITHOUT_PLUGIN") != nullptr) // the process below
    {
        Question questions[2];
        RunWith([&] { questions[0].Ask("of another thread"); });
        questions[1].Ask("of this thread");
        EXPECT_EQ(questions[0].Decision() + questions[1].Decision(), 2);
        EXPECT_THAT(Console(), Support::ContainsPattern(
                                   "^Errors are shown on the console: [^\n]*CommonDialogs-[^\n]*\n"
                                   "\\(EEE.*\\(EEE\\)\nof another thread\n\\(EEE.*\\(EEE\\)\nof this thread\n$"));
        return;
    }
    const Support::ScopedTempDir folder;
    const auto result =
        Support::RunWithLibraryCopy(folder.Path(), "ErrorDialogTest.WithoutThePlugin*", "KILN_WITHOUT_PLUGIN");
    EXPECT_EQ(result.status, 0) << result.output << result.error;
}

TEST_F(ErrorDialogTest, AFaultIsAskedAboutUnlessTheUserInterfaceThreadIsAtFault)
{
    Handler::SetFlags(Handler::CatchUncaught | Handler::AlwaysAsk);
    WhenShown(
        [](QDialog* window)
        {
            EXPECT_EQ(Message(window), "A unfiltered exception has been caught. Orbex must be ended.");
            EXPECT_GT(window->findChild<QPlainTextEdit*>()->toPlainText().count('\n'), 20) << "the crash report";
            PressAlt(window, Qt::Key_N);
        });
    RunWith(
        []
        {
            Handler::Initialize();
            Handler::Execute([] { __builtin_trap(); });
        });
    Handler::SetFlags(0);
    Console();

    static Question* g_question = nullptr;
    Question question;
    g_question = &question;
    Crash::FaultDispatch::MonitorThread();
    const auto filter = [](EXCEPTION_POINTERS* /*pointers*/)
    {
        g_question->Ask("fault");
        return Crash::FilterResult::ExecuteHandler;
    };
    EXPECT_FALSE(Crash::FaultDispatch::CallGuarded([](void* /*none*/) { __builtin_trap(); }, nullptr, filter));
    EXPECT_EQ(question.Decision(), 1);
    EXPECT_THAT(Console(), HasSubstr("(EEE)\nfault\n"));
}

} // namespace Ardo::Kiln::Exception
