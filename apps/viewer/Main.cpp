#include "apps/viewer/ViewerWindow.h"

#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Exception/Handler.h"
#include "Ardo/Kiln/Profiling/Startup.h"
#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"

#include <QApplication>
#include <QCommandLineParser>

#include <iostream>

int main(int argc, char** argv)
{
    Ardo::Kiln::Profiling::MarkStartup("main");
    using Ardo::Kiln::Exception::ErrorDialog;
    using Ardo::Kiln::Exception::Handler;
    Handler::SetFlags(Handler::CatchUncaught | Handler::RememberThrows | Handler::DetectLoops | Handler::AlwaysAsk);
    Handler::Initialize();

    QApplication application(argc, argv);
    QApplication::setApplicationDisplayName(QStringLiteral("Viewer"));
    const Ardo::Kiln::Threading::ToMainThreadInitialization toMainThread;

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Shows an image file and its metadata."));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("the image"), QStringLiteral("[file]"));
    const QCommandLineOption screenshot(QStringLiteral("screenshot"),
                                        QStringLiteral("Write a picture of the window to a file and end."),
                                        QStringLiteral("picture"));
    parser.addOption(screenshot);
    parser.process(application);

    bool failed = false;
    Ardo::Kiln::Viewer::ViewerWindow window(
        [&](const std::string& text)
        {
            failed = true;
            if (parser.isSet(screenshot))
            {
                std::cerr << "viewer: " << text << '\n';
                return;
            }
            ErrorDialog::ShowErrorDialog(nullptr, text, false);
        });
    if (!parser.positionalArguments().isEmpty())
    {
        window.Open(parser.positionalArguments().constFirst());
    }
    window.show();
    Ardo::Kiln::Profiling::MarkStartup("window shown");
    Ardo::Kiln::Profiling::LogStartup();
    if (parser.isSet(screenshot))
    {
        window.WaitForFile();
        QApplication::processEvents();
        if (!failed && !window.grab().save(parser.value(screenshot)))
        {
            failed = true;
            std::cerr << "viewer: the picture cannot be written\n";
        }
        return failed ? 1 : 0;
    }
    return QApplication::exec();
}
