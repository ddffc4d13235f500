#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Image.h"
#include "apps/kiln/Json.h"
#include "apps/kiln/ToolLog.h"

#include "Ardo/Imaging/Histogram.h"
#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/FileSystem/TemporaryFile.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/DataBar.h"
#include "Ardo/Kiln/ImageIO/ImageJTiff.h"
#include "Ardo/Kiln/ImageIO/PlotFile.h"
#include "Ardo/Kiln/ImageIO/Presentation.h"
#include "Ardo/Kiln/ImageIO/ReadColourTable.h"

#include <QJsonArray>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <functional>
#include <stdexcept>

namespace Ardo::Kiln::Tool
{

namespace
{

using Imaging::ColourTable;
using Imaging::Histogram;
using Imaging::PixelKind;
using Imaging::ValueRange;

[[noreturn]] void Refuse(const std::string& option, const std::string& text, const std::string& expected)
{
    throw UsageError(option + ": '" + Printable(text) + "' is not " + expected);
}

bool ReadNumber(std::string_view text, double& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && std::isfinite(number);
}

/// What --range asks for.
struct Range
{
    bool isPercent = false;
    ValueRange ends;
};

Range ParseRange(const std::string& text)
{
    constexpr const char* Expected = "\"full\", two values such as 100..4000 or two percentages such as 0.1%..99.9%";
    if (text == "full")
    {
        return {true, {0.0, 100.0}};
    }
    const std::size_t dots = text.find("..");
    if (dots == std::string::npos)
    {
        Refuse("--range", text, Expected);
    }
    std::string_view low = std::string_view(text).substr(0, dots);
    std::string_view high = std::string_view(text).substr(dots + 2);
    Range range;
    range.isPercent = low.ends_with('%') && high.ends_with('%');
    low.remove_suffix(range.isPercent ? 1 : 0);
    high.remove_suffix(range.isPercent ? 1 : 0);
    const bool isRead = ReadNumber(low, range.ends.low) && ReadNumber(high, range.ends.high);
    const auto isPercent = [](double number) { return number >= 0.0 && number <= 100.0; };
    if (!isRead || (range.isPercent &&
                    !(isPercent(range.ends.low) && isPercent(range.ends.high) && range.ends.low <= range.ends.high)))
    {
        Refuse("--range", text, Expected);
    }
    return range;
}

ValueRange RangeOf(const Imaging::const_raw_image& image, const std::string& text)
{
    const bool isDeep = image.Kind() == PixelKind::UInt16 || image.Kind() == PixelKind::Float32;
    if (text.empty() && !isDeep)
    {
        return {0.0, 255.0};
    }
    const Range range = ParseRange(text.empty() ? "0.1%..99.9%" : text);
    return range.isPercent ? Histogram(image).AutomaticRange(range.ends.low, range.ends.high) : range.ends;
}

/// A table by its name, or one in a file.
ColourTable ColoursOf(const std::string& text)
{
    try
    {
        return ColourTable::Named(text);
    }
    catch (const std::invalid_argument& error)
    {
        std::error_code ignored;
        if (!std::filesystem::exists(ToPath(text), ignored))
        {
            throw UsageError("--colours: no file, and " + std::string(error.what()));
        }
    }
    return ImageIO::ReadColourTable(FileSystem::ToWide(ToPath(text)));
}

std::vector<Formatting::Quantity> QuantitiesOf(const std::string& text)
{
    if (text == "usual")
    {
        const auto usual = ImageIO::UsualDataBar();
        return {usual.begin(), usual.end()};
    }
    std::vector<Formatting::Quantity> quantities;
    for (std::size_t begin = 0; begin <= text.size();)
    {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        std::string name = text.substr(begin, end - begin);
        name.erase(0, std::min(name.find_first_not_of(' '), name.size()));
        name.erase(name.find_last_not_of(' ') + 1);
        const auto quantity = Formatting::QuantityFromName(Conversion::String::FromUtf8(name));
        if (!quantity)
        {
            Refuse("--data-bar", name, "a quantity, such as \"working distance\"");
        }
        quantities.push_back(*quantity);
        begin = end + 1;
    }
    return quantities;
}

ImageIO::ExportType TypeOf(const PictureOptions& options)
{
    const auto type = options.type.empty() ? ImageIO::ExportTypeFromFileName(options.output)
                                           : ImageIO::ExportTypeFromName(options.type);
    if (!type)
    {
        std::string names;
        for (const ImageIO::ExportTypeInfo& info : ImageIO::ExportTypes())
        {
            names.append(names.empty() ? "" : ", ").append(info.name);
        }
        throw UsageError(options.type.empty() ? Printable(options.output) + ": name a type with --type: " + names
                                              : "--type: '" + Printable(options.type) + "' is none of " + names);
    }
    return *type;
}

/// docs/kiln.md describes the object.
QJsonObject FactsOf(const std::string& file, const Histogram& histogram, const ImageIO::Plot& plot, double width)
{
    QJsonArray counts;
    for (const double count : plot.series[0].values)
    {
        counts.append(count);
    }
    return {{"file", QString::fromStdString(file)},
            {"pixels", static_cast<double>(histogram.Count())},
            {"minimum", histogram.Minimum()},
            {"maximum", histogram.Maximum()},
            {"first", plot.positions.front()},
            {"width", width},
            {"counts", counts}};
}

bool ExportForImageJ(const PictureOptions& options)
{
    const std::string extension = ToName(ToPath(options.output).extension());
    if (options.output != StandardStream && extension != ".tif" && extension != ".tiff")
    {
        throw UsageError("OUT: a copy for ImageJ is a TIFF file: its name ends in .tif");
    }
    const InputFile input(options.image);
    const LoadedImage loaded = LoadImage(input, options.image, options.page - 1, true);
    const auto* const size =
        loaded.record && loaded.record->BinaryResult.PixelSize ? &*loaded.record->BinaryResult.PixelSize : nullptr;
    if (size == nullptr)
    {
        throw Failure(options.image + ": has no pixel size in its record");
    }
    WriteOutput(options.output,
                [&](const std::wstring& file)
                {
                    try
                    {
                        ImageIO::WriteImageJTiff(file, *loaded.image, *size);
                    }
                    catch (const Exception::Error& error)
                    {
                        // The file that is written has another name than the one that was asked for.
                        const std::string_view text = error.what();
                        const std::size_t end = text.find(": ");
                        throw Failure(options.output + ": " +
                                      std::string(text.substr(end == std::string_view::npos ? 0 : end + 2)));
                    }
                });
    LogInfo("exported " + options.image + ", " + Describe(*loaded.image) + ", for ImageJ to " + options.output);
    return true;
}

} // namespace

bool ExportPicture(const PictureOptions& options)
{
    RefuseInput(options.image, options.output);
    if (options.isForImageJ)
    {
        return ExportForImageJ(options);
    }
    // A wrong command line fails before anything is read.
    const ImageIO::ExportType type = TypeOf(options);
    ImageIO::PresentationSettings settings;
    try
    {
        settings.size = options.size.empty() ? ImageIO::ExportSize() : ImageIO::ExportSize::Parse(options.size);
    }
    catch (const std::invalid_argument& error)
    {
        throw UsageError(std::string("--size: ") + Printable(error.what()));
    }
    if (!options.range.empty())
    {
        static_cast<void>(ParseRange(options.range));
    }
    settings.display.gamma = options.gamma;
    settings.display.colours = ColoursOf(options.colours);
    settings.hasScaleBar = options.hasScaleBar;
    settings.jpegQuality = options.quality;
    const auto quantities =
        options.dataBar.empty() ? std::vector<Formatting::Quantity>() : QuantitiesOf(options.dataBar);

    const InputFile input(options.image);
    LoadedImage loaded = LoadImage(input, options.image, options.page - 1, true);
    const ValueRange range = RangeOf(*loaded.image, options.range);
    settings.display.black = range.low;
    settings.display.white = range.high;
    if (!quantities.empty())
    {
        if (!loaded.record)
        {
            throw Failure(options.image + ": has no record for a data bar");
        }
        settings.dataBar = ImageIO::MakeDataBar(*loaded.record, quantities);
    }
    const MetadataLib::Metadata* const record = loaded.record ? &*loaded.record : nullptr;
    try
    {
        if (options.output == StandardStream)
        {
            const FileSystem::TemporaryFile file;
            ImageIO::ExportImageInPlace(file.WidePath(), type, *loaded.image, record, settings);
            PrintFile(file.Path());
        }
        else
        {
            ImageIO::ExportImage(FileSystem::ToWide(ToPath(options.output)), type, *loaded.image, record, settings);
        }
    }
    catch (const std::invalid_argument& error)
    {
        throw Failure(error.what());
    }
    LogInfo("exported " + options.image + ", " + Describe(*loaded.image) + ", to " + options.output);
    return true;
}

bool WriteHistogram(const HistogramOptions& options)
{
    if (options.output.empty() && !options.isJson)
    {
        throw UsageError("OUT or --json is required");
    }
    RefuseInput(options.image, options.output);
    const InputFile input(options.image);
    const LoadedImage loaded = LoadImage(input, options.image, options.page - 1, false);
    const Histogram histogram(*loaded.image);
    const bool isFloat = loaded.image->Kind() == PixelKind::Float32;
    if (histogram.Count() == 0)
    {
        throw Failure(options.image + ": has no finite values");
    }
    // Of whole numbers each part has the same number of values, at least one.
    const double low = histogram.Minimum();
    const double range = histogram.Maximum() - low;
    const double most = options.parts;
    const double perPart = isFloat ? range / most : std::ceil((range + 1.0) / most);
    const double width = perPart > 0.0 ? perPart : 1.0;
    const double count = isFloat ? most : std::ceil((range + 1.0) / width);
    const auto parts = static_cast<std::size_t>(count);
    ImageIO::Plot plot{{"Value", ""}, {}, {{{"Pixels", ""}, {}}}};
    for (const std::uint64_t number : histogram.Counts(parts, {low, low + width * count}))
    {
        plot.positions.push_back(low + width * static_cast<double>(plot.positions.size()));
        plot.series[0].values.push_back(static_cast<double>(number));
    }
    if (options.isJson)
    {
        Print(JsonText(FactsOf(options.image, histogram, plot, width)) + "\n");
    }
    if (options.output.empty())
    {
        return true;
    }
    ImageIO::PlotTextFormat format;
    format.separator = options.separator == "tab" ? '\t' : options.separator[0];
    if (options.output == StandardStream)
    {
        Print(ImageIO::PlotText(plot, format));
        return true;
    }
    ImageIO::WritePlot(FileSystem::ToWide(ToPath(options.output)), plot, format);
    return true;
}

} // namespace Ardo::Kiln::Tool
