#pragma once

#include "Ardo/Kiln/Platform/MappedArray_linux.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace Ardo::Kiln::Platform
{

// The kernel's list of the mappings of a process, /proc/PID/maps: see proc(5). System calls only, no allocation from
// the heap: a signal handler may use it.

/// One line of the list. The texts refer to the list.
struct MapsLine
{
    std::uint64_t start = 0;
    std::uint64_t end = 0;    ///< One past the last byte.
    std::uint64_t offset = 0; ///< In its file.
    std::uint64_t device = 0; ///< Major number in the upper 32 bits, minor number in the lower.
    std::uint64_t inode = 0;  ///< 0: no file.
    bool readable = false;
    bool writable = false;
    bool executable = false;
    bool isPrivate = false;
    std::string_view name; ///< Path of the file without " (deleted)", a name in brackets, or empty.
};

/// A file in memory.
struct MapsModule
{
    std::string_view file;  ///< Refers to the list.
    std::uint64_t base = 0; ///< Where the mapping of the file begins.
};

/// Reads the list of \p process to the end of \p text.
/// \returns 0 or the error number.
int ReadMaps(std::int32_t process, MappedArray<char>& text) noexcept;

/// Takes the first line from \p list.
/// \returns false at the end of the list.
bool TakeMapsLine(std::string_view& list, MapsLine& line) noexcept;

/// The file that \p list has at \p address; empty where no file is mapped.
std::optional<MapsModule> FindModule(std::string_view list, std::uint64_t address) noexcept;

} // namespace Ardo::Kiln::Platform
