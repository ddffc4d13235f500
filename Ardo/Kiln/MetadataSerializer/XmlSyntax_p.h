#pragma once

#include <cstddef>
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

/// Copies \p text with the characters that its references stand for.
/// \param text   all of whose references IsXmlReference accepts.
/// \param target room for as many characters as the text has.
/// \returns the number of characters copied.
std::size_t CopyDecoded(std::string_view text, char* target);

} // namespace Ardo::Kiln::MetadataSerializer
