#pragma once

#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"
#include "Ardo/Kiln/MetadataSerializer/XmlSyntax_p.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

namespace Ardo::Kiln::MetadataSerializer
{

/// The observer of an XmlScanner that ignores what it need not handle. An observer derives from it and hides functions.
struct XmlObserver
{
    void ElementName(std::string_view) {}
    void AttributeText(std::string_view, std::string_view, bool) {}
    void Text(std::string_view, bool) {}
    void CdataText(std::string_view) {}
    void CommentText(std::string_view) {}
};

/// Walks through an XML document without recursion and calls an observer, in document order:
///
///   Element(at), Attribute(at), Comment(at)   a node of the tree begins at the offset \p at
///   ElementName(name)                         of the last element
///   AttributeText(name, text, hasReferences)  of the last attribute
///   CommentText(text)                         of the last comment
///   Enter(at), Leave()                        the content of the last element begins, ends
///   Text(text, hasReferences)                 text among the content of an element
///   CdataText(text)                           the text of a CDATA section
///   Fail(message, at)                         the document is not well-formed (XML 1.0); must throw
///
/// The walk follows the parser of the property tree step by step, so that the nodes and texts are the same. Where that
/// parser reports an error of its own the walk stops without an error. A document type declaration may hold a name
/// only: a document can neither declare entities nor refer to other resources.
template <typename Observer>
class XmlScanner
{
public:
    XmlScanner(std::string_view text, Observer& observer)
        : m_text(text),
          m_observer(observer),
          m_nextReference(text.find('&')),
          m_hasCdataEnds(text.find("]]>") != std::string_view::npos)
    {
    }

    /// \returns false where the parser would report an error.
    bool Scan()
    {
        m_at = m_start = m_text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
        while (true)
        {
            const std::size_t begin = m_at;
            m_at = std::min(m_text.find('<', m_at), m_text.size());
            if (m_open.empty() && !IsBlank(begin, m_at)) // the parser accepts no text here
            {
                return false;
            }
            if (!m_open.empty() && begin < m_at)
            {
                CheckNoCdataEnd(begin, m_at);
                m_observer.Text(m_text.substr(begin, m_at - begin), CheckReferences(begin, m_at));
            }
            if (m_at == m_text.size())
            {
                return m_open.empty();
            }
            if (!Markup())
            {
                return false;
            }
        }
    }

private:
    char Peek(std::size_t ahead = 0) const { return m_at + ahead < m_text.size() ? m_text[m_at + ahead] : '\0'; }

    bool IsBlank(std::size_t begin, std::size_t end) const { return EndOf(begin, IsXmlSpace) >= end; }

    /// The offset of the first character from \p at on that is not one of \p characters.
    template <typename Characters>
    std::size_t EndOf(std::size_t at, const Characters& characters) const
    {
        while (at < m_text.size() && characters(m_text[at]))
        {
            ++at;
        }
        return at;
    }

    void SkipSpace() { m_at = EndOf(m_at, IsXmlSpace); }

    struct NameText
    {
        std::string_view text;
        bool isUsual; ///< Letters only, which need no further check.
    };

    /// Moves behind a name.
    /// \param ends the class of the characters that end it.
    NameText Name(CharacterClass ends)
    {
        const std::size_t begin = m_at;
        const std::size_t lettersEnd = EndOf(begin, [](char c) { return IsOf(CharacterClass::NameLetter, c); });
        m_at = EndOf(lettersEnd, [ends](char c) { return !IsOf(ends, c); });
        return {m_text.substr(begin, m_at - begin), m_at == lettersEnd && m_at > begin};
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
        const char second = Peek(1);
        if (second == '/')
        {
            return EndTag();
        }
        if (second != '!' && second != '?')
        {
            return Element();
        }
        const std::string_view rest = m_text.substr(m_at, 10);
        if (rest.starts_with("<?"))
        {
            return Instruction(rest);
        }
        if (rest.starts_with("<!--"))
        {
            return Comment();
        }
        if (rest.starts_with("<![CDATA["))
        {
            if (m_open.empty())
            {
                m_observer.Fail("text outside the root element", m_at);
            }
            return Cdata();
        }
        if (rest.starts_with("<!DOCTYPE") && rest.size() > 9 && IsXmlSpace(rest[9]))
        {
            return DocumentType();
        }
        m_observer.Fail("unknown declaration", m_at);
        return false;
    }

    bool EndTag()
    {
        const std::size_t begin = m_at;
        m_at += 2;
        if (const std::size_t size = m_open.empty() ? 0 : m_open.back().size();
            size > 0 && Peek(size) == '>' && m_text.substr(m_at, size) == m_open.back())
        {
            m_at += size; // the usual tag
        }
        else
        {
            const std::string_view name = Name(CharacterClass::ElementNameEnd).text;
            SkipSpace();
            if (Peek() != '>' || m_open.empty())
            {
                return false;
            }
            if (name != m_open.back())
            {
                m_observer.Fail("mismatched end tag", begin);
            }
        }
        ++m_at;
        m_open.pop_back();
        m_observer.Leave();
        return true;
    }

    bool Cdata()
    {
        const std::size_t begin = m_at + 9;
        if (!SkipPast("]]>", 9))
        {
            return false;
        }
        m_observer.CdataText(m_text.substr(begin, m_at - 3 - begin));
        return true;
    }

    bool Comment()
    {
        const std::size_t begin = m_at;
        m_observer.Comment(begin);
        if (!SkipPast("--", 4))
        {
            return false;
        }
        if (Peek() != '>')
        {
            m_observer.Fail("\"--\" within a comment", begin);
        }
        ++m_at;
        m_observer.CommentText(m_text.substr(begin + 4, m_at - 3 - (begin + 4)));
        return true;
    }

    /// A processing instruction or the declaration of the document.
    bool Instruction(std::string_view rest)
    {
        const std::size_t begin = m_at;
        const auto isLetter = [rest](std::size_t at, char lower)
        { return at < rest.size() && (rest[at] | 0x20) == lower; };
        const bool isXml = isLetter(2, 'x') && isLetter(3, 'm') && isLetter(4, 'l');
        // The parser does not check the blank after "<?xml".
        const bool isDeclaration = isXml && rest.size() > 5 && IsXmlSpace(rest[5]);
        if (!SkipPast("?>", isDeclaration ? 6 : 2))
        {
            return false;
        }
        const std::string_view content = m_text.substr(begin + 2, m_at - begin - 4);
        const std::string_view target = content.substr(
            0, static_cast<std::size_t>(std::find_if(content.begin(), content.end(), IsXmlSpace) - content.begin()));
        if (isDeclaration ? begin != m_start || !IsXmlDeclaration(content)
                          : !IsXmlName(target) || (isXml && target.size() == 3))
        {
            m_observer.Fail(isDeclaration ? "invalid XML declaration" : "invalid processing instruction", begin);
        }
        return true;
    }

    bool DocumentType()
    {
        const std::size_t begin = m_at;
        m_at += 9;
        SkipSpace();
        const std::string_view name = Name(CharacterClass::ElementNameEnd).text;
        SkipSpace();
        if (Peek() != '>' || !IsXmlName(name) || m_hasDocumentType || m_hasRoot)
        {
            m_observer.Fail("a document type declaration of more than a name, or where none may stand", begin);
        }
        m_hasDocumentType = true;
        ++m_at;
        return true;
    }

    bool Element()
    {
        const std::size_t begin = m_at;
        if (m_open.empty() && m_hasRoot)
        {
            m_observer.Fail("more than one root element", begin);
        }
        m_hasRoot = true;
        m_observer.Element(begin);
        ++m_at;
        const NameText name = Name(CharacterClass::ElementNameEnd);
        if (name.text.empty())
        {
            return false;
        }
        CheckName(name, begin);
        m_observer.ElementName(name.text);
        SkipSpace();
        m_attributes.clear();
        while (m_at < m_text.size() && !IsOf(CharacterClass::AttributeNameEnd, m_text[m_at]))
        {
            if (!Attribute())
            {
                return false;
            }
        }
        if (Peek() == '>')
        {
            m_observer.Enter(m_at);
            m_open.push_back(name.text);
            ++m_at;
            return true;
        }
        if (Peek() == '/' && Peek(1) == '>')
        {
            // For the parser an empty element is as deep as one with an end tag.
            m_observer.Enter(m_at);
            m_observer.Leave();
            m_at += 2;
            return true;
        }
        return false;
    }

    bool Attribute()
    {
        const std::size_t begin = m_at;
        m_observer.Attribute(begin);
        const NameText name = Name(CharacterClass::AttributeNameEnd);
        SkipSpace();
        if (Peek() != '=')
        {
            return false;
        }
        ++m_at;
        SkipSpace();
        const char quote = Peek();
        const std::size_t value = m_at + 1;
        if ((quote != '"' && quote != '\'') || !SkipPast({&quote, 1}, 1))
        {
            return false;
        }
        CheckName(name, begin);
        // The observer bounds their number.
        if (std::find(m_attributes.begin(), m_attributes.end(), name.text) != m_attributes.end())
        {
            m_observer.Fail("an attribute given twice", begin);
        }
        m_attributes.push_back(name.text);
        if (const std::size_t at = m_text.substr(0, m_at).find('<', value); at != std::string_view::npos)
        {
            m_observer.Fail("\"<\" within an attribute", at);
        }
        m_observer.AttributeText(name.text, m_text.substr(value, m_at - 1 - value), CheckReferences(value, m_at - 1));
        if (m_at < m_text.size() && !IsOf(CharacterClass::AttributeNameEnd, m_text[m_at]))
        {
            m_observer.Fail("no white space between attributes", m_at);
        }
        SkipSpace();
        return true;
    }

    void CheckName(const NameText& name, std::size_t at) const
    {
        if (!name.isUsual && !IsXmlName(name.text))
        {
            m_observer.Fail("invalid name", at);
        }
    }

    void CheckNoCdataEnd(std::size_t begin, std::size_t end) const
    {
        const std::size_t at = m_hasCdataEnds ? m_text.substr(0, end).find("]]>", begin) : std::string_view::npos;
        if (at != std::string_view::npos)
        {
            m_observer.Fail("\"]]>\" within text", at);
        }
    }

    /// The parser would turn references to any number into bytes, and take any other "&" for text.
    /// \returns whether there are any.
    bool CheckReferences(std::size_t begin, std::size_t end)
    {
        if (m_nextReference < begin)
        {
            m_nextReference = m_text.find('&', begin);
        }
        const bool hasReferences = m_nextReference < end;
        for (; m_nextReference < end; m_nextReference = m_text.find('&', m_nextReference + 1))
        {
            const std::string_view reference = m_text.substr(m_nextReference + 1, end - m_nextReference - 1);
            if (!IsXmlReference(reference))
            {
                m_observer.Fail(reference.starts_with('#') ? "invalid character reference"
                                                           : "a reference to an unknown entity, or a bare \"&\"",
                                m_nextReference);
            }
        }
        return hasReferences;
    }

    std::string_view m_text;
    Observer& m_observer;
    std::size_t m_start = 0; ///< Behind a byte order mark.
    std::size_t m_at = 0;
    std::size_t m_nextReference; ///< The first "&" behind what was checked, or npos.
    bool m_hasCdataEnds;         ///< Most documents have none anywhere.
    bool m_hasDocumentType = false;
    bool m_hasRoot = false;
    std::vector<std::string_view> m_open;       ///< Names of the elements whose end tags are to come.
    std::vector<std::string_view> m_attributes; ///< Names of the current element's attributes.
};

} // namespace Ardo::Kiln::MetadataSerializer
