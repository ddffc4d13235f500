#include "Ardo/Kiln/Platform/ModulePath.h"

#include <string>
#include <string_view>

namespace Ardo::Kiln::Platform
{

std::filesystem::path ExecutablePath()
{
    constexpr std::string_view DeletedMark = " (deleted)";

    std::error_code error;
    std::string path = std::filesystem::read_symlink("/proc/self/exe", error).native();
    if (!error && path.ends_with(DeletedMark) && !std::filesystem::exists(path, error))
    {
        path.resize(path.size() - DeletedMark.size());
    }
    return path;
}

} // namespace Ardo::Kiln::Platform
