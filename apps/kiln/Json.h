#pragma once

#include "Ardo/MetadataLib/Metadata.h"

#include <QJsonObject>

#include <string>

namespace Ardo::Kiln::Tool
{

/// An object as text in one line, UTF-8.
std::string JsonText(const QJsonObject& object);

/// An object with the further member "record", which comes last: MetadataSerializer::Record::ToJsonObject.
/// \param object whose names are all before "record".
std::string JsonText(const QJsonObject& object, const MetadataLib::Metadata& record);

} // namespace Ardo::Kiln::Tool
