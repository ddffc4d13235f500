#pragma once

#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

// Small productions of XML 1.0 (fifth edition).

/// True for what stands between "<?" and "?>" of an XML declaration: 'xml version="1.0" encoding="utf-8"'. Any encoding
/// may be named: the text is UTF-8, whatever programs have written there that kept it in another form.
bool IsXmlDeclaration(std::string_view content);

/// True if \p text, which follows a "&", begins as a reference to a character that a document may hold, or to one of
/// the five predefined entities.
bool IsXmlReference(std::string_view text);

} // namespace Ardo::Kiln::MetadataSerializer
