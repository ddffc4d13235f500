#include "apps/kiln/Commands.h"
#include "apps/kiln/Export.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Image.h"
#include "apps/kiln/Record.h"
#include "apps/kiln/ToolLog.h"

#include "Ardo/Imaging/Histogram.h"
#include "Ardo/Kiln/Conversion/String.h"
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
#include <iostream>
#include <optional>

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
void DescribeImage(Metadata& metadata, const const_raw_image& image, const ImportOptions& options)
{
    auto& result = metadata.BinaryResult;
    const auto width = static_cast<double>(image.Size().width);
    const auto height = static_cast<double>(image.Size().height);
    if (result.ImageSize && (*result.ImageSize != MetadataLib::Size2D<double>{width, height}))
    {
        throw Failure(options.metadata + ": the record is that of an image of another size; " + options.image +
                      " has " + Describe(image));
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
    if (options.output != StandardStream)
    {
        Complete(metadata.Core.FileName, FileSystem::ToDisplayText(ToPath(options.output).filename()));
    }
    Complete(metadata.Core.FileDatetime, Now());
}

/// The record to be written. The image's own record gets only the fields that were given as options.
Metadata RecordFor(const LoadedImage& loaded, const ImportOptions& options)
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
        DescribeImage(metadata, *loaded.image, options);
        LogDebug("record from the image alone");
    }
    else if (auto record = ReadRecord(InputFile(options.metadata), options.metadata))
    {
        metadata = *std::move(record);
        DescribeImage(metadata, *loaded.image, options);
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

} // namespace

void Import(const ImportOptions& options)
{
    if (!options.pixelSize.empty())
    {
        static_cast<void>(
            ParseMetres(options.pixelSize)); // before anything is read, so that a wrong command line fails at once
    }

    const InputFile input(options.image);
    const LoadedImage loaded = LoadImage(input, options.image, options.page.value_or(1) - 1, options.metadata.empty());
    const auto& image = loaded.image;
    if (loaded.pageCount > 1 && !options.page)
    {
        std::cerr << "kiln: " << Printable(options.image) << ": the first of " << loaded.pageCount
                  << " pages is taken; --page takes another\n";
    }
    const Metadata metadata = RecordFor(loaded, options);

    const auto write = [&](const std::filesystem::path& file, const std::function<void()>& commit)
    {
        const auto writeFile = [&](const ImageIO::TiffExporter::Progress& progress)
        {
            Profiling::Stage stage("write image");
            stage.AddBytes(std::uint64_t{image->RowSize()} * image->Size().height);
            ImageIO::TiffExporter exporter;
            exporter.SetProgress(progress);
            exporter.WriteImage(FileSystem::ToWide(file), *image, &metadata);
        };
        RunExport({options.output == StandardStream ? "standard output" : options.output, writeFile, commit},
                  options.progress);
    };
    if (options.output == StandardStream)
    {
        // A TIFF is not written sequentially, so it is written to a temporary file first.
        const FileSystem::TemporaryFile file;
        write(file.Path(), [] {});
        PrintFile(file.Path());
        LogInfo("wrote " + options.image + ", " + Describe(*image) + ", to standard output");
        return;
    }
    try
    {
        FileSystem::ReplacementFile file(ToPath(options.output));
        write(file.Path(),
              [&]
              {
                  const Profiling::Stage stage("replace file");
                  file.Commit();
              });
        LogInfo("wrote " + options.image + ", " + Describe(*image) + ", to " + options.output);
    }
    catch (const Interrupted&)
    {
        throw;
    }
    catch (const std::filesystem::filesystem_error& error)
    {
        throw Failure(options.output + ": " + ReasonOf(error));
    }
    catch (const std::exception& error)
    {
        throw Failure(options.output + ": " + error.what());
    }
}

} // namespace Ardo::Kiln::Tool
