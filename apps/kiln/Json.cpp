#include "apps/kiln/Json.h"

#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include <boost/property_tree/ptree.hpp>

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <array>
#include <string_view>

namespace Ardo::Kiln::Tool
{

namespace
{

/// Whether the children of an element are a list, in which names may be there several times.
bool IsList(std::string_view name)
{
    constexpr std::array Lists = {"Apertures", "Detectors", "GasInjectionSystems",
                                  "Gases",     "Shutters",  "CustomProperties"};
    return std::ranges::find(Lists, name) != Lists.end();
}

/// \param depth 1 for the sections of a record.
QJsonValue JsonValueOf(const boost::property_tree::ptree& tree, std::string_view name, int depth)
{
    if (IsList(name))
    {
        QJsonArray list;
        for (const auto& [childName, child] : tree)
        {
            list.append(JsonValueOf(child, childName, depth + 1));
        }
        return list;
    }
    if (tree.empty() && depth > 1 && name != "Tilt") // sections and tilts may have no fields
    {
        return QString::fromStdString(tree.data());
    }
    QJsonObject object;
    for (const auto& [childName, child] : tree)
    {
        object.insert(QString::fromStdString(childName), JsonValueOf(child, childName, depth + 1));
    }
    return object;
}

} // namespace

std::string JsonText(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

QJsonObject RecordJson(MetadataLib::Metadata& record)
{
    using MetadataSerializer::SerializeType;
    return JsonValueOf(MetadataSerializer::Record(record).Serialize(SerializeType::Json), "", 0).toObject();
}

} // namespace Ardo::Kiln::Tool
