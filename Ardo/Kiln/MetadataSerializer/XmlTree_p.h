#pragma once

#include "Ardo/Kiln/MetadataSerializer/DocumentNode_p.h"
#include "Ardo/KilnExport.h"

#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

/// Appends the nodes of a document to \p parent. They are those that boost::property_tree::read_xml makes with flags 0,
/// because it is the same parser. Recursive: ScanXml must have bounded the depth of the document before.
/// \param text is changed: the parser decodes names and texts in place. It has to outlive the nodes.
/// \throws boost::property_tree::xml_parser_error, with the line.
KILN_EXPORT_FOR_TESTS void ParseXml(std::string& text, DocumentNodes& nodes, DocumentNode& parent);

} // namespace Ardo::Kiln::MetadataSerializer
