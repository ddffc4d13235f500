#include "Ardo/Kiln/Platform/FileFlags.h"

#include "Ardo/Kiln/Platform/ScopedHandle_win.h"
#include "Ardo/Kiln/Platform/SystemError.h"

namespace Ardo::Kiln::Platform
{

bool IsHiddenByName(const std::filesystem::path&)
{
    return false;
}

bool IsHidden(const std::filesystem::path& file)
{
    const DWORD attributes = ::GetFileAttributesW(file.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
}

std::error_code ClearHidden(const std::filesystem::path& file)
{
    // A file that is not hidden, or does not exist, is left alone: as on the other system.
    return !IsHidden(file) || ::SetFileAttributesW(file.c_str(), ::GetFileAttributesW(file.c_str()) &
                                                                     ~static_cast<DWORD>(FILE_ATTRIBUTE_HIDDEN))
               ? std::error_code()
               : LastSystemError();
}

bool MayWrite(const std::filesystem::path& file) noexcept
{
    const ScopedHandle handle(::CreateFileW(file.c_str(), FILE_WRITE_DATA,
                                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return handle || ::GetLastError() != ERROR_ACCESS_DENIED;
}

} // namespace Ardo::Kiln::Platform
