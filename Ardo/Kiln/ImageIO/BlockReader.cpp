#include "Ardo/Kiln/ImageIO/BlockReader_p.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace Ardo::Kiln::ImageIO
{

std::int64_t BlockReader::ReadAt(std::uint64_t offset, void* bytes, std::int64_t size) noexcept
{
    const std::uint64_t begin = offset / BlockSize * BlockSize;
    if (size <= 0 || offset >= SizeWhenOpened() || offset - begin + static_cast<std::uint64_t>(size) > BlockSize)
    {
        return m_file->ReadAt(offset, bytes, size);
    }
    if ((m_blockSize == 0 || m_blockOffset != begin) && !ReadBlock(begin))
    {
        return m_file->ReadAt(offset, bytes, size); // what is wanted may be readable
    }
    const std::uint64_t skipped = std::min<std::uint64_t>(offset - begin, m_blockSize);
    const std::uint64_t count = std::min(static_cast<std::uint64_t>(size), m_blockSize - skipped);
    std::memcpy(bytes, m_block.get() + skipped, count);
    return static_cast<std::int64_t>(count);
}

bool BlockReader::ReadBlock(std::uint64_t begin) noexcept
{
    if (m_block == nullptr)
    {
        // At most the size of the file: there are many small ones. Not initialised: that takes as long as reading.
        m_block.reset(new (std::nothrow) char[std::min(BlockSize, SizeWhenOpened())]);
    }
    const std::int64_t count =
        m_block == nullptr ? -1
                           : m_file->ReadAt(begin, m_block.get(),
                                            static_cast<std::int64_t>(std::min(BlockSize, SizeWhenOpened() - begin)));
    m_blockSize = static_cast<std::uint64_t>(std::max<std::int64_t>(count, 0));
    m_blockOffset = begin;
    return count >= 0;
}

} // namespace Ardo::Kiln::ImageIO
