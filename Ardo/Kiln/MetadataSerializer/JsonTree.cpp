#include "Ardo/Kiln/MetadataSerializer/JsonTree_p.h"

#include "Ardo/Kiln/MetadataSerializer/PropertyTreeVersion_p.h"
#include "Ardo/Kiln/MetadataSerializer/TextSink_p.h"

#include <algorithm>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <ostream>

namespace Ardo::Kiln::MetadataSerializer
{

// The only file that uses private parts of the library's JSON parser and writer (json_parser::detail and
// write_json_helper), for the reasons given at each.

using boost::property_tree::ptree;
using boost::property_tree::json_parser::json_parser_error;

namespace
{

/// False for a node with both text and children, which JSON cannot represent.
bool FitsJson(const ptree& tree)
{
    return (tree.empty() || tree.data().empty()) &&
           std::all_of(tree.begin(), tree.end(), [](const auto& node) { return FitsJson(node.second); });
}

} // namespace

void ParseJson(std::string_view text, ptree& tree)
{
    // Like read_json, but directly on the text: through a stream the parser takes 50 % longer.
    namespace detail = boost::property_tree::json_parser::detail;
    detail::standard_callbacks<ptree> callbacks;
    detail::encoding<char> encoding;
    detail::read_json_internal(text.data(), text.data() + text.size(), encoding, callbacks, std::string());
    tree.swap(callbacks.output());
}

std::string JsonText(const ptree& tree)
{
    // Like write_json, whose own check of the tree copies every text twice.
    if (!FitsJson(tree))
    {
        BOOST_PROPERTY_TREE_THROW(
            json_parser_error("ptree contains data that cannot be represented in JSON format", std::string(), 0));
    }
    std::string text;
    TextSink sink(text);
    std::ostream stream(&sink);
    boost::property_tree::json_parser::write_json_helper(stream, tree, 0, true);
    stream << std::endl;
    if (!stream.good())
    {
        BOOST_PROPERTY_TREE_THROW(json_parser_error("write error", std::string(), 0));
    }
    return text;
}

} // namespace Ardo::Kiln::MetadataSerializer
