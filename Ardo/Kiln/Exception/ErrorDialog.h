#pragma once

#include "Ardo/KilnExport.h"

#include <exception>
#include <memory>
#include <string>

namespace Ardo::Kiln::Exception
{

class Warning;
struct Notification;

/// Presents warnings and errors to the user.
///
/// What is shown goes to the standard error stream: a heading line, Boost's diagnostic information (place of the throw,
/// type, message, attached entries) and a line end. The error forms then fulfil the notification's promise with the
/// default answer, exactly once, also if writing failed; a promise fulfilled before stays as it is.
/// Any thread may call them; one call's text stays together. \throws std::bad_alloc only.
class KILN_EXPORT ErrorDialog
{
public:
    ErrorDialog() = delete;

    /// Under "(WWW) ------- Warning ------- (WWW)".
    static void ShowWarningDialog(const Warning& warning);

    /// Under "(EEE) ------- Error ------- (EEE)".
    static void ShowErrorDialog(std::shared_ptr<Notification> notification, const std::exception& exception);

    /// The same for a failure of which there is only \p message.
    /// \param offerMinidump whether the user is to be asked about a minidump; where there is no user to ask, the
    /// default
    ///        answer stands either way.
    static void ShowErrorDialog(std::shared_ptr<Notification> notification, const std::string& message,
                                bool offerMinidump);
};

} // namespace Ardo::Kiln::Exception
