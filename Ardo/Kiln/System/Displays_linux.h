#pragma once

#include "Ardo/Kiln/System/Displays.h"

#include <filesystem>

namespace Ardo::Kiln::System
{

/// The displays that the kernel's graphics drivers list.
/// \param folder has a folder a connector, "card0-HDMI-A-1", with the files "status", "modes" and "edid" (a block of
///        the "Enhanced Extended Display Identification Data" standard of VESA, release 1.3).
KILN_EXPORT_FOR_TESTS std::vector<Display> ReadDisplays(const std::filesystem::path& folder);

} // namespace Ardo::Kiln::System
