#pragma once

#include "Ardo/Kiln/Platform/MappedArray_linux.h"

#include <cstdint>
#include <string_view>

namespace Ardo::Kiln::Platform
{

// Reading the kernel's files about a process, with system calls only: signal handlers and broken processes may do it.

/// The path of such a file, "/proc/123/task/456/stat".
class ProcPath
{
public:
    /// \p thread 0: of the process. \p name at most 30 characters.
    ProcPath(std::int32_t process, std::int32_t thread, std::string_view name) noexcept;

    const char* Text() const noexcept { return m_text; }

private:
    void Append(std::string_view text) noexcept;
    void Append(std::int32_t number) noexcept;

    char m_text[80] = {};
    std::size_t m_length = 0;
};

/// Reads the file \p path, at most \p limit bytes of it, to the end of \p text.
/// \returns 0 or the error number.
int ReadWholeFile(const char* path, MappedArray<char>& text, std::size_t limit = std::size_t{64} << 20) noexcept;

/// Reads the beginning of a small file into \p buffer.
/// \returns what was read; nothing if that failed.
std::string_view ReadSmallFile(const char* path, char* buffer, std::size_t size) noexcept;

/// Takes an unsigned number from the beginning of \p text, and the one character behind it.
std::uint64_t TakeNumber(std::string_view& text, int base) noexcept;

/// Takes what is before the next \p separator, and the separator; everything if there is none.
std::string_view TakeUntil(std::string_view& text, char separator) noexcept;

/// The numbers of all threads of \p process.
/// \returns 0 or the error number.
int ReadThreadIds(std::int32_t process, MappedArray<std::int32_t>& ids) noexcept;

} // namespace Ardo::Kiln::Platform
