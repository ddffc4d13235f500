#include "apps/viewer/Model/ViewerSettings.h"

#include "Ardo/Imaging/ColourTable.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"

#include <QDir>
#include <QSettings>
#include <QStandardPaths>

#include <algorithm>

namespace Ardo::Kiln::Viewer
{

namespace
{

QString Key(const char* name)
{
    return QLatin1String(name);
}

/// A number of the settings if it is one within the limits, else \p otherwise.
double Number(const QSettings& settings, const char* name, double otherwise, double minimum, double maximum)
{
    bool isNumber = false;
    const double value = settings.value(Key(name)).toString().toDouble(&isNumber);
    return isNumber && value >= minimum && value <= maximum ? value : otherwise;
}

DisplayChoice LoadDisplay(const QSettings& settings)
{
    DisplayChoice choice;
    choice.mode = settings.value(Key("Display/Range")).toString() == QLatin1String("whole") ? RangeMode::Whole
                                                                                            : RangeMode::Automatic;
    choice.lowPercent = Number(settings, "Display/LowPercent", choice.lowPercent, 0, 100);
    choice.highPercent = Number(settings, "Display/HighPercent", std::max(choice.highPercent, choice.lowPercent),
                                choice.lowPercent, 100);
    choice.gamma = Number(settings, "Display/Gamma", choice.gamma, 0.1, 10);
    const std::string colours = settings.value(Key("Display/Colours")).toString().toStdString();
    if (std::ranges::find(Imaging::ColourTable::Names(), colours) != Imaging::ColourTable::Names().end())
    {
        choice.colours = colours;
    }
    choice.marksClipping = settings.value(Key("Display/MarksClipping"), false).toBool();
    return choice;
}

} // namespace

void ViewerSettings::AddRecentFile(const QString& path)
{
    recentFiles.removeAll(path);
    recentFiles.prepend(path);
    recentFiles = recentFiles.mid(0, MaxRecentFiles);
}

ViewerSettings LoadViewerSettings(const QSettings& settings)
{
    ViewerSettings values;
    values.display = LoadDisplay(settings);
    values.scan.side = static_cast<std::uint32_t>(Number(settings, "Scan/Side", values.scan.side, 16, 8192));
    values.scan.dwellTime = Number(settings, "Scan/DwellTime", values.scan.dwellTime, 1e-8, 1e-3);
    values.scan.isContinuous = settings.value(Key("Scan/Continuous"), values.scan.isContinuous).toBool();
    values.savesEachScan = settings.value(Key("Scan/SavesEach"), false).toBool();
    values.naming = FileNaming::LoadFileNamingSettings(settings);
    if (values.naming.folder.empty())
    {
        const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
        values.naming.folder = FileSystem::ToPath(QDir(pictures).filePath(QStringLiteral("Viewer")).toStdWString());
    }
    values.exportsPicture = settings.value(Key("File/ExportsPicture"), false).toBool();
    values.recentFiles = settings.value(Key("File/Recent")).toStringList().mid(0, ViewerSettings::MaxRecentFiles);
    values.folder = settings.value(Key("File/Folder")).toString();
    values.seenReport = settings.value(Key("Faults/SeenReport")).toString();
    values.geometry = settings.value(Key("Window/Geometry")).toByteArray();
    values.state = settings.value(Key("Window/State")).toByteArray();
    return values;
}

void SaveViewerSettings(QSettings& settings, const ViewerSettings& values)
{
    const auto number = [](double value) { return QString::number(value, 'g', 17); };
    settings.setValue(Key("Display/Range"), values.display.mode == RangeMode::Whole ? Key("whole") : Key("automatic"));
    settings.setValue(Key("Display/LowPercent"), number(values.display.lowPercent));
    settings.setValue(Key("Display/HighPercent"), number(values.display.highPercent));
    settings.setValue(Key("Display/Gamma"), number(values.display.gamma));
    settings.setValue(Key("Display/Colours"), QString::fromStdString(values.display.colours));
    settings.setValue(Key("Display/MarksClipping"), values.display.marksClipping);
    settings.setValue(Key("Scan/Side"), number(values.scan.side));
    settings.setValue(Key("Scan/DwellTime"), number(values.scan.dwellTime));
    settings.setValue(Key("Scan/Continuous"), values.scan.isContinuous);
    settings.setValue(Key("Scan/SavesEach"), values.savesEachScan);
    settings.setValue(Key("File/ExportsPicture"), values.exportsPicture);
    settings.setValue(Key("File/Recent"), values.recentFiles);
    settings.setValue(Key("File/Folder"), values.folder);
    settings.setValue(Key("Faults/SeenReport"), values.seenReport);
    settings.setValue(Key("Window/Geometry"), values.geometry);
    settings.setValue(Key("Window/State"), values.state);
    FileNaming::SaveFileNamingSettings(settings, values.naming);
}

} // namespace Ardo::Kiln::Viewer
