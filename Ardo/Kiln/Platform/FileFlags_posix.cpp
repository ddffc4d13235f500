#include "Ardo/Kiln/Platform/FileFlags.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

bool IsHiddenByName(const std::filesystem::path& file)
{
    return file.filename().native().starts_with('.');
}

bool IsHidden(const std::filesystem::path& file)
{
    std::error_code error;
    return IsHiddenByName(file) && std::filesystem::exists(file, error);
}

std::error_code ClearHidden(const std::filesystem::path& file)
{
    return IsHidden(file) ? std::make_error_code(std::errc::operation_not_supported) : std::error_code();
}

bool MayWrite(const std::filesystem::path& file) noexcept
{
    return ::faccessat(AT_FDCWD, file.c_str(), W_OK, AT_EACCESS) == 0 ||
           (errno != EACCES && errno != EPERM && errno != EROFS);
}

} // namespace Ardo::Kiln::Platform
