#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/Dialogs.h"
#include "Ardo/Kiln/System/Version.h"

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QSysInfo>
#include <QUrl>
#include <QVBoxLayout>

namespace Ardo::Kiln::Viewer
{

void ShowText(QWidget* parent, const QString& title, const QString& text, const QString& folder)
{
    QDialog dialog(parent);
    dialog.setWindowTitle(title);
    auto* const edit = new QPlainTextEdit(text);
    edit->setReadOnly(true);
    edit->setLineWrapMode(QPlainTextEdit::NoWrap);
    edit->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    edit->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    edit->setAccessibleName(title);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    auto* const copy = buttons->addButton(Texts::tr("C&opy All"), QDialogButtonBox::ActionRole);
    QObject::connect(copy, &QPushButton::clicked, [text] { QApplication::clipboard()->setText(text); });
    if (!folder.isEmpty())
    {
        auto* const open = buttons->addButton(Texts::tr("Open &Folder"), QDialogButtonBox::ActionRole);
        open->setToolTip(QDir::toNativeSeparators(folder));
        QObject::connect(open, &QPushButton::clicked,
                         [folder] { QDesktopServices::openUrl(QUrl::fromLocalFile(folder)); });
    }
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto* const layout = new QVBoxLayout(&dialog);
    layout->addWidget(edit);
    layout->addWidget(buttons);
    dialog.resize(760, 560);
    dialog.exec();
}

void ShowAbout(QWidget* parent, const QString& logFolder, const QString& reportFolder)
{
    const QScreen* const screen = parent->screen();
    const QString text =
        Texts::tr("Viewer %1\n\nShows and acquires images of electron microscopes with their records.\n\n"
                  "Library: %2\nQt: %3\nSystem: %4\nRenderer: %5, raster\nScreen: %6 x %7 pixels, factor %8\n\n"
                  "Log files: %9\nReports of faults: %10")
            .arg(QCoreApplication::applicationVersion())
            .arg(QString::fromStdString(System::LibraryVersion().ToText()))
            .arg(QLatin1String(qVersion()))
            .arg(QSysInfo::prettyProductName())
            .arg(QGuiApplication::platformName())
            .arg(screen->size().width())
            .arg(screen->size().height())
            .arg(parent->devicePixelRatioF())
            .arg(QDir::toNativeSeparators(logFolder))
            .arg(QDir::toNativeSeparators(reportFolder));
    QDialog dialog(parent);
    dialog.setWindowTitle(Texts::tr("About the Viewer"));
    auto* const label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto* const icon = new QLabel;
    icon->setPixmap(QApplication::windowIcon().pixmap(64, 64));
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    auto* const open = buttons->addButton(Texts::tr("Open &Log Folder"), QDialogButtonBox::ActionRole);
    QObject::connect(open, &QPushButton::clicked,
                     [logFolder] { QDesktopServices::openUrl(QUrl::fromLocalFile(logFolder)); });
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto* const row = new QHBoxLayout;
    row->addWidget(icon, 0, Qt::AlignTop);
    row->addWidget(label, 1);
    auto* const layout = new QVBoxLayout(&dialog);
    layout->addLayout(row);
    layout->addWidget(buttons);
    dialog.exec();
}

} // namespace Ardo::Kiln::Viewer
