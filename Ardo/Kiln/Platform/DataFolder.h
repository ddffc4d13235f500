#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <vector>

namespace Ardo::Kiln::Platform
{

/// The folders below which products keep data that is no document, the preferred first. Never empty.
///
/// On Windows %ProgramData%. On Linux $XDG_DATA_HOME if that is an absolute path, else .local/share in the home folder
/// of the user. Then the system's folder for temporary files, for a user who has no place of his own.
/// Not for a faulted process: it asks the environment. \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::vector<std::filesystem::path> DataFolders();

/// Creates \p folder with all parents that are missing. What is new is on Linux for the user alone.
/// \return the system's number of the error; 0 if the folder is there and new files can be made in it.
KILN_EXPORT_FOR_TESTS std::uint32_t MakeWritableFolder(const std::filesystem::path& folder);

} // namespace Ardo::Kiln::Platform
