#include "Ardo/Kiln/MetadataSerializer/DocumentNode_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentText_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/MetadataSerializer/WriteCheck_p.h"
#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

void AppendString(std::string& json, std::string_view text)
{
    constexpr std::string_view Escaped = "\"\\\b\f\n\r\t";
    constexpr std::string_view Letters = "\"\\bfnrt";
    constexpr std::string_view Digits = "0123456789abcdef";
    json += '"';
    std::size_t begin = 0; // of the characters that are copied as they are
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        const auto code = static_cast<unsigned char>(text[at]);
        if (code >= 0x20 && code != '"' && code != '\\')
        {
            continue;
        }
        json.append(text, begin, at - begin).append(1, '\\');
        begin = at + 1;
        if (const std::size_t letter = Escaped.find(text[at]); letter != std::string_view::npos)
        {
            json += Letters[letter];
        }
        else
        {
            json.append("u00").append(1, Digits[code / 16]).append(1, Digits[code % 16]);
        }
    }
    json.append(text, begin).append(1, '"');
}

/// Whether the element is a list, in which names may be there several times.
bool IsList(std::string_view name)
{
    constexpr std::array<std::string_view, 6> Lists = {"Apertures", "Detectors", "GasInjectionSystems",
                                                       "Gases",     "Shutters",  "CustomProperties"};
    return std::ranges::find(Lists, name) != Lists.end();
}

void AppendObject(std::string& json, const DocumentNode& node, bool isRecord = false);

void AppendList(std::string& json, const DocumentNode& list)
{
    json += '[';
    for (const DocumentNode& item : ChildrenOf(list))
    {
        AppendObject(json, item);
        json += item.next != nullptr ? "," : "";
    }
    json += ']';
}

/// \param isRecord the members are the sections of the record.
void AppendObject(std::string& json, const DocumentNode& node, bool isRecord)
{
    std::vector<const DocumentNode*> members;
    members.reserve(node.childCount);
    for (const DocumentNode& member : ChildrenOf(node))
    {
        members.push_back(&member);
    }
    std::ranges::sort(members, {}, &DocumentNode::name);
    json += '{';
    for (const DocumentNode* member : members)
    {
        json.append(member != members.front() ? ",\"" : "\"").append(member->name).append("\":");
        if (!member->text.empty()) // most; the others have no text of their own
        {
            AppendString(json, member->text);
        }
        else if (IsList(member->name))
        {
            AppendList(json, *member);
        }
        else if (member->firstChild != nullptr || isRecord || member->name == "Tilt") // these may have no fields
        {
            AppendObject(json, *member);
        }
        else
        {
            json += "\"\"";
        }
    }
    json += '}';
}

} // namespace

std::string Record::ToJsonObject() const
{
    DocumentNodes nodes;
    DocumentNode document;
    DocumentNode& record = nodes.Append(document, RootKey());
    Serialize(nodes, record, SerializeType::Json);
    std::string json;
    json.reserve(UsualTextSize);
    AppendObject(json, record, true);
    if (FindInvalid(json, TextRule::Utf8) < json.size())
    {
        CheckTexts(document, TextRule::Utf8); // throws, and names the text
    }
    return json;
}

} // namespace Ardo::Kiln::MetadataSerializer
