#include "Ardo/Kiln/ImageIO/BlockReader_p.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace Ardo::Kiln::ImageIO
{

namespace
{

constexpr std::uint64_t BlockSize = 32 * 1024; // holds the directory and the record of a usual file

} // namespace

std::int64_t BlockReader::ReadAt(std::uint64_t offset, void* bytes, std::int64_t size) noexcept
{
    const std::uint64_t begin = offset / BlockSize * BlockSize;
    if (size <= 0 || offset >= SizeWhenOpened() || offset - begin + static_cast<std::uint64_t>(size) > BlockSize)
    {
        return m_file.ReadAt(offset, bytes, size);
    }
    if ((m_block.empty() || m_blockOffset != begin) && !ReadBlock(begin))
    {
        return m_file.ReadAt(offset, bytes, size); // what is wanted may be readable
    }
    const std::uint64_t skipped = std::min<std::uint64_t>(offset - begin, m_block.size());
    const std::uint64_t count = std::min(static_cast<std::uint64_t>(size), m_block.size() - skipped);
    std::memcpy(bytes, m_block.data() + skipped, count);
    return static_cast<std::int64_t>(count);
}

bool BlockReader::ReadBlock(std::uint64_t begin) noexcept
{
    try
    {
        m_block.resize(std::min(BlockSize, SizeWhenOpened() - begin));
    }
    catch (const std::bad_alloc&)
    {
        m_block.clear();
        return false;
    }
    const std::int64_t count = m_file.ReadAt(begin, m_block.data(), static_cast<std::int64_t>(m_block.size()));
    m_block.resize(static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
    m_blockOffset = begin;
    return count >= 0;
}

} // namespace Ardo::Kiln::ImageIO
