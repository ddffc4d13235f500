#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <vector>

namespace Ardo::Kiln::Platform
{

/// The folders below which products store data other than documents, the preferred one first. Never empty.
///
/// The first is %ProgramData% on Windows. On Linux it is $XDG_DATA_HOME if that is an absolute path, otherwise
/// .local/share in the home folder of the user; without a home folder there is none. The last is the system's folder
/// for temporary files. Not for a faulted process, because it reads the environment.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::vector<std::filesystem::path> DataFolders();

/// Creates \p folder and its missing parents, for files that no other user may read. Does not allocate. On Linux it
/// makes system calls only, and a signal handler may call it.
///
/// On Linux new folders are accessible to the user only. It fails with EACCES if the folder belongs to another user, or
/// if a link in the path belongs to another user who is not root. On Windows the parent folder determines the rights.
/// \param folder null-terminated UTF-8; on Linux the bytes of the path.
/// \returns 0 if the folder exists and files can be created in it; otherwise the system's error number.
KILN_EXPORT_FOR_TESTS int MakePrivateFolder(const char* folder) noexcept;

} // namespace Ardo::Kiln::Platform
