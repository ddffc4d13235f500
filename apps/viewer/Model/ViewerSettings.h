#pragma once

#include "apps/viewer/Model/DisplayChoice.h"
#include "apps/viewer/Model/ScanSimulation.h"
#include "Ardo/Kiln/FileNaming/FileNamingSettings.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

class QSettings;

namespace Ardo::Kiln::Viewer
{

/// What the application remembers from one run to the next.
struct ViewerSettings
{
    /// The number of recent files that are remembered.
    static constexpr int MaxRecentFiles = 9;

    DisplayChoice display; ///< A range by hand is not remembered: it belongs to an image.
    ScanSettings scan;
    bool savesEachScan = false;
    FileNaming::FileNamingSettings naming;
    bool exportsPicture = false; ///< Of each image that is saved by name.
    QStringList recentFiles;     ///< The latest first.
    QString folder;              ///< Of the file dialogs.
    QString seenReport;          ///< The report of a fault that the person knows of.
    QByteArray geometry;         ///< Of the window.
    QByteArray state;            ///< Of its panels.

    /// Puts a file in front of the recent ones.
    void AddRecentFile(const QString& path);
};

/// Reads the settings; values that are missing or damaged have their defaults.
ViewerSettings LoadViewerSettings(const QSettings& settings);

/// Writes the settings.
/// \throws FileNaming::FileNamingException if they cannot be written.
void SaveViewerSettings(QSettings& settings, const ViewerSettings& values);

} // namespace Ardo::Kiln::Viewer
