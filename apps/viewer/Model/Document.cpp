#include "apps/viewer/Model/Document.h"

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/ImageIO/ImageFile.h"
#include "Ardo/Kiln/ImageIO/ReadImageException.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/Profiling/Stage.h"

#include <QFileInfo>

#include <atomic>
#include <future>
#include <utility>

namespace Ardo::Kiln::Viewer
{

namespace
{

using ImageIO::ReadImageException;

void ReadPicture(Document& document, ImageIO::ImageFile& file, const Progress& progress)
try
{
    constexpr double ReadingPart = 0.7; // the rest is the pyramid and the histogram
    file.SetProgress([&](std::uint64_t read, std::uint64_t size)
                     { return progress(ReadingPart * static_cast<double>(read) / static_cast<double>(size)); });
    std::unique_ptr<Imaging::const_raw_image> image;
    {
        Profiling::Stage stage("read image");
        image = file.ReadImage();
        stage.AddBytes(image->RowSize() * image->Size().height);
    }
    document.picture = std::make_shared<Picture>(*image, [&](double part)
                                                 { return progress(ReadingPart + (1.0 - ReadingPart) * part); });
}
catch (const ReadImageException& failure)
{
    if (failure.GetCause() == ReadImageException::Cause::Cancelled)
    {
        throw Cancelled();
    }
    document.imageProblem = failure.Reason();
}
catch (const std::bad_alloc&)
{
    document.imageProblem = "not enough memory";
}

void ReadRecord(Document& document, ImageIO::ImageFile& file)
try
{
    const Profiling::Stage stage("read record");
    document.recordText = file.ReadMetadataText();
    document.metadata = file.ReadMetadata();
    if (document.metadata)
    {
        document.calibration = Calibration(*document.metadata);
    }
}
catch (const ReadImageException& failure)
{
    document.recordProblem = failure.Reason();
}
catch (const std::exception& failure)
{
    document.recordProblem = MetadataSerializer::ToText(MetadataSerializer::FaultOf(failure));
}

/// The histogram of an image, or of a part of it if the work is cancelled.
std::shared_ptr<const Imaging::Histogram> Count(const Imaging::const_raw_image& image,
                                                const std::atomic<bool>& isCancelled)
{
    auto histogram = std::make_shared<Imaging::Histogram>(image.Kind());
    for (std::uint32_t y = 0; y < image.Size().height && !isCancelled; ++y)
    {
        histogram->Add(image.Row(y), image.Size().width);
    }
    return histogram;
}

} // namespace

Picture::Picture(const Imaging::const_raw_image& pixels, const Progress& progress) : image(pixels)
{
    const Profiling::Stage stage("prepare display");
    std::atomic<bool> isCancelled = false;
    auto counted = std::async(std::launch::async, [&] { return Count(image, isCancelled); });
    try
    {
        pyramid = std::make_shared<ImagePyramid>(image, progress);
    }
    catch (...)
    {
        isCancelled = true;
        throw; // the future waits
    }
    histogram = counted.get();
}

Document ReadDocument(const QString& path, const Progress& progress)
{
    const std::string name = QFileInfo(path).fileName().toStdString();
    Document document;
    document.path = path;
    std::optional<ImageIO::ImageFile> file;
    try
    {
        file.emplace(path.toStdWString());
    }
    catch (const ReadImageException& failure)
    {
        throw Exception::Error(name + ": " + failure.Reason());
    }
    document.pageCount = file->PageCount();
    ReadRecord(document, *file);
    ReadPicture(document, *file, progress);
    if (document.picture == nullptr && document.recordText.empty())
    {
        throw Exception::Error(name + ": " + document.imageProblem);
    }
    return document;
}

Document MakeDocument(const Imaging::const_raw_image& image, MetadataLib::Metadata metadata)
{
    Document document;
    document.picture = std::make_shared<Picture>(image, [](double) { return true; });
    document.calibration = Calibration(metadata);
    document.recordText =
        MetadataSerializer::Record(std::as_const(metadata)).SerializeToString(MetadataSerializer::SerializeType::Xml);
    document.metadata = std::move(metadata);
    return document;
}

} // namespace Ardo::Kiln::Viewer
