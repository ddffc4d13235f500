#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/Dialogs.h"
#include "Ardo/Kiln/FileNaming/FileNameGenerator.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Time/Ticks.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include <chrono>
#include <exception>

namespace Ardo::Kiln::Viewer
{

namespace
{

using FileNaming::FileNamingSettings;

QString ToText(const std::filesystem::path& path)
{
    return QString::fromStdWString(FileSystem::ToWide(path));
}

/// A line with a folder and a button that chooses one.
QLineEdit* AddFolder(QFormLayout& form, const QString& label, const QString& tip, const std::filesystem::path& folder)
{
    auto* const edit = new QLineEdit(QDir::toNativeSeparators(ToText(folder)));
    edit->setToolTip(tip);
    auto* const choose = new QPushButton(Texts::tr("Choose..."));
    choose->setToolTip(tip);
    auto* const row = new QHBoxLayout;
    row->addWidget(edit, 1);
    row->addWidget(choose);
    form.addRow(label, row);
    if (auto* const name = qobject_cast<QLabel*>(form.labelForField(row)))
    {
        name->setBuddy(edit);
    }
    QObject::connect(choose, &QPushButton::clicked, edit,
                     [edit]
                     {
                         const QString chosen =
                             QFileDialog::getExistingDirectory(edit, Texts::tr("Choose a folder"), edit->text());
                         if (!chosen.isEmpty())
                         {
                             edit->setText(QDir::toNativeSeparators(chosen));
                         }
                     });
    return edit;
}

/// The fields of the dialog.
struct Fields
{
    QLineEdit* folder;
    QLineEdit* name;
    QLineEdit* prefix;
    QSpinBox* digits;
    QLineEdit* labels;
    QCheckBox* dateFolders;
    QCheckBox* exportsPicture;
    QLineEdit* exportFolder;

    Fields(QFormLayout& form, const NamingChoice& present)
    {
        const FileNamingSettings& settings = present.settings;
        folder = AddFolder(form, Texts::tr("&Folder"), Texts::tr("Where acquired images go"), settings.folder);
        name = new QLineEdit(QString::fromStdWString(settings.experimentName));
        name->setToolTip(Texts::tr("The beginning of each name"));
        form.addRow(Texts::tr("&Name"), name);
        prefix = new QLineEdit(
            settings.useExperimentNumberPrefix ? QString::fromStdWString(settings.experimentNumberPrefix) : QString());
        prefix->setToolTip(Texts::tr("Directly before the number; may be empty"));
        form.addRow(Texts::tr("&Prefix of the number"), prefix);
        digits = new QSpinBox;
        digits->setRange(1, FileNamingSettings::MaxDigits);
        digits->setValue(settings.experimentNumberDigits);
        digits->setToolTip(Texts::tr("The number is filled up with zeros"));
        form.addRow(Texts::tr("&Digits of the number"), digits);
        QStringList texts;
        for (const std::wstring& label : settings.labels)
        {
            texts += QString::fromStdWString(label);
        }
        labels = new QLineEdit(settings.useLabels ? texts.join(QStringLiteral(", ")) : QString());
        labels->setToolTip(Texts::tr("With commas between; {Magnification}, {Detector}, {DwellTime} and others are "
                                     "taken from the record"));
        form.addRow(Texts::tr("&Labels"), labels);
        dateFolders = new QCheckBox(Texts::tr("A folder for each &day"));
        dateFolders->setChecked(settings.useDateFolders);
        form.addRow(QString(), dateFolders);
        exportsPicture = new QCheckBox(Texts::tr("Export a PN&G picture of each image, too"));
        exportsPicture->setToolTip(Texts::tr("With scale bar and data bar"));
        exportsPicture->setChecked(present.exportsPicture);
        form.addRow(QString(), exportsPicture);
        exportFolder = AddFolder(form, Texts::tr("Folder of &pictures"), Texts::tr("Empty: beside the images"),
                                 settings.useAutoExportFolder ? settings.autoExportFolder : std::filesystem::path());
    }

    NamingChoice Read(const NamingChoice& present) const
    {
        NamingChoice choice = present; // parts that the dialog does not show stay
        FileNamingSettings& settings = choice.settings;
        const auto path = [](const QLineEdit& edit)
        { return FileSystem::ToPath(QDir::fromNativeSeparators(edit.text()).toStdWString()); };
        settings.folder = path(*folder);
        settings.experimentName = name->text().toStdWString();
        settings.experimentNumberPrefix =
            prefix->text().isEmpty() ? settings.experimentNumberPrefix : prefix->text().toStdWString();
        settings.useExperimentNumberPrefix = !prefix->text().isEmpty();
        settings.experimentNumberDigits = digits->value();
        settings.labels.clear();
        for (const QString& label : labels->text().split(QLatin1Char(','), Qt::SkipEmptyParts))
        {
            settings.labels.push_back(label.trimmed().toStdWString());
        }
        settings.useLabels = !settings.labels.empty();
        settings.useDateFolders = dateFolders->isChecked();
        settings.autoExportFolder = path(*exportFolder);
        settings.useAutoExportFolder = !exportFolder->text().isEmpty();
        choice.exportsPicture = exportsPicture->isChecked();
        return choice;
    }
};

/// What an image would be called now.
QString Example(const FileNamingSettings& settings)
try
{
    MetadataLib::Metadata record;
    record.Optics.NominalMagnification = 2500.0;
    record.ScanSettings.DwellTime = 1e-6;
    record.BinaryResult.Detector = "HAADF";
    const FileNaming::FileNameGenerator generator(settings);
    return ToText(generator.Preview(Time::ToTimePoint(std::chrono::system_clock::now()), record, L"tif"));
}
catch (const std::exception& failure)
{
    return QString::fromStdString(failure.what());
}

} // namespace

std::optional<NamingChoice> AskForFileNames(QWidget* parent, const NamingChoice& present)
{
    QDialog dialog(parent);
    dialog.setWindowTitle(Texts::tr("File Names"));
    auto* const form = new QFormLayout;
    const Fields fields(*form, present);
    auto* const example = new QLabel;
    example->setWordWrap(true);
    example->setTextInteractionFlags(Qt::TextSelectableByMouse);
    form->addRow(Texts::tr("Example"), example);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    auto* const layout = new QVBoxLayout(&dialog);
    layout->addLayout(form);
    layout->addWidget(buttons);
    const auto show = [&]
    {
        example->setText(QDir::toNativeSeparators(Example(fields.Read(present).settings)));
        buttons->button(QDialogButtonBox::Ok)->setEnabled(!fields.folder->text().isEmpty());
    };
    for (QLineEdit* const edit : {fields.folder, fields.name, fields.prefix, fields.labels})
    {
        QObject::connect(edit, &QLineEdit::textChanged, &dialog, show);
    }
    QObject::connect(fields.digits, qOverload<int>(&QSpinBox::valueChanged), &dialog, show);
    QObject::connect(fields.dateFolders, &QCheckBox::toggled, &dialog, show);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    show();
    dialog.resize(560, 0);
    return dialog.exec() == QDialog::Accepted ? std::optional(fields.Read(present)) : std::nullopt;
}

} // namespace Ardo::Kiln::Viewer
