#include "tests/Support/VersionedLibrary.h"

namespace Ardo::Kiln::Support
{

namespace
{

void Put(std::string& bytes, std::size_t offset, std::uint32_t value, std::size_t size)
{
    for (std::size_t index = 0; index < size; ++index)
    {
        bytes[offset + index] = static_cast<char>(value >> (8 * index));
    }
}

} // namespace

std::string VersionedLibrary(const std::array<std::uint16_t, 4>& version)
{
    constexpr std::size_t Header = 64;
    constexpr std::size_t Section = Header + 24 + 240;
    constexpr std::size_t Resources = Section + 40;
    constexpr std::size_t Data = Resources + 88;
    constexpr std::uint32_t Address = 0x1000;

    std::string bytes(Data + 92, '\0');
    const auto put16 = [&](std::size_t offset, std::uint32_t value) { Put(bytes, offset, value, 2); };
    const auto put32 = [&](std::size_t offset, std::uint32_t value) { Put(bytes, offset, value, 4); };

    bytes.replace(0, 2, "MZ");
    put32(60, Header);
    bytes.replace(Header, 2, "PE");
    put16(Header + 6, 1);         // sections
    put16(Header + 20, 240);      // size of the optional header
    put16(Header + 24, 0x20B);    // which is of the 64-bit kind
    put32(Header + 24 + 108, 16); // directories
    put32(Header + 24 + 112 + 16, Address);
    bytes.replace(Section, 5, ".rsrc");
    put32(Section + 8, 88 + 92);
    put32(Section + 12, Address);
    put32(Section + 16, 88 + 92);
    put32(Section + 20, Resources);
    for (const std::uint32_t level : {0U, 1U, 2U}) // type, name, language: one entry each
    {
        const std::size_t directory = Resources + 24 * level;
        put16(directory + 14, 1);
        put32(directory + 16, level == 0 ? 16 : 1);
        put32(directory + 20, level == 2 ? 72 : (0x80000000U | (24 * (level + 1))));
    }
    put32(Resources + 72, Address + 88);
    put32(Resources + 76, 92);
    put16(Data, 92);
    put16(Data + 2, 52);
    const std::string key = "VS_VERSION_INFO";
    for (std::size_t index = 0; index < key.size(); ++index)
    {
        bytes[Data + 6 + 2 * index] = key[index];
    }
    put32(Data + 40, 0xFEEF04BDU);
    put16(Data + 50, version[0]);
    put16(Data + 48, version[1]);
    put16(Data + 54, version[2]);
    put16(Data + 52, version[3]);
    return bytes;
}

} // namespace Ardo::Kiln::Support
