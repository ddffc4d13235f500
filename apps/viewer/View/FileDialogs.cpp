#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/Dialogs.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

namespace Ardo::Kiln::Viewer
{

UnsavedAnswer AskAboutUnsaved(QWidget* parent, bool isScanning)
{
    const QString text = isScanning ? Texts::tr("The detector is scanning. End the scan, and save the acquired image?")
                                    : Texts::tr("Save the acquired image? Otherwise it is lost.");
    switch (QMessageBox::question(parent, Texts::tr("Acquired, not saved"), text,
                                  QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save))
    {
    case QMessageBox::Save:
        return UnsavedAnswer::Save;
    case QMessageBox::Discard:
        return UnsavedAnswer::Discard;
    default:
        return UnsavedAnswer::Cancel;
    }
}

QString AskForNewFile(QWidget* parent, const QString& title, const QString& folder, const QString& filter,
                      const QStringList& extensions)
{
    QString path = QFileDialog::getSaveFileName(parent, title, folder, filter);
    if (path.isEmpty() || extensions.contains(QFileInfo(path).suffix(), Qt::CaseInsensitive))
    {
        return path;
    }
    path += QLatin1Char('.') + extensions.constFirst();
    const bool isFree = !QFileInfo::exists(path); // the dialog has asked about the name without extension
    const QString text = Texts::tr("%1 exists. Replace it?").arg(QDir::toNativeSeparators(path));
    return isFree || QMessageBox::question(parent, title, text) == QMessageBox::Yes ? path : QString();
}

QString TitleOf(ImageIO::ExportType type)
{
    switch (type)
    {
    case ImageIO::ExportType::Data:
        return Texts::tr("TIFF with all data");
    case ImageIO::ExportType::Tiff:
        return Texts::tr("TIFF image");
    case ImageIO::ExportType::Png:
        return Texts::tr("PNG image");
    case ImageIO::ExportType::Jpeg:
        break;
    }
    return Texts::tr("JPEG image");
}

QString AskForNewFile(QWidget* parent, const QString& title, const QString& folder, ImageIO::ExportType type)
{
    QStringList extensions;
    for (const std::string_view extension : ImageIO::InfoOf(type).extensions)
    {
        extensions += QString::fromUtf8(extension.data(), static_cast<int>(extension.size()));
    }
    const QString filter = QStringLiteral("%1 (*.%2)").arg(TitleOf(type), extensions.join(QStringLiteral(" *.")));
    return AskForNewFile(parent, title, folder, filter, extensions);
}

} // namespace Ardo::Kiln::Viewer
