#pragma once

#include "Ardo/KilnExport.h"

#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

// A look at a document from outside before the parsers see it. They are recursive, so depth costs stack, and build
// trees whose nodes cost some hundred bytes each, so a short text can cost much memory; and they do not look at
// characters. One pass, no recursion, no memory. Both stop without an error where the parser will report one.

/// \throws boost::property_tree::xml_parser_error, with the line, for text that is not UTF-8, holds a character that
/// XML
///         excludes (also as a character reference), is nested too deep or has too many nodes.
KILN_EXPORT_FOR_TESTS void ScanXml(std::string_view text);

/// \throws boost::property_tree::json_parser_error, with the line, for text that is not UTF-8, is nested too deep or
/// has
///         too many values.
KILN_EXPORT_FOR_TESTS void ScanJson(std::string_view text);

} // namespace Ardo::Kiln::MetadataSerializer
