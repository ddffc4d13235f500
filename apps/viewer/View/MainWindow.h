#pragma once

#include "apps/viewer/Model/Faults.h"
#include "apps/viewer/Presenter/Commands.h"
#include "apps/viewer/Presenter/DocumentPresenter.h"
#include "apps/viewer/View/ImageView.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include <QMainWindow>

#include <map>
#include <vector>

class QActionGroup;
class QLabel;
class QMenu;
class QProgressBar;
class QToolBar;
class QToolButton;

namespace Ardo::Kiln::Viewer
{

class AcquisitionPanel;
class DisplayPanel;
class LogPanel;
class MessageBar;
class ProfilePanel;
class RecordPanel;

/// The window: the image in the middle, panels around it, menus. Tells what a person asks for by its signals, and shows
/// what it is given.
class MainWindow : public QMainWindow
{
public:
    MainWindow();

    Threading::ViewSignal<QString> openRequested; ///< A file was chosen or dropped.
    Threading::ViewSignal<> openDialogRequested;
    Threading::ViewSignal<int> stepRequested; ///< To another file of the folder: 1 or -1.
    Threading::ViewSignal<> reloadRequested;
    Threading::ViewSignal<> cancelRequested; ///< Reading or saving is to end.
    Threading::ViewSignal<> saveRequested;   ///< By the settings of file names.
    Threading::ViewSignal<> saveAsRequested;
    Threading::ViewSignal<> exportRequested; ///< As a picture.
    Threading::ViewSignal<> fileNamesRequested;
    Threading::ViewSignal<> startRequested; ///< A scan.
    Threading::ViewSignal<> stopRequested;
    Threading::ViewSignal<Fault> faultRequested;
    Threading::ViewSignal<> lastReportRequested;
    Threading::ViewSignal<> aboutRequested;
    Threading::ViewSignal<> closeRequested; ///< The window closes by CloseNow() only.

    ImageView& Image() noexcept { return *m_image; }
    DisplayPanel& Display() noexcept { return *m_display; }
    RecordPanel& Record() noexcept { return *m_record; }
    ProfilePanel& Profile() noexcept { return *m_profile; }
    LogPanel& Log() noexcept { return *m_log; }
    AcquisitionPanel& Acquisition() noexcept { return *m_acquisition; }
    MessageBar& Message() noexcept { return *m_message; }

    /// Enables what is offered; the reason of what is not is its tooltip.
    void ShowOffers(const Offers& offers);

    /// The files of the menu, the latest first.
    void ShowRecentFiles(const QStringList& paths);

    /// Reading or saving: a bar with a button that ends it; nothing if there is no work.
    void ShowWork(const WorkState& work, const QString& verb);

    /// Texts of the status bar; empty for nothing.
    void ShowPointer(const QString& position, const QString& value);
    void ShowImageFacts(const QString& text);

    /// Closes the window.
    void CloseNow();

    /// Brings a panel to the front.
    void Raise(QWidget& panel);

    /// The tool that is chosen, also by its action.
    void ChooseTool(Tool tool);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    friend class MenuMaker;

    void MakeStatusBar();
    void MakeDocks();

    MessageBar* m_message;
    ImageView* m_image;
    DisplayPanel* m_display;
    RecordPanel* m_record;
    ProfilePanel* m_profile;
    LogPanel* m_log;
    AcquisitionPanel* m_acquisition;
    QMenu* m_recentFiles = nullptr;
    QMenu* m_panels = nullptr;
    std::map<Command, std::vector<QAction*>> m_actions;
    std::map<QAction*, QString> m_tips; ///< Of the actions while they are enabled.
    std::map<Tool, QAction*> m_tools;
    QLabel* m_position = nullptr;
    QLabel* m_value = nullptr;
    QLabel* m_zoom = nullptr;
    QLabel* m_facts = nullptr;
    QLabel* m_workText = nullptr;
    QProgressBar* m_progress = nullptr;
    QToolButton* m_cancel = nullptr;
    bool m_isClosing = false; ///< By CloseNow().
    std::vector<Threading::ScopedConnection> m_connections;
};

} // namespace Ardo::Kiln::Viewer
