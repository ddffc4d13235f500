#pragma once

#include "Ardo/KilnExport.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace Ardo::Kiln::Platform
{

/// The four components of a file version, the most important first.
using FileVersion = std::array<std::uint16_t, 4>;

/// The file version in the version resource of a Windows executable or library.
///
/// Empty for a missing file, one of another format or without a version resource, and one that is cut off or
/// contradicts itself. On Windows the system reads it. On Linux it is read from the file itself (Microsoft's "PE
/// Format", and VS_VERSIONINFO with its VS_FIXEDFILEINFO), so that a mounted installation answers the same. Any thread
/// may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::optional<FileVersion> ReadFileVersion(const std::filesystem::path& file);

} // namespace Ardo::Kiln::Platform
