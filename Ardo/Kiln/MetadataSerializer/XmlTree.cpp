#include "Ardo/Kiln/MetadataSerializer/XmlTree_p.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentLimits_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/PropertyTreeVersion_p.h"
#include "Ardo/Kiln/MetadataSerializer/XmlSyntax_p.h"

#include <algorithm>
#include <boost/property_tree/detail/rapidxml.hpp>
#include <boost/property_tree/detail/xml_parser_error.hpp>
#include <string>
#include <vector>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using boost::property_tree::xml_parser::xml_parser_error;

/// Observer that makes the nodes of a document within the limits.
class NodeMaker : public DocumentLimits<xml_parser_error>
{
public:
    using Limits = DocumentLimits<xml_parser_error>;

    NodeMaker(std::string_view text, DocumentNodes& nodes, DocumentNode& parent)
        : Limits(text), m_nodes(nodes), m_open(1, OpenElement{&parent, 0})
    {
    }

    void ElementName(std::string_view name)
    {
        m_element = &m_nodes.Append(*m_open.back().node, name);
        m_attributes = nullptr;
    }
    void AttributeText(std::string_view name, std::string_view text, bool hasReferences)
    {
        if (m_attributes == nullptr)
        {
            m_attributes = &m_nodes.Append(*m_element, AttributesKey());
        }
        m_nodes.Append(*m_attributes, name).text = hasReferences ? Decoded(text) : text;
    }
    void CommentText(std::string_view text) { m_nodes.Append(*m_open.back().node, CommentKey()).text = text; }
    void Enter(std::size_t at)
    {
        Limits::Enter(at);
        m_open.push_back({m_element, m_texts.size()});
    }
    void Leave()
    {
        Limits::Leave();
        const OpenElement& open = m_open.back();
        if (m_texts.size() > open.begin)
        {
            open.node->text = m_nodes.Copy(std::string_view(m_texts).substr(open.begin));
            m_texts.resize(open.begin);
        }
        m_open.pop_back();
    }
    void Text(std::string_view text, bool hasReferences) { CdataText(hasReferences ? Decoded(text) : text); }
    void CdataText(std::string_view text)
    {
        const OpenElement& open = m_open.back();
        if (open.node->text.empty())
        {
            open.node->text = text;
            return;
        }
        if (m_texts.size() == open.begin)
        {
            m_texts += open.node->text;
        }
        m_texts += text;
    }

private:
    struct OpenElement
    {
        DocumentNode* node;
        std::size_t begin; ///< Of its texts in m_texts.
    };

    std::string_view Decoded(std::string_view text)
    {
        char* const decoded = m_nodes.Text(text.size());
        return {decoded, CopyDecoded(text, decoded)};
    }

    DocumentNodes& m_nodes;
    std::vector<OpenElement> m_open;      ///< Begins with the document itself.
    std::string m_texts;                  ///< Of the open elements that have more than one, those of the last one last.
    DocumentNode* m_element = nullptr;    ///< The last one that began.
    DocumentNode* m_attributes = nullptr; ///< Of that element; null if it has none.
};

/// Throws the error that the parser of the property tree reports. Recursive: the depth must have been bounded before.
[[noreturn]] void ThrowParserError(std::string_view text)
{
    // A private part of the property tree library, used in this file only.
    namespace rapidxml = boost::property_tree::detail::rapidxml;
    std::string buffer(text); // the parser writes into it
    std::string message = "not well-formed";
    const char* where = buffer.data();
    try
    {
        rapidxml::xml_document<char> document;
        document.parse<rapidxml::parse_comment_nodes>(buffer.data());
    }
    catch (rapidxml::parse_error& error)
    {
        message = error.what();
        where = error.where<char>();
    }
    const auto line = std::count(static_cast<const char*>(buffer.data()), where, '\n') + 1;
    BOOST_PROPERTY_TREE_THROW(xml_parser_error(message, std::string(), static_cast<unsigned long>(line)));
}

} // namespace

void ParseXml(std::string_view text, DocumentNodes& nodes, DocumentNode& parent)
{
    NodeMaker maker(text, nodes, parent);
    if (const std::size_t at = FindInvalid(text, TextRule::Xml); at < text.size())
    {
        maker.Fail("not UTF-8, or a character that XML excludes", at);
    }
    if (!XmlScanner(text, maker).Scan())
    {
        ThrowParserError(text);
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
