#pragma once

#include "Ardo/Kiln/MetadataSerializer/DocumentNode_p.h"
#include "Ardo/KilnExport.h"

#include <cstddef>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

// The texts of documents, byte for byte those of the property tree's writers, which work on property trees and streams
// only and take several times as long. Recursive: CheckLimits must have bounded the depth of the document before.

/// Bytes that the texts of most records take at most.
inline constexpr std::size_t UsualTextSize = 16'384;

/// The document as boost::property_tree::write_xml writes it with four blanks a level. White space that readers would
/// change is written as character references: carriage returns, and in attributes tabs and line feeds, too.
/// \param document whose names CheckXmlNames has accepted; it has no text of its own. Characters that XML cannot hold
///        stay as they are.
KILN_EXPORT_FOR_TESTS std::string XmlText(const DocumentNode& document);

/// The document as boost::property_tree::write_json writes it, indented.
/// \throws boost::property_tree::json_parser_error if a node has both text and children.
KILN_EXPORT_FOR_TESTS std::string JsonText(const DocumentNode& document);

} // namespace Ardo::Kiln::MetadataSerializer
