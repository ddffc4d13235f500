#pragma once

#include "Ardo/Kiln/MetadataSerializer/SerializeType.h"
#include "Ardo/MetadataLib/Metadata.h"

namespace Ardo::Kiln::Support
{

/// The kinds of document that a record comes back from.
inline constexpr MetadataSerializer::SerializeType BothTypes[] = {MetadataSerializer::SerializeType::Xml,
                                                                  MetadataSerializer::SerializeType::Json};

/// A record with every field set: all detector classes and one of an unknown type, two detectors of one type, shutters,
/// gas injection systems, custom properties of all ten kinds, texts with CJK, emoji, combining marks, line breaks and
/// everything that XML and JSON escape. It comes back from a document exactly as it is.
MetadataLib::Metadata FullMetadata();

/// A record with the required fields only.
MetadataLib::Metadata MinimalMetadata();

} // namespace Ardo::Kiln::Support
