#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Image.h"
#include "apps/kiln/Record.h"
#include "apps/kiln/ToolLog.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/FileSystem/TextFile.h"
#include "Ardo/Kiln/Formatting/Parse.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/Kiln/ImageIO/TiffReader.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"

#include <boost/property_tree/ptree.hpp>

#include <algorithm>
#include <charconv>
#include <sstream>

namespace Ardo::Kiln::Tool
{

namespace
{

using boost::property_tree::ptree;
using MetadataLib::Metadata;
using MetadataSerializer::SerializeType;

/// A part of a path: "Aperture[2]" is the second child with the name "Aperture".
struct Step
{
    std::string name;
    std::size_t number = 1;
};

/// An argument FIELD=VALUE.
struct Change
{
    std::string field;       ///< As it was given.
    std::vector<Step> steps; ///< Below the root.
    std::string value;       ///< Empty: the field is removed.
};

Step ParseStep(const std::string& text, const std::string& field)
{
    Step step{text, 1};
    if (const std::size_t bracket = text.find('['); bracket != std::string::npos)
    {
        const char* const begin = text.data() + bracket + 1;
        const char* const end = text.data() + text.size();
        const auto [rest, error] = std::from_chars(begin, end, step.number);
        if (error != std::errc() || std::string_view(rest, end) != "]" || step.number == 0)
        {
            throw UsageError("'" + Printable(field) + "': a number between brackets, from 1, is expected");
        }
        step.name.resize(bracket);
    }
    if (step.name.empty())
    {
        throw UsageError("'" + Printable(field) + "' is no field");
    }
    return step;
}

Change ParseChange(const std::string& text)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos)
    {
        throw UsageError("'" + Printable(text) + "' is not FIELD=VALUE");
    }
    Change change{text.substr(0, equals), {}, text.substr(equals + 1)};
    // The names of custom properties may hold dots.
    const char separator = change.field.find('/') != std::string::npos ? '/' : '.';
    std::size_t begin = change.field.starts_with(separator) ? 1 : 0;
    while (begin <= change.field.size())
    {
        const std::size_t end = std::min(change.field.find(separator, begin), change.field.size());
        change.steps.push_back(ParseStep(change.field.substr(begin, end - begin), change.field));
        begin = end + 1;
    }
    if (change.steps.front().name == "Metadata" && change.steps.size() > 1)
    {
        change.steps.erase(change.steps.begin()); // the root, as validate and compare print it
    }
    return change;
}

/// The changes of the command line and of the list.
std::vector<Change> ChangesOf(const SetOptions& options)
{
    std::vector<Change> changes;
    std::ranges::transform(options.changes, std::back_inserter(changes), ParseChange);
    if (!options.list.empty())
    {
        try
        {
            std::istringstream lines(
                FileSystem::ReadTextFile(ToPath(options.list), {.lineEnd = FileSystem::LineEnd::LineFeed}).text);
            for (std::string line; std::getline(lines, line);)
            {
                if (!line.empty() && line[0] != '#')
                {
                    changes.push_back(ParseChange(line));
                }
            }
        }
        catch (const std::filesystem::filesystem_error& error)
        {
            throw Failure(options.list + ": " + error.code().message());
        }
    }
    if (changes.empty())
    {
        throw UsageError("CHANGE: no change is given");
    }
    return changes;
}

/// The child of a step; null if there is none.
ptree* ChildOf(ptree& tree, const Step& step)
{
    std::size_t number = 0;
    for (auto& [name, child] : tree)
    {
        if (name == step.name && ++number == step.number)
        {
            return &child;
        }
    }
    return nullptr;
}

ptree* Find(ptree& tree, const std::vector<Step>& steps)
{
    ptree* node = &tree;
    for (const Step& step : steps)
    {
        node = node != nullptr ? ChildOf(*node, step) : nullptr;
    }
    return node;
}

/// The node of \p steps, which is made unless it is there.
ptree& Make(ptree& tree, const Change& change)
{
    ptree* node = &tree;
    for (const Step& step : change.steps)
    {
        ptree* child = ChildOf(*node, step);
        if (child == nullptr)
        {
            if (step.number > node->count(step.name) + 1)
            {
                throw Failure(change.field + ": there are only " + std::to_string(node->count(step.name)));
            }
            child = &node->push_back({step.name, ptree()})->second;
        }
        node = child;
    }
    return *node;
}

void Remove(ptree& tree, const Change& change)
{
    std::vector<Step> parents = change.steps;
    parents.pop_back();
    ptree* const parent = Find(tree, parents);
    const ptree* const node = parent != nullptr ? ChildOf(*parent, change.steps.back()) : nullptr;
    if (node == nullptr)
    {
        throw Failure(change.field + ": the record has no such field");
    }
    parent->erase(std::ranges::find_if(*parent, [node](const auto& child) { return &child.second == node; }));
}

/// Writes a value into a quantity, with its unit: "107 nm".
void SetQuantity(ptree& node, const Change& change)
{
    const std::wstring text = Conversion::String::FromUtf8(change.value);
    const std::wstring unit = Conversion::String::FromUtf8(node.get<std::string>("unit", "m"));
    try
    {
        const double value = Formatting::ParseStrictly(text, unit);
        node.put("unit", Conversion::String::ToUtf8(unit));
        if (node.get_child_optional("unitPrefixPower"))
        {
            node.put("unitPrefixPower", "0");
        }
        char digits[40];
        node.put("value", std::string(digits, std::to_chars(std::begin(digits), std::end(digits), value).ptr));
    }
    catch (const std::logic_error& error)
    {
        throw Failure(change.field + ": " + error.what());
    }
}

void Apply(ptree& tree, const Change& change)
{
    if (change.value.empty())
    {
        Remove(tree, change);
        return;
    }
    ptree& node = Make(tree, change);
    if (change.steps.size() == 2 && change.steps[0].name == "BinaryResult" && change.steps[1].name == "PixelSize")
    {
        for (const char* const direction : {"X", "Y"})
        {
            SetQuantity(node.get_child_optional(direction) ? node.get_child(direction)
                                                           : node.push_back({direction, ptree()})->second,
                        change);
        }
    }
    else if (node.get_child_optional("unit"))
    {
        SetQuantity(node, change);
    }
    else if (!node.empty())
    {
        throw Failure(change.field + ": has fields of its own: " + change.field + "/" + node.front().first);
    }
    else
    {
        node.data() = change.value;
    }
}

constexpr std::string_view CustomProperties = "CustomProperties";

bool IsCustomProperty(const Change& change)
{
    return change.steps.size() > 1 && change.steps[0].name == CustomProperties;
}

/// A custom property is found by its name, not by its place.
void SetCustomProperty(Metadata& record, const Change& change)
{
    const std::string name = change.field.substr(change.field.find(CustomProperties) + CustomProperties.size() + 1);
    if (!change.value.empty())
    {
        record.CustomProperties[name] = change.value;
    }
    else if (record.CustomProperties.erase(name) == 0)
    {
        throw Failure(change.field + ": the record has no such property");
    }
}

Metadata Changed(Metadata record, const std::vector<Change>& changes)
{
    ptree tree = MetadataSerializer::Record(record).Serialize(SerializeType::Json);
    for (const Change& change : changes)
    {
        if (!IsCustomProperty(change))
        {
            Apply(tree, change);
        }
    }
    Metadata changed;
    try
    {
        MetadataSerializer::Record(changed).Deserialize(tree, SerializeType::Json);
    }
    catch (const std::exception& error)
    {
        throw Failure(ToText(MetadataSerializer::FaultOf(error)));
    }
    for (const Change& change : changes)
    {
        if (IsCustomProperty(change))
        {
            SetCustomProperty(changed, change);
        }
    }
    // The reader leaves out, with a warning, what it does not know and what does not convert.
    tree = MetadataSerializer::Record(changed).Serialize(SerializeType::Json);
    for (const Change& change : changes)
    {
        if (!change.value.empty() && !IsCustomProperty(change) && Find(tree, change.steps) == nullptr)
        {
            throw Failure(change.field + ": a record has no such field, or '" + change.value +
                          "' is no value of it; most numbers are without a unit, in SI base units: 200e3");
        }
    }
    return changed;
}

/// False if the samples of a TIFF file were converted when they were read as that kind.
bool KeepsSamples(const InputFile& file, Imaging::PixelKind kind)
{
    using Imaging::PixelKind;
    using enum ImageIO::TiffSampleFormat;
    constexpr unsigned int BlackIsZero = 1; // PhotometricInterpretation (TIFF 6.0, section 3)
    constexpr unsigned int Rgb = 2;

    ImageIO::TiffReader reader;
    try
    {
        reader.OpenFields(file.WidePath());
    }
    catch (const std::runtime_error&) // tiles, whose fields have been read
    {
    }
    const auto has = [&reader](unsigned int bits, unsigned int samples, unsigned int photometric)
    {
        return reader.GetBitsPerSample() == bits && reader.GetSamplesPerPixel() == samples &&
               reader.GetPhotometric() == photometric;
    };
    switch (kind)
    {
    case PixelKind::UInt8:
        return has(8, 1, BlackIsZero) && reader.GetSampleFormat() == UnsignedInteger;
    case PixelKind::UInt16:
        return has(16, 1, BlackIsZero) && reader.GetSampleFormat() == UnsignedInteger;
    case PixelKind::Float32:
        return has(32, 1, BlackIsZero) && reader.GetSampleFormat() == FloatingPoint;
    case PixelKind::Rgb8:
        return has(8, 3, Rgb);
    case PixelKind::Rgba8:
        return has(8, 4, Rgb);
    }
    return false;
}

void WriteTiff(const SetOptions& options, const InputFile& input, const std::vector<Change>& changes)
{
    const LoadedImage loaded = LoadImage(input, options.file, 0, true);
    if (!loaded.record)
    {
        throw Failure(options.file + ": holds no record; kiln import makes one");
    }
    if (loaded.pageCount > 1)
    {
        throw Failure(options.file + ": has " + std::to_string(loaded.pageCount) + " pages, a copy would have one");
    }
    if (!KeepsSamples(input, loaded.image->Kind()))
    {
        throw Failure(options.file + ": has samples of a kind that a copy would not keep; kiln import converts them");
    }
    const Metadata record = Changed(*loaded.record, changes);
    WriteOutput(options.output,
                [&](const std::wstring& file) { ImageIO::TiffExporter().WriteImage(file, *loaded.image, &record); });
}

} // namespace

bool Set(const SetOptions& options)
{
    const std::vector<Change> changes = ChangesOf(options);
    const InputFile input(options.file);
    const FileKind kind = KindOf(input);
    if (kind == FileKind::Tiff || kind == FileKind::Other)
    {
        WriteTiff(options, input, changes);
    }
    else
    {
        const auto document = DocumentOf(input, options.file);
        Metadata record = Changed(ReadDocument(*document, options.file), changes);
        WriteText(options.output, MetadataSerializer::Record(record).SerializeToString(document->type));
    }
    LogInfo("wrote " + options.file + " with " + std::to_string(changes.size()) + " changes to " + options.output);
    return true;
}

} // namespace Ardo::Kiln::Tool
