#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>

namespace Ardo::Kiln::Platform
{

/// The absolute path of the running executable, or an empty path if the system does not provide it.
///
/// On Linux it is the target of /proc/self/exe. If the file was deleted or replaced after the start, it is the former
/// path, without the mark " (deleted)" of the kernel. Any thread may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::filesystem::path ExecutablePath();

/// The absolute path of the shared library that contains this code, with symbolic links resolved, or an empty path if
/// the system does not provide it. Any thread may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::filesystem::path LibraryPath();

} // namespace Ardo::Kiln::Platform
