// Makes pictures of the viewer in its main states: pictures FOLDER IMAGE.tif [dark]. scripts/pictures runs it.

#include "apps/viewer/Application.h"
#include "apps/viewer/View/AcquisitionPanel.h"
#include "apps/viewer/View/DisplayPanel.h"
#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QThread>

#include <functional>
#include <iostream>
#include <stdexcept>

namespace
{

using namespace Ardo::Kiln;

QPalette DarkPalette()
{
    QPalette palette(QColor(53, 53, 53), QColor(35, 35, 35));
    palette.setColor(QPalette::Highlight, QColor(42, 130, 218));
    palette.setColor(QPalette::ToolTipBase, QColor(70, 70, 40));
    palette.setColor(QPalette::ToolTipText, Qt::white);
    return palette;
}

/// The viewer and the folder of the pictures.
class Pictures
{
public:
    explicit Pictures(QString folder)
        : m_folder(std::move(folder)),
          m_viewer({m_settings.filePath("viewer.ini"), m_settings.path(),
                    [](const std::string& text) { throw std::runtime_error(text); }})
    {
        m_viewer.Window().resize(1180, 800);
        m_viewer.Window().show();
    }

    void WaitFor(const std::function<bool()>& condition)
    {
        QElapsedTimer time;
        time.start();
        while (!condition() && time.elapsed() < 60000)
        {
            QApplication::processEvents(QEventLoop::AllEvents, 10);
        }
        QApplication::processEvents();
    }

    void Take(const char* name)
    {
        QApplication::processEvents();
        if (!m_viewer.Window().grab().save(m_folder + QLatin1Char('/') + QLatin1String(name) + QStringLiteral(".png")))
        {
            throw std::runtime_error("a picture cannot be written");
        }
    }

    void Make(const QString& image)
    {
        Take("viewer-empty");
        m_viewer.Open(image);
        WaitFor([&] { return m_viewer.IsIdle() && m_viewer.Document() != nullptr; });
        Viewer::MainWindow& window = m_viewer.Window();
        window.ChooseTool(Viewer::Tool::Profile);
        const QLineF line(120, 200, 420, 330);
        window.Image().SetLine(line);
        window.Image().lineDrawn.Emit(Viewer::Tool::Profile, line);
        WaitFor([] { return true; });
        Take("viewer");
        Viewer::DisplayChoice choice = m_viewer.Display().choice;
        choice.colours = "inferno";
        choice.marksClipping = true;
        choice.highPercent = 99;
        window.Display().chosen.Emit(choice);
        window.Image().ZoomTo(4.0);
        WaitFor([] { return true; });
        Take("viewer-zoomed");
        choice.colours = "grey";
        choice.marksClipping = false;
        window.Display().chosen.Emit(choice);
        window.Acquisition().Show({512, 1e-6, true});
        m_viewer.StartScan();
        WaitFor([&] { return m_viewer.Display().maximum > 8000; }); // more than the dark top of the micrograph
        WaitFor([frames = 0]() mutable { return ++frames > 25; });
        Take("viewer-live");
        window.stopRequested.Emit();
        m_viewer.Wait();
        WaitFor([&] { return m_viewer.IsIdle(); });
    }

private:
    QString m_folder;
    QTemporaryDir m_settings;
    Viewer::Application m_viewer;
};

} // namespace

int main(int argc, char** argv)
try
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    const QApplication application(argc, argv);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setApplicationDisplayName(QStringLiteral("Viewer"));
    if (argc == 4)
    {
        QApplication::setPalette(DarkPalette());
    }
    const Threading::ToMainThreadInitialization toMainThread;
    Pictures(QString::fromLocal8Bit(argv[1])).Make(QString::fromLocal8Bit(argv[2]));
    return 0;
}
catch (const std::exception& failure)
{
    std::cerr << failure.what() << '\n';
    return 1;
}
