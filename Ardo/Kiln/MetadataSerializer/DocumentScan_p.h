#pragma once

#include "Ardo/KilnExport.h"

#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

// A look at a document before the parsers see it. They are recursive, so depth costs stack; they build trees whose
// nodes cost some hundred bytes each, so a short text can cost much memory; and they take text that is not well-formed.
// One pass, no recursion, memory for the names of open elements only. Both stop without an error where the parser will
// report one.

/// \throws boost::property_tree::xml_parser_error, with the line, for text that is not UTF-8 or not well-formed (a
/// document type declaration of more than a name included), is nested too deep, has too many nodes, or an element with
/// too many attributes.
KILN_EXPORT_FOR_TESTS void ScanXml(std::string_view text);

/// \throws boost::property_tree::json_parser_error, with the line, for text that is not UTF-8, is nested too deep or
/// has too many values.
KILN_EXPORT_FOR_TESTS void ScanJson(std::string_view text);

} // namespace Ardo::Kiln::MetadataSerializer
