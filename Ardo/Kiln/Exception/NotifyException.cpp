#include "Ardo/Kiln/Exception/NotifyException.h"

#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/Warning.h"

namespace Ardo::Kiln::Exception
{

namespace
{

void Present(const std::shared_ptr<Notification>& notification)
{
    try
    {
        if (notification->exception)
        {
            std::rethrow_exception(notification->exception);
        }
        throw nullptr; // the answer to an empty notification is awaited too
    }
    catch (const Warning& warning)
    {
        ErrorDialog::ShowWarningDialog(warning);
        notification->Answer(); // a warning asks nothing, but the answer may be awaited
    }
    catch (const std::exception& exception)
    {
        ErrorDialog::ShowErrorDialog(notification, exception);
    }
    catch (...)
    {
        ErrorDialog::ShowErrorDialog(notification, "Unknown exception", true);
    }
}

} // namespace

void NotifyException(const std::shared_ptr<Notification>& notification)
{
    try
    {
        Present(notification);
    }
    catch (...)
    {
        notification->Answer();
        throw;
    }
}

} // namespace Ardo::Kiln::Exception
