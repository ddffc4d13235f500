#pragma once

#include "Ardo/KilnExport.h"

#include <boost/property_tree/ptree_fwd.hpp>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

/// Appends the nodes of a document to \p tree as boost::property_tree::read_xml does with flags 0: it uses the same
/// parser, but no stream, which would read the text byte by byte, and does not copy each node into the tree. Recursive:
/// ScanXml must have bounded the depth of the document before.
/// \throws boost::property_tree::xml_parser_error, with the line.
KILN_EXPORT_FOR_TESTS void ParseXml(std::string_view text, boost::property_tree::ptree& tree);

} // namespace Ardo::Kiln::MetadataSerializer
