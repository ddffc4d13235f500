#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ardo::Kiln::Platform
{

/// One mapping of a process's address space.
struct MappedRange
{
    std::uint64_t begin = 0;    ///< Its first byte.
    std::uint64_t end = 0;      ///< One past the last byte.
    bool executable = false;    ///< Whether code in it can run.
    std::string file;           ///< Without the kernel's " (deleted)"; empty for memory without a file.
    std::uint64_t fileBase = 0; ///< Where the mapping of the file begins of which this is a part.
};

/// The whole of a file, read by system calls alone; also of those whose size the kernel does not tell. Empty if it
/// cannot be read. \throws std::bad_alloc only.
std::string ReadWholeFile(const char* path);

/// The decimal number of \p processId as part of a path of /proc: "/proc/<processId>/<name>".
std::string ProcessFile(std::uint32_t processId, std::string_view name);

/// All mappings, in the order of their addresses. Empty if the process cannot be read. \throws std::bad_alloc only.
std::vector<MappedRange> ReadMemoryMap(std::uint32_t processId);

/// The mapping with \p address, or null.
const MappedRange* RangeOf(const std::vector<MappedRange>& map, std::uint64_t address) noexcept;

} // namespace Ardo::Kiln::Platform
