#include "Ardo/Kiln/Exception/ErrorDialog.h"

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "tests/Support/Process.h"
#include "tests/Support/VirtualDisplay.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QClipboard>

#include <thread>

namespace Ardo::Kiln::Exception
{

namespace
{

/// Waits for a window of that title, gives it the keyboard and presses the keys, named as xdotool names them.
void Press(const std::string& title, const std::string& keys)
{
    // There is no window manager that would give the window the keyboard. The keys go to whatever has it, as a person's
    // do: the window may be gone with the first of them.
    const std::string search =
        "until xdotool search --onlyvisible --name '^" + title + "$' windowfocus --sync; do :; done 2>/dev/null";
    const Support::ProcessResult result =
        Support::RunShell("timeout 60 sh -c " + Support::Quoted(search) + " && xdotool key --delay 30 " + keys, "/");
    EXPECT_EQ(result.status, 0) << keys << result.error;
}

} // namespace

/// A window on a real screen, and a person who has nothing but a keyboard.
TEST(ErrorDialogKeyboardTest, EveryFormIsDoneByKeyboard)
{
    qputenv("DISPLAY", Support::StartVirtualDisplay().c_str());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_XCB_GL_INTEGRATION", "none"); // the drivers of OpenGL keep memory until the process ends
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
        return std::jthread([=] { Press(title, keys); });
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
