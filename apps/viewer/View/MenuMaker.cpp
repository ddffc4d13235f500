#include "apps/viewer/View/MenuMaker.h"

#include "apps/viewer/Model/Texts.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

#include <utility>

namespace Ardo::Kiln::Viewer
{

namespace
{

/// A key together with Ctrl, and perhaps another modifier.
QKeySequence Ctrl(Qt::Key key, int modifier = 0)
{
    return {static_cast<int>(Qt::CTRL) | modifier | static_cast<int>(key)};
}

} // namespace

void MenuMaker::Make()
{
    m_bar = m_window.addToolBar(Texts::tr("Tools"));
    m_bar->setObjectName(QStringLiteral("tools"));
    m_bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_window.m_panels = new QMenu(Texts::tr("&Panels"), &m_window);
    MakeFileMenu();
    MakeViewMenu();
    MakeToolsMenu();
    MakeAcquireMenu();
    MakeFaultsMenu();
    MakeHelpMenu();
    m_window.m_panels->addAction(m_bar->toggleViewAction());
}

QAction* MenuMaker::Add(QMenu* menu, const Entry& entry, std::function<void()> triggered)
{
    QAction* const action = menu->addAction(entry.text);
    action->setShortcut(entry.shortcut);
    const QString keys = entry.shortcut.toString(QKeySequence::NativeText);
    const QString tip = keys.isEmpty() ? entry.tip : QStringLiteral("%1 (%2)").arg(entry.tip, keys);
    action->setToolTip(tip);
    action->setStatusTip(entry.tip);
    if (entry.icon)
    {
        action->setIcon(MakeIcon(*entry.icon));
    }
    if (entry.command)
    {
        m_window.m_actions[*entry.command].push_back(action);
        m_window.m_tips[action] = tip;
    }
    QObject::connect(action, &QAction::triggered, &m_window, std::move(triggered));
    menu->setToolTipsVisible(true);
    return action;
}

void MenuMaker::MakeFileMenu()
{
    MainWindow& window = m_window;
    QMenu* const menu = window.menuBar()->addMenu(Texts::tr("&File"));
    m_bar->addAction(Add(menu,
                         {Texts::tr("&Open..."), Texts::tr("Opens an image file"), QKeySequence::Open, Symbol::Open},
                         [&window] { window.openDialogRequested.Emit(); }));
    window.m_recentFiles = menu->addMenu(Texts::tr("Open &Recent"));
    window.m_recentFiles->setToolTipsVisible(true);
    Add(menu, {Texts::tr("Re&load"), Texts::tr("Reads the file again"), QKeySequence::Refresh, {}, Command::Reload},
        [&window] { window.reloadRequested.Emit(); });
    menu->addSeparator();
    m_bar->addAction(Add(menu,
                         {Texts::tr("&Previous Image"), Texts::tr("The image before this one in its folder"),
                          Ctrl(Qt::Key_PageUp), Symbol::Previous, Command::Step},
                         [&window] { window.stepRequested.Emit(-1); }));
    m_bar->addAction(Add(menu,
                         {Texts::tr("&Next Image"), Texts::tr("The next image in the folder"), Ctrl(Qt::Key_PageDown),
                          Symbol::Next, Command::Step},
                         [&window] { window.stepRequested.Emit(1); }));
    menu->addSeparator();
    m_bar->addAction(Add(menu,
                         {Texts::tr("&Save"), Texts::tr("Saves image and record under the next name of the settings"),
                          QKeySequence::Save, Symbol::Save, Command::Save},
                         [&window] { window.saveRequested.Emit(); }));
    Add(menu,
        {Texts::tr("Save &As..."),
         Texts::tr("Saves image and record in a TIFF file of a name that you choose"),
         Ctrl(Qt::Key_S, Qt::SHIFT),
         {},
         Command::SaveAs},
        [&window] { window.saveAsRequested.Emit(); });
    Add(menu,
        {Texts::tr("&Export Picture..."),
         Texts::tr("Writes a picture for reports, with scale bar and data bar"),
         Ctrl(Qt::Key_E),
         {},
         Command::ExportPicture},
        [&window] { window.exportRequested.Emit(); });
    Add(menu, {Texts::tr("File Na&mes..."), Texts::tr("Where acquired images go and how they are named"), {}},
        [&window] { window.fileNamesRequested.Emit(); });
    menu->addSeparator();
    Add(menu,
        {Texts::tr("&Cancel"), Texts::tr("Ends the reading or writing of a file"), Qt::Key_Escape, {}, Command::Cancel},
        [&window] { window.cancelRequested.Emit(); });
    menu->addSeparator();
    Add(menu, {Texts::tr("&Quit"), Texts::tr("Closes the window"), Ctrl(Qt::Key_Q)}, [&window] { window.close(); });
}

void MenuMaker::MakeViewMenu()
{
    MainWindow& window = m_window;
    QMenu* const menu = window.menuBar()->addMenu(Texts::tr("&View"));
    m_bar->addSeparator();
    const auto zoom = [&](const QString& text, const QString& tip, const QKeySequence& keys, auto change) {
        return Add(menu, {text, tip, keys, {}, Command::Zoom}, [&window, change] { change(window.Image()); });
    };
    m_bar->addAction(zoom(Texts::tr("&Fit"), Texts::tr("Shows the whole image"), Ctrl(Qt::Key_0),
                          [](ImageView& image) { image.Fit(); }));
    m_bar->addAction(zoom(Texts::tr("&1:1"), Texts::tr("One pixel of the image is one of the screen"), Ctrl(Qt::Key_1),
                          [](ImageView& image) { image.ZoomTo(1.0); }));
    QAction* const larger = zoom(Texts::tr("&Larger"), Texts::tr("Shows the image larger (mouse wheel)"),
                                 QKeySequence::ZoomIn, [](ImageView& image) { image.ZoomBy(1.25); });
    larger->setShortcuts({Ctrl(Qt::Key_Plus), QKeySequence(Qt::Key_Plus)});
    QAction* const smaller = zoom(Texts::tr("&Smaller"), Texts::tr("Shows the image smaller (mouse wheel)"),
                                  QKeySequence::ZoomOut, [](ImageView& image) { image.ZoomBy(0.8); });
    smaller->setShortcuts({Ctrl(Qt::Key_Minus), QKeySequence(Qt::Key_Minus)});
    menu->addSeparator();
    menu->addMenu(window.m_panels);
    QAction* const full =
        Add(menu, {Texts::tr("Full S&creen"), Texts::tr("The window takes the whole screen"), Qt::Key_F11},
            [&window] { window.setWindowState(window.windowState() ^ Qt::WindowFullScreen); });
    full->setCheckable(true);
}

void MenuMaker::MakeToolsMenu()
{
    MainWindow& window = m_window;
    QMenu* const menu = window.menuBar()->addMenu(Texts::tr("&Measure"));
    m_bar->addSeparator();
    auto* const group = new QActionGroup(&window);
    const auto tool = [&](Tool which, const QString& text, const QString& tip, const QKeySequence& keys)
    {
        QAction* const action =
            Add(menu, {text, tip, keys, {}, Command::Measure}, [&window, which] { window.ChooseTool(which); });
        action->setCheckable(true);
        group->addAction(action);
        m_bar->addAction(action);
        window.m_tools[which] = action;
    };
    tool(Tool::Pan, Texts::tr("&Move"), Texts::tr("Dragging moves the image"), Ctrl(Qt::Key_M));
    tool(Tool::Distance, Texts::tr("&Distance"), Texts::tr("Dragging measures a distance"), Ctrl(Qt::Key_D));
    tool(Tool::Profile, Texts::tr("&Profile"), Texts::tr("Dragging shows the values along a line"), Ctrl(Qt::Key_P));
    window.m_tools[Tool::Pan]->setChecked(true);
}

void MenuMaker::MakeAcquireMenu()
{
    MainWindow& window = m_window;
    QMenu* const menu = window.menuBar()->addMenu(Texts::tr("&Acquire"));
    m_bar->addSeparator();
    m_bar->addAction(Add(menu,
                         {Texts::tr("&Acquire"), Texts::tr("Begins a scan of the simulated detector"), Qt::Key_F9,
                          Symbol::Start, Command::Acquire},
                         [&window] { window.startRequested.Emit(); }));
    m_bar->addAction(Add(
        menu,
        {Texts::tr("S&top"), Texts::tr("Ends the scan at the present line"), Qt::Key_F10, Symbol::Stop, Command::Stop},
        [&window] { window.stopRequested.Emit(); }));
}

void MenuMaker::MakeFaultsMenu()
{
    MainWindow& window = m_window;
    QMenu* const menu = window.menuBar()->addMenu(Texts::tr("Fa&ults"));
    const auto fault = [&](Fault which, const QString& text, const QString& tip) {
        Add(menu, {text, tip, {}}, [&window, which] { window.faultRequested.Emit(which); });
    };
    fault(Fault::Warning, Texts::tr("&Warning"), Texts::tr("What a warning looks like"));
    fault(Fault::Error, Texts::tr("&Error"), Texts::tr("What an error looks like"));
    fault(Fault::ErrorWithCode, Texts::tr("Error With &Code"), Texts::tr("An error with the number of an instrument"));
    menu->addSeparator();
    fault(Fault::UncaughtException, Texts::tr("E&xception on a Worker"), Texts::tr("An exception that nobody catches"));
    fault(Fault::WorkerFault, Texts::tr("&Fault on a Worker"), Texts::tr("A write to nowhere on another thread"));
    fault(Fault::MainThreadFault, Texts::tr("Fault on the &Main Thread"),
          Texts::tr("A write to nowhere. The report is written and the application ends."));
    menu->addSeparator();
    Add(menu, {Texts::tr("Show the &Last Report"), Texts::tr("The newest report of a fault of this application"), {}},
        [&window] { window.lastReportRequested.Emit(); });
}

void MenuMaker::MakeHelpMenu()
{
    MainWindow& window = m_window;
    QMenu* const menu = window.menuBar()->addMenu(Texts::tr("&Help"));
    Add(menu, {Texts::tr("&About"), Texts::tr("Versions, and where logs and reports are"), QKeySequence::HelpContents},
        [&window] { window.aboutRequested.Emit(); });
}

} // namespace Ardo::Kiln::Viewer
