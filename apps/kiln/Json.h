#pragma once

#include "Ardo/MetadataLib/Metadata.h"

#include <QJsonObject>

#include <string>

namespace Ardo::Kiln::Tool
{

/// An object as text in one line, UTF-8.
std::string JsonText(const QJsonObject& object);

/// An object with the further member "record", which comes last: a record with the names of its document. All values
/// are texts as in the document; lists are arrays.
/// \param object whose names are all before "record".
std::string JsonText(const QJsonObject& object, const MetadataLib::Metadata& record);

} // namespace Ardo::Kiln::Tool
