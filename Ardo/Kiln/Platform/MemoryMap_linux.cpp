#include "Ardo/Kiln/Platform/MemoryMap_linux.h"

#include "Ardo/Kiln/Platform/ScopedDescriptor_posix.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fcntl.h>

namespace Ardo::Kiln::Platform
{

namespace
{

/// Takes a number to the base 16 and the character after it off the front of \p line.
std::uint64_t TakeHexadecimal(std::string_view& line) noexcept
{
    std::uint64_t value = 0;
    const auto [rest, error] = std::from_chars(line.data(), line.data() + line.size(), value, 16);
    const auto length = static_cast<std::size_t>(rest - line.data());
    line.remove_prefix(std::min(line.size(), length + 1));
    return value;
}

/// Takes a word and the blanks after it off the front of \p line.
std::string_view TakeWord(std::string_view& line) noexcept
{
    const auto word = line.substr(0, line.find(' '));
    line.remove_prefix(word.size());
    line.remove_prefix(std::min(line.size(), line.find_first_not_of(' ')));
    return word;
}

} // namespace

std::string ReadWholeFile(const char* path)
{
    std::string text;
    const ScopedDescriptor descriptor(::open(path, O_RDONLY | O_CLOEXEC));
    char buffer[16 * 1024];
    while (descriptor)
    {
        const auto count = ::read(descriptor.Get(), buffer, sizeof buffer);
        if (count > 0)
        {
            text.append(buffer, static_cast<std::size_t>(count));
        }
        else if (count == 0 || errno != EINTR)
        {
            break;
        }
    }
    return text;
}

std::string ProcessFile(std::uint32_t processId, std::string_view name)
{
    char number[16];
    const auto end = std::to_chars(number, number + sizeof number, processId).ptr;
    return std::string("/proc/").append(number, end).append("/").append(name);
}

std::vector<MappedRange> ReadMemoryMap(std::uint32_t processId)
{
    const auto text = ReadWholeFile(ProcessFile(processId, "maps").c_str());
    std::vector<MappedRange> map;
    const MappedRange* file = nullptr; // the last mapping that has one
    for (std::string_view rest = text; !rest.empty();)
    {
        auto line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        // 7f0000000000-7f0000001000 r-xp 00001000 08:01 1234   /path with blanks (deleted)
        MappedRange range;
        range.begin = TakeHexadecimal(line);
        range.end = TakeHexadecimal(line);
        range.executable = TakeWord(line).find('x') != std::string_view::npos;
        const auto offset = TakeHexadecimal(line);
        TakeWord(line);
        TakeWord(line);
        if (constexpr std::string_view Deleted = " (deleted)"; line.ends_with(Deleted))
        {
            line.remove_suffix(Deleted.size());
        }
        range.file = line;
        if (!line.empty())
        {
            const bool goesOn = file != nullptr && file->file == line && offset != 0;
            range.fileBase = goesOn ? file->fileBase : range.begin;
        }
        const auto last = file != nullptr ? file - map.data() : -1;
        map.push_back(std::move(range));
        file = !map.back().file.empty() ? &map.back() : last >= 0 ? map.data() + last : nullptr;
    }
    return map;
}

const MappedRange* RangeOf(const std::vector<MappedRange>& map, std::uint64_t address) noexcept
{
    const auto after =
        std::upper_bound(map.begin(), map.end(), address,
                         [](std::uint64_t value, const MappedRange& range) { return value < range.begin; });
    return after != map.begin() && address < std::prev(after)->end ? &*std::prev(after) : nullptr;
}

} // namespace Ardo::Kiln::Platform
