#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace Ardo::Kiln::System
{

/// A setting could not be written. The text names the setting and the reason.
class RegistryError : public std::system_error
{
public:
    using std::system_error::system_error;
};

/// One key of the settings of the system: of the machine, read only, or the application's own, which it writes.
///
/// On Windows a key is one of the registry. On Linux the key `SOFTWARE\Ardo\Configuration` is the file
/// Ardo/Configuration.conf in the folders of XDG_CONFIG_DIRS (/etc/xdg), and the application's own key a file in
/// XDG_CONFIG_HOME (~/.config); docs/system.md shows their syntax. There a number is stored as text, so ReadText
/// reads it, too.
///
/// Nothing is cached. Any thread may use any object, and several processes the same key.
///
///     const auto folder = Registry::OfMachine(L"SOFTWARE\\Ardo\\Configuration").ReadText(L"Installation Path");
///     Registry::OfApplication().WriteText(L"Last Folder", L"D:\\Data");
class KILN_EXPORT Registry
{
public:
    /// A key of the machine.
    /// \param key begins with `SOFTWARE\`; each part has 1 to 255 characters and none of "/", "." or ".." alone and
    ///        control characters. Linux distinguishes upper and lower case.
    /// \throws std::invalid_argument for any other key.
    static Registry OfMachine(const std::wstring& key);

    /// The application's own key of this user, `SOFTWARE\Ardo\` and the name of the executable without extension.
    /// \throws std::runtime_error of FileSystem::GetApplicationName.
    static Registry OfApplication();

    // Each function throws std::invalid_argument for a name that is empty, longer than 255 characters, or has "/",
    // "\" or control characters. The functions "Read" return an empty optional if the setting is missing or of
    // another kind.

    /// A text.
    std::optional<std::wstring> ReadText(const std::wstring& name) const;

    /// A whole number.
    std::optional<std::uint64_t> ReadNumber(const std::wstring& name) const;

    /// A switch: the number 0 or 1.
    std::optional<bool> ReadSwitch(const std::wstring& name) const;

    /// A list of texts. On Linux a single text is a list, too.
    std::optional<std::vector<std::wstring>> ReadList(const std::wstring& name) const;

    // The functions below are for the application's own key. They throw std::logic_error for a key of the machine, and
    // RegistryError if the system refuses; the old value then stays.

    /// Writes a text of at most 32,767 characters without NUL.
    /// \throws std::invalid_argument for any other text.
    void WriteText(const std::wstring& name, const std::wstring& text);

    /// Writes a number.
    void WriteNumber(const std::wstring& name, std::uint64_t number);

    /// Writes a switch.
    void WriteSwitch(const std::wstring& name, bool isOn);

    /// Writes a list of at most 1,000 texts, none of them empty.
    /// \throws std::invalid_argument for any other list.
    void WriteList(const std::wstring& name, const std::vector<std::wstring>& texts);

    /// Removes a setting; nothing happens if it is missing.
    void Remove(const std::wstring& name);

private:
    Registry(std::wstring key, bool isOwn) : m_key(std::move(key)), m_isOwn(isOwn) {}

    std::wstring m_key;
    bool m_isOwn;
};

} // namespace Ardo::Kiln::System
