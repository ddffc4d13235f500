#pragma once

#include "Ardo/Kiln/MetadataSerializer/SerializeType.h"

#include <boost/property_tree/ptree_fwd.hpp>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

// Checks and changes before a document is written. TreeReader checks the values of a document that is read.

/// Checks a document against the limits of readers before it is written.
/// \throws boost::property_tree::ptree_bad_data if it has too many nodes or is nested too deep.
void CheckLimits(const boost::property_tree::ptree& document, SerializeType type);

/// Prepares a tree for the writer of XML. Readers keep tabs, line feeds and carriage returns of a text only if they are
/// character references, which the writer cannot write. So they are replaced, where readers would change them, by
/// control characters that no document can hold, and RestoreWhiteSpace replaces these by references afterwards.
/// \returns true if any was replaced.
/// \throws boost::property_tree::ptree_bad_data: see Serializable::SerializeToString.
bool PrepareForXml(boost::property_tree::ptree& tree);

/// Replaces the stand-ins in a written document.
std::string RestoreWhiteSpace(const std::string& document);

/// \throws boost::property_tree::ptree_bad_data if a name or text is not UTF-8.
void CheckUtf8(const boost::property_tree::ptree& tree);

} // namespace Ardo::Kiln::MetadataSerializer
