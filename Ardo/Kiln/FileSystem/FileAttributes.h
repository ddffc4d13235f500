#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>

namespace Ardo::Kiln::FileSystem
{

// What keeps a person from seeing or changing a file. A missing file is neither hidden nor read-only.
// Any thread may call the functions.

/// True for a hidden file: on Windows one with that attribute, on Linux one whose name begins with a dot.
KILN_EXPORT bool IsHidden(const std::filesystem::path& path);

/// Makes a hidden file visible.
/// \throws std::runtime_error "Can not remove hidden file attribute of " and ToDisplayText of the path when the system
///         refuses; on Linux always for a hidden file, because only another name would make it visible.
KILN_EXPORT void RemoveHiddenAttribute(const std::filesystem::path& path);

/// True for a read-only file: on Windows one with that attribute, on Linux one that its owner may not write.
KILN_EXPORT bool IsReadOnly(const std::filesystem::path& path);

/// Makes a read-only file writable, on Linux for its owner.
/// \throws std::runtime_error "Can not remove read only file attribute of " and ToDisplayText of the path when
///         the system refuses.
KILN_EXPORT void RemoveReadOnlyAttribute(const std::filesystem::path& path);

} // namespace Ardo::Kiln::FileSystem
