#include "Ardo/Kiln/Platform/MachineSetting.h"

#include <windows.h>

namespace Ardo::Kiln::Platform
{

std::optional<std::wstring> ReadMachineSetting(const std::wstring& key, const std::wstring& name)
{
    std::wstring value(MAX_PATH, L'\0');
    for (;;)
    {
        auto bytes = static_cast<DWORD>(value.size() * sizeof(wchar_t));
        const LSTATUS status =
            ::RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name.c_str(), RRF_RT_REG_SZ, nullptr, value.data(), &bytes);
        if (status == ERROR_SUCCESS)
        {
            value.resize(bytes / sizeof(wchar_t));
            value.resize(value.find_last_not_of(L'\0') + 1); // the count includes the terminator
            return value;
        }
        if (status != ERROR_MORE_DATA)
        {
            return std::nullopt;
        }
        value.resize(value.size() * 2); // another process may make the value longer again
    }
}

} // namespace Ardo::Kiln::Platform
