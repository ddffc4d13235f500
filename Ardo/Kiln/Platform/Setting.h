#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <variant>
#include <vector>

namespace Ardo::Kiln::Platform
{

/// Whose settings.
enum class SettingScope
{
    Machine, ///< Of the machine, for all users. On Windows HKEY_LOCAL_MACHINE, on Linux the folders of XDG_CONFIG_DIRS.
    User,    ///< Of this user. On Windows HKEY_CURRENT_USER, on Linux the folder XDG_CONFIG_HOME.
};

/// A setting: text, a number, or a list of texts.
using SettingValue = std::variant<std::wstring, std::uint64_t, std::vector<std::wstring>>;

// The settings of the system ("registry"). Nothing is cached between calls. Any thread may call the functions.
//
// On Windows a setting is the value NAME of the key KEY: a text is REG_SZ, a number REG_DWORD or REG_QWORD, a list
// REG_MULTI_SZ. On Linux the key `SOFTWARE\Ardo\Configuration` is the file Ardo/Configuration.conf below a folder of
// XDG_CONFIG_DIRS (/etc/xdg if that is not set) or XDG_CONFIG_HOME (~/.config), and the setting stands in its section
// [General]. Of several folders the first whose file has the setting counts. The file is UTF-8 in the INI syntax of
// QSettings: a blank in the name is written as %20, a backslash in the value is doubled, the texts of a list are
// separated by commas. It does not tell a number from a text.
//
//     [General]
//     Installation%20Path=/mnt/server

/// Reads a setting. On Linux a number is a text.
/// \param key begins with `SOFTWARE\`; Linux distinguishes upper and lower case.
/// \returns empty if the setting is missing or of another kind.
/// \throws std::bad_alloc only.
KILN_EXPORT_FOR_TESTS std::optional<SettingValue> ReadSetting(SettingScope scope, const std::wstring& key,
                                                              const std::wstring& name);

/// Writes a setting of this user, or removes it. Other settings are not touched, not even when the process is killed
/// meanwhile or another process writes at the same time.
/// \param value the new value; empty: the setting is removed, and that it is missing is no error.
/// \returns the system's reason; no error if it was done. On Linux std::errc::illegal_byte_sequence for a file that has
///          another syntax, which stays as it is.
KILN_EXPORT_FOR_TESTS std::error_code WriteSetting(const std::wstring& key, const std::wstring& name,
                                                   const std::optional<SettingValue>& value);

} // namespace Ardo::Kiln::Platform
