#pragma once

#include "apps/viewer/View/Icons.h"
#include "apps/viewer/View/MainWindow.h"

#include <QKeySequence>

#include <functional>
#include <optional>

namespace Ardo::Kiln::Viewer
{

/// Makes the menus and the tool bar of the window.
class MenuMaker
{
public:
    explicit MenuMaker(MainWindow& window) : m_window(window) {}

    void Make();

private:
    struct Entry
    {
        QString text;
        QString tip;
        QKeySequence shortcut;
        std::optional<Symbol> icon = std::nullopt;
        std::optional<Command> command = std::nullopt; ///< On whose offer it depends.
    };

    QAction* Add(QMenu* menu, const Entry& entry, std::function<void()> triggered);
    void MakeFileMenu();
    void MakeViewMenu();
    void MakeToolsMenu();
    void MakeAcquireMenu();
    void MakeFaultsMenu();
    void MakeHelpMenu();

    MainWindow& m_window;
    QToolBar* m_bar = nullptr;
};

} // namespace Ardo::Kiln::Viewer
