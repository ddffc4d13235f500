#include "apps/viewer/FileModel.h"

#include <exception>

namespace Ardo::Kiln::Viewer
{

void FileModel::Read(const QString& path) const
{
    progress.Send(QStringLiteral("Reading %1 ...").arg(path));
    abilities.Send({});
    try
    {
        outcomes.Send({LoadImageFile(path), {}});
        abilities.Send({FileAbility::Reread});
    }
    catch (const std::exception& exception)
    {
        outcomes.Send({{}, exception.what()});
    }
}

} // namespace Ardo::Kiln::Viewer
