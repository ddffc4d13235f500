#include "Ardo/Kiln/Platform/FileVersion.h"

#include <cstring>
#include <fstream>
#include <span>
#include <string_view>
#include <vector>

namespace Ardo::Kiln::Platform
{

namespace
{

/// Reads bytes at any offset of a file. Offsets come from the file and may be wrong.
class FieldReader
{
public:
    explicit FieldReader(const std::filesystem::path& file)
    {
        // Only a regular file has a size to check offsets against. Opening a pipe would block.
        std::error_code error;
        if (std::filesystem::is_regular_file(file, error))
        {
            m_stream.open(file, std::ios::binary | std::ios::ate);
            m_size = m_stream ? static_cast<std::uint64_t>(m_stream.tellg()) : 0;
        }
    }

    bool Holds(std::uint64_t offset, std::uint64_t size) const { return size <= m_size && offset <= m_size - size; }

    bool Read(std::uint64_t offset, std::span<unsigned char> bytes)
    {
        if (!Holds(offset, bytes.size()))
        {
            return false;
        }
        m_stream.seekg(static_cast<std::streamoff>(offset));
        m_stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return static_cast<bool>(m_stream);
    }

private:
    std::ifstream m_stream;
    std::uint64_t m_size = 0;
};

/// The bytes of one structure of the file.
template <std::size_t Size>
struct Block
{
    std::array<unsigned char, Size> bytes{};

    std::uint16_t U16(std::size_t at) const
    {
        return static_cast<std::uint16_t>(bytes.at(at) | (bytes.at(at + 1) << 8U));
    }
    std::uint32_t U32(std::size_t at) const { return U16(at) | (static_cast<std::uint32_t>(U16(at + 2)) << 16U); }
    bool Begins(std::string_view signature) const
    {
        return std::memcmp(bytes.data(), signature.data(), signature.size()) == 0;
    }
};

template <std::size_t Size>
std::optional<Block<Size>> ReadBlock(FieldReader& file, std::uint64_t offset)
{
    Block<Size> block;
    return file.Read(offset, block.bytes) ? std::optional(block) : std::nullopt;
}

struct Section
{
    std::uint32_t address;  ///< Of the first byte when loaded, relative to the image.
    std::uint32_t fileSize; ///< In bytes.
    std::uint32_t fileOffset;
};

/// The sections of the image and the address of its resources, from its headers.
struct Image
{
    std::vector<Section> sections;
    std::uint32_t resourceAddress = 0;

    std::optional<std::uint64_t> OffsetOf(std::uint32_t address) const
    {
        for (const Section& section : sections)
        {
            if (address >= section.address && address - section.address < section.fileSize)
            {
                return std::uint64_t{section.fileOffset} + (address - section.address);
            }
        }
        return std::nullopt;
    }
};

std::optional<Image> ReadImage(FieldReader& file)
{
    constexpr std::uint16_t Pe32 = 0x10B;
    constexpr std::uint16_t Pe32Plus = 0x20B;
    constexpr std::uint64_t ResourceDirectory = 2;

    const auto dosHeader = ReadBlock<64>(file, 0);
    if (!dosHeader || !dosHeader->Begins("MZ"))
    {
        return std::nullopt;
    }
    const std::uint64_t header = dosHeader->U32(60);
    const auto fileHeader = ReadBlock<26>(file, header); // with the first word of the optional header
    if (!fileHeader || !fileHeader->Begins(std::string_view("PE\0\0", 4)))
    {
        return std::nullopt;
    }
    const std::uint16_t magic = fileHeader->U16(24);
    if (magic != Pe32 && magic != Pe32Plus)
    {
        return std::nullopt;
    }
    const std::uint64_t optionalHeader = header + 24;
    const std::uint64_t directories = optionalHeader + (magic == Pe32 ? 96 : 112);
    const std::uint64_t sections = optionalHeader + fileHeader->U16(20);
    const auto directoryCount = ReadBlock<4>(file, directories - 4);
    const auto directory = ReadBlock<8>(file, directories + 8 * ResourceDirectory);
    if (!directoryCount || directoryCount->U32(0) <= ResourceDirectory || !directory ||
        directories + 8 * ResourceDirectory + 8 > sections)
    {
        return std::nullopt;
    }

    Image image;
    image.resourceAddress = directory->U32(0);
    for (std::uint64_t index = 0; index < fileHeader->U16(6); ++index)
    {
        const auto section = ReadBlock<40>(file, sections + 40 * index);
        if (!section)
        {
            return std::nullopt;
        }
        image.sections.push_back({section->U32(12), section->U32(16), section->U32(20)});
    }
    return image;
}

/// The value of the entry \p id in the resource directory at \p offset, or of the first entry if \p id is empty.
std::optional<std::uint32_t> FindEntry(FieldReader& file, std::uint64_t offset, std::optional<std::uint32_t> id)
{
    const auto header = ReadBlock<16>(file, offset);
    if (!header)
    {
        return std::nullopt;
    }
    const std::uint32_t count = std::uint32_t{header->U16(12)} + header->U16(14);
    for (std::uint64_t index = 0; index < count; ++index)
    {
        const auto entry = ReadBlock<8>(file, offset + 16 + 8 * index);
        if (!entry)
        {
            return std::nullopt;
        }
        if (!id || entry->U32(0) == *id)
        {
            return entry->U32(4);
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<FileVersion> ReadFileVersion(const std::filesystem::path& path)
{
    constexpr std::uint32_t VersionType = 16;
    constexpr std::uint32_t IsDirectory = 0x80000000U;
    constexpr std::uint32_t FixedInfo = 40; // after three words and the key L"VS_VERSION_INFO", aligned
    constexpr std::uint32_t FixedInfoSignature = 0xFEEF04BDU;

    FieldReader file(path);
    const auto image = ReadImage(file);
    const auto root = image ? image->OffsetOf(image->resourceAddress) : std::nullopt;
    if (!root)
    {
        return std::nullopt;
    }
    // The levels are type, name and language; the entry of the language names the data.
    const auto names = FindEntry(file, *root, VersionType);
    if (!names || (*names & IsDirectory) == 0)
    {
        return std::nullopt;
    }
    const auto languages = FindEntry(file, *root + (*names & ~IsDirectory), std::nullopt);
    if (!languages || (*languages & IsDirectory) == 0)
    {
        return std::nullopt;
    }
    const auto place = FindEntry(file, *root + (*languages & ~IsDirectory), std::nullopt);
    if (!place || (*place & IsDirectory) != 0)
    {
        return std::nullopt;
    }
    const auto entry = ReadBlock<16>(file, *root + *place);
    const auto data = entry ? image->OffsetOf(entry->U32(0)) : std::nullopt;
    if (!data || !file.Holds(*data, entry->U32(4)) || entry->U32(4) < FixedInfo + 52)
    {
        return std::nullopt;
    }
    const auto info = ReadBlock<FixedInfo + 16>(file, *data);
    constexpr std::u16string_view Key = u"VS_VERSION_INFO";
    if (!info || info->U32(FixedInfo) != FixedInfoSignature)
    {
        return std::nullopt;
    }
    for (std::size_t index = 0; index < Key.size(); ++index)
    {
        if (info->U16(6 + 2 * index) != Key[index])
        {
            return std::nullopt;
        }
    }
    return FileVersion{info->U16(FixedInfo + 10), info->U16(FixedInfo + 8), info->U16(FixedInfo + 14),
                       info->U16(FixedInfo + 12)};
}

} // namespace Ardo::Kiln::Platform
