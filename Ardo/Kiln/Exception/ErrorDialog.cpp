#include "Ardo/Kiln/Exception/ErrorDialog.h"

#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/Warning.h"

#include <boost/exception/diagnostic_information.hpp>

#include <iostream>

namespace Ardo::Kiln::Exception
{

namespace
{

void Print(const std::string& text)
{
    std::cerr << text + '\n' << std::flush; // as one piece: other threads write there too
}

void PrintError(const std::string& text, const std::shared_ptr<Notification>& notification)
{
    Print("(EEE) ------- Error ------- (EEE)\n" + text);
    notification->Answer();
}

} // namespace

void ErrorDialog::ShowWarningDialog(const Warning& warning)
{
    Print("(WWW) ------- Warning ------- (WWW)\n" + boost::diagnostic_information(warning));
}

// Both forms take a reference of their own, because a dialog may outlive the caller's.
// NOLINTBEGIN(performance-unnecessary-value-param)
void ErrorDialog::ShowErrorDialog(std::shared_ptr<Notification> notification, const std::exception& exception)
{
    PrintError(boost::diagnostic_information(exception), notification);
}

void ErrorDialog::ShowErrorDialog(std::shared_ptr<Notification> notification, const std::string& message,
                                  bool /*offerMinidump*/)
{
    PrintError(message, notification);
}
// NOLINTEND(performance-unnecessary-value-param)

} // namespace Ardo::Kiln::Exception
