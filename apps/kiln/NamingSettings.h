#pragma once

#include "Ardo/Kiln/FileNaming/FileNamingSettings.h"

#include <string>

namespace Ardo::Kiln::Tool
{

/// The naming settings that the options of a command stand for. All texts are UTF-8.
/// \param file   an INI file; empty: the defaults.
/// \param folder takes the place of that of the settings unless it is empty.
/// \throws Failure when the file cannot be read.
FileNaming::FileNamingSettings NamingSettings(const std::string& file, const std::string& folder);

} // namespace Ardo::Kiln::Tool
