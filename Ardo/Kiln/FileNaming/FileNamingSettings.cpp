#include "Ardo/Kiln/FileNaming/FileNamingSettings.h"

#include "Ardo/Kiln/FileNaming/FileNamingException.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"

#include <QSettings>
#include <QStringList>
#include <QVariant>

#include <optional>
#include <stdexcept>
#include <type_traits>

namespace Ardo::Kiln::FileNaming
{

namespace
{

QString Key(const char* name)
{
    return QStringLiteral("File/Path/") + QLatin1String(name);
}

// Empty unless the value is text: what an INI file holds, and what other formats keep as a string.
std::optional<QString> Text(const QVariant& value)
{
    if (value.userType() != QMetaType::QString || value.toString().size() > int{FileNamingSettings::MaxTextLength})
    {
        return std::nullopt;
    }
    return value.toString();
}

// Each overload returns whether the value is valid, and leaves the default in place if it is not.

bool Load(const QVariant& value, std::wstring& member)
{
    const auto text = Text(value);
    member = text ? text->toStdWString() : member;
    return text.has_value();
}

bool Load(const QVariant& value, std::filesystem::path& member)
try
{
    const auto text = Text(value);
    member = text ? FileSystem::ToPath(text->toStdWString()) : member;
    return text.has_value();
}
catch (const std::range_error&)
{
    return false; // not the text of a path
}

bool Load(const QVariant& value, bool& member)
{
    const QString text = value.userType() == QMetaType::Bool ? value.toString() : Text(value).value_or(QString());
    const bool isOn = text == QLatin1String("true") || text == QLatin1String("1");
    const bool isOff = text == QLatin1String("false") || text == QLatin1String("0");
    member = isOn || (member && !isOff);
    return isOn || isOff;
}

template <typename Number>
bool LoadNumber(const QVariant& value, Number& member, qlonglong minimum, qlonglong maximum)
{
    bool isNumber = false;
    const qlonglong number = value.toLongLong(&isNumber);
    const bool isValid = isNumber && value.userType() != QMetaType::Double && number >= minimum && number <= maximum;
    member = isValid ? static_cast<Number>(number) : member;
    return isValid;
}

bool Load(const QVariant& value, std::uint32_t& member)
{
    return LoadNumber(value, member, 0, FileNamingSettings::MaxNumber);
}

bool Load(const QVariant& value, std::int32_t& member)
{
    return LoadNumber(value, member, 1, FileNamingSettings::MaxDigits);
}

bool Load(const QVariant& value, std::vector<std::wstring>& member)
{
    // A list of one text is stored like a text.
    if (value.userType() != QMetaType::QStringList && value.userType() != QMetaType::QString)
    {
        return false;
    }
    const QStringList texts = value.toStringList();
    std::vector<std::wstring> labels;
    for (const QString& text : texts)
    {
        if (text.size() > int{FileNamingSettings::MaxTextLength} || labels.size() == FileNamingSettings::MaxLabels)
        {
            return false;
        }
        labels.push_back(text.toStdWString());
    }
    member = std::move(labels);
    return true;
}

QVariant ToVariant(const std::wstring& value)
{
    return QString::fromStdWString(value);
}

QVariant ToVariant(const std::filesystem::path& value)
{
    return QString::fromStdWString(FileSystem::ToWide(value));
}

QVariant ToVariant(bool value)
{
    return value;
}

QVariant ToVariant(std::uint32_t value)
{
    return value;
}

QVariant ToVariant(std::int32_t value)
{
    return value;
}

QVariant ToVariant(const std::vector<std::wstring>& value)
{
    QStringList texts;
    for (const std::wstring& text : value)
    {
        texts.append(QString::fromStdWString(text));
    }
    return texts;
}

// Calls visit with the name of the key and the member, for every setting: the one list for both directions.
template <typename Settings, typename Visitor>
void VisitAll(Settings& settings, const Visitor& visit)
{
    visit("Folder", settings.folder);
    visit("ExperimentName", settings.experimentName);
    visit("UseExperimentName", settings.useExperimentName);
    visit("ExperimentNumber", settings.experimentNumber);
    visit("UseExperimentNumber", settings.useExperimentNumber);
    visit("ExperimentNumberPrefix", settings.experimentNumberPrefix);
    visit("UseExperimentNumberPrefix", settings.useExperimentNumberPrefix);
    visit("ExperimentNumberDigits", settings.experimentNumberDigits);
    visit("UseExperimentNumberDigits", settings.useExperimentNumberDigits);
    visit("Labels", settings.labels);
    visit("UseLabels", settings.useLabels);
    visit("UseDateFolders", settings.useDateFolders);
    visit("AutoExportFolder", settings.autoExportFolder);
    visit("UseAutoExportFolder", settings.useAutoExportFolder);
}

void CheckStatus(const QSettings& settings)
{
    settings.allKeys(); // the lines of a section are read when they are first asked for
    const std::string file = settings.fileName().toStdString();
    switch (settings.status())
    {
    case QSettings::AccessError:
        throw FileNamingException("The file naming settings cannot be written: " + file + ": access denied");
    case QSettings::FormatError:
        throw FileNamingException("The file naming settings cannot be written: " + file + ": the file is damaged");
    default:
        break;
    }
}

} // namespace

FileNamingSettings LoadFileNamingSettings(const QSettings& settings)
{
    FileNamingSettings values;
    VisitAll(values, [&](const char* name, auto& member) { Load(settings.value(Key(name)), member); });
    return values;
}

void SaveFileNamingSettings(QSettings& settings, const FileNamingSettings& values)
{
    CheckStatus(settings);
    if (!settings.isWritable())
    {
        throw FileNamingException("The file naming settings cannot be written: " + settings.fileName().toStdString() +
                                  ": read-only");
    }
    const auto check = [](const char* name, const auto& member)
    {
        auto read = std::remove_cvref_t<decltype(member)>();
        if (!Load(ToVariant(member), read))
        {
            throw FileNamingException(std::string("The file naming settings cannot be written: ") + name +
                                      " is out of its range");
        }
    };
    VisitAll(values, check); // before the first one is changed
    VisitAll(values, [&](const char* name, const auto& member) { settings.setValue(Key(name), ToVariant(member)); });
    settings.sync();
    CheckStatus(settings);
}

} // namespace Ardo::Kiln::FileNaming
