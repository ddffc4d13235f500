#include "Ardo/Kiln/Platform/MachineSetting.h"

#include <QDir>
#include <QFile>
#include <QSettings>

namespace Ardo::Kiln::Platform
{

std::optional<std::wstring> ReadMachineSetting(const std::wstring& key, const std::wstring& name)
{
    const QString file =
        QString::fromStdWString(key).replace('\\', '/').section('/', 1, -1, QString::SectionSkipEmpty) + ".conf";

    QString folders = QFile::decodeName(qgetenv("XDG_CONFIG_DIRS"));
    if (folders.isEmpty())
    {
        folders = "/etc/xdg";
    }
    for (const QString& folder : folders.split(':'))
    {
        const QString path = folder + '/' + file;
        // The XDG rules ignore relative folders. For a missing file QSettings would look for a place to write.
        if (!QDir::isAbsolutePath(folder) || !QFile::exists(path))
        {
            continue;
        }
        QSettings settings(path, QSettings::IniFormat);
        settings.setIniCodec("UTF-8");
        const QVariant value = settings.value(QString::fromStdWString(name));
        if (value.userType() == QMetaType::QString)
        {
            return value.toString().toStdWString();
        }
    }
    return std::nullopt;
}

} // namespace Ardo::Kiln::Platform
