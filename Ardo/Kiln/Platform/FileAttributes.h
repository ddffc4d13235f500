#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>

namespace Ardo::Kiln::Platform
{

/// True for a file that the system's file managers do not show; false for a missing one.
///
/// On Windows the hidden attribute. On Linux a name that begins with a dot. Any thread may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS bool IsHidden(const std::filesystem::path& file);

/// Makes a hidden file visible; any other file stays as it is.
///
/// On Windows the attribute is cleared. On Linux only another name would help, which is not this function's to give: a
/// hidden file is refused with "operation not supported". Any thread may call it.
/// \returns the system's reason on failure.
KILN_EXPORT_FOR_TESTS std::error_code ClearHidden(const std::filesystem::path& file);

/// True if the system would let this process write the existing file; also if it does not tell.
///
/// On Linux by the effective user, so that a privileged one may write whatever the permissions are.
/// Any thread may call it.
KILN_EXPORT_FOR_TESTS bool MayWrite(const std::filesystem::path& file) noexcept;

} // namespace Ardo::Kiln::Platform
