#pragma once

#include "Ardo/MetadataLib/Metadata.h"

#include <QJsonObject>

#include <string>

namespace Ardo::Kiln::Tool
{

/// An object as text in one line, UTF-8.
std::string JsonText(const QJsonObject& object);

/// A record with the names of its document. All values are texts as in the document; lists are arrays.
QJsonObject RecordJson(MetadataLib::Metadata& record);

} // namespace Ardo::Kiln::Tool
