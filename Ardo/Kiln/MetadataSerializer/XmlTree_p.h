#pragma once

#include "Ardo/Kiln/MetadataSerializer/DocumentNode_p.h"
#include "Ardo/KilnExport.h"

#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

/// Appends the nodes of a document to \p parent: those that boost::property_tree::read_xml makes with flags 0, in one
/// pass without recursion.
/// \param text has to outlive the nodes.
/// \throws boost::property_tree::xml_parser_error, with the line, for text that is not UTF-8 or not well-formed (this
///         includes a document type declaration of more than a name), is nested too deep, has too many nodes, or an
///         element with too many attributes.
KILN_EXPORT_FOR_TESTS void ParseXml(std::string_view text, DocumentNodes& nodes, DocumentNode& parent);

} // namespace Ardo::Kiln::MetadataSerializer
