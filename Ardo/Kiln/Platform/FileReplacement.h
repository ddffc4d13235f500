#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <system_error>

namespace Ardo::Kiln::Platform
{

/// Waits until the contents of a file are on the disk, so that a rename that follows cannot survive a power loss that
/// the contents do not survive. Any thread may call it. \returns the system's reason on failure.
KILN_EXPORT_FOR_TESTS std::error_code FlushToDisk(const std::filesystem::path& file) noexcept;

/// Gives \p source the name \p target in one step, replacing a file of that name; a reader sees the old file or the new
/// one. Both must lie on one volume. On Linux the folder is flushed as well, where its file system can do that.
/// Any thread may call it. \returns the system's reason on failure; then both files are as they were.
KILN_EXPORT_FOR_TESTS std::error_code RenameReplacing(const std::filesystem::path& source,
                                                      const std::filesystem::path& target) noexcept;

} // namespace Ardo::Kiln::Platform
