#pragma once

#include "Ardo/KilnExport.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace Ardo::Kiln::Platform
{

/// The four components of a file version, the most significant first.
using FileVersion = std::array<std::uint16_t, 4>;

/// The file version in the version resource of a Windows executable or library.
///
/// Empty for a file that is missing, has another format, has no version resource, is truncated or is inconsistent. On
/// Windows the system reads the resource. On Linux the function reads it (Microsoft's "PE Format", and VS_VERSIONINFO
/// with its VS_FIXEDFILEINFO), so that a mounted Windows installation gives the same result. Any thread may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::optional<FileVersion> ReadFileVersion(const std::filesystem::path& file);

} // namespace Ardo::Kiln::Platform
