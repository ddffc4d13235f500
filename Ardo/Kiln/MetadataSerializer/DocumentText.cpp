#include "Ardo/Kiln/MetadataSerializer/DocumentText_p.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <algorithm>
#include <boost/property_tree/json_parser/error.hpp>
#include <cstddef>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

constexpr std::size_t IndentSize = 4;

/// Appends \p text. Characters that \p isSpecial selects and \p escape returns a text for are replaced by it.
template <typename IsSpecial, typename Escape>
void AppendEscaped(std::string& target, std::string_view text, const IsSpecial& isSpecial, const Escape& escape)
{
    while (true)
    {
        const auto special = std::find_if(text.begin(), text.end(), isSpecial);
        const auto plain = static_cast<std::size_t>(special - text.begin());
        target.append(text, 0, plain);
        if (special == text.end())
        {
            return;
        }
        if (const std::string_view other = escape(*special); other.empty())
        {
            target += *special;
        }
        else
        {
            target += other;
        }
        text.remove_prefix(plain + 1);
    }
}

class XmlWriter
{
public:
    explicit XmlWriter(std::string& text) : m_text(text) {}

    void Element(const DocumentNode& node, std::size_t level)
    {
        const DocumentNode* const attributes = node.Find(AttributesKey());
        const bool hasElements = std::any_of(ChildrenOf(node).begin(), ChildrenOf(node).end(), IsElement);
        Indent(level);
        m_text += '<';
        m_text += node.name;
        if (attributes != nullptr)
        {
            Attributes(*attributes);
        }
        if (node.text.empty() && !hasElements)
        {
            m_text += "/>\n";
            return;
        }
        m_text += hasElements ? ">\n" : ">";
        if (!node.text.empty())
        {
            Indent(hasElements ? level + 1 : 0);
            Characters(node.text, false);
            m_text += hasElements ? "\n" : "";
        }
        for (const DocumentNode& child : ChildrenOf(node))
        {
            if (IsElement(child))
            {
                Element(child, level + 1);
            }
        }
        Indent(hasElements ? level : 0);
        m_text += "</";
        m_text += node.name;
        m_text += ">\n";
    }

private:
    static bool IsElement(const DocumentNode& node) { return node.name != AttributesKey(); }

    void Indent(std::size_t level) { m_text.append(level * IndentSize, ' '); }

    void Attributes(const DocumentNode& attributes)
    {
        for (const DocumentNode& attribute : ChildrenOf(attributes))
        {
            m_text += ' ';
            m_text += attribute.name;
            m_text += "=\"";
            Characters(attribute.text, true);
            m_text += '"';
        }
    }

    void Characters(std::string_view text, bool isAttribute)
    {
        if (!text.empty() && text.find_first_not_of(' ') == std::string_view::npos)
        {
            m_text += "&#32;"; // or readers might take the text for indentation
            text.remove_prefix(1);
        }
        AppendEscaped(
            m_text, text, [](char c) { return IsOf(CharacterClass::Escaped, c); },
            [isAttribute](char c) -> std::string_view
            {
                switch (c)
                {
                case '<':
                    return "&lt;";
                case '>':
                    return "&gt;";
                case '&':
                    return "&amp;";
                case '"':
                    return "&quot;";
                case '\'':
                    return "&apos;";
                case '\r':
                    return "&#13;";
                case '\t':
                    return isAttribute ? "&#9;" : "";
                case '\n':
                    return isAttribute ? "&#10;" : "";
                default:
                    return "";
                }
            });
    }

    std::string& m_text;
};

class JsonWriter
{
public:
    explicit JsonWriter(std::string& text) : m_text(text) {}

    /// \param level 0 for the document, which is an object in any case.
    void Value(const DocumentNode& node, std::size_t level)
    {
        if (level > 0 && node.firstChild == nullptr)
        {
            Characters(node.text);
            return;
        }
        const bool isArray = level > 0 && std::all_of(ChildrenOf(node).begin(), ChildrenOf(node).end(),
                                                      [](const DocumentNode& child) { return child.name.empty(); });
        m_text += isArray ? "[\n" : "{\n";
        for (const DocumentNode& child : ChildrenOf(node))
        {
            m_text.append((level + 1) * IndentSize, ' ');
            if (!isArray)
            {
                Characters(child.name);
                m_text += ": ";
            }
            Value(child, level + 1);
            m_text += child.next != nullptr ? ",\n" : "\n";
        }
        m_text.append(level * IndentSize, ' ');
        m_text += isArray ? ']' : '}';
    }

private:
    void Characters(std::string_view text)
    {
        m_text += '"';
        AppendEscaped(m_text, text, IsSpecial, [this](char c) { return Escape(c); });
        m_text += '"';
    }

    static bool IsSpecial(char c) { return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\' || c == '/'; }

    std::string_view Escape(char c)
    {
        switch (c)
        {
        case '"':
            return "\\\"";
        case '\\':
            return "\\\\";
        case '/':
            return "\\/";
        case '\b':
            return "\\b";
        case '\f':
            return "\\f";
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default:
            break;
        }
        constexpr std::string_view Digits = "0123456789ABCDEF";
        m_code[4] = Digits[static_cast<unsigned char>(c) / 16];
        m_code[5] = Digits[static_cast<unsigned char>(c) % 16];
        return m_code;
    }

    std::string& m_text;
    std::string m_code = "\\u0000"; ///< Of the last character without a shorter escape.
};

/// False for a node with both text and children, which JSON cannot represent.
bool FitsJson(const DocumentNode& node)
{
    return (node.firstChild == nullptr || node.text.empty()) &&
           std::all_of(ChildrenOf(node).begin(), ChildrenOf(node).end(), FitsJson);
}

} // namespace

std::string XmlText(const DocumentNode& document)
{
    std::string text;
    text.reserve(UsualTextSize);
    text += "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
    for (const DocumentNode& root : ChildrenOf(document))
    {
        XmlWriter(text).Element(root, 0);
    }
    return text;
}

std::string JsonText(const DocumentNode& document)
{
    if (!FitsJson(document))
    {
        BOOST_PROPERTY_TREE_THROW(boost::property_tree::json_parser::json_parser_error(
            "ptree contains data that cannot be represented in JSON format", std::string(), 0));
    }
    std::string text;
    text.reserve(UsualTextSize);
    JsonWriter(text).Value(document, 0);
    text += '\n';
    return text;
}

} // namespace Ardo::Kiln::MetadataSerializer
