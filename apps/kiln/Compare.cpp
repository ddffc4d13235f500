#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Image.h"
#include "apps/kiln/Json.h"
#include "apps/kiln/Record.h"
#include "apps/kiln/ToolLog.h"

#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/Profiling/Stage.h"

#include <boost/property_tree/ptree.hpp>

#include <QJsonArray>

#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Tool
{

namespace
{

constexpr std::size_t MaxDifferences = 20;

/// Collects the differences and prints them at the end, at most MaxDifferences of them.
class Differences
{
public:
    void Add(const std::string& text)
    {
        if (++m_count <= MaxDifferences)
        {
            m_texts.push_back(text);
        }
    }

    bool IsEmpty() const { return m_count == 0; }

    std::string Text() const
    {
        std::string all;
        for (const std::string& text : m_texts)
        {
            all += "different: " + text + "\n";
        }
        const std::size_t rest = m_count - m_texts.size();
        return rest == 0 ? all : all + "and " + std::to_string(rest) + " more\n";
    }

    QJsonArray List() const
    {
        QJsonArray list;
        for (const std::string& text : m_texts)
        {
            list.append(QString::fromStdString(text));
        }
        return list;
    }

private:
    std::size_t m_count = 0;
    std::vector<std::string> m_texts;
};

/// A record as paths and texts. Children of one name are numbered, so that lists keep their order.
using Fields = std::vector<std::pair<std::string, std::string>>;

void Flatten(const boost::property_tree::ptree& tree, const std::string& path, Fields& fields)
{
    if (tree.empty())
    {
        fields.emplace_back(path, tree.data());
        return;
    }
    std::map<std::string, std::size_t> total;
    for (const auto& child : tree)
    {
        ++total[child.first];
    }
    std::map<std::string, std::size_t> seen;
    for (const auto& [name, child] : tree)
    {
        std::string childPath = path + "/";
        childPath += name;
        if (total[name] > 1)
        {
            childPath += "[" + std::to_string(++seen[name]) + "]";
        }
        Flatten(child, childPath, fields);
    }
}

Fields FieldsOf(MetadataLib::Metadata& metadata)
{
    Fields fields;
    Flatten(MetadataSerializer::Record(metadata).Serialize(MetadataSerializer::SerializeType::Json), "", fields);
    return fields;
}

std::size_t CompareRecords(MetadataLib::Metadata& first, MetadataLib::Metadata& second, bool allowAdditions,
                           Differences& differences)
{
    const Fields expected = FieldsOf(first);
    std::map<std::string, std::string> rest;
    for (auto& [path, text] : FieldsOf(second))
    {
        rest.emplace(path, std::move(text));
    }
    for (const auto& [path, text] : expected)
    {
        const auto other = rest.find(path);
        if (other == rest.end())
        {
            differences.Add(path + ": " + Printable(text) + " | (missing)");
            continue;
        }
        if (other->second != text)
        {
            differences.Add(path + ": " + Printable(text) + " | " + Printable(other->second));
        }
        rest.erase(other);
    }
    if (!allowAdditions)
    {
        for (const auto& [path, text] : rest)
        {
            differences.Add(path + ": (missing) | " + Printable(text));
        }
    }
    return expected.size();
}

void ComparePixels(const Imaging::const_raw_image& first, const Imaging::const_raw_image& second,
                   Differences& differences)
{
    if (first.Size() != second.Size() || first.Kind() != second.Kind())
    {
        differences.Add("image: " + Describe(first) + " | " + Describe(second));
        return;
    }
    Profiling::Stage stage("compare pixels");
    stage.AddBytes(2 * std::uint64_t{first.RowSize()} * first.Size().height);
    const std::size_t pixelSize = BytesPerPixel(first.Kind());
    for (std::uint32_t y = 0; y < first.Size().height; ++y)
    {
        const auto* one = static_cast<const unsigned char*>(first.Row(y));
        const auto* other = static_cast<const unsigned char*>(second.Row(y));
        if (std::memcmp(one, other, first.RowSize()) == 0)
        {
            continue;
        }
        for (std::uint32_t x = 0; x < first.Size().width; ++x)
        {
            if (std::memcmp(one + x * pixelSize, other + x * pixelSize, pixelSize) != 0)
            {
                differences.Add("pixel " + std::to_string(x) + ", " + std::to_string(y));
            }
        }
    }
}

} // namespace

bool Compare(const CompareOptions& options)
{
    const std::string& first = options.first;
    const std::string& second = options.second;
    const InputFile firstFile(first);
    const InputFile secondFile(second);
    const auto isImage = [](const InputFile& file)
    {
        const FileKind kind = KindOf(file);
        return kind == FileKind::Tiff || kind == FileKind::Other;
    };

    Differences differences;
    std::string compared;
    if (isImage(firstFile) && isImage(secondFile))
    {
        const auto image = LoadImage(firstFile, first, 0, false).image;
        ComparePixels(*image, *LoadImage(secondFile, second, 0, false).image, differences);
        compared = std::to_string(std::uint64_t{image->Size().width} * image->Size().height) + " pixels";
    }
    auto firstRecord = ReadRecord(firstFile, first);
    auto secondRecord = ReadRecord(secondFile, second);
    if (firstRecord && secondRecord)
    {
        const std::size_t count = CompareRecords(*firstRecord, *secondRecord, options.allowAdditions, differences);
        compared += (compared.empty() ? "" : ", ") + std::to_string(count) + " fields";
    }
    if (compared.empty())
    {
        throw Failure("nothing to compare: " + first + " and " + second + " are neither two images nor two records");
    }
    if (options.isJson)
    {
        Print(JsonText({{"equal", differences.IsEmpty()},
                        {"compared", QString::fromStdString(compared)},
                        {"differences", differences.List()}}) +
              "\n");
    }
    else
    {
        Print(differences.IsEmpty() ? "equal: " + compared + "\n" : differences.Text());
    }
    LogInfo("compared " + first + " and " + second + ": " + compared +
            (differences.IsEmpty() ? ", equal" : ", different"));
    return differences.IsEmpty();
}

} // namespace Ardo::Kiln::Tool
