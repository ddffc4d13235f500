#include "Ardo/Kiln/Platform/FileReplacement.h"

#include "Ardo/Kiln/Platform/ScopedHandle_win.h"

namespace Ardo::Kiln::Platform
{

namespace
{

std::error_code LastError() noexcept
{
    return {static_cast<int>(::GetLastError()), std::system_category()};
}

} // namespace

std::error_code FlushToDisk(const std::filesystem::path& file) noexcept
{
    // The system flushes only through a handle that may write.
    const ScopedHandle handle(::CreateFileW(file.c_str(), GENERIC_WRITE,
                                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!handle || !::FlushFileBuffers(handle.Get()))
    {
        return LastError();
    }
    return {};
}

std::error_code RenameReplacing(const std::filesystem::path& source, const std::filesystem::path& target) noexcept
{
    if (!::MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
    {
        return LastError();
    }
    return {};
}

} // namespace Ardo::Kiln::Platform
