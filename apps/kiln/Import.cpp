#include "apps/kiln/Commands.h"
#include "apps/kiln/Export.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Image.h"
#include "apps/kiln/NamingSettings.h"
#include "apps/kiln/Record.h"
#include "apps/kiln/ToolLog.h"

#include "Ardo/Imaging/Histogram.h"
#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/FileNaming/FileNameGenerator.h"
#include "Ardo/Kiln/FileNaming/FileNamingException.h"
#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/Kiln/FileSystem/TemporaryFile.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Formatting/MicroscopeQuantities.h"
#include "Ardo/Kiln/Formatting/Parse.h"
#include "Ardo/Kiln/Formatting/Units.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/Kiln/Profiling/Stage.h"
#include "Ardo/Kiln/Types/Guid.h"
#include "Ardo/KilnVersion.h"

#include <chrono>
#include <cmath>
#include <functional>
#include <optional>
#include <vector>

namespace Ardo::Kiln::Tool
{

namespace
{

using Imaging::const_raw_image;
using MetadataLib::Metadata;

double ParseMetres(const std::string& text)
{
    double metres = 0.0; // also the result for a text that is no length
    try
    {
        const std::wstring wide = Conversion::String::FromUtf8(text);
        const bool hasUnit = !Formatting::SplitNumberAndUnit(wide).second.empty();
        metres = hasUnit ? Formatting::ParsePixelSize(wide) : Formatting::ParseStrictly(wide, Formatting::Units::Metre);
    }
    catch (const std::exception&)
    {
    }
    if (!std::isfinite(metres) || metres <= 0.0)
    {
        throw UsageError("--pixel-size: '" + Printable(text) +
                         "' is no positive length, such as \"107 nm\" or 107e-9 (metres)");
    }
    return metres;
}

MetadataLib::TimePoint Now()
{
    return std::chrono::floor<MetadataLib::TimePoint::duration>(std::chrono::system_clock::now());
}

/// The record for an image that came without one.
Metadata NewRecord()
{
    Metadata metadata;
    metadata.Core.Guid = {Types::Guid::Generate().Bytes()};
    metadata.Core.ApplicationSoftware = "kiln";
    metadata.Core.ApplicationSoftwareVersion = KILN_VERSION;
    metadata.Acquisition.AcquisitionDatetime = Now();
    return metadata;
}

/// Sets \p field unless the record has it.
template <typename T, typename Value>
void Complete(std::optional<T>& field, const Value& value)
{
    if (!field)
    {
        field = value;
    }
}

/// Sets the fields that follow from the image, unless the record has them. A record of an image of another size is
/// refused.
void DescribeImage(Metadata& metadata, const const_raw_image& image, const std::string& name,
                   const ImportOptions& options)
{
    auto& result = metadata.BinaryResult;
    const auto width = static_cast<double>(image.Size().width);
    const auto height = static_cast<double>(image.Size().height);
    if (result.ImageSize && (*result.ImageSize != MetadataLib::Size2D<double>{width, height}))
    {
        throw Failure(options.metadata + ": the record is that of an image of another size; " + name + " has " +
                      Describe(image));
    }
    result.ImageSize = MetadataLib::Size2D<double>{width, height};
    Complete(result.BitsPerPixel, static_cast<int>(BytesPerPixel(image.Kind()) * 8));
    const Profiling::Stage stage("measure pixels");
    // The samples of colours are no grey values.
    const bool isGrey = image.Kind() != Imaging::PixelKind::Rgb8 && image.Kind() != Imaging::PixelKind::Rgba8;
    if (const Imaging::Histogram histogram(image); isGrey && histogram.Count() > 0)
    {
        Complete(result.PixelValueMinimum, histogram.Minimum());
        Complete(result.PixelValueMaximum, histogram.Maximum());
        Complete(result.PixelValueMean, histogram.Mean());
        Complete(result.PixelValueStandardDeviation, histogram.StandardDeviation());
    }
    Complete(metadata.Core.FileDatetime, Now());
}

/// The record to be written. The image's own record gets only the fields that were given as options.
Metadata RecordFor(const LoadedImage& loaded, const std::string& name, const ImportOptions& options)
{
    const Profiling::Stage stage("make record");
    Metadata metadata;
    if (loaded.record)
    {
        metadata = *loaded.record;
        LogDebug("record of the image itself");
    }
    else if (options.metadata.empty())
    {
        metadata = NewRecord();
        DescribeImage(metadata, *loaded.image, name, options);
        LogDebug("record from the image alone");
    }
    else if (auto record = ReadRecord(InputFile(options.metadata), options.metadata))
    {
        metadata = *std::move(record);
        DescribeImage(metadata, *loaded.image, name, options);
        LogDebug("record from " + options.metadata);
    }
    else
    {
        throw Failure(options.metadata + ": holds no record");
    }
    if (!options.pixelSize.empty())
    {
        const MetadataLib::Quantity side{ParseMetres(options.pixelSize), "m"};
        metadata.BinaryResult.PixelSize = MetadataLib::PixelSizeRecord{side, side};
    }
    return metadata;
}

/// Runs the steps of an export.
using Run = std::function<void(const ExportSteps& steps)>;

/// An image on its way into its file.
struct Item
{
    LoadedImage loaded;
    Metadata record;
    std::string messages; ///< For standard error, whole lines.
};

Item ReadItem(const std::string& name, const ImportOptions& options)
{
    const InputFile input(name);
    Item item{LoadImage(input, name, options.page.value_or(1) - 1, options.metadata.empty()), {}, {}};
    if (item.loaded.pageCount > 1 && !options.page)
    {
        item.messages = "kiln: " + Printable(name) + ": the first of " + std::to_string(item.loaded.pageCount) +
                        " pages is taken; --page takes another\n";
    }
    item.record = RecordFor(item.loaded, name, options);
    return item;
}

void WriteItem(const std::filesystem::path& file, const Item& item, const ImageIO::TiffExporter::Progress& progress)
{
    const const_raw_image& image = *item.loaded.image;
    Profiling::Stage stage("write image");
    stage.AddBytes(std::uint64_t{image.RowSize()} * image.Size().height);
    ImageIO::TiffExporter exporter;
    exporter.SetProgress(progress);
    exporter.WriteImage(FileSystem::ToWide(file), image, &item.record);
}

/// Writes \p item to the file \p output, which appears under this name when it is complete.
/// \param run runs both steps.
void WriteFile(const std::string& output, Item& item, const Run& run)
try
{
    if (!item.loaded.record)
    {
        Complete(item.record.Core.FileName, FileSystem::ToDisplayText(ToPath(output).filename()));
    }
    FileSystem::ReplacementFile file(ToPath(output));
    run({output, [&](const ExportSteps::Progress& progress) { WriteItem(file.Path(), item, progress); },
         [&]
         {
             const Profiling::Stage stage("replace file");
             file.Commit();
         }});
    LogInfo("wrote " + Describe(*item.loaded.image) + ", to " + output);
}
catch (const Interrupted&)
{
    throw;
}
catch (const std::filesystem::filesystem_error& error)
{
    throw Failure(output + ": " + ReasonOf(error));
}
catch (const std::exception& error)
{
    throw Failure(output + ": " + error.what());
}

/// A TIFF is not written sequentially, so it is written to a temporary file first.
void WriteToStandardOutput(const Item& item, const Run& run)
{
    const FileSystem::TemporaryFile file;
    run({"standard output", [&](const ExportSteps::Progress& progress) { WriteItem(file.Path(), item, progress); },
         [] {}});
    PrintFile(file.Path());
    LogInfo("wrote " + Describe(*item.loaded.image) + ", to standard output");
}

/// How files are named.
struct Naming
{
    explicit Naming(const FileNaming::FileNamingSettings& settings)
        : generator(settings), hasCopy(settings.useAutoExportFolder && !settings.autoExportFolder.empty())
    {
    }

    FileNaming::FileNameGenerator generator;
    bool hasCopy; ///< A copy goes to the auto-export folder.
};

/// Writes \p item under the next free name.
/// \returns the name.
std::string WriteNamed(Item& item, const Naming& naming, const Run& run)
try
{
    const auto& acquired = item.record.Acquisition.AcquisitionDatetime;
    const auto time = acquired == MetadataLib::TimePoint() ? Now() : acquired;
    const FileNaming::FileNameReservation reservation = naming.generator.Reserve(time, item.record);
    const std::filesystem::path path = reservation.Path(L"tif");
    WriteFile(ToName(path), item, run);
    if (naming.hasCopy)
    {
        WriteFile(ToName(reservation.ExportPath(L"tif")), item, run);
    }
    return ToName(path);
}
catch (const FileNaming::FileNamingException& error)
{
    throw Failure(error.what());
}
catch (const std::filesystem::filesystem_error& error)
{
    throw Failure(error.what());
}

/// \throws UsageError if \p output is an image that is not meant to be replaced: the input, or one of another format,
///         which is the last one of a list that the output was not added to.
void RefuseOutput(const std::string& input, const std::string& output)
{
    RefuseInput(input, output);
    std::error_code error; // then it is not there
    if (output != StandardStream && std::filesystem::exists(ToPath(output), error) &&
        IsTaken(ToPath(output), FilesOfFolder::Images) && !IsTaken(ToPath(output), FilesOfFolder::Tiff))
    {
        throw UsageError("OUT: " + Printable(output) + " is an image of another format; a TIFF file is written");
    }
}

} // namespace

bool Import(const ImportOptions& given)
{
    if (!given.pixelSize.empty())
    {
        static_cast<void>(
            ParseMetres(given.pixelSize)); // before anything is read, so that a wrong command line fails at once
    }
    ImportOptions options = given;
    const bool isNamed = !options.folder.empty() || !options.settings.empty();
    std::string output;
    if (!isNamed)
    {
        output = std::move(options.batch.files.back());
        options.batch.files.pop_back();
    }
    if (options.batch.files.empty())
    {
        throw UsageError("IMAGE: an image, and last the file or folder to write");
    }
    std::vector<FoundFile> files = FindFiles(options.batch.files, options.batch.isRecursive, FilesOfFolder::Images);
    const bool isOne = files.size() == 1 && !IsFolder(options.batch.files[0]);
    const bool toFolder = !isNamed && (!isOne || IsFolder(output));
    if (toFolder && output == StandardStream)
    {
        throw UsageError("IMAGE: several images need a folder to be written to");
    }
    if (toFolder && files.size() > 1 && !IsFolder(output) && ToPath(output).extension() == ".tif")
    {
        throw UsageError(Printable(output) + ": has the name of a file; several images need a folder to be written to");
    }
    if (toFolder)
    {
        PlanOutputs(files, output, ".tif");
    }
    if (isOne && !isNamed && !toFolder)
    {
        RefuseOutput(files[0].name, output);
    }
    std::optional<Naming> naming;
    if (isNamed)
    {
        naming.emplace(NamingSettings(options.settings, options.folder));
    }
    // One file shows the progress of its bytes, several show that of the files.
    const Run run = isOne ? Run([&](const ExportSteps& steps) { RunExport(steps, options.batch.progress); })
                          : Run(
                                [](const ExportSteps& steps)
                                {
                                    steps.write([](std::uint64_t, std::uint64_t) { return true; });
                                    steps.commit();
                                });
    return ForEachFile(options.batch, files,
                       [&](const FoundFile& file)
                       {
                           Item item = ReadItem(file.name, options);
                           FileReport report{{}, std::move(item.messages), false};
                           if (naming)
                           {
                               report.output = Printable(WriteNamed(item, *naming, run)) + "\n";
                           }
                           else if (toFolder)
                           {
                               MakeFolderOf(file.output);
                               WriteFile(file.output, item, run);
                           }
                           else if (output == StandardStream)
                           {
                               WriteToStandardOutput(item, run);
                           }
                           else
                           {
                               WriteFile(output, item, run);
                           }
                           return report;
                       });
}

} // namespace Ardo::Kiln::Tool
