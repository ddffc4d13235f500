#include "Ardo/Kiln/Platform/FileRename.h"

#include "Ardo/Kiln/Platform/SystemError.h"

#include <windows.h>

namespace Ardo::Kiln::Platform
{

std::error_code RenameFile(const std::filesystem::path& from, const std::filesystem::path& to) noexcept
{
    return ::MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)
               ? std::error_code()
               : LastSystemError();
}

} // namespace Ardo::Kiln::Platform
