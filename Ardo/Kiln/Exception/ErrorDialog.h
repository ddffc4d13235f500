#pragma once

#include "Ardo/KilnExport.h"

#include <exception>
#include <memory>
#include <string>

namespace Ardo::Kiln::Exception
{

class Warning;
struct Notification;

/// Presents warnings and errors to the user, in a modal window on the user-interface thread, the thread of the Qt
/// application object. Any thread may call it. One window is shown at a time; the others wait their turn.
///
/// The window shows the message, and behind a button the details: severity, category, code and origin where they are
/// recorded, the type of the exception, and the crash report if there is one. The texts can be copied, and everything
/// can be done by keyboard. The window of an error may offer to write the crash report and the minidump: the answer's
/// decision is then 1 or 0. Closing the window otherwise, with Escape for example, gives the default answer.
///
/// When the calls return: on the user-interface thread, when the window is closed; events are processed meanwhile. On
/// any other thread, when the user-interface thread has taken the question, which may be before it is shown; the answer
/// comes later, through the promise. While the user-interface thread is busy they wait for it, but no longer than 30
/// seconds.
///
/// The error forms fulfil the notification's promise exactly once, whatever happens; a promise fulfilled before stays
/// as it is. An error that cannot be shown goes to the standard error stream and gets the default answer. The text is a
/// heading line, Boost's diagnostic information (place of the throw, type, message, attached entries) and a line end.
/// An error cannot be shown without an application object of Qt Widgets, without the plug-in CommonDialogs beside the
/// library (the first such text is preceded by a line with the reason), when the event loop ends before, when the
/// user-interface thread does not take the question in time, perhaps because it waits for the calling thread, and when
/// the fault presented is that of the first thread of the process, whose event loop never runs again.
///
/// They throw std::bad_alloc only; the promise is fulfilled then, too.
class KILN_EXPORT ErrorDialog
{
public:
    ErrorDialog() = delete;

    /// Shows a warning. From any thread but the user-interface thread returns at once. A warning of another thread
    /// whose message is shown or waits already, or before which 16 questions wait, goes to the standard error stream
    /// instead; its heading there is "(WWW) ------- Warning ------- (WWW)".
    static void ShowWarningDialog(const Warning& warning);

    /// Shows an error and offers to write the reports. On the standard error stream the heading is
    /// "(EEE) ------- Error ------- (EEE)".
    /// \param notification may be null: then nobody waits for an answer.
    static void ShowErrorDialog(std::shared_ptr<Notification> notification, const std::exception& exception);

    /// The same for a failure of which there is only \p message.
    /// \param notification may be null.
    /// \param message UTF-8.
    /// \param offerMinidump whether the user is asked about the reports; the default answer stands otherwise.
    static void ShowErrorDialog(std::shared_ptr<Notification> notification, const std::string& message,
                                bool offerMinidump);
};

} // namespace Ardo::Kiln::Exception
