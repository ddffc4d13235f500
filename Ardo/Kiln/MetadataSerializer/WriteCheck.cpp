#include "Ardo/Kiln/MetadataSerializer/WriteCheck_p.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/ReadReport_p.h"
#include "Ardo/Kiln/MetadataSerializer/Serializable.h"
#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <algorithm>
#include <array>
#include <boost/property_tree/ptree.hpp>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using Tree = boost::property_tree::ptree;

constexpr char TabStandIn = '\x01';
constexpr char LineFeedStandIn = '\x02';
constexpr char CarriageReturnStandIn = '\x03';

/// A node's name and its parent, for messages.
struct Place
{
    const Place* parent;
    const std::string& name;

    std::string Text() const { return (parent != nullptr ? parent->Text() : std::string()) + "/" + Shown(name); }
};

std::string CodePointText(std::string_view text)
{
    const CodePoint codePoint = FirstCodePoint(text);
    if (codePoint.length == 0)
    {
        return "bytes that are not UTF-8";
    }
    constexpr std::string_view Digits = "0123456789ABCDEF";
    std::string result = "the character U+";
    for (unsigned shift = 16; shift > 0;)
    {
        shift -= 4;
        result += Digits[(codePoint.value >> shift) & 0xFU];
    }
    return result + ", which XML cannot hold";
}

void CheckText(const std::string& text, const Place* place, TextRule rule)
{
    const std::size_t at = FindInvalid(text, rule);
    if (at < text.size())
    {
        BOOST_PROPERTY_TREE_THROW(
            boost::property_tree::ptree_bad_data("\"" + (place != nullptr ? place->Text() : std::string()) +
                                                     "\" holds " + CodePointText(std::string_view(text).substr(at, 4)),
                                                 text));
    }
}

/// Replaces the white space that readers would change: a carriage return becomes a line feed anywhere, tabs and line
/// feeds become blanks in attributes.
bool ReplaceWhiteSpace(std::string& text, bool attribute)
{
    bool replaced = false;
    for (char& c : text)
    {
        if (c == '\r' || (attribute && (c == '\t' || c == '\n')))
        {
            c = c == '\t' ? TabStandIn : c == '\n' ? LineFeedStandIn : CarriageReturnStandIn;
            replaced = true;
        }
    }
    return replaced;
}

bool PrepareNode(Tree& tree, const Place* parent, bool attributes)
{
    CheckText(tree.data(), parent, TextRule::Xml);
    bool replaced = ReplaceWhiteSpace(tree.data(), attributes);
    for (auto& [name, child] : tree)
    {
        const Place place{parent, name};
        if (name == AttributesKey())
        {
            replaced = PrepareNode(child, &place, true) || replaced;
            continue;
        }
        if (!IsXmlName(name))
        {
            BOOST_PROPERTY_TREE_THROW(
                boost::property_tree::ptree_bad_data("\"" + place.Text() + "\" is no XML name", name));
        }
        if (attributes && tree.count(name) > 1)
        {
            BOOST_PROPERTY_TREE_THROW(
                boost::property_tree::ptree_bad_data("\"" + place.Text() + "\" is an attribute given twice", name));
        }
        replaced = PrepareNode(child, &place, attributes) || replaced;
    }
    return replaced;
}

/// Counts the nodes of a tree as readers count those of its document.
class LimitCheck
{
public:
    explicit LimitCheck(SerializeType type) : m_isXml(type == SerializeType::Xml) {}

    /// \param depth of the elements, or of the object, in \p tree.
    void Check(const Tree& tree, std::size_t depth)
    {
        if (!tree.empty())
        {
            Compare(depth, Serializable::MaxDepth, "levels");
        }
        for (const auto& [name, child] : tree)
        {
            if (m_isXml && name == AttributesKey())
            {
                Compare(child.size(), Serializable::MaxAttributeCount, "attributes of an element");
                m_nodes += child.size();
                continue;
            }
            Compare(++m_nodes, Serializable::MaxNodeCount, "nodes");
            Check(child, depth + 1);
        }
        Compare(m_nodes, Serializable::MaxNodeCount, "nodes");
    }

private:
    static void Compare(std::size_t count, std::size_t limit, const char* what)
    {
        if (count > limit)
        {
            BOOST_PROPERTY_TREE_THROW(boost::property_tree::ptree_bad_data(
                "the document has more than the " + std::to_string(limit) + " " + what + " that readers take",
                std::string()));
        }
    }

    bool m_isXml;
    std::size_t m_nodes = 0;
};

void CheckNode(const Tree& tree, const Place* parent)
{
    CheckText(tree.data(), parent, TextRule::Utf8);
    for (const auto& [name, child] : tree)
    {
        const Place place{parent, name};
        CheckText(name, &place, TextRule::Utf8);
        CheckNode(child, &place);
    }
}

} // namespace

void CheckLimits(const Tree& document, SerializeType type)
{
    LimitCheck(type).Check(document, 1);
}

bool PrepareForXml(Tree& tree)
{
    return PrepareNode(tree, nullptr, false);
}

std::string RestoreWhiteSpace(const std::string& document)
{
    constexpr std::string_view StandIns{"\x01\x02\x03"};
    constexpr std::array<std::string_view, 3> References{"&#9;", "&#10;", "&#13;"};
    std::string result;
    result.reserve(document.size() + document.size() / 16);
    const char* begin = document.data();
    const char* const end = begin + document.size();
    const auto isStandIn = [&](char c) { return c > 0 && c <= CarriageReturnStandIn; };
    for (const char* found = std::find_if(begin, end, isStandIn); found != end;
         found = std::find_if(begin, end, isStandIn))
    {
        result.append(begin, found);
        result += References[StandIns.find(*found)];
        begin = found + 1;
    }
    result.append(begin, end);
    return result;
}

void CheckUtf8(const Tree& tree)
{
    CheckNode(tree, nullptr);
}

} // namespace Ardo::Kiln::MetadataSerializer
