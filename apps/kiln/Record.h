#pragma once

#include "apps/kiln/Streams.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <optional>
#include <string>

namespace Ardo::Kiln::Tool
{

/// Longer documents are no records: their reader would pass over them without a word.
inline constexpr std::size_t MaximumDocumentSize = 20'971'520;

/// What a file is, told from its first bytes.
enum class FileKind
{
    Tiff,
    Xml,
    Json,
    Other ///< Another image, perhaps.
};

FileKind KindOf(const InputFile& file);

/// The text of the XML document in a TIFF file, or nothing when it has none. Damaged pixels do not matter.
std::optional<std::string> EmbeddedDocument(const InputFile& tiff);

/// The record of a TIFF, XML or JSON file; nothing when the file is an image without one.
/// \param name names the file in messages. \throws Failure or the reader's own exception when the record is not
/// readable.
std::optional<MetadataLib::Metadata> ReadRecord(const InputFile& file, const std::string& name);

} // namespace Ardo::Kiln::Tool
