#include "Ardo/Kiln/Platform/FileReplacement.h"

#include "Ardo/Kiln/Platform/ScopedDescriptor_posix.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>

namespace Ardo::Kiln::Platform
{

namespace
{

std::error_code LastError() noexcept
{
    return {errno, std::generic_category()};
}

} // namespace

std::error_code FlushToDisk(const std::filesystem::path& file) noexcept
{
    const ScopedDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (!descriptor || ::fsync(descriptor.Get()) != 0)
    {
        return LastError();
    }
    return {};
}

std::error_code RenameReplacing(const std::filesystem::path& source, const std::filesystem::path& target) noexcept
{
    if (std::rename(source.c_str(), target.c_str()) != 0)
    {
        return LastError();
    }
    // The new name is in place. Some file systems cannot flush a folder, and nothing is lost by that but the moment
    // from which the name survives a power loss.
    const auto slash = target.native().rfind('/');
    try
    {
        const auto folder = slash == std::string::npos ? std::string(".") : target.native().substr(0, slash + 1);
        static_cast<void>(FlushToDisk(folder));
    }
    catch (const std::bad_alloc&)
    {
    }
    return {};
}

} // namespace Ardo::Kiln::Platform
