#pragma once

#include "Ardo/Kiln/MetadataSerializer/DocumentNode_p.h"

#include <boost/property_tree/ptree.hpp>
#include <string>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

/// Key of the document's root element.
inline const std::string& RootKey()
{
    static const auto* const key = new std::string("Metadata");
    return *key;
}

/// Key of the child that holds an element's attributes in the property tree.
inline const std::string& AttributesKey()
{
    static const auto* const key = new std::string("<xmlattr>");
    return *key;
}

/// Key of a comment in the property tree.
inline const std::string& CommentKey()
{
    static const auto* const key = new std::string("<xmlcomment>");
    return *key;
}

/// True for a node that is not an element: attributes or a comment.
inline bool IsMarkup(const DocumentNode& node)
{
    return node.name == AttributesKey() || node.name == CommentKey();
}

/// \throws boost::property_tree::ptree_bad_path, as the tree's own look-up does.
[[noreturn]] inline void ThrowNoSuchNode(std::string_view key)
{
    BOOST_PROPERTY_TREE_THROW(
        boost::property_tree::ptree_bad_path("No such node", boost::property_tree::path(std::string(key), '\0')));
}

/// \throws boost::property_tree::ptree_bad_data, as the tree's own conversion to a T does.
template <typename T>
[[noreturn]] void ThrowConversionFailed(std::string_view text)
{
    BOOST_PROPERTY_TREE_THROW(boost::property_tree::ptree_bad_data(
        std::string("conversion of data to type \"") + typeid(T).name() + "\" failed", std::string(text)));
}

} // namespace Ardo::Kiln::MetadataSerializer
