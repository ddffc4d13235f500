#include "Ardo/Kiln/System/Registry.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/FileSystem/ApplicationName.h"
#include "Ardo/Kiln/Platform/Setting.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace Ardo::Kiln::System
{

namespace
{

using Platform::SettingScope;
using Platform::SettingValue;

constexpr std::size_t MaxNameLength = 255;
constexpr std::size_t MaxTextLength = 32'767;
constexpr std::size_t MaxTexts = 1'000;

std::string ToUtf8(const std::wstring& text)
{
    std::string utf8;
    Conversion::AppendReplacing(utf8, text);
    return utf8;
}

bool IsName(std::wstring_view text) noexcept
{
    return !text.empty() && text.size() <= MaxNameLength && text.find_first_of(L"/\\") == std::wstring_view::npos &&
           std::none_of(text.begin(), text.end(), [](wchar_t unit) { return unit < L' ' || unit == L'\x7F'; });
}

void CheckName(const std::wstring& name)
{
    if (!IsName(name))
    {
        throw std::invalid_argument("no name of a setting: \"" + ToUtf8(name.substr(0, MaxNameLength)) + "\"");
    }
}

void CheckText(const std::wstring& text)
{
    if (text.size() > MaxTextLength || text.find(L'\0') != std::wstring::npos)
    {
        throw std::invalid_argument("the text of a setting is too long or has a NUL character");
    }
}

bool IsKey(std::wstring_view key) noexcept
{
    constexpr std::wstring_view begin = L"SOFTWARE\\";
    if (!key.starts_with(begin))
    {
        return false;
    }
    for (key.remove_prefix(begin.size());; key.remove_prefix(key.find(L'\\') + 1))
    {
        // The parts are folders on some systems: none may lead upwards.
        const std::wstring_view part = key.substr(0, key.find(L'\\'));
        if (!IsName(part) || part == L"." || part == L"..")
        {
            return false;
        }
        if (part.size() == key.size())
        {
            return true;
        }
    }
}

void Store(const std::wstring& key, bool isOwn, const std::wstring& name, const std::optional<SettingValue>& value)
{
    CheckName(name);
    if (!isOwn)
    {
        throw std::logic_error("the settings of the machine are read only");
    }
    if (const auto error = Platform::WriteSetting(key, name, value))
    {
        throw RegistryError(error, "the setting \"" + ToUtf8(name) + "\" of " + ToUtf8(key) + " cannot be written");
    }
}

std::optional<SettingValue> Load(const std::wstring& key, bool isOwn, const std::wstring& name)
{
    CheckName(name);
    return Platform::ReadSetting(isOwn ? SettingScope::User : SettingScope::Machine, key, name);
}

} // namespace

Registry Registry::OfMachine(const std::wstring& key)
{
    if (!IsKey(key))
    {
        throw std::invalid_argument("no key of the machine's settings: \"" + ToUtf8(key.substr(0, MaxNameLength)) +
                                    "\"");
    }
    return {key, false};
}

Registry Registry::OfApplication()
{
    std::wstring name;
    Conversion::AppendReplacing(name, std::string_view(FileSystem::GetApplicationName()));
    return {L"SOFTWARE\\Ardo\\" + name, true};
}

std::optional<std::wstring> Registry::ReadText(const std::wstring& name) const
{
    auto value = Load(m_key, m_isOwn, name);
    auto* const text = value ? std::get_if<std::wstring>(&*value) : nullptr;
    return text != nullptr ? std::optional(std::move(*text)) : std::nullopt;
}

std::optional<std::uint64_t> Registry::ReadNumber(const std::wstring& name) const
{
    const auto value = Load(m_key, m_isOwn, name);
    if (!value || std::holds_alternative<std::uint64_t>(*value))
    {
        return value ? std::optional(std::get<std::uint64_t>(*value)) : std::nullopt;
    }
    const auto* const text = std::get_if<std::wstring>(&*value);
    const std::string digits = text != nullptr ? ToUtf8(*text) : std::string();
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return error == std::errc() && end == digits.data() + digits.size() ? std::optional(number) : std::nullopt;
}

std::optional<bool> Registry::ReadSwitch(const std::wstring& name) const
{
    const auto number = ReadNumber(name);
    return number && *number <= 1 ? std::optional(*number == 1) : std::nullopt;
}

std::optional<std::vector<std::wstring>> Registry::ReadList(const std::wstring& name) const
{
    auto value = Load(m_key, m_isOwn, name);
    if (!value)
    {
        return std::nullopt;
    }
    if (auto* const list = std::get_if<std::vector<std::wstring>>(&*value))
    {
        return std::move(*list);
    }
    // A list of one text is stored like a text where the settings are a file.
    auto* const text = std::get_if<std::wstring>(&*value);
    return text != nullptr ? std::optional(std::vector{std::move(*text)}) : std::nullopt;
}

void Registry::WriteText(const std::wstring& name, const std::wstring& text)
{
    CheckText(text);
    Store(m_key, m_isOwn, name, text);
}

void Registry::WriteNumber(const std::wstring& name, std::uint64_t number)
{
    Store(m_key, m_isOwn, name, number);
}

void Registry::WriteSwitch(const std::wstring& name, bool isOn)
{
    Store(m_key, m_isOwn, name, std::uint64_t{isOn ? 1U : 0U});
}

void Registry::WriteList(const std::wstring& name, const std::vector<std::wstring>& texts)
{
    if (texts.size() > MaxTexts ||
        std::any_of(texts.begin(), texts.end(), [](const auto& text) { return text.empty(); }))
    {
        throw std::invalid_argument("a list of settings is too long or has an empty text");
    }
    std::for_each(texts.begin(), texts.end(), CheckText);
    Store(m_key, m_isOwn, name, texts);
}

void Registry::Remove(const std::wstring& name)
{
    Store(m_key, m_isOwn, name, std::nullopt);
}

} // namespace Ardo::Kiln::System
