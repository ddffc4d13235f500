#pragma once

#include "Ardo/Kiln/FileNaming/FileNamingSettings.h"
#include "Ardo/Kiln/ImageIO/ExportSize.h"
#include "Ardo/Kiln/ImageIO/ExportType.h"

#include <QString>
#include <QStringList>

#include <optional>

class QWidget;

namespace Ardo::Kiln::Viewer
{

/// What a person has chosen for the export of a picture.
struct ExportChoice
{
    QString path;
    ImageIO::ExportType type = ImageIO::ExportType::Png;
    ImageIO::ExportSize size;
    bool hasScaleBar = true;
    bool hasDataBar = true;
};

/// Asks how a picture is exported, and under which name.
/// \param canScale whether there is a pixel size, and so a scale bar.
/// \param hasRecord whether there is a record, and so a data bar.
/// \param folder where the file dialog begins.
std::optional<ExportChoice> AskForExport(QWidget* parent, const QString& folder, bool canScale, bool hasRecord);

/// What a person has chosen for the names of files.
struct NamingChoice
{
    FileNaming::FileNamingSettings settings;
    bool exportsPicture = false; ///< Of each image that is saved a PNG file, too.
};

/// Asks for the settings of file names, with an example of the name.
std::optional<NamingChoice> AskForFileNames(QWidget* parent, const NamingChoice& present);

/// What a person wants to happen to an acquisition that is in no file.
enum class UnsavedAnswer
{
    Save,
    Discard,
    Cancel ///< It stays.
};

/// Asks whether an acquisition that would be lost is saved.
/// \param isScanning whether the scan is still running.
UnsavedAnswer AskAboutUnsaved(QWidget* parent, bool isScanning);

/// Asks for the name of a file to be written. A name without one of the extensions gets the first one; a person who
/// chooses a file that exists is asked whether it is replaced.
/// \param filter     of the dialog: "PNG image (*.png)".
/// \param extensions without ".".
/// \returns empty if the person has changed his mind.
QString AskForNewFile(QWidget* parent, const QString& title, const QString& folder, const QString& filter,
                      const QStringList& extensions);

/// The name of a type of files, in the language of the window.
QString TitleOf(ImageIO::ExportType type);

/// The same for a file of \p type.
QString AskForNewFile(QWidget* parent, const QString& title, const QString& folder, ImageIO::ExportType type);

/// Shows a long text that can be searched by eye, selected and copied.
/// \param folder can be opened with a button; empty for none.
void ShowText(QWidget* parent, const QString& title, const QString& text, const QString& folder = {});

/// Versions, the renderer, and where logs and reports are.
void ShowAbout(QWidget* parent, const QString& logFolder, const QString& reportFolder);

} // namespace Ardo::Kiln::Viewer
