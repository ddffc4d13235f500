#include "apps/viewer/Application.h"
#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/ImageView.h"
#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Exception/Handler.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Logger/Logging.h"
#include "Ardo/Kiln/Logger/SeveritySets.h"
#include "Ardo/Kiln/Profiling/Startup.h"
#include "Ardo/Kiln/System/ApplicationOptions.h"
#include "Ardo/Kiln/System/Version.h"
#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"

#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QStandardPaths>
#include <QTimer>
#include <QTranslator>

#include <array>
#include <iostream>
#include <string_view>

namespace
{

using namespace Ardo::Kiln;
using System::ApplicationOptions;

ApplicationOptions MakeOptions()
{
    return {"VIEWER",
            {{"settings", std::string(), "The file with the settings; empty: that of the user"},
             {"log-folder", std::string(), "The folder that holds the folder Log; empty: that of the user"},
             {"language", std::string("system"), "Of the texts", 0, 0, {"system", "en", "de"}},
             {"screenshot", std::string(), "Writes a picture of the window to this file and ends"},
             {"acquire", false, "Begins to acquire at once"},
             {"help", false, "Prints this text and ends"}}};
}

/// The folder \p chosen, or one of the user's.
QString FolderOr(const std::string& chosen, QStandardPaths::StandardLocation otherwise)
{
    return chosen.empty() ? QStandardPaths::writableLocation(otherwise) : QString::fromStdString(chosen);
}

/// Loads the texts of the language that was asked for. English texts are those of the sources.
void Translate(const std::string& language, std::array<QTranslator, 2>& translators)
{
    const QLocale locale = language == "system" ? QLocale::system() : QLocale(QString::fromStdString(language));
    const bool hasLoaded[] = {
        translators[0].load(locale, QStringLiteral("viewer"), QStringLiteral("_"), QStringLiteral(":/viewer")),
        translators[1].load(locale, QStringLiteral("qtbase"), QStringLiteral("_"),
                            QLibraryInfo::location(QLibraryInfo::TranslationsPath))};
    for (std::size_t i = 0; i < translators.size(); ++i)
    {
        if (hasLoaded[i])
        {
            QCoreApplication::installTranslator(&translators[i]);
        }
    }
}

/// Starts the log files; without them the application runs all the same.
void StartLog(Logger::Logging& logging)
try
{
    constexpr std::uint64_t MaxLogSize = 1 << 20;
    logging.Initialize();
    logging.AddSinks({{L"Viewer", MaxLogSize, {}, Logger::InfoAndAbove}});
}
catch (const std::exception& failure)
{
    std::cerr << "viewer: no log files: " << failure.what() << '\n';
}

/// Writes a picture of the window when everything is shown.
/// \returns the status of the program.
int WriteScreenshot(Viewer::Application& application, const QString& path)
{
    application.Wait();
    while (!application.IsIdle())
    {
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    QApplication::processEvents();
    if (!application.Window().grab().save(path))
    {
        std::cerr << "viewer: the picture cannot be written\n";
        return 1;
    }
    return 0;
}

int PrintHelp(const ApplicationOptions& options)
{
    std::cout << "usage: viewer [OPTION...] [FILE]\n\nShows and acquires images with their records.\n\n"
              << options.Help();
    return 0;
}

int Run(const ApplicationOptions& options, const std::vector<std::string>& files)
{
    std::array<QTranslator, 2> translators;
    Translate(options.Get<std::string>("language"), translators);
    QApplication::setApplicationDisplayName(Viewer::Texts::tr("Viewer"));
    const QString screenshot = QString::fromStdString(options.Get<std::string>("screenshot"));
    const QString logFolder = FolderOr(options.Get<std::string>("log-folder"), QStandardPaths::AppLocalDataLocation);
    const std::string settings = options.Get<std::string>("settings");
    bool hasFailed = false;
    const auto failed = [&](const std::string& text)
    {
        hasFailed = true;
        if (screenshot.isEmpty())
        {
            Exception::ErrorDialog::ShowErrorDialog(nullptr, text, false);
        }
        else
        {
            std::cerr << "viewer: " << text << '\n';
        }
    };
    const Threading::ToMainThreadInitialization toMainThread;
    Logger::Logging logging(FileSystem::ToPath(logFolder.toStdWString()), L"Viewer");
    StartLog(logging);
    Viewer::Application application(
        {settings.empty() ? FolderOr({}, QStandardPaths::AppConfigLocation) + QStringLiteral("/viewer.ini")
                          : QString::fromStdString(settings),
         logFolder + QStringLiteral("/Log"), failed});
    application.Window().show();
    Profiling::MarkStartup("window shown");
    Profiling::LogStartup();
    if (!files.empty())
    {
        application.Open(QString::fromStdString(files.front()));
    }
    if (options.Get<bool>("acquire"))
    {
        application.StartScan();
    }
    if (!screenshot.isEmpty())
    {
        const int status = WriteScreenshot(application, screenshot);
        return hasFailed ? 1 : status;
    }
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    Profiling::MarkStartup("main");
    if (argc == 2 && argv[1] == std::string_view("--help"))
    {
        return PrintHelp(MakeOptions()); // without a screen, too
    }
    QCoreApplication::setOrganizationName(QStringLiteral("Ardo"));
    QCoreApplication::setApplicationName(QStringLiteral("viewer"));
    QCoreApplication::setApplicationVersion(QString::fromStdString(System::LibraryVersion().ToText()));
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    using Exception::Handler;
    Handler::SetFlags(Handler::CatchUncaught | Handler::RememberThrows | Handler::DetectLoops | Handler::AlwaysAsk);
    Handler::Initialize();
    const QApplication application(argc, argv); // takes its own arguments out of argv
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/viewer/viewer.png")));
    ApplicationOptions options = MakeOptions();
    try
    {
        options.ReadEnvironment();
        std::vector<std::string> arguments;
        for (const QString& argument : QCoreApplication::arguments().mid(1))
        {
            arguments.push_back(argument.toStdString());
        }
        const std::vector<std::string> files = options.ReadCommandLine(arguments);
        if (files.size() > 1)
        {
            throw System::OptionError("one file at a time");
        }
        if (options.Get<bool>("help"))
        {
            return PrintHelp(options);
        }
        return Run(options, files);
    }
    catch (const System::OptionError& error)
    {
        std::cerr << "viewer: " << error.what() << '\n';
        return 2;
    }
}
