#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <optional>
#include <tuple>

namespace Ardo::Kiln::FileSystem
{

// The installed software of the instrument server. Nothing is cached between calls. Any thread may call the functions.

/// The installation folder: the machine setting "Installation Path" of the maker's configuration, or of its 32-bit view
/// if the first is missing. Platform/Setting.h describes both on Linux. Empty if both are missing.
/// \throws std::exception when a setting is no path.
KILN_EXPORT_FOR_TESTS std::optional<std::filesystem::path> ServerInstallationFolder();

/// The first three components of the file version of Exe\kestrel.dll in that folder, the most significant first. Empty
/// if there is no installation, no such file or no readable version.
/// \throws std::exception when a setting is no path.
KILN_EXPORT_FOR_TESTS std::optional<std::tuple<unsigned, unsigned, unsigned>> ServerVersion();

} // namespace Ardo::Kiln::FileSystem
