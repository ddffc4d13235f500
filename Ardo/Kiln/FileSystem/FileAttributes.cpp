#include "Ardo/Kiln/FileSystem/FileAttributes.h"

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Platform/FileFlags.h"

#include <stdexcept>
#include <string>

namespace Ardo::Kiln::FileSystem
{

namespace fs = std::filesystem;

bool IsHidden(const fs::path& path)
{
    return Platform::IsHidden(path);
}

void RemoveHiddenAttribute(const fs::path& path)
{
    if (Platform::ClearHidden(path))
    {
        throw std::runtime_error("Can not remove hidden file attribute of " + ToDisplayText(path));
    }
}

bool IsReadOnly(const fs::path& path)
{
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    return fs::exists(status) && (status.permissions() & fs::perms::owner_write) == fs::perms::none;
}

void RemoveReadOnlyAttribute(const fs::path& path)
{
    std::error_code error;
    fs::permissions(path, fs::perms::owner_write, fs::perm_options::add, error);
    if (error)
    {
        throw std::runtime_error("Can not remove read only file attribute of " + ToDisplayText(path));
    }
}

} // namespace Ardo::Kiln::FileSystem
