#include "Ardo/Kiln/Crash/Process/MemoryMap_linux.h"

#include "Ardo/Kiln/Platform/MapsReader_linux.h"

#include <algorithm>
#include <iterator>

namespace Ardo::Kiln::Crash
{

std::vector<MappedRange> ReadMemoryMap(std::uint32_t processId)
{
    Platform::MappedArray<char> text;
    if (Platform::ReadMaps(static_cast<std::int32_t>(processId), text) != 0)
    {
        return {};
    }
    return ParseMemoryMap({text.begin(), text.Size()});
}

std::vector<MappedRange> ParseMemoryMap(std::string_view list)
{
    std::vector<MappedRange> map;
    std::string_view file; // of the last mapping that has one
    std::uint64_t fileBase = 0;
    for (Platform::MapsLine line; TakeMapsLine(list, line);)
    {
        if (!line.name.empty() && (line.name != file || line.offset == 0))
        {
            file = line.name;
            fileBase = line.start;
        }
        if (line.start < line.end)
        {
            map.push_back(
                {line.start, line.end, line.executable, std::string(line.name), line.name.empty() ? 0 : fileBase});
        }
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

} // namespace Ardo::Kiln::Crash
