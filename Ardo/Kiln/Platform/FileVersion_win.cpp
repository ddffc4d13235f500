#include "Ardo/Kiln/Platform/FileVersion.h"

#include <vector>
#include <windows.h>

namespace Ardo::Kiln::Platform
{

std::optional<FileVersion> ReadFileVersion(const std::filesystem::path& file)
{
    DWORD ignored = 0;
    std::vector<unsigned char> resource(::GetFileVersionInfoSizeW(file.c_str(), &ignored));
    void* value = nullptr;
    UINT size = 0;
    if (resource.empty() ||
        !::GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(resource.size()), resource.data()) ||
        !::VerQueryValueW(resource.data(), L"\\", &value, &size) || size < sizeof(VS_FIXEDFILEINFO))
    {
        return std::nullopt;
    }
    const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(value);
    return FileVersion{HIWORD(info.dwFileVersionMS), LOWORD(info.dwFileVersionMS), HIWORD(info.dwFileVersionLS),
                       LOWORD(info.dwFileVersionLS)};
}

} // namespace Ardo::Kiln::Platform
