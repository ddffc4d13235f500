#pragma once

#include "Ardo/Kiln/Platform/MappedArray_linux.h"
#include "Ardo/KilnExport.h"

#include <cstdint>
#include <string_view>

namespace Ardo::Kiln::Platform
{

// Functions to read the files of a process in /proc. They make system calls only, so signal handlers and faulted
// processes may call them.

/// The path of a file in /proc, for example "/proc/123/task/456/stat".
class KILN_EXPORT_FOR_TESTS ProcPath
{
public:
    /// \param thread 0 for a file of the process itself.
    /// \param name of the file, at most 30 characters. A longer path is truncated.
    ProcPath(std::int32_t process, std::int32_t thread, std::string_view name) noexcept;

    const char* Text() const noexcept { return m_text; }

private:
    void Append(std::string_view text) noexcept;
    void Append(std::int32_t number) noexcept;

    char m_text[80] = {};
    std::size_t m_length = 0;
};

/// Appends the contents of the file \p path, at most \p limit bytes, to \p text.
/// \returns 0 or the error number.
KILN_EXPORT_FOR_TESTS int ReadWholeFile(const char* path, MappedArray<char>& text,
                                        std::size_t limit = std::size_t{64} << 20) noexcept;

/// Reads the beginning of a file into \p buffer, with one system call.
/// \returns the bytes read; empty on failure.
KILN_EXPORT_FOR_TESTS std::string_view ReadSmallFile(const char* path, char* buffer, std::size_t size) noexcept;

/// Reads an unsigned number at the beginning of \p text, and removes it and the character behind it from \p text.
/// \returns 0 if there is no number or if it does not fit 64 bits.
KILN_EXPORT_FOR_TESTS std::uint64_t TakeNumber(std::string_view& text, int base) noexcept;

/// Removes the part before the next \p separator and the separator from \p text; all of \p text if there is none.
/// \returns the part without the separator.
KILN_EXPORT_FOR_TESTS std::string_view TakeUntil(std::string_view& text, char separator) noexcept;

/// Appends the thread ids of all threads of \p process to \p ids.
/// \returns 0 or the error number.
KILN_EXPORT_FOR_TESTS int ReadThreadIds(std::int32_t process, MappedArray<std::int32_t>& ids) noexcept;

} // namespace Ardo::Kiln::Platform
