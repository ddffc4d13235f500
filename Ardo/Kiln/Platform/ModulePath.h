#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>

namespace Ardo::Kiln::Platform
{

/// The full path of the running executable, or an empty path when the system does not tell.
///
/// On Windows the module path of the process. On Linux the target of /proc/self/exe; a binary that was deleted or
/// replaced since it started keeps its old name, without the kernel's " (deleted)" mark. Any thread may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::filesystem::path ExecutablePath();

} // namespace Ardo::Kiln::Platform
