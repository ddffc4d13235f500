#include "Ardo/Kiln/Platform/Setting.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStringList>

namespace Ardo::Kiln::Platform
{

namespace
{

QString FileOf(const std::wstring& key)
{
    return QString::fromStdWString(key).replace('\\', '/').section('/', 1, -1, QString::SectionSkipEmpty) + ".conf";
}

QString UserFolder()
{
    const QString folder = QFile::decodeName(qgetenv("XDG_CONFIG_HOME"));
    return QDir::isAbsolutePath(folder) ? folder : QDir::homePath() + "/.config";
}

QStringList FoldersOf(SettingScope scope)
{
    if (scope == SettingScope::User)
    {
        return {UserFolder()};
    }
    const QString folders = QFile::decodeName(qgetenv("XDG_CONFIG_DIRS"));
    return folders.isEmpty() ? QStringList("/etc/xdg") : folders.split(':');
}

std::optional<SettingValue> FromVariant(const QVariant& value)
{
    switch (value.userType())
    {
    case QMetaType::QString:
        return value.toString().toStdWString();
    case QMetaType::QStringList:
    {
        std::vector<std::wstring> texts;
        for (const QString& text : value.toStringList())
        {
            texts.push_back(text.toStdWString());
        }
        return texts;
    }
    default:
        return std::nullopt;
    }
}

QVariant ToVariant(const SettingValue& value)
{
    struct Visitor
    {
        QVariant operator()(const std::wstring& text) const { return QString::fromStdWString(text); }
        QVariant operator()(std::uint64_t number) const { return QString::number(number); }
        QVariant operator()(const std::vector<std::wstring>& texts) const
        {
            QStringList list;
            for (const std::wstring& text : texts)
            {
                list.append(QString::fromStdWString(text));
            }
            return list;
        }
    };
    return std::visit(Visitor(), value);
}

std::error_code ErrorOf(const QSettings& settings)
{
    settings.allKeys(); // the lines of a section are read when they are first asked for
    switch (settings.status())
    {
    case QSettings::NoError:
        return {};
    case QSettings::FormatError:
        return std::make_error_code(std::errc::illegal_byte_sequence);
    default:
        return std::make_error_code(std::errc::permission_denied);
    }
}

} // namespace

std::optional<SettingValue> ReadSetting(SettingScope scope, const std::wstring& key, const std::wstring& name)
{
    for (const QString& folder : FoldersOf(scope))
    {
        const QString path = folder + '/' + FileOf(key);
        // The XDG rules ignore relative folders. For a missing file QSettings would look for a place to write.
        if (!QDir::isAbsolutePath(folder) || !QFile::exists(path))
        {
            continue;
        }
        QSettings settings(path, QSettings::IniFormat);
        settings.setIniCodec("UTF-8");
        if (auto value = FromVariant(settings.value(QString::fromStdWString(name))))
        {
            return value;
        }
    }
    return std::nullopt;
}

std::error_code WriteSetting(const std::wstring& key, const std::wstring& name,
                             const std::optional<SettingValue>& value)
{
    const QString path = UserFolder() + '/' + FileOf(key);
    if (!value && !QFile::exists(path))
    {
        return {};
    }
    if (!QDir().mkpath(QFileInfo(path).path()))
    {
        return std::make_error_code(std::errc::permission_denied);
    }
    QSettings settings(path, QSettings::IniFormat);
    settings.setIniCodec("UTF-8");
    if (const auto error = ErrorOf(settings))
    {
        return error;
    }
    const QString setting = QString::fromStdWString(name);
    if (value)
    {
        settings.setValue(setting, ToVariant(*value));
    }
    else
    {
        settings.remove(setting);
    }
    settings.sync(); // under a lock file, into a new file that replaces the old one
    return ErrorOf(settings);
}

} // namespace Ardo::Kiln::Platform
