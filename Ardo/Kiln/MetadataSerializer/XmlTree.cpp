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
        : Limits(text), m_nodes(nodes), m_open(1, OpenElement{&parent})
    {
    }

    void ElementName(std::string_view name)
    {
        m_element = &m_nodes.Append(*m_open.back().node, name);
        m_attributes = nullptr;
    }
    void AttributeText(std::string_view name, std::string_view text)
    {
        if (m_attributes == nullptr)
        {
            m_attributes = &m_nodes.Append(*m_element, AttributesKey());
        }
        m_nodes.Append(*m_attributes, name).text = Decoded(text);
    }
    void CommentText(std::string_view text) { m_nodes.Append(*m_open.back().node, CommentKey()).text = text; }
    void Enter(std::size_t at)
    {
        Limits::Enter(at);
        m_open.push_back(OpenElement{m_element});
    }
    void Leave()
    {
        Limits::Leave();
        if (!m_open.back().texts.empty())
        {
            m_open.back().node->text = m_nodes.Copy(m_open.back().texts);
        }
        m_open.pop_back();
    }
    void Text(std::string_view text) { CdataText(Decoded(text)); }
    void CdataText(std::string_view text)
    {
        OpenElement& open = m_open.back();
        if (open.texts.empty() && open.node->text.empty())
        {
            open.node->text = text;
            return;
        }
        if (open.texts.empty())
        {
            open.texts = open.node->text;
        }
        open.texts += text;
    }

private:
    struct OpenElement
    {
        DocumentNode* node;
        std::string texts = {}; ///< All together, if there is more than one.
    };

    std::string_view Decoded(std::string_view text)
    {
        if (text.find('&') == std::string_view::npos)
        {
            return text;
        }
        char* const decoded = m_nodes.Text(text.size());
        return {decoded, CopyDecoded(text, decoded)};
    }

    DocumentNodes& m_nodes;
    std::vector<OpenElement> m_open;      ///< Begins with the document itself.
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
