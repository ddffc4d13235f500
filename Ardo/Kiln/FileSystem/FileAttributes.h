#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>

namespace Ardo::Kiln::FileSystem
{

// Attributes that hide a file or prevent changes. A missing file is neither hidden nor read-only.
// Any thread may call the functions.

/// True for a hidden file. On Windows it has the attribute "hidden"; on Linux its name begins with a dot.
KILN_EXPORT bool IsHidden(const std::filesystem::path& path);

/// Makes a hidden file visible.
/// \throws std::runtime_error "Can not remove hidden file attribute of " and ToDisplayText of the path when the system
///         refuses. On Linux it refuses for every hidden file, because only another name would make the file visible.
KILN_EXPORT void RemoveHiddenAttribute(const std::filesystem::path& path);

/// True for a read-only file. On Windows it has the attribute "read-only"; on Linux its owner has no write permission.
KILN_EXPORT bool IsReadOnly(const std::filesystem::path& path);

/// Makes a read-only file writable; on Linux for its owner only.
/// \throws std::runtime_error "Can not remove read only file attribute of " and ToDisplayText of the path when
///         the system refuses.
KILN_EXPORT void RemoveReadOnlyAttribute(const std::filesystem::path& path);

} // namespace Ardo::Kiln::FileSystem
