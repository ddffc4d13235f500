#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <vector>

namespace Ardo::Kiln::Platform
{

/// The folders below which products keep data that is no document, the preferred first. Never empty.
///
/// On Windows %ProgramData%. On Linux $XDG_DATA_HOME if that is an absolute path, else .local/share in the home folder
/// of the user. Then the system's folder for temporary files, if the user has no home folder. Not for a faulted
/// process: it asks the environment.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::vector<std::filesystem::path> DataFolders();

/// Creates \p folder with all parents that are missing, for files that nobody else may read. No allocation; on Linux
/// system calls only, and a signal handler may call it.
///
/// What is new is on Linux for the user alone. Refused there with EACCES are a folder that belongs to another user, and
/// one that a link leads to which belongs to another user but root. On Windows the rights of the folder decide.
/// \param folder null-terminated UTF-8; on Linux the bytes of the path.
/// \returns the system's number of the error; 0 if the folder is there and new files can be made in it.
KILN_EXPORT_FOR_TESTS int MakePrivateFolder(const char* folder) noexcept;

} // namespace Ardo::Kiln::Platform
