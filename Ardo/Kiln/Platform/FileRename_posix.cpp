#include "Ardo/Kiln/Platform/FileRename.h"

#include "Ardo/Kiln/Platform/SystemError.h"

#include <cstdio>

namespace Ardo::Kiln::Platform
{

std::error_code RenameFile(const std::filesystem::path& from, const std::filesystem::path& to) noexcept
{
    return std::rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : LastSystemError();
}

} // namespace Ardo::Kiln::Platform
