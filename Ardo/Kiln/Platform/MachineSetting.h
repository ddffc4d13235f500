#pragma once

#include "Ardo/KilnExport.h"

#include <optional>
#include <string>

namespace Ardo::Kiln::Platform
{

/// A text among the machine's settings; empty if it is not there or is no text.
///
/// On Windows the value \p name under HKEY_LOCAL_MACHINE \p key. On Linux the same key and value in the system's
/// configuration: `SOFTWARE\Ardo\Configuration` is the file Ardo/Configuration.conf below the first folder of
/// XDG_CONFIG_DIRS (/etc/xdg where that is not set) that has the value, which stands in the section [General]. The file
/// is UTF-8; a blank of the name is written %20 and a backslash of the value twice:
///
///     [General]
///     Installation%20Path=/mnt/server
///
/// Nothing is kept between calls. Any thread may call it.
/// \param key begins with `SOFTWARE\`; Linux distinguishes upper and lower case.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::optional<std::wstring> ReadMachineSetting(const std::wstring& key, const std::wstring& name);

} // namespace Ardo::Kiln::Platform
