#include "Ardo/Kiln/Platform/DataFolder.h"

#include <cerrno>
#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

namespace
{

/// An absolute path of the environment, or an empty one.
std::filesystem::path FromEnvironment(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr && *value == '/' ? std::filesystem::path(value) : std::filesystem::path();
}

std::filesystem::path HomeFolder()
{
    if (auto home = FromEnvironment("HOME"); !home.empty())
    {
        return home;
    }
    passwd entry = {};
    passwd* found = nullptr;
    char buffer[4096];
    const bool known = ::getpwuid_r(::getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr &&
                       entry.pw_dir != nullptr && *entry.pw_dir == '/';
    return known ? std::filesystem::path(entry.pw_dir) : std::filesystem::path();
}

} // namespace

std::vector<std::filesystem::path> DataFolders()
{
    std::vector<std::filesystem::path> folders;
    if (auto data = FromEnvironment("XDG_DATA_HOME"); !data.empty())
    {
        folders.push_back(std::move(data));
    }
    else if (const auto home = HomeFolder(); !home.empty())
    {
        folders.push_back(home / ".local" / "share");
    }
    const auto temporary = FromEnvironment("TMPDIR");
    folders.push_back(temporary.empty() ? "/tmp" : temporary);
    return folders;
}

std::uint32_t MakeWritableFolder(const std::filesystem::path& folder)
{
    std::filesystem::path made;
    for (const auto& part : folder)
    {
        made /= part;
        if (::mkdir(made.c_str(), S_IRWXU) != 0 && errno != EEXIST && errno != EISDIR && errno != EROFS &&
            errno != EACCES)
        {
            return static_cast<std::uint32_t>(errno);
        }
    }
    struct stat status = {};
    if (::stat(folder.c_str(), &status) != 0)
    {
        return static_cast<std::uint32_t>(errno);
    }
    if (!S_ISDIR(status.st_mode))
    {
        return ENOTDIR;
    }
    return ::access(folder.c_str(), W_OK | X_OK) == 0 ? 0 : static_cast<std::uint32_t>(errno);
}

} // namespace Ardo::Kiln::Platform
