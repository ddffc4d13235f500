#include "Ardo/Kiln/MetadataSerializer/XmlTree_p.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/PropertyTreeVersion_p.h"

#include <algorithm>
#include <boost/property_tree/detail/rapidxml.hpp>
#include <boost/property_tree/detail/xml_parser_error.hpp>
#include <boost/property_tree/ptree.hpp>
#include <string>
#include <tuple>
#include <utility>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using boost::property_tree::ptree;
using boost::property_tree::xml_parser::xml_parser_error;
// A private part of the property tree library, used in this file only.
namespace rapidxml = boost::property_tree::detail::rapidxml;
using XmlNode = rapidxml::xml_node<char>;

/// Appends an empty node, to be filled in place. Each copy of a node costs several allocations, even of an empty one.
/// The copy into the tree is necessary, and it is the only one here.
template <typename... Key>
ptree& Append(ptree& parent, const Key&... key)
{
    const ptree::value_type node(std::piecewise_construct, std::forward_as_tuple(key...), std::tuple<>());
    return parent.push_back(node)->second;
}

void AppendNode(ptree& parent, const XmlNode& node)
{
    switch (node.type())
    {
    case rapidxml::node_element:
    {
        ptree& element = Append(parent, node.name(), node.name_size());
        if (node.first_attribute() != nullptr)
        {
            ptree& attributes = Append(element, AttributesKey());
            for (const auto* attribute = node.first_attribute(); attribute != nullptr;
                 attribute = attribute->next_attribute())
            {
                Append(attributes, attribute->name(), attribute->name_size())
                    .data()
                    .assign(attribute->value(), attribute->value_size());
            }
        }
        for (const XmlNode* child = node.first_node(); child != nullptr; child = child->next_sibling())
        {
            AppendNode(element, *child);
        }
        break;
    }
    case rapidxml::node_data:
    case rapidxml::node_cdata:
        parent.data().append(node.value(), node.value_size());
        break;
    case rapidxml::node_comment:
        Append(parent, CommentKey()).data().assign(node.value(), node.value_size());
        break;
    default:
        break;
    }
}

} // namespace

void ParseXml(std::string_view text, ptree& tree)
{
    std::string buffer(text); // the parser writes into it
    try
    {
        rapidxml::xml_document<char> document;
        document.parse<rapidxml::parse_comment_nodes>(buffer.data());
        for (const XmlNode* node = document.first_node(); node != nullptr; node = node->next_sibling())
        {
            AppendNode(tree, *node);
        }
    }
    catch (rapidxml::parse_error& error)
    {
        const auto line = std::count(buffer.data(), error.where<char>(), '\n') + 1;
        BOOST_PROPERTY_TREE_THROW(xml_parser_error(error.what(), std::string(), static_cast<unsigned long>(line)));
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
