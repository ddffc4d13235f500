#pragma once

#include "Ardo/Kiln/Platform/MappedArray_linux.h"

#include <cstdint>

namespace Ardo::Kiln::Crash
{

class ProcessImage;

/// Writes a file from its beginning to its end through a buffer. The first failure stands: nothing is written after it.
/// Makes system calls only.
class DumpFile
{
public:
    /// \param descriptor of a file that can be positioned; stays the caller's.
    explicit DumpFile(int descriptor) noexcept;

    /// Where the next byte goes.
    std::uint64_t Position() const noexcept { return m_flushed + m_used; }

    void Append(const void* data, std::size_t size) noexcept;

    /// Appends memory of a process; zeros stand for what cannot be read. Whole pages of zeros take no room on the disk.
    void AppendMemory(const ProcessImage& image, std::uint64_t address, std::uint64_t size) noexcept;

    /// Appends \p size zeros that take no room on the disk where the file system can do that.
    void AppendHole(std::uint64_t size) noexcept;

    /// Appends zeros until the position is a multiple of 8, which no record of the format exceeds.
    void Align() noexcept;

    /// Writes what is in the buffer, and gives the file its length.
    void Finish() noexcept;

    /// Writes over what was written before; after Finish.
    void WriteAt(std::uint64_t position, const void* data, std::size_t size) noexcept;

    /// 0 or the first error number.
    int Error() const noexcept { return m_error; }

    /// Stops all further writing. The first error stays.
    void Fail(int error) noexcept { m_error = m_error == 0 ? error : m_error; }

private:
    void Flush() noexcept;

    int m_descriptor;
    int m_error = 0;
    std::uint64_t m_flushed = 0;
    std::size_t m_used = 0;
    Platform::MappedArray<char> m_buffer;
};

} // namespace Ardo::Kiln::Crash
