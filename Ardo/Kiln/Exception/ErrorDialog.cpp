#include "Ardo/Kiln/Exception/ErrorDialog.h"

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Exception/ErrorDialogQueue_p.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/Warning.h"

#include <utility>

namespace Ardo::Kiln::Exception
{

namespace
{

/// \p content is a function, so that the notification is answered also when the texts cannot be made.
template <class MakeContent>
void Present(std::shared_ptr<Notification> notification, const MakeContent& content)
{
    try
    {
        const auto question = std::make_shared<ErrorDialogQuestion>(content(), notification);
        if (Crash::FaultDispatch::FirstThreadIsAtFault())
        {
            question->AnswerOnConsole(); // its event loop does not run any more
            return;
        }
        ErrorDialogQueue::Present(question);
    }
    catch (...)
    {
        if (notification != nullptr)
        {
            notification->Answer();
        }
        throw;
    }
}

} // namespace

void ErrorDialog::ShowWarningDialog(const Warning& warning)
{
    Present(nullptr, [&] { return ErrorDialogContent::Of(warning); });
}

// Both forms take a reference of their own, because the dialog outlives the caller's.
void ErrorDialog::ShowErrorDialog(std::shared_ptr<Notification> notification, const std::exception& exception)
{
    Present(std::move(notification), [&] { return ErrorDialogContent::Of(exception); });
}

void ErrorDialog::ShowErrorDialog(std::shared_ptr<Notification> notification, const std::string& message,
                                  bool offerMinidump)
{
    Present(std::move(notification), [&] { return ErrorDialogContent::Of(message, offerMinidump); });
}

} // namespace Ardo::Kiln::Exception
