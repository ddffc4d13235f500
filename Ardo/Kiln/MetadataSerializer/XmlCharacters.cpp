#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <algorithm>
#include <array>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

struct Interval
{
    char32_t first;
    char32_t last;
};

// Production NameStartChar.
constexpr std::array<Interval, 16> NameStart{{{':', ':'},
                                              {'A', 'Z'},
                                              {'_', '_'},
                                              {'a', 'z'},
                                              {0xC0, 0xD6},
                                              {0xD8, 0xF6},
                                              {0xF8, 0x2FF},
                                              {0x370, 0x37D},
                                              {0x37F, 0x1FFF},
                                              {0x200C, 0x200D},
                                              {0x2070, 0x218F},
                                              {0x2C00, 0x2FEF},
                                              {0x3001, 0xD7FF},
                                              {0xF900, 0xFDCF},
                                              {0xFDF0, 0xFFFD},
                                              {0x10000, 0xEFFFF}}};

// The further characters of the production NameChar.
constexpr std::array<Interval, 5> NameOther{{{'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}}};

template <std::size_t Count>
bool IsIn(const std::array<Interval, Count>& intervals, char32_t c)
{
    return std::any_of(intervals.begin(), intervals.end(),
                       [c](const Interval& interval) { return c >= interval.first && c <= interval.last; });
}

constexpr std::size_t BlockSize = 64;

/// The number of bytes at the front of \p text, in whole blocks, that are ASCII and no control characters that \p rule
/// excludes. The compiler turns the inner loop into vector instructions; nearly all text passes here.
template <TextRule Rule>
std::size_t PlainLength(std::string_view text)
{
    std::size_t at = 0;
    for (; at + BlockSize <= text.size(); at += BlockSize)
    {
        std::uint8_t others = 0; // with a bool there would be no vector instructions
        for (std::size_t i = 0; i < BlockSize; ++i)
        {
            const auto byte = static_cast<signed char>(text[at + i]); // below 0: not ASCII
            constexpr signed char Lowest = Rule == TextRule::Xml ? ' ' : 0;
            others |= static_cast<std::uint8_t>((byte < Lowest) & (byte != '\t') & (byte != '\n') & (byte != '\r'));
        }
        if (others != 0)
        {
            break;
        }
    }
    return at;
}

} // namespace

CodePoint FirstCodePoint(std::string_view text)
{
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if (text.empty())
    {
        return {};
    }
    if (byte(0) < 0x80)
    {
        return {byte(0), 1};
    }
    const std::size_t length = byte(0) < 0xC0 ? 0 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : byte(0) < 0xF8 ? 4 : 0;
    if (length == 0 || text.size() < length)
    {
        return {};
    }
    char32_t value = byte(0) & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i)
    {
        if ((byte(i) & 0xC0U) != 0x80U)
        {
            return {};
        }
        value = (value << 6U) | (byte(i) & 0x3FU);
    }
    constexpr std::array<char32_t, 5> Smallest{0, 0, 0x80, 0x800, 0x10000};
    if (value < Smallest[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
    {
        return {};
    }
    return {value, length};
}

std::size_t FindInvalid(std::string_view text, TextRule rule)
{
    for (std::size_t at = 0; at < text.size();)
    {
        const std::string_view rest = text.substr(at);
        at += rule == TextRule::Xml ? PlainLength<TextRule::Xml>(rest) : PlainLength<TextRule::Utf8>(rest);
        // A block with something else, or the last bytes.
        for (const std::size_t end = std::min(at + BlockSize, text.size()); at < end;)
        {
            const CodePoint codePoint = FirstCodePoint(text.substr(at, 4));
            if (codePoint.length == 0 || (rule == TextRule::Xml && !IsXmlCharacter(codePoint.value)))
            {
                return at;
            }
            at += codePoint.length;
        }
    }
    return text.size();
}

bool IsXmlName(std::string_view text)
{
    const auto isLetter = [](char c) { return IsOf(CharacterClass::NameLetter, c); };
    const auto letters = std::find_if_not(text.begin(), text.end(), isLetter) - text.begin();
    for (auto at = static_cast<std::size_t>(letters); at < text.size();)
    {
        const CodePoint codePoint = FirstCodePoint(text.substr(at, 4));
        if (codePoint.length == 0 ||
            !(IsIn(NameStart, codePoint.value) || (at > 0 && IsIn(NameOther, codePoint.value))))
        {
            return false;
        }
        at += codePoint.length;
    }
    return !text.empty();
}

} // namespace Ardo::Kiln::MetadataSerializer
