#include "Ardo/Kiln/FileSystem/ServerInstallation.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Platform/FileVersion.h"
#include "Ardo/Kiln/Platform/Setting.h"

namespace Ardo::Kiln::FileSystem
{

std::optional<std::filesystem::path> ServerInstallationFolder()
{
    for (const wchar_t* key : {L"SOFTWARE\\Ardo\\Configuration", L"SOFTWARE\\Wow6432Node\\Ardo\\Configuration"})
    {
        const auto value = Platform::ReadSetting(Platform::SettingScope::Machine, key, L"Installation Path");
        if (const auto* const folder = value ? std::get_if<std::wstring>(&*value) : nullptr)
        {
            return ToPath(*folder);
        }
    }
    return std::nullopt;
}

std::optional<std::tuple<unsigned, unsigned, unsigned>> ServerVersion()
{
    const auto folder = ServerInstallationFolder();
    const auto version =
        folder ? Platform::ReadFileVersion(*folder / "Exe" / "kestrel.dll") : std::optional<Platform::FileVersion>();
    if (!version)
    {
        return std::nullopt;
    }
    return std::tuple((*version)[0], (*version)[1], (*version)[2]);
}

} // namespace Ardo::Kiln::FileSystem
