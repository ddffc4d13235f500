#include "Ardo/Kiln/MetadataSerializer/DocumentScan_p.h"

#include "Ardo/Kiln/MetadataSerializer/Serializable.h"
#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <algorithm>
#include <boost/property_tree/detail/xml_parser_error.hpp>
#include <boost/property_tree/json_parser/error.hpp>
#include <charconv>
#include <cstddef>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using boost::property_tree::json_parser::json_parser_error;
using boost::property_tree::xml_parser::xml_parser_error;

template <typename Error>
[[noreturn]] void Fail(const std::string& message, std::string_view text, std::size_t at)
{
    const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n') + 1;
    BOOST_PROPERTY_TREE_THROW(Error(message, std::string(), static_cast<unsigned long>(line)));
}

/// Counts what a document costs.
template <typename Error>
class Budget
{
public:
    explicit Budget(std::string_view text) : m_text(text) {}

    void Enter(std::size_t at)
    {
        if (++m_depth > Serializable::MaxDepth)
        {
            Fail<Error>("nested deeper than " + std::to_string(Serializable::MaxDepth) + " levels", m_text, at);
        }
    }

    void Leave() { m_depth -= m_depth > 0 ? 1U : 0U; }

    std::size_t Depth() const { return m_depth; }

    void AddNode(std::size_t at)
    {
        if (++m_nodes > Serializable::MaxNodeCount)
        {
            Fail<Error>("more than " + std::to_string(Serializable::MaxNodeCount) + " nodes", m_text, at);
        }
    }

private:
    std::string_view m_text;
    std::size_t m_depth = 0;
    std::size_t m_nodes = 0;
};

/// Walks through the text exactly as the parser does: what looks like a tag inside a comment, a CDATA section, an
/// attribute or a DOCTYPE must not be counted, or a document could hide its depth.
class XmlScanner
{
public:
    explicit XmlScanner(std::string_view text) : m_text(text), m_budget(text) {}

    void Scan()
    {
        if (m_text.starts_with("\xEF\xBB\xBF"))
        {
            m_at = 3;
        }
        bool more = true;
        while (more)
        {
            const std::size_t begin = m_at;
            m_at = std::min(m_text.find('<', m_at), m_text.size());
            if (m_budget.Depth() > 0)
            {
                CheckReferences(begin, m_at);
            }
            more = m_at < m_text.size() && Markup();
        }
    }

private:
    char Peek(std::size_t ahead = 0) const { return m_at + ahead < m_text.size() ? m_text[m_at + ahead] : '\0'; }

    static bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

    void SkipSpace()
    {
        while (IsSpace(Peek()))
        {
            ++m_at;
        }
    }

    static bool EndsElementName(char c) { return IsSpace(c) || c == '/' || c == '>' || c == '?'; }

    static bool EndsAttributeName(char c) { return EndsElementName(c) || c == '!' || c == '<' || c == '='; }

    template <typename Ends>
    void SkipName(const Ends& ends)
    {
        while (m_at < m_text.size() && !ends(m_text[m_at]))
        {
            ++m_at;
        }
    }

    /// Moves behind the next \p end, which is searched from \p offset bytes ahead. False if there is none.
    bool SkipPast(std::string_view end, std::size_t offset)
    {
        const std::size_t found = m_text.find(end, std::min(m_at + offset, m_text.size()));
        if (found == std::string_view::npos)
        {
            return false;
        }
        m_at = found + end.size();
        return true;
    }

    /// From a '<' on. False where the parser will stop with an error.
    bool Markup()
    {
        const std::string_view rest = m_text.substr(m_at, 10);
        if (rest.starts_with("</"))
        {
            m_at += 2;
            SkipName(EndsElementName);
            SkipSpace();
            if (Peek() != '>' || m_budget.Depth() == 0)
            {
                return false;
            }
            ++m_at;
            m_budget.Leave();
            return true;
        }
        if (rest.starts_with("<!--"))
        {
            m_budget.AddNode(m_at);
            return SkipPast("-->", 4);
        }
        if (rest.starts_with("<![CDATA["))
        {
            return SkipPast("]]>", 9);
        }
        if (rest.starts_with("<!DOCTYPE") && rest.size() > 9 && IsSpace(rest[9]))
        {
            return DocumentType();
        }
        if (rest.starts_with("<!"))
        {
            return SkipPast(">", 2);
        }
        if (rest.starts_with("<?"))
        {
            return SkipPast("?>", IsDeclaration(rest) ? 6 : 2);
        }
        return Element();
    }

    /// The parser takes the blank after "<?xml" for granted.
    static bool IsDeclaration(std::string_view rest)
    {
        return rest.size() > 5 && (rest[2] == 'x' || rest[2] == 'X') && (rest[3] == 'm' || rest[3] == 'M') &&
               (rest[4] == 'l' || rest[4] == 'L') && IsSpace(rest[5]);
    }

    bool DocumentType()
    {
        std::size_t brackets = 0;
        for (m_at += 10; m_at < m_text.size(); ++m_at)
        {
            const char c = m_text[m_at];
            if (c == '>' && brackets == 0)
            {
                ++m_at;
                return true;
            }
            if (c == '[')
            {
                ++brackets;
            }
            else if (c == ']' && brackets > 0)
            {
                --brackets;
            }
        }
        return false;
    }

    bool Element()
    {
        m_budget.AddNode(m_at);
        ++m_at;
        SkipName(EndsElementName);
        SkipSpace();
        while (m_at < m_text.size() && !EndsAttributeName(m_text[m_at]))
        {
            m_budget.AddNode(m_at);
            ++m_at;
            SkipName(EndsAttributeName);
            SkipSpace();
            if (Peek() != '=')
            {
                return false;
            }
            ++m_at;
            SkipSpace();
            const char quote = Peek();
            const std::size_t begin = m_at + 1;
            if ((quote != '"' && quote != '\'') || !SkipPast({&quote, 1}, 1))
            {
                return false;
            }
            CheckReferences(begin, m_at - 1);
            SkipSpace();
        }
        if (Peek() == '>')
        {
            m_budget.Enter(m_at);
            ++m_at;
            return true;
        }
        if (Peek() == '/' && Peek(1) == '>')
        {
            // The parser enters it as deep as one with an end tag, if only for a moment.
            m_budget.Enter(m_at);
            m_budget.Leave();
            m_at += 2;
            return true;
        }
        return false;
    }

    /// The parser would turn references to any number into bytes.
    void CheckReferences(std::size_t begin, std::size_t end) const
    {
        const std::string_view part = m_text.substr(begin, end - begin);
        for (std::size_t at = part.find("&#"); at != std::string_view::npos; at = part.find("&#", at + 2))
        {
            const bool hexadecimal = part.substr(at + 2).starts_with('x');
            const char* const first = part.data() + at + (hexadecimal ? 3 : 2);
            const char* const last = part.data() + part.size();
            std::uint32_t value = 0;
            const auto [stop, error] = std::from_chars(first, last, value, hexadecimal ? 16 : 10);
            if (error != std::errc() || stop == last || *stop != ';' || !IsXmlCharacter(value))
            {
                Fail<xml_parser_error>("invalid character reference", m_text, begin + at);
            }
        }
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    Budget<xml_parser_error> m_budget;
};

/// The quote that ends the string whose first quote is at \p begin, or the end of the text.
std::size_t FindStringEnd(std::string_view text, std::size_t begin)
{
    for (std::size_t end = text.find('"', begin + 1); end != std::string_view::npos; end = text.find('"', end + 1))
    {
        // Backslashes are escaped by backslashes: only an odd number of them escapes the quote.
        std::size_t first = end;
        while (first > begin + 1 && text[first - 1] == '\\')
        {
            --first;
        }
        if ((end - first) % 2 == 0)
        {
            return end;
        }
    }
    return text.size();
}

} // namespace

void ScanXml(std::string_view text)
{
    if (const std::size_t at = FindInvalid(text, TextRule::Xml); at < text.size())
    {
        Fail<xml_parser_error>("not UTF-8, or a character that XML excludes", text, at);
    }
    XmlScanner(text).Scan();
}

void ScanJson(std::string_view text)
{
    if (const std::size_t at = FindInvalid(text, TextRule::Utf8); at < text.size())
    {
        Fail<json_parser_error>("not UTF-8", text, at);
    }
    Budget<json_parser_error> budget(text);
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        switch (text[at])
        {
        case '"':
            at = FindStringEnd(text, at);
            break;
        case '{':
        case '[':
            budget.AddNode(at);
            budget.Enter(at);
            break;
        case '}':
        case ']':
            budget.Leave();
            break;
        case ',':
            budget.AddNode(at);
            break;
        default:
            break;
        }
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
