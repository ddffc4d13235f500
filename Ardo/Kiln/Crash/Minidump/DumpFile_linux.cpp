#include "Ardo/Kiln/Crash/Minidump/DumpFile_linux.h"

#include "Ardo/Kiln/Crash/Process/ProcessImage_linux.h"
#include "Ardo/Kiln/Platform/ProcessMemory_linux.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr std::size_t BufferSize = std::size_t{1} << 20;

bool IsZero(const char* data, std::size_t size) noexcept
{
    return data[0] == 0 && std::memcmp(data, data + 1, size - 1) == 0;
}

} // namespace

DumpFile::DumpFile(int descriptor) noexcept : m_descriptor(descriptor)
{
    if (!m_buffer.Resize(BufferSize))
    {
        m_error = ENOMEM;
    }
}

void DumpFile::Append(const void* data, std::size_t size) noexcept
{
    const auto* from = static_cast<const char*>(data);
    while (size > 0 && m_error == 0)
    {
        const std::size_t piece = std::min(size, BufferSize - m_used);
        std::memcpy(m_buffer.begin() + m_used, from, piece);
        m_used += piece;
        from += piece;
        size -= piece;
        if (m_used == BufferSize)
        {
            Flush();
        }
    }
}

void DumpFile::AppendMemory(const ProcessImage& image, std::uint64_t address, std::uint64_t size) noexcept
{
    while (size > 0 && m_error == 0)
    {
        const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(size, BufferSize - m_used));
        image.ReadMemoryOrZeros(address, m_buffer.begin() + m_used, piece);
        m_used += piece;
        address += piece;
        size -= piece;
        if (m_used == BufferSize)
        {
            Flush();
        }
    }
}

void DumpFile::AppendHole(std::uint64_t size) noexcept
{
    Flush();
    m_flushed += size;
}

void DumpFile::Align() noexcept
{
    constexpr char zeros[8] = {};
    Append(zeros, (8 - Position() % 8) % 8);
}

void DumpFile::Flush() noexcept
{
    // Runs of pages that are not all zero.
    const char* const buffer = m_buffer.begin();
    for (std::size_t begin = 0; begin < m_used && m_error == 0;)
    {
        std::size_t end = begin;
        while (end < m_used && !IsZero(buffer + end, std::min(Platform::PageSize, m_used - end)))
        {
            end += std::min(Platform::PageSize, m_used - end);
        }
        WriteAt(m_flushed + begin, buffer + begin, end - begin);
        begin = end + std::min(Platform::PageSize, m_used - end); // behind the page of zeros
    }
    m_flushed += m_used;
    m_used = 0;
}

void DumpFile::Finish() noexcept
{
    Flush();
    if (m_error == 0 && ::ftruncate(m_descriptor, static_cast<off_t>(m_flushed)) != 0)
    {
        m_error = errno;
    }
}

void DumpFile::WriteAt(std::uint64_t position, const void* data, std::size_t size) noexcept
{
    const auto* from = static_cast<const char*>(data);
    while (size > 0 && m_error == 0)
    {
        const ssize_t written = ::pwrite(m_descriptor, from, size, static_cast<off_t>(position));
        if (written > 0)
        {
            from += written;
            position += static_cast<std::uint64_t>(written);
            size -= static_cast<std::size_t>(written);
        }
        else if (written == 0 || errno != EINTR)
        {
            m_error = written == 0 ? ENOSPC : errno;
        }
    }
}

} // namespace Ardo::Kiln::Crash
