#include "Ardo/Kiln/Exception/ErrorDialog.h"

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "tests/Support/VirtualDisplay.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QClipboard>

#include <thread>

namespace Ardo::Kiln::Exception
{

/// A window on a real screen, and a person who has nothing but a keyboard.
TEST(ErrorDialogKeyboardTest, EveryFormIsDoneByKeyboard)
{
    const Support::VirtualDisplay display;
    qputenv("QT_QPA_PLATFORM", "xcb");
    int argc = 1;
    std::string name = "test";
    char* argv[] = {name.data(), nullptr};
    QApplication application(argc, argv);

    struct Row
    {
        const char* keys;
        bool offer;
        int decision;
        const char* copied;
    };
    const Row rows[] = {
        {"Return", true, 1, ""},
        {"alt+w", true, 1, ""},
        {"alt+n", true, 0, ""},
        {"Tab space", true, 0, ""},                    // the second button
        {"Right Return", true, 0, ""},                 // the same
        {"Escape", true, 1, ""},                       // no decision
        {"alt+d Tab Tab Tab Tab Escape", true, 1, ""}, // from inside the details
        {"Tab Tab Tab space Escape", true, 1,
         "Error: no beam\n\nSeverity: Fatal\nType: Ardo::Kiln::Exception::Error\n"},
        {"Return", false, 1, ""},
        {"alt+l", false, 1, ""},
        {"Tab space Escape", false, 1, "Error: no beam\n\n"},
    };
    const auto person = [](const char* title, const char* keys)
    {
        QGuiApplication::sync(); // the window before is gone
        return std::jthread([=] { EXPECT_TRUE(Support::VirtualDisplay::Press(title, keys)) << keys; });
    };
    for (const Row& row : rows)
    {
        QApplication::clipboard()->clear();
        const auto notification = std::make_shared<Notification>();
        const std::jthread presses = person("Error", row.keys);
        row.offer ? ErrorDialog::ShowErrorDialog(notification, Error("no beam"))
                  : ErrorDialog::ShowErrorDialog(notification, "no beam", false);
        EXPECT_EQ(notification->reply.get_future().get().decision, row.decision) << row.keys;
        EXPECT_EQ(QApplication::clipboard()->text().toStdString(), row.copied) << row.keys;
    }
    const std::jthread presses = person("Warning", "Escape");
    ErrorDialog::ShowWarningDialog(Warning("the pressure rises"));
}

} // namespace Ardo::Kiln::Exception
