#pragma once

#include "Ardo/Imaging/ColourTable.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::ImageIO
{

/// Reads a colour table from a file: ColourTable::Parse has the formats. Any thread may call it.
/// \param fileName wide text of a path, see FileSystem::ToPath.
/// \throws Exception::Error with the file and the reason if it cannot be read or has no colour table.
KILN_EXPORT Imaging::ColourTable ReadColourTable(const std::wstring& fileName);

} // namespace Ardo::Kiln::ImageIO
