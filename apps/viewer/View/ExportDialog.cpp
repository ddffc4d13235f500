#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/Dialogs.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace Ardo::Kiln::Viewer
{

namespace
{

using ImageIO::ExportType;

/// The types of pictures; the one with all data is what Save writes.
QComboBox* MakeTypes()
{
    auto* const types = new QComboBox;
    for (const ImageIO::ExportTypeInfo& info : ImageIO::ExportTypes())
    {
        if (info.type != ExportType::Data)
        {
            types->addItem(TitleOf(info.type), static_cast<int>(info.type));
        }
    }
    types->setCurrentIndex(types->findData(static_cast<int>(ExportType::Png)));
    return types;
}

/// The size that was typed; empty, with the reason in \p problem, if it is none.
std::optional<ImageIO::ExportSize> SizeOf(const QString& text, QLabel& problem)
try
{
    problem.clear();
    return ImageIO::ExportSize::Parse(text.toStdString());
}
catch (const std::invalid_argument& failure)
{
    problem.setText(QString::fromStdString(failure.what()));
    return std::nullopt;
}

} // namespace

std::optional<ExportChoice> AskForExport(QWidget* parent, const QString& folder, bool canScale, bool hasRecord)
{
    QDialog dialog(parent);
    dialog.setWindowTitle(Texts::tr("Export Picture"));
    QComboBox* const types = MakeTypes();
    types->setToolTip(Texts::tr("PNG loses nothing; JPEG makes small files"));
    auto* const size = new QComboBox;
    size->setEditable(true);
    size->addItems(
        {QStringLiteral("original"), QStringLiteral("50 %"), QStringLiteral("1024"), QStringLiteral("1920x1080")});
    size->setToolTip(Texts::tr("\"original\", a percentage, the longer side, or width x height in pixels"));
    size->setAccessibleName(Texts::tr("Size of the picture"));
    auto* const scaleBar = new QCheckBox(Texts::tr("&Scale bar"));
    scaleBar->setChecked(canScale);
    scaleBar->setEnabled(canScale);
    scaleBar->setToolTip(canScale ? Texts::tr("Draws a bar of known length")
                                  : Texts::tr("The image has no pixel size"));
    auto* const dataBar = new QCheckBox(Texts::tr("&Data bar"));
    dataBar->setChecked(hasRecord);
    dataBar->setEnabled(hasRecord);
    dataBar->setToolTip(hasRecord ? Texts::tr("Writes the most important values below the image")
                                  : Texts::tr("The image has no record"));
    auto* const problem = new QLabel;
    problem->setWordWrap(true);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Save)->setText(Texts::tr("&Export..."));
    auto* const form = new QFormLayout;
    form->addRow(Texts::tr("&Format"), types);
    form->addRow(Texts::tr("Si&ze"), size);
    form->addRow(QString(), scaleBar);
    form->addRow(QString(), dataBar);
    auto* const layout = new QVBoxLayout(&dialog);
    layout->addLayout(form);
    layout->addWidget(problem);
    layout->addWidget(buttons);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    ExportChoice choice;
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog,
                     [&]
                     {
                         const auto parsed = SizeOf(size->currentText(), *problem);
                         choice.type = static_cast<ExportType>(types->currentData().toInt());
                         choice.path =
                             parsed ? AskForNewFile(&dialog, dialog.windowTitle(), folder, choice.type) : QString();
                         if (!choice.path.isEmpty())
                         {
                             choice.size = *parsed;
                             dialog.accept();
                         }
                     });
    if (dialog.exec() != QDialog::Accepted)
    {
        return std::nullopt;
    }
    choice.hasScaleBar = scaleBar->isChecked();
    choice.hasDataBar = dataBar->isChecked();
    return choice;
}

} // namespace Ardo::Kiln::Viewer
