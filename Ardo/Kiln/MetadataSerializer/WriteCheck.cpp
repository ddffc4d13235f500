#include "Ardo/Kiln/MetadataSerializer/WriteCheck_p.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/ReadReport_p.h"
#include "Ardo/Kiln/MetadataSerializer/Serializable.h"
#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <boost/property_tree/exceptions.hpp>
#include <string>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

/// A node's name and its parent, for messages.
struct Place
{
    const Place* parent;
    std::string_view name;

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

void CheckText(std::string_view text, const Place* place, TextRule rule)
{
    const std::size_t at = FindInvalid(text, rule);
    if (at < text.size())
    {
        BOOST_PROPERTY_TREE_THROW(boost::property_tree::ptree_bad_data(
            "\"" + (place != nullptr ? place->Text() : std::string()) + "\" holds " + CodePointText(text.substr(at, 4)),
            std::string(text)));
    }
}

void CheckNames(const DocumentNode& node, const Place* parent, bool isAttributes)
{
    for (const DocumentNode& child : ChildrenOf(node))
    {
        const Place place{parent, child.name};
        if (child.name == AttributesKey())
        {
            CheckNames(child, &place, true);
            continue;
        }
        if (!IsXmlName(child.name))
        {
            BOOST_PROPERTY_TREE_THROW(boost::property_tree::ptree_bad_data("\"" + place.Text() + "\" is no XML name",
                                                                           std::string(child.name)));
        }
        if (isAttributes && node.Find(child.name) != &child)
        {
            BOOST_PROPERTY_TREE_THROW(boost::property_tree::ptree_bad_data(
                "\"" + place.Text() + "\" is an attribute given twice", std::string(child.name)));
        }
        CheckNames(child, &place, isAttributes);
    }
}

/// Counts the nodes of a tree as readers count those of its document.
class LimitCheck
{
public:
    explicit LimitCheck(SerializeType type) : m_isXml(type == SerializeType::Xml) {}

    /// \param depth of the elements, or of the object, in \p tree.
    void Check(const DocumentNode& node, std::size_t depth)
    {
        if (node.firstChild != nullptr)
        {
            Compare(depth, Serializable::MaxDepth, "levels");
        }
        for (const DocumentNode& child : ChildrenOf(node))
        {
            if (m_isXml && child.name == AttributesKey())
            {
                Compare(child.childCount, Serializable::MaxAttributeCount, "attributes of an element");
                m_nodes += child.childCount;
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

void CheckTexts(const DocumentNode& node, const Place* parent, TextRule rule)
{
    CheckText(node.text, parent, rule);
    for (const DocumentNode& child : ChildrenOf(node))
    {
        const Place place{parent, child.name};
        CheckText(child.name, &place, rule);
        CheckTexts(child, &place, rule);
    }
}

} // namespace

void CheckLimits(const DocumentNode& document, SerializeType type)
{
    LimitCheck(type).Check(document, 1);
}

void CheckXmlNames(const DocumentNode& document)
{
    CheckNames(document, nullptr, false);
}

void CheckTexts(const DocumentNode& document, TextRule rule)
{
    CheckTexts(document, nullptr, rule);
}

} // namespace Ardo::Kiln::MetadataSerializer
