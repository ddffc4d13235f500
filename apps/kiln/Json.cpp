#include "apps/kiln/Json.h"

#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include <boost/property_tree/ptree.hpp>

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

/// Appends a string as Qt writes it.
void AppendString(std::string& json, std::string_view text)
{
    constexpr std::string_view Escaped = "\"\\\b\f\n\r\t";
    constexpr std::string_view Letters = "\"\\bfnrt";
    constexpr std::string_view Digits = "0123456789abcdef";
    json += '"';
    for (const char c : text)
    {
        if (const std::size_t at = Escaped.find(c); at != std::string_view::npos)
        {
            json.append(1, '\\').append(1, Letters[at]);
        }
        else if (const auto code = static_cast<unsigned char>(c); code < 0x20)
        {
            json.append("\\u00").append(1, Digits[code / 16]).append(1, Digits[code % 16]);
        }
        else
        {
            json += c;
        }
    }
    json += '"';
}

/// Appends the members of an object in the order of their names, as Qt does. With QJsonObject a record takes several
/// times as long.
/// \param depth 1 for the sections of a record.
void AppendValue(std::string& json, const boost::property_tree::ptree& tree, std::string_view name, int depth)
{
    const bool isList = IsList(name);
    if (!isList && tree.empty() && depth > 1 && name != "Tilt") // sections and tilts may have no fields
    {
        AppendString(json, tree.data());
        return;
    }
    json += isList ? '[' : '{';
    const auto append = [&](const auto& child)
    {
        json += json.back() == '[' || json.back() == '{' ? "" : ",";
        if (!isList)
        {
            AppendString(json, child.first);
            json += ':';
        }
        AppendValue(json, child.second, child.first, depth + 1);
    };
    if (isList)
    {
        std::for_each(tree.begin(), tree.end(), append);
    }
    else
    {
        std::for_each(tree.ordered_begin(), tree.not_found(), append);
    }
    json += isList ? ']' : '}';
}

} // namespace

std::string JsonText(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

std::string JsonText(const QJsonObject& object, const MetadataLib::Metadata& record)
{
    using MetadataSerializer::SerializeType;
    std::string json = JsonText(object);
    json.pop_back();
    json += json == "{" ? "\"record\":" : ",\"record\":";
    AppendValue(json, MetadataSerializer::Record(record).Serialize(SerializeType::Json), "", 0);
    return json + '}';
}

} // namespace Ardo::Kiln::Tool
