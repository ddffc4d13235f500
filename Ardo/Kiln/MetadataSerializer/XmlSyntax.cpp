#include "Ardo/Kiln/MetadataSerializer/XmlSyntax_p.h"

#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <algorithm>
#include <array>
#include <boost/locale/utf.hpp>
#include <charconv>
#include <cstdint>
#include <optional>
#include <utility>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

constexpr std::string_view WhiteSpace = " \t\r\n";

std::string_view TrimmedFront(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(WhiteSpace), text.size()));
    return text;
}

/// Removes ' name="value"' from the front of \p text and returns the value; empty if the text does not begin so.
std::optional<std::string_view> TakeValue(std::string_view& text, std::string_view name)
{
    std::string_view rest = TrimmedFront(text);
    if (rest.size() == text.size() || !rest.starts_with(name))
    {
        return std::nullopt;
    }
    rest = TrimmedFront(rest.substr(name.size()));
    if (!rest.starts_with('='))
    {
        return std::nullopt;
    }
    rest = TrimmedFront(rest.substr(1));
    const bool isQuoted = rest.starts_with('"') || rest.starts_with('\'');
    const std::size_t end = isQuoted ? rest.find(rest.front(), 1) : std::string_view::npos;
    if (end == std::string_view::npos)
    {
        return std::nullopt;
    }
    text = rest.substr(end + 1);
    return rest.substr(1, end - 1);
}

bool IsVersion(std::string_view text)
{
    return text.size() > 2 && text.starts_with("1.") &&
           text.find_first_not_of("0123456789", 2) == std::string_view::npos;
}

bool IsLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsEncodingName(std::string_view text)
{
    return !text.empty() && IsLetter(text.front()) &&
           std::all_of(text.begin(), text.end(),
                       [](char c)
                       { return IsLetter(c) || (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-'; });
}

/// The named references without '&'.
constexpr std::array<std::pair<std::string_view, char>, 5> Entities{
    {{"lt;", '<'}, {"gt;", '>'}, {"amp;", '&'}, {"quot;", '"'}, {"apos;", '\''}}};

/// The character that a reference behind "&#" stands for and the length of the reference; nothing if it is none.
std::optional<std::pair<std::uint32_t, std::size_t>> CharacterReference(std::string_view text)
{
    const bool hexadecimal = text.starts_with('x');
    const char* const first = text.data() + (hexadecimal ? 1 : 0);
    const char* const last = text.data() + text.size();
    std::uint32_t value = 0;
    const auto [stop, error] = std::from_chars(first, last, value, hexadecimal ? 16 : 10);
    const bool isReference = error == std::errc() && stop != last && *stop == ';' && IsXmlCharacter(value);
    return isReference ? std::optional(std::pair(value, static_cast<std::size_t>(stop + 1 - text.data())))
                       : std::nullopt;
}

} // namespace

bool IsXmlDeclaration(std::string_view content)
{
    constexpr std::string_view Target = "xml";
    if (!content.starts_with(Target))
    {
        return false;
    }
    content.remove_prefix(Target.size());
    const auto version = TakeValue(content, "version");
    const auto encoding = TakeValue(content, "encoding");
    const auto standalone = TakeValue(content, "standalone");
    return version && IsVersion(*version) && (!encoding || IsEncodingName(*encoding)) &&
           (!standalone || *standalone == "yes" || *standalone == "no") && TrimmedFront(content).empty();
}

bool IsXmlReference(std::string_view text)
{
    return text.starts_with('#') ? CharacterReference(text.substr(1)).has_value()
                                 : std::any_of(Entities.begin(), Entities.end(),
                                               [text](const auto& entity) { return text.starts_with(entity.first); });
}

std::size_t CopyDecoded(std::string_view text, char* target)
{
    char* end = target;
    while (!text.empty())
    {
        const std::size_t plain = std::min(text.find('&'), text.size());
        end += text.copy(end, plain);
        text.remove_prefix(std::min(plain + 1, text.size()));
        if (text.starts_with('#'))
        {
            const auto reference = CharacterReference(text.substr(1));
            end = reference ? boost::locale::utf::utf_traits<char>::encode(reference->first, end) : end;
            text.remove_prefix(1 + (reference ? reference->second : 0));
            continue;
        }
        for (const auto& [name, character] : Entities)
        {
            if (text.starts_with(name))
            {
                *end++ = character;
                text.remove_prefix(name.size());
                break;
            }
        }
    }
    return static_cast<std::size_t>(end - target);
}

} // namespace Ardo::Kiln::MetadataSerializer
