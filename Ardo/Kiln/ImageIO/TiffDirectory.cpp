#include "Ardo/Kiln/ImageIO/TiffDirectory_p.h"

#include <algorithm>
#include <array>
#include <set>
#include <stdexcept>
#include <utility>

namespace Ardo::Kiln::ImageIO
{

namespace
{

constexpr std::uint16_t ShortType = 3;

/// Bytes of one value by type code; 0: an unknown type, whose entries a reader ignores (TIFF 6.0, section 2).
constexpr std::array<std::uint8_t, 19> ValueSizes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};

std::uint64_t ValueSize(std::uint16_t type) noexcept
{
    return type < ValueSizes.size() ? ValueSizes[type] : 0;
}

} // namespace

std::string TiffDirectoryReader::Entry::BeyondEnd() const
{
    return "tag " + std::to_string(tag) + " lies beyond the end of the file";
}

std::string TiffDirectoryReader::Entry::NotReadable() const
{
    return "tag " + std::to_string(tag) + " cannot be read: " + std::to_string(count) + " values of type " +
           std::to_string(type);
}

TiffDirectoryReader::TiffDirectoryReader(BlockReader& file)
    : TiffDirectoryReader(
          [&file](std::uint64_t offset, void* bytes, std::size_t size)
          {
              const auto count = static_cast<std::int64_t>(size);
              return file.ReadAt(offset, bytes, count) == count;
          },
          file.SizeWhenOpened())
{
}

TiffDirectoryReader::TiffDirectoryReader(Read read, std::uint64_t size) : m_read(std::move(read)), m_size(size)
{
    constexpr std::uint64_t Classic = 42;
    constexpr std::uint64_t Big = 43;

    std::array<unsigned char, 8> header{};
    ReadBytes(0, header);
    m_isBigEndian = header[0] == 'M';
    const std::uint64_t version = Number(header.data() + 2, 2);
    if (header[0] != header[1] || (header[0] != 'I' && header[0] != 'M') || (version != Classic && version != Big))
    {
        throw std::runtime_error("Not a TIFF file");
    }
    m_word = version == Big ? 8 : 4;
    m_first = NumberAt(m_word, m_word);
}

TiffDirectoryReader::Directory TiffDirectoryReader::At(std::uint64_t offset) const
{
    const std::uint64_t count = CountAt(offset);
    std::vector<unsigned char> bytes(count * EntrySize());
    ReadBytes(offset + CountSize(), bytes);

    Directory directory;
    directory.entries.reserve(count);
    for (const unsigned char* at = bytes.data(); at != bytes.data() + bytes.size(); at += EntrySize())
    {
        const unsigned char* const values = at + 4 + m_word;
        Entry entry{.tag = static_cast<std::uint16_t>(Number(at, 2)),
                    .type = static_cast<std::uint16_t>(Number(at + 2, 2)),
                    .count = Number(at + 4, m_word),
                    .value = 0,
                    .at = 0};
        const auto place = static_cast<std::uint64_t>(values - bytes.data());
        entry.at = IsInEntry(entry) ? offset + CountSize() + place : Number(values, m_word);
        entry.isInside = IsInside(entry);
        entry.value = entry.type == ShortType ? static_cast<std::uint16_t>(Number(values, 2)) : std::uint16_t{0};
        directory.entries.push_back(entry);
    }
    directory.next = NextOf(offset, count);
    return directory;
}

std::string TiffDirectoryReader::Text(const Entry& entry) const
{
    if (!entry.isInside)
    {
        throw std::runtime_error(entry.BeyondEnd());
    }
    if (ValueSize(entry.type) != 1)
    {
        throw std::runtime_error(entry.NotReadable());
    }
    std::string text(entry.count, '\0');
    ReadBytes(entry.at, {reinterpret_cast<unsigned char*>(text.data()), text.size()});
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

std::vector<std::uint64_t> TiffDirectoryReader::Chain(std::size_t limit) const
{
    std::vector<std::uint64_t> offsets;
    std::set<std::uint64_t> seen;
    for (std::uint64_t offset = m_first; offset != 0 && offsets.size() < limit && seen.insert(offset).second;
         offset = NextOf(offset, CountAt(offset)))
    {
        offsets.push_back(offset);
    }
    return offsets;
}

std::uint64_t TiffDirectoryReader::Number(const unsigned char* bytes, std::size_t size) const noexcept
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
    {
        value = value << 8 | bytes[m_isBigEndian ? i : size - 1 - i];
    }
    return value;
}

void TiffDirectoryReader::ReadBytes(std::uint64_t offset, std::span<unsigned char> bytes) const
{
    if (offset > m_size || bytes.size() > m_size - offset)
    {
        throw std::runtime_error("the file ends within its directory");
    }
    if (!m_read(offset, bytes.data(), bytes.size()))
    {
        throw std::runtime_error("the directory cannot be read");
    }
}

std::uint64_t TiffDirectoryReader::NumberAt(std::uint64_t offset, std::size_t size) const
{
    std::array<unsigned char, sizeof(std::uint64_t)> bytes{};
    ReadBytes(offset, std::span(bytes).first(size));
    return Number(bytes.data(), size);
}

std::uint64_t TiffDirectoryReader::CountAt(std::uint64_t offset) const
{
    const std::uint64_t count = NumberAt(offset, CountSize());
    if (count > m_size / EntrySize())
    {
        throw std::runtime_error("a directory of " + std::to_string(count) + " entries");
    }
    return count;
}

std::uint64_t TiffDirectoryReader::NextOf(std::uint64_t offset, std::uint64_t count) const
{
    const std::uint64_t next = NumberAt(offset + CountSize() + count * EntrySize(), m_word);
    if (next >= m_size)
    {
        throw std::runtime_error("the next directory lies beyond the end of the file");
    }
    return next;
}

bool TiffDirectoryReader::IsInEntry(const Entry& entry) const noexcept
{
    const std::uint64_t valueSize = ValueSize(entry.type);
    return valueSize == 0 || entry.count <= m_word / valueSize;
}

bool TiffDirectoryReader::IsInside(const Entry& entry) const noexcept
{
    return IsInEntry(entry) || (entry.at <= m_size && entry.count <= (m_size - entry.at) / ValueSize(entry.type));
}

} // namespace Ardo::Kiln::ImageIO
