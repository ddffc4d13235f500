#pragma once

#include "Ardo/Kiln/MetadataSerializer/DocumentNode_p.h"
#include "Ardo/Kiln/MetadataSerializer/SerializeType.h"
#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

namespace Ardo::Kiln::MetadataSerializer
{

// Checks before a document is written. TreeReader checks the values of a document that is read.

/// Checks a document against the limits of readers.
/// \throws boost::property_tree::ptree_bad_data if it has too many nodes or is nested too deep.
void CheckLimits(const DocumentNode& document, SerializeType type);

/// Checks that the names can be names in XML, and that no attribute is given twice.
/// \throws boost::property_tree::ptree_bad_data: see Serializable::SerializeToString.
void CheckXmlNames(const DocumentNode& document);

/// \throws boost::property_tree::ptree_bad_data, whose text names the place, if a name or text breaks \p rule.
void CheckTexts(const DocumentNode& document, TextRule rule);

} // namespace Ardo::Kiln::MetadataSerializer
