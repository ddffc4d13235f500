#include "Ardo/Kiln/Platform/ModulePath.h"

#include "Ardo/Kiln/Platform/MapsReader_linux.h"

#include <string>
#include <string_view>

#include <unistd.h>

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

std::filesystem::path LibraryPath()
{
    // As the kernel knows it: dladdr() returns what the loader was told, which may be relative to a folder that is no
    // longer current.
    MappedArray<char> maps;
    const bool read = ReadMaps(::getpid(), maps) == 0;
    const auto self =
        read ? FindModule({maps.begin(), maps.Size()}, reinterpret_cast<std::uint64_t>(&LibraryPath)) : std::nullopt;
    return self ? std::filesystem::path(self->file) : std::filesystem::path();
}

} // namespace Ardo::Kiln::Platform
