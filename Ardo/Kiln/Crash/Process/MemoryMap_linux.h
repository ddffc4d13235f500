#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Ardo::Kiln::Crash
{

/// One mapping of a process's address space.
struct MappedRange
{
    std::uint64_t begin = 0;    ///< Its first byte.
    std::uint64_t end = 0;      ///< One past the last byte.
    bool executable = false;    ///< Whether code in it can run.
    std::string file;           ///< Path, or a name in brackets; empty for memory without a file.
    std::uint64_t fileBase = 0; ///< Where the mapping of the file begins of which this is a part.
};

/// All mappings, in the order of their addresses. Empty if the process cannot be read.
/// \throws std::bad_alloc only.
std::vector<MappedRange> ReadMemoryMap(std::uint32_t processId);

/// The mappings in a text like that of /proc/PID/maps.
/// \throws std::bad_alloc only.
std::vector<MappedRange> ParseMemoryMap(std::string_view list);

/// The mapping with \p address, or null.
const MappedRange* RangeOf(const std::vector<MappedRange>& map, std::uint64_t address) noexcept;

} // namespace Ardo::Kiln::Crash
