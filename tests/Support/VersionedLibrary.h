#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>

namespace Ardo::Kiln::Support
{

/// The bytes of a minimal Windows library with a version resource. The last byte of the resource is that of the file.
inline std::string VersionedLibrary(const std::array<std::uint16_t, 4>& version)
{
    constexpr std::uint32_t High = 0x10000; // the upper half of a word
    constexpr std::uint32_t Directory = 0x80000000;
    constexpr std::uint32_t Address = 0x1000;
    // clang-format off
    const std::pair<std::size_t, std::uint32_t> words[] = {
        {0, 0x5A4D}, {60, 64},                                                // "MZ", the place of the next header
        {64, 0x4550}, {68, 1 * High}, {84, 240}, {88, 0x20B},                 // "PE", 1 section, size and kind of header
        {196, 16}, {216, Address}, {220, 180},                                          // directories, that of the resources
        {336, 180}, {340, Address}, {344, 180}, {348, 368},                   // the section: where in memory and file
        {380, 1 * High}, {384, 16}, {388, Directory + 24},                    // resource type, one entry
        {404, 1 * High}, {408, 1}, {412, Directory + 48},                     // name
        {428, 1 * High}, {432, 1}, {436, 72}, {440, Address + 88}, {444, 92}, // language, its data
        {456, 52 * High + 92}, {496, 0xFEEF04BD},                             // the version, its fixed part
        {504, version[0] * High + version[1]}, {508, version[2] * High + version[3]}};
    // clang-format on
    std::string bytes(548, '\0');
    for (const auto& [offset, word] : words)
    {
        for (std::size_t index = 0; index < 4; ++index)
        {
            bytes[offset + index] = static_cast<char>(word >> (8 * index));
        }
    }
    for (std::size_t index = 0; const char unit : std::string("VS_VERSION_INFO"))
    {
        bytes[462 + 2 * index++] = unit;
    }
    return bytes;
}

} // namespace Ardo::Kiln::Support
