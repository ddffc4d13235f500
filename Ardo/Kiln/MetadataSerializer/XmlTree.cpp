#include "Ardo/Kiln/MetadataSerializer/XmlTree_p.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/PropertyTreeVersion_p.h"

#include <algorithm>
#include <boost/property_tree/detail/rapidxml.hpp>
#include <boost/property_tree/detail/xml_parser_error.hpp>
#include <string>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using boost::property_tree::xml_parser::xml_parser_error;
// A private part of the property tree library, used in this file only.
namespace rapidxml = boost::property_tree::detail::rapidxml;
using XmlNode = rapidxml::xml_node<char>;

/// The texts among the children of an element, in one.
std::string_view TextOf(const XmlNode& element, DocumentNodes& nodes)
{
    const auto isText = [](const XmlNode& node)
    { return node.type() == rapidxml::node_data || node.type() == rapidxml::node_cdata; };

    std::string_view only;
    std::size_t count = 0;
    std::size_t size = 0;
    for (const XmlNode* child = element.first_node(); child != nullptr; child = child->next_sibling())
    {
        if (isText(*child))
        {
            only = {child->value(), child->value_size()};
            ++count;
            size += only.size();
        }
    }
    if (count < 2)
    {
        return only;
    }
    char* const text = nodes.Text(size);
    char* end = text;
    for (const XmlNode* child = element.first_node(); child != nullptr; child = child->next_sibling())
    {
        end = isText(*child) ? std::copy_n(child->value(), child->value_size(), end) : end;
    }
    return {text, size};
}

void AppendNode(DocumentNodes& nodes, DocumentNode& parent, const XmlNode& node)
{
    if (node.type() == rapidxml::node_comment)
    {
        nodes.Append(parent, CommentKey()).text = {node.value(), node.value_size()};
    }
    if (node.type() != rapidxml::node_element)
    {
        return;
    }
    DocumentNode& element = nodes.Append(parent, {node.name(), node.name_size()});
    element.text = TextOf(node, nodes);
    if (node.first_attribute() != nullptr)
    {
        DocumentNode& attributes = nodes.Append(element, AttributesKey());
        for (const auto* attribute = node.first_attribute(); attribute != nullptr;
             attribute = attribute->next_attribute())
        {
            nodes.Append(attributes, {attribute->name(), attribute->name_size()}).text = {attribute->value(),
                                                                                          attribute->value_size()};
        }
    }
    for (const XmlNode* child = node.first_node(); child != nullptr; child = child->next_sibling())
    {
        AppendNode(nodes, element, *child);
    }
}

} // namespace

void ParseXml(std::string& text, DocumentNodes& nodes, DocumentNode& parent)
{
    try
    {
        rapidxml::xml_document<char> document;
        document.parse<rapidxml::parse_comment_nodes>(text.data());
        for (const XmlNode* node = document.first_node(); node != nullptr; node = node->next_sibling())
        {
            AppendNode(nodes, parent, *node);
        }
    }
    catch (rapidxml::parse_error& error)
    {
        const auto line = std::count(text.data(), error.where<char>(), '\n') + 1;
        BOOST_PROPERTY_TREE_THROW(xml_parser_error(error.what(), std::string(), static_cast<unsigned long>(line)));
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
