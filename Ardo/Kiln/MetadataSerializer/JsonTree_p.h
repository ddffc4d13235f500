#pragma once

#include "Ardo/KilnExport.h"

#include <boost/property_tree/ptree_fwd.hpp>
#include <string>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

/// Replaces \p tree by the tree of the text, as boost::property_tree::read_json does. Recursive: ScanJson must have
/// bounded the depth of the document before.
/// \throws boost::property_tree::json_parser_error, with the line.
void ParseJson(std::string_view text, boost::property_tree::ptree& tree);

/// The document as boost::property_tree::write_json writes it, indented.
/// \throws boost::property_tree::json_parser_error if a node has both text and children.
std::string JsonText(const boost::property_tree::ptree& tree);

} // namespace Ardo::Kiln::MetadataSerializer
