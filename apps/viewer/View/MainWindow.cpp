#include "apps/viewer/View/MainWindow.h"

#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/AcquisitionPanel.h"
#include "apps/viewer/View/DisplayPanel.h"
#include "apps/viewer/View/LogPanel.h"
#include "apps/viewer/View/MenuMaker.h"
#include "apps/viewer/View/MessageBar.h"
#include "apps/viewer/View/ProfilePanel.h"
#include "apps/viewer/View/RecordPanel.h"

#include <QAction>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QProgressBar>
#include <QStatusBar>
#include <QStyle>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

#include <utility>

namespace Ardo::Kiln::Viewer
{

using Threading::DeliverOn;

MainWindow::MainWindow()
    : m_message(new MessageBar),
      m_image(new ImageView),
      m_display(new DisplayPanel),
      m_record(new RecordPanel),
      m_profile(new ProfilePanel),
      m_log(new LogPanel),
      m_acquisition(new AcquisitionPanel)
{
    auto* const centre = new QWidget;
    auto* const layout = new QVBoxLayout(centre);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_message);
    layout->addWidget(m_image, 1);
    setCentralWidget(centre);
    setAcceptDrops(true);
    setDockNestingEnabled(true);
    MenuMaker(*this).Make();
    MakeDocks();
    MakeStatusBar();
    m_connections.push_back(
        m_acquisition->startPressed.Connect(DeliverOn::Caller(), [this] { startRequested.Emit(); }));
    m_connections.push_back(m_acquisition->stopPressed.Connect(DeliverOn::Caller(), [this] { stopRequested.Emit(); }));
    m_connections.push_back(
        m_image->zoomChanged.Connect(DeliverOn::Caller(), [this](double zoom)
                                     { m_zoom->setText(QStringLiteral("%1 %").arg(zoom * 100, 0, 'g', 3)); }));
    m_image->setFocus();
    resize(1180, 800);
}

void MainWindow::MakeDocks()
{
    const auto add = [this](const char* name, const QString& title, QWidget* panel, Qt::DockWidgetArea area)
    {
        auto* const dock = new QDockWidget(title);
        dock->setObjectName(QLatin1String(name)); // by which the state of the window is restored
        dock->setWidget(panel);
        addDockWidget(area, dock);
        m_panels->addAction(dock->toggleViewAction());
        return dock;
    };
    auto* const display = add("display", Texts::tr("Display"), m_display, Qt::RightDockWidgetArea);
    auto* const acquisition = add("acquisition", Texts::tr("Acquisition"), m_acquisition, Qt::RightDockWidgetArea);
    auto* const record = add("record", Texts::tr("Record"), m_record, Qt::RightDockWidgetArea);
    auto* const profile = add("profile", Texts::tr("Line Profile"), m_profile, Qt::BottomDockWidgetArea);
    auto* const log = add("log", Texts::tr("Log"), m_log, Qt::BottomDockWidgetArea);
    splitDockWidget(display, record, Qt::Vertical);
    tabifyDockWidget(display, acquisition);
    tabifyDockWidget(profile, log);
    display->raise();
    profile->raise();
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    resizeDocks({display, record}, {400, 300}, Qt::Vertical);
    resizeDocks({display}, {330}, Qt::Horizontal);
    resizeDocks({profile}, {240}, Qt::Vertical);
}

void MainWindow::MakeStatusBar()
{
    const auto add = [this](const QString& name, int stretch)
    {
        auto* const label = new QLabel;
        label->setAccessibleName(name);
        label->setToolTip(name);
        statusBar()->addPermanentWidget(label, stretch);
        return label;
    };
    m_workText = new QLabel;
    m_progress = new QProgressBar;
    m_progress->setMaximumWidth(160);
    m_progress->setMaximumHeight(m_workText->sizeHint().height() + 2);
    m_progress->setAccessibleName(Texts::tr("Progress"));
    m_cancel = new QToolButton;
    m_cancel->setText(Texts::tr("Cancel"));
    m_cancel->setToolTip(Texts::tr("Ends the reading or writing (Esc)"));
    connect(m_cancel, &QToolButton::clicked, this, [this] { cancelRequested.Emit(); });
    statusBar()->addWidget(m_workText);
    statusBar()->addWidget(m_progress);
    statusBar()->addWidget(m_cancel);
    m_position = add(Texts::tr("Position of the pointer"), 0);
    m_value = add(Texts::tr("Value under the pointer"), 0);
    m_facts = add(Texts::tr("Size and kind of the image"), 0);
    m_zoom = add(Texts::tr("Size on the screen"), 0);
    ShowWork({}, {});
}

void MainWindow::ShowOffers(const Offers& offers)
{
    for (const auto& [command, actions] : m_actions)
    {
        const auto state = offers.Of(command);
        for (QAction* const action : actions)
        {
            const bool isEnabled = state.offer == Threading::Offer::Enabled;
            action->setEnabled(isEnabled);
            action->setToolTip(isEnabled ? m_tips[action] : QString::fromStdString(state.reason));
        }
    }
    m_acquisition->ShowOffers(offers);
}

void MainWindow::ShowRecentFiles(const QStringList& paths)
{
    m_recentFiles->clear();
    m_recentFiles->setEnabled(!paths.isEmpty());
    for (int i = 0; i < paths.size(); ++i)
    {
        const QString path = paths[i];
        const QString name = QFileInfo(path).fileName().replace(QLatin1Char('&'), QStringLiteral("&&"));
        QAction* const action = m_recentFiles->addAction(QStringLiteral("&%1  %2").arg(i + 1).arg(name));
        action->setToolTip(path);
        connect(action, &QAction::triggered, this, [this, path] { openRequested.Emit(path); });
    }
}

void MainWindow::ShowWork(const WorkState& work, const QString& verb)
{
    m_workText->setVisible(work.isActive);
    m_progress->setVisible(work.isActive);
    m_cancel->setVisible(work.isActive);
    m_workText->setText(work.name.isEmpty() ? verb : verb + QLatin1Char(' ') + work.name);
    m_progress->setMaximum(work.part ? 100 : 0); // 0: something moves
    m_progress->setValue(static_cast<int>(100 * work.part.value_or(0.0)));
}

void MainWindow::ShowPointer(const QString& position, const QString& value)
{
    m_position->setText(position);
    m_value->setText(value);
}

void MainWindow::ShowImageFacts(const QString& text)
{
    m_facts->setText(text);
}

void MainWindow::Raise(QWidget& panel)
{
    if (auto* const dock = qobject_cast<QDockWidget*>(panel.parentWidget()))
    {
        dock->show();
        dock->raise();
    }
}

void MainWindow::ChooseTool(Tool tool)
{
    m_tools.at(tool)->setChecked(true);
    m_image->SetTool(tool);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (!urls.isEmpty() && urls.constFirst().isLocalFile())
    {
        event->acceptProposedAction();
    }
}

void MainWindow::dropEvent(QDropEvent* event)
{
    event->acceptProposedAction();
    openRequested.Emit(event->mimeData()->urls().constFirst().toLocalFile());
}

void MainWindow::CloseNow()
{
    m_isClosing = true;
    close(); // does nothing within closeEvent()
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (!m_isClosing)
    {
        closeRequested.Emit(); // may call CloseNow() at once
    }
    event->setAccepted(std::exchange(m_isClosing, false));
}

} // namespace Ardo::Kiln::Viewer
