#include "apps/viewer/Model/FolderImages.h"

#include <QCollator>
#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace Ardo::Kiln::Viewer
{

namespace
{

const QStringList& Patterns()
{
    static const QStringList g_patterns = {QStringLiteral("*.tif"), QStringLiteral("*.tiff"), QStringLiteral("*.png"),
                                           QStringLiteral("*.jpg"), QStringLiteral("*.jpeg"), QStringLiteral("*.bmp"),
                                           QStringLiteral("*.gif"), QStringLiteral("*.pgm"),  QStringLiteral("*.ppm"),
                                           QStringLiteral("*.pbm"), QStringLiteral("*.xbm"),  QStringLiteral("*.xpm")};
    return g_patterns;
}

} // namespace

QString NeighbourInFolder(const QString& path, int step)
{
    const QFileInfo info(path);
    QStringList names = info.dir().entryList(Patterns(), QDir::Files);
    if (!names.contains(info.fileName()))
    {
        names += info.fileName();
    }
    QCollator collator{QLocale(QLocale::English)}; // that of "C" knows no numeric mode
    collator.setNumericMode(true);
    std::sort(names.begin(), names.end(),
              [&](const QString& a, const QString& b)
              {
                  const int order = collator.compare(a, b);
                  return order != 0 ? order < 0 : a < b;
              });
    const int index = names.indexOf(info.fileName()) + step;
    return index >= 0 && index < names.size() ? info.dir().filePath(names[index]) : QString();
}

QString ImageNameFilter()
{
    return Patterns().join(QLatin1Char(' '));
}

} // namespace Ardo::Kiln::Viewer
