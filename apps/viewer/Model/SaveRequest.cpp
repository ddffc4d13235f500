#include "apps/viewer/Model/SaveRequest.h"

#include "Ardo/Kiln/FileNaming/FileNameGenerator.h"
#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/ExportRawImageException.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/Kiln/Profiling/Stage.h"
#include "Ardo/Kiln/Time/Ticks.h"

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace Ardo::Kiln::Viewer
{

namespace
{

using Path = std::filesystem::path;

/// Writes the samples and the record.
void WriteData(const Document& document, const Path& path, const Progress& progress)
{
    Profiling::Stage stage("write data");
    FileSystem::ReplacementFile file(path);
    bool isCancelled = false;
    try
    {
        ImageIO::TiffExporter exporter;
        exporter.SetProgress(
            [&](std::uint64_t written, std::uint64_t size)
            {
                isCancelled = !progress(static_cast<double>(written) / static_cast<double>(std::max(size, written)));
                return !isCancelled;
            });
        exporter.WriteImage(file.WidePath(), document.picture->image,
                            document.metadata ? &*document.metadata : nullptr);
    }
    catch (const ImageIO::ExportRawImageException&)
    {
        if (isCancelled)
        {
            throw Cancelled();
        }
        throw;
    }
    stage.AddBytes(document.picture->image.RowSize() * document.picture->image.Size().height);
    file.Commit();
}

void WritePicture(const SaveRequest& request, const Path& path, ImageIO::ExportType type, const Progress& progress)
{
    const Profiling::Stage stage("write picture");
    Tell(progress, 0.0);
    const Document& document = *request.document;
    FileSystem::ReplacementFile file(path);
    ImageIO::ExportImageInPlace(file.WidePath(), type, document.picture->image,
                                document.metadata ? &*document.metadata : nullptr, request.presentation);
    Tell(progress, 1.0);
    file.Commit();
}

SavedFiles SaveByName(const SaveRequest& request, const Progress& progress)
{
    const FileNaming::FileNameGenerator generator(request.naming);
    const MetadataLib::Metadata none;
    const auto reservation = generator.Reserve(Time::ToTimePoint(std::chrono::system_clock::now()),
                                               request.document->metadata ? *request.document->metadata : none);
    const Path path = reservation.Path(L"tif");
    WriteData(*request.document, path, progress);
    SavedFiles files{QString::fromStdWString(FileSystem::ToWide(path)), {}};
    if (request.exportsPicture)
    {
        const Path picture = reservation.ExportPath(L"png");
        std::filesystem::create_directories(picture.parent_path());
        WritePicture(request, picture, ImageIO::ExportType::Png, progress);
        files.picturePath = QString::fromStdWString(FileSystem::ToWide(picture));
    }
    return files;
}

} // namespace

SavedFiles SaveFiles(const SaveRequest& request, const Progress& progress)
{
    if (request.path.isEmpty())
    {
        return SaveByName(request, progress);
    }
    const Path path = FileSystem::ToPath(request.path.toStdWString());
    if (request.type == ImageIO::ExportType::Data)
    {
        WriteData(*request.document, path, progress);
    }
    else
    {
        WritePicture(request, path, request.type, progress);
    }
    return {request.path, {}};
}

} // namespace Ardo::Kiln::Viewer
