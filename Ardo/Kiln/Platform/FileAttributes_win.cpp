#include "Ardo/Kiln/Platform/FileAttributes.h"

#include <windows.h>

namespace Ardo::Kiln::Platform
{

bool IsHidden(const std::filesystem::path& file)
{
    const DWORD attributes = ::GetFileAttributesW(file.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
}

std::error_code ClearHidden(const std::filesystem::path& file)
{
    const DWORD attributes = ::GetFileAttributesW(file.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES ||
        !::SetFileAttributesW(file.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_HIDDEN)))
    {
        return {static_cast<int>(::GetLastError()), std::system_category()};
    }
    return {};
}

} // namespace Ardo::Kiln::Platform
