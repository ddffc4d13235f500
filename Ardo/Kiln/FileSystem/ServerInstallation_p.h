#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <optional>
#include <tuple>

namespace Ardo::Kiln::FileSystem
{

// The instrument server's software on this machine. Asked anew at each call; any thread may call the functions.

/// Its installation folder: the machine setting "Installation Path" of the maker's configuration, else of its 32-bit
/// view (see Platform/MachineSetting.h for where Linux has them). Empty if neither is there.
/// \throws std::exception when a setting is no path.
KILN_EXPORT_FOR_TESTS std::optional<std::filesystem::path> ServerInstallationFolder();

/// The first three components of the file version of Exe\kestrel.dll in that folder, the most important first. Empty
/// without an installation, the file or a readable version.
/// \throws std::exception when a setting is no path.
KILN_EXPORT_FOR_TESTS std::optional<std::tuple<unsigned, unsigned, unsigned>> ServerVersion();

} // namespace Ardo::Kiln::FileSystem
