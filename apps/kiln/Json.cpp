#include "apps/kiln/Json.h"

#include <QJsonDocument>

namespace Ardo::Kiln::Tool
{

std::string JsonText(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

void AddMember(std::string& object, std::string_view name, std::string_view value)
{
    object.pop_back();
    object += object == "{" ? "\"" : ",\"";
    object.append(name).append("\":").append(value).append("}");
}

} // namespace Ardo::Kiln::Tool
