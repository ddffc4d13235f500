#include "Ardo/Kiln/Platform/FileAttributes.h"

#include "Ardo/Kiln/Platform/ScopedHandle_win.h"

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

bool MayWrite(const std::filesystem::path& file) noexcept
{
    const ScopedHandle handle(::CreateFileW(file.c_str(), FILE_WRITE_DATA,
                                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return handle || ::GetLastError() != ERROR_ACCESS_DENIED;
}

} // namespace Ardo::Kiln::Platform
