// Shows the error dialog three times: a warning, an error without a crash report, and an error with a crash report.
//
//     error_dialog                    shows the dialogs
//     error_dialog --pictures FOLDER  writes pictures of them; QT_QPA_PLATFORM=offscreen needs no screen

#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/ErrorWithCode.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/NotifyException.h"
#include "Ardo/Kiln/Exception/Warning.h"

#include <boost/throw_exception.hpp>

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QPixmap>
#include <QPushButton>
#include <QTimer>

#include <functional>
#include <iostream>

namespace
{

using namespace Ardo::Kiln::Exception;

void ShowWarning()
{
    ErrorDialog::ShowWarningDialog(Warning("The pressure in the specimen chamber rises. The acquisition goes on.")
                                   << CategoryInfo("Vacuum"));
}

void ShowError()
{
    ErrorDialog::ShowErrorDialog(nullptr, "The image was not saved: there is no space left on the disk of /data/2024.",
                                 false);
}

void ShowFault()
{
    const auto notification = std::make_shared<Notification>();
    std::future<MinidumpActions> answer = notification->reply.get_future();
    try
    {
        BOOST_THROW_EXCEPTION(
            ErrorWithCode(17, "A unfiltered exception has been caught. Orbex must be ended. \n")
            << CategoryInfo("Scan generator")
            << ReportInfo("Exception code: 0xC0000005\nThe instruction read from 0x0000000000000010."));
    }
    catch (...)
    {
        notification->exception = std::current_exception();
    }
    NotifyException(notification);
    std::cout << "reports wanted: " << answer.get().decision << '\n';
}

/// Takes a picture of the window that \p show opens and closes the window. With \p details also a picture with the
/// details unfolded.
void TakePictures(const std::function<void()>& show, const QString& path, bool details)
{
    QTimer::singleShot(0, qApp,
                       [=]
                       {
                           auto* const window = qobject_cast<QDialog*>(QApplication::activeModalWidget());
                           window->grab().save(path + ".png");
                           if (details)
                           {
                               for (QPushButton* const button : window->findChildren<QPushButton*>())
                               {
                                   if (button->isCheckable())
                                   {
                                       button->click();
                                   }
                               }
                               window->grab().save(path + "-details.png");
                           }
                           window->close();
                       });
    show();
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QApplication::setApplicationDisplayName("Orbex");
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() == 3 && arguments[1] == "--pictures")
    {
        const QDir folder(arguments[2]);
        TakePictures(ShowWarning, folder.filePath("warning"), false);
        TakePictures(ShowError, folder.filePath("error"), false);
        TakePictures(ShowFault, folder.filePath("fault"), true);
        return 0;
    }
    ShowWarning();
    ShowError();
    ShowFault();
    return 0;
}
