#pragma once

#include "Ardo/KilnExport.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

// Characters and names as XML 1.0 (fifth edition) defines them.

/// A code point and the length of its UTF-8 sequence.
struct CodePoint
{
    char32_t value = 0;
    std::size_t length = 0; ///< In bytes; 0 if the text does not start with a valid sequence.
};

/// The first code point of \p text, strictly: no overlong forms, no surrogates, nothing above 0x10FFFF.
CodePoint FirstCodePoint(std::string_view text);

/// True for a code point that an XML document may hold, raw or as a character reference.
constexpr bool IsXmlCharacter(char32_t c)
{
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

/// Classes of characters in a document.
enum class CharacterClass : std::uint8_t
{
    Space = 1,
    ElementNameEnd = 2,
    AttributeNameEnd = 4,
    NameLetter = 8, ///< Letters of ASCII and "_", which nearly all names consist of.
    Escaped = 16    ///< Written as references, some only in attributes.
};

/// The classes of each character.
inline constexpr auto CharacterClasses = []
{
    std::array<std::uint8_t, 256> classes{};
    const auto add = [&classes](CharacterClass of, std::string_view characters)
    {
        for (const char member : characters)
        {
            classes[static_cast<unsigned char>(member)] |= static_cast<std::uint8_t>(of);
        }
    };
    add(CharacterClass::Space, " \t\n\r");
    add(CharacterClass::ElementNameEnd, " \t\n\r>/?");
    add(CharacterClass::AttributeNameEnd, " \t\n\r>/?!<=");
    add(CharacterClass::NameLetter, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_");
    add(CharacterClass::Escaped, "<>&\"'\t\n\r");
    return classes;
}();

/// True if \p c is of that class. A table is looked up, because each character of a document's markup is classified.
constexpr bool IsOf(CharacterClass characterClass, char c)
{
    return (CharacterClasses[static_cast<unsigned char>(c)] & static_cast<std::uint8_t>(characterClass)) != 0;
}

/// True for a character that XML calls white space.
constexpr bool IsXmlSpace(char c)
{
    return IsOf(CharacterClass::Space, c);
}

/// Which characters a text may hold.
enum class TextRule
{
    Utf8, ///< Any code point.
    Xml   ///< Those that XML can hold.
};

/// The offset of the first byte that breaks \p rule, or the length of \p text if there is none.
KILN_EXPORT_FOR_TESTS std::size_t FindInvalid(std::string_view text, TextRule rule);

/// True for a text that can be the name of an element or attribute.
KILN_EXPORT_FOR_TESTS bool IsXmlName(std::string_view text);

/// True for a name without colon (NCName).
inline bool IsXmlNcName(std::string_view text)
{
    return IsXmlName(text) && text.find(':') == std::string_view::npos;
}

} // namespace Ardo::Kiln::MetadataSerializer
