#pragma once

#include "Ardo/Kiln/MetadataSerializer/DocumentNode_p.h"
#include "Ardo/Kiln/MetadataSerializer/SerializeType.h"

namespace Ardo::Kiln::MetadataSerializer
{

// Checks before a document is written. TreeReader checks the values of a document that is read.

/// Checks a document against the limits of readers.
/// \throws boost::property_tree::ptree_bad_data if it has too many nodes or is nested too deep.
void CheckLimits(const DocumentNode& document, SerializeType type);

/// Checks what XML can hold: names and characters.
/// \throws boost::property_tree::ptree_bad_data: see Serializable::SerializeToString.
void CheckForXml(const DocumentNode& document);

/// \throws boost::property_tree::ptree_bad_data if a name or text is not UTF-8.
void CheckUtf8(const DocumentNode& document);

} // namespace Ardo::Kiln::MetadataSerializer
