#pragma once

#include "Ardo/KilnExport.h"

#include <optional>
#include <string>

namespace Ardo::Kiln::Platform
{

/// Reads a text from the settings of the machine. Empty if the setting is missing or no text.
///
/// On Windows it is the value \p name of the key \p key below HKEY_LOCAL_MACHINE. On Linux it is read from the system's
/// configuration: for the key `SOFTWARE\Ardo\Configuration` from the file Ardo/Configuration.conf below the folders of
/// XDG_CONFIG_DIRS (/etc/xdg if that is not set). The first folder whose file has the value in the section [General]
/// counts. The file is UTF-8. A blank in the name is written as %20, a backslash in the value is doubled:
///
///     [General]
///     Installation%20Path=/mnt/server
///
/// Nothing is cached between calls. Any thread may call it.
/// \param key begins with `SOFTWARE\`; Linux distinguishes upper and lower case.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::optional<std::wstring> ReadMachineSetting(const std::wstring& key, const std::wstring& name);

} // namespace Ardo::Kiln::Platform
