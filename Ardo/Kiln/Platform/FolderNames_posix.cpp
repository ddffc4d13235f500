#include "Ardo/Kiln/Platform/FolderNames.h"

#include "Ardo/Kiln/Platform/SystemError.h"

#include <cerrno>
#include <dirent.h>
#include <memory>

namespace Ardo::Kiln::Platform
{

std::error_code VisitNames(const std::filesystem::path& folder, const std::function<void(std::string_view)>& visit)
{
    struct Close
    {
        void operator()(DIR* directory) const noexcept { ::closedir(directory); }
    };
    const std::unique_ptr<DIR, Close> directory(::opendir(folder.c_str()));
    if (!directory)
    {
        return LastSystemError();
    }
    for (;;)
    {
        errno = 0;
        const dirent* const entry = ::readdir(directory.get());
        if (entry == nullptr)
        {
            return errno == 0 ? std::error_code() : LastSystemError();
        }
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
        {
            visit(name);
        }
    }
}

} // namespace Ardo::Kiln::Platform
