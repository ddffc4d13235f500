#pragma once

#include "Ardo/KilnExport.h"

#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

// Checks of a document before it is parsed. The parsers are recursive, so that depth costs stack. They build trees
// whose nodes take some hundred bytes each, so that a short text can take much memory. And they accept text that is not
// well-formed. The checks make one pass without recursion, and allocate only for the names of open elements. Both stop
// without an error where the parser will report one.

/// \throws boost::property_tree::xml_parser_error, with the line, for text that is not UTF-8 or not well-formed (this
///         includes a document type declaration of more than a name), is nested too deep, has too many nodes, or an
///         element with too many attributes.
KILN_EXPORT_FOR_TESTS void ScanXml(std::string_view text);

/// \throws boost::property_tree::json_parser_error, with the line, for text that is not UTF-8, is nested too deep or
/// has too many values.
KILN_EXPORT_FOR_TESTS void ScanJson(std::string_view text);

} // namespace Ardo::Kiln::MetadataSerializer
