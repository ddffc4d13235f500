#include "Ardo/Kiln/Platform/Setting.h"

#include "Ardo/Kiln/Platform/SystemError.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <windows.h>

namespace Ardo::Kiln::Platform
{

namespace
{

/// The bytes of a value.
struct RawValue
{
    DWORD type = REG_NONE;
    std::vector<unsigned char> bytes;
};

std::optional<RawValue> ReadRaw(HKEY root, const std::wstring& key, const std::wstring& name)
{
    RawValue value;
    value.bytes.resize(MAX_PATH * sizeof(wchar_t));
    for (;;)
    {
        auto size = static_cast<DWORD>(value.bytes.size());
        const LSTATUS status = ::RegGetValueW(root, key.c_str(), name.c_str(),
                                              RRF_RT_REG_SZ | RRF_RT_REG_DWORD | RRF_RT_REG_QWORD | RRF_RT_REG_MULTI_SZ,
                                              &value.type, value.bytes.data(), &size);
        if (status == ERROR_SUCCESS)
        {
            value.bytes.resize(size);
            return value;
        }
        if (status != ERROR_MORE_DATA)
        {
            return std::nullopt;
        }
        value.bytes.resize(value.bytes.size() * 2); // another process may make the value longer again
    }
}

std::wstring TextOf(const RawValue& value)
{
    std::wstring text(value.bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), value.bytes.data(), text.size() * sizeof(wchar_t));
    return text;
}

/// The texts up to the empty one at the end.
std::vector<std::wstring> ListOf(const std::wstring& text)
{
    std::vector<std::wstring> list;
    std::wstring_view rest = text;
    while (!rest.empty() && rest.front() != L'\0')
    {
        const std::size_t end = rest.find(L'\0');
        list.emplace_back(rest.substr(0, end));
        rest.remove_prefix(end == std::wstring_view::npos ? rest.size() : end + 1);
    }
    return list;
}

RawValue ToRaw(const SettingValue& value)
{
    RawValue raw;
    const auto append = [&](const void* bytes, std::size_t size)
    {
        const auto* const begin = static_cast<const unsigned char*>(bytes);
        raw.bytes.insert(raw.bytes.end(), begin, begin + size);
    };
    const auto appendText = [&](const std::wstring& text)
    { append(text.c_str(), (text.size() + 1) * sizeof(wchar_t)); };
    if (const auto* const text = std::get_if<std::wstring>(&value))
    {
        raw.type = REG_SZ;
        appendText(*text);
    }
    else if (const auto* const number = std::get_if<std::uint64_t>(&value))
    {
        raw.type = REG_QWORD;
        append(number, sizeof *number);
    }
    else
    {
        raw.type = REG_MULTI_SZ;
        for (const std::wstring& entry : std::get<std::vector<std::wstring>>(value))
        {
            appendText(entry);
        }
        appendText({});
    }
    return raw;
}

} // namespace

std::optional<SettingValue> ReadSetting(SettingScope scope, const std::wstring& key, const std::wstring& name)
{
    const auto value = ReadRaw(scope == SettingScope::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER, key, name);
    if (!value)
    {
        return std::nullopt;
    }
    if (value->type == REG_DWORD || value->type == REG_QWORD)
    {
        std::uint64_t number = 0; // little-endian, like the value
        std::memcpy(&number, value->bytes.data(), std::min(value->bytes.size(), sizeof number));
        return number;
    }
    std::wstring text = TextOf(*value);
    if (value->type == REG_MULTI_SZ)
    {
        return ListOf(text);
    }
    text.resize(text.find_last_not_of(L'\0') + 1); // the count includes the terminator
    return text;
}

std::error_code WriteSetting(const std::wstring& key, const std::wstring& name,
                             const std::optional<SettingValue>& value)
{
    LSTATUS status = ERROR_SUCCESS;
    if (value)
    {
        const RawValue raw = ToRaw(*value);
        status = ::RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), name.c_str(), raw.type, raw.bytes.data(),
                                   static_cast<DWORD>(raw.bytes.size()));
    }
    else
    {
        status = ::RegDeleteKeyValueW(HKEY_CURRENT_USER, key.c_str(), name.c_str());
        status = status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
    }
    return status == ERROR_SUCCESS ? std::error_code() : std::error_code(static_cast<int>(status), SystemErrors());
}

} // namespace Ardo::Kiln::Platform
