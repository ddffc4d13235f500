#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>

namespace Ardo::Kiln::Platform
{

/// True for a file that the file managers of the system do not show. False for a missing file.
///
/// On Windows the file has the attribute "hidden". On Linux its name begins with a dot. Any thread may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS bool IsHidden(const std::filesystem::path& file);

/// True if a file with this name would be hidden: on Linux if the name begins with a dot, on Windows never.
///
/// Any thread may call it.
bool IsHiddenByName(const std::filesystem::path& file);

/// Makes a hidden file visible. Does nothing for any other file.
///
/// On Windows the attribute is cleared. On Linux only another name would make the file visible, so the function fails
/// with "operation not supported". Any thread may call it.
/// \returns the system's reason on failure.
KILN_EXPORT_FOR_TESTS std::error_code ClearHidden(const std::filesystem::path& file);

/// True if this process may write the existing file, and if the system does not tell.
///
/// On Linux the effective user counts, so a privileged process may write any file. Any thread may call it.
KILN_EXPORT_FOR_TESTS bool MayWrite(const std::filesystem::path& file) noexcept;

} // namespace Ardo::Kiln::Platform
