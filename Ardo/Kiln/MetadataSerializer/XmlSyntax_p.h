#pragma once

#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

// Small productions of XML 1.0 (fifth edition).

/// True for the text between "<?" and "?>" of an XML declaration: 'xml version="1.0" encoding="utf-8"'. Any encoding
/// may be named: documents are UTF-8 in any case, and programs that once stored them in another encoding have left its
/// name.
bool IsXmlDeclaration(std::string_view content);

/// True if \p text, which follows a "&", begins as a reference to a character that a document may hold, or to one of
/// the five predefined entities.
bool IsXmlReference(std::string_view text);

} // namespace Ardo::Kiln::MetadataSerializer
