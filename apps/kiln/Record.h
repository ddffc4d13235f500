#pragma once

#include "apps/kiln/Streams.h"
#include "Ardo/Kiln/MetadataSerializer/SerializeType.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <optional>
#include <string>

namespace Ardo::Kiln::Tool
{

/// The kind of a file, recognised by its first bytes.
enum class FileKind
{
    Tiff,
    Xml,
    Json,
    Other ///< Another image, perhaps.
};

FileKind KindOf(const InputFile& file);

/// A record as text.
struct RecordDocument
{
    std::string text;
    MetadataSerializer::SerializeType type;
};

/// The document in an XML, JSON or TIFF file, well-formed or not; empty when there is none. The pixels of a TIFF are
/// not read.
/// \param name names the file in messages.
/// \throws Failure when the file cannot be read, or the document is longer than readers accept.
std::optional<RecordDocument> DocumentOf(const InputFile& file, const std::string& name);

/// Reads a document.
/// \throws Failure with the name, line and element when it is no record.
MetadataLib::Metadata ReadDocument(const RecordDocument& document, const std::string& name);

/// The record of a TIFF, XML or JSON file; nothing when the file is an image without one.
/// \throws Failure as the two functions above.
std::optional<MetadataLib::Metadata> ReadRecord(const InputFile& file, const std::string& name);

} // namespace Ardo::Kiln::Tool
