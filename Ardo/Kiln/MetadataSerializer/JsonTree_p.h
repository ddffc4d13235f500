#pragma once

#include <boost/property_tree/ptree_fwd.hpp>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

/// Replaces \p tree by the tree of the text, as boost::property_tree::read_json does. Recursive: ScanJson must have
/// bounded the depth of the document before.
/// \throws boost::property_tree::json_parser_error, with the line.
void ParseJson(std::string_view text, boost::property_tree::ptree& tree);

} // namespace Ardo::Kiln::MetadataSerializer
