#include "Ardo/Kiln/Platform/MapsReader_linux.h"

#include "Ardo/Kiln/Platform/ProcFile_linux.h"

#include <algorithm>

namespace Ardo::Kiln::Platform
{

int ReadMaps(std::int32_t process, MappedArray<char>& text) noexcept
{
    return ReadWholeFile(ProcPath(process, 0, "maps").Text(), text);
}

// "7f12-7f34 r-xp 00001000 fe:00 1234      /usr/lib/libX.so"
bool TakeMapsLine(std::string_view& list, MapsLine& line) noexcept
{
    if (list.empty())
    {
        return false;
    }
    std::string_view rest = TakeUntil(list, '\n');
    line.start = TakeNumber(rest, 16);
    line.end = TakeNumber(rest, 16);
    const std::string_view access = TakeUntil(rest, ' ');
    const auto has = [&](std::size_t place, char right) { return place < access.size() && access[place] == right; };
    line.readable = has(0, 'r');
    line.writable = has(1, 'w');
    line.executable = has(2, 'x');
    line.isPrivate = has(3, 'p');
    line.offset = TakeNumber(rest, 16);
    const std::uint64_t major = TakeNumber(rest, 16);
    line.device = major << 32 | TakeNumber(rest, 16);
    line.inode = TakeNumber(rest, 10);
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    if (constexpr std::string_view Deleted = " (deleted)"; rest.ends_with(Deleted))
    {
        rest.remove_suffix(Deleted.size());
    }
    line.name = rest;
    return true;
}

std::optional<MapsModule> FindModule(std::string_view list, std::uint64_t address) noexcept
{
    MapsModule module;
    for (MapsLine line; TakeMapsLine(list, line);)
    {
        // The parts of one file follow each other, with nameless memory between them. Offset 0 begins another copy.
        if (!line.name.empty() && (line.name != module.file || line.offset == 0))
        {
            module = {line.name, line.start};
        }
        if (line.start <= address && address < line.end)
        {
            const bool isFile = line.name.starts_with('/') || line.name == "[vdso]";
            return isFile ? std::optional(module) : std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace Ardo::Kiln::Platform
