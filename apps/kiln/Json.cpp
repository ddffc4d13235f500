#include "apps/kiln/Json.h"

#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include <QJsonDocument>

namespace Ardo::Kiln::Tool
{

std::string JsonText(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

std::string JsonText(const QJsonObject& object, const MetadataLib::Metadata& record)
{
    std::string json = JsonText(object);
    json.pop_back();
    json += json == "{" ? "\"record\":" : ",\"record\":";
    json += MetadataSerializer::Record(record).ToJsonObject();
    return json + '}';
}

} // namespace Ardo::Kiln::Tool
