#pragma once

#include "Ardo/KilnExport.h"

#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

/// Checks a JSON document before it is parsed. The parser is recursive, so that depth costs stack, and builds a tree
/// whose nodes take some hundred bytes each, so that a short text can take much memory. One pass without recursion. It
/// stops without an error where the parser will report one.
/// \throws boost::property_tree::json_parser_error, with the line, for text that is not UTF-8, is nested too deep or
/// has too many values.
KILN_EXPORT_FOR_TESTS void ScanJson(std::string_view text);

} // namespace Ardo::Kiln::MetadataSerializer
