#pragma once

#include <filesystem>
#include <system_error>

namespace Ardo::Kiln::Platform
{

/// Renames a file. A file that has the name \p to is replaced in one step.
///
/// std::filesystem::rename of a missing file does not report std::errc::no_such_file_or_directory with every standard
/// library of Windows. Any thread may call this function.
/// \returns the system's reason on failure. Both files are then unchanged.
std::error_code RenameFile(const std::filesystem::path& from, const std::filesystem::path& to) noexcept;

} // namespace Ardo::Kiln::Platform
