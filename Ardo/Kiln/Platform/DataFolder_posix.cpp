#include "Ardo/Kiln/Platform/DataFolder.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

namespace
{

/// The path in an environment variable; empty if it is not set or not absolute.
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

constexpr std::size_t MaxPath = 4096;

/// Whether \p path is a link that belongs to neither the user of this process nor root.
bool IsForeignLink(const char* path) noexcept
{
    struct stat status = {};
    return ::lstat(path, &status) == 0 && S_ISLNK(status.st_mode) && status.st_uid != ::geteuid() && status.st_uid != 0;
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

int MakePrivateFolder(const char* folder) noexcept
{
    char path[MaxPath];
    std::size_t length = 0;
    // For each parent folder and the folder itself.
    for (const char* at = folder;; ++at)
    {
        if (length == sizeof path)
        {
            return ENAMETOOLONG;
        }
        if ((*at == '/' || *at == '\0') && length > 0)
        {
            path[length] = '\0';
            if (::mkdir(path, S_IRWXU) != 0 && errno != EEXIST && errno != EISDIR && errno != EROFS && errno != EACCES)
            {
                return errno;
            }
            if (IsForeignLink(path))
            {
                return EACCES;
            }
        }
        if (*at == '\0')
        {
            break;
        }
        path[length++] = *at;
    }
    struct stat status = {};
    if (::stat(folder, &status) != 0)
    {
        return errno;
    }
    if (!S_ISDIR(status.st_mode))
    {
        return ENOTDIR;
    }
    if (status.st_uid != ::geteuid())
    {
        return EACCES;
    }
    return ::faccessat(AT_FDCWD, folder, W_OK | X_OK, AT_EACCESS) == 0 ? 0 : errno;
}

} // namespace Ardo::Kiln::Platform
