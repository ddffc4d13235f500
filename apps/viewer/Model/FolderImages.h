#pragma once

#include <QString>

namespace Ardo::Kiln::Viewer
{

/// The image file that comes before or after another one in its folder, in the order of names in which numbers count
/// as numbers: "b2" before "b10". Names with the usual extensions of images count; hidden files do not.
/// \param path a file, which need not exist any more.
/// \param step 1: the next one, -1: the one before.
/// \returns empty if there is none.
QString NeighbourInFolder(const QString& path, int step);

/// The filter of a file dialog for images.
QString ImageNameFilter();

} // namespace Ardo::Kiln::Viewer
