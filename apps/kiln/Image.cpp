#include "apps/kiln/Image.h"

#include "apps/kiln/Failure.h"
#include "apps/kiln/Record.h"
#include "Ardo/Kiln/ImageIO/ImageFile.h"
#include "Ardo/Kiln/ImageIO/ReadImageException.h"
#include "Ardo/Kiln/Profiling/Stage.h"

#include <utility>

namespace Ardo::Kiln::Tool
{

LoadedImage LoadImage(const InputFile& file, const std::string& name, std::uint32_t page, bool withRecord)
{
    LoadedImage loaded;
    try
    {
        ImageIO::ImageFile opened(file.WidePath());
        loaded.pageCount = opened.PageCount();
        if (page >= loaded.pageCount)
        {
            throw Failure(name + ": has no page " + std::to_string(page + 1) + ", only " +
                          std::to_string(loaded.pageCount));
        }
        {
            Profiling::Stage stage("read image");
            loaded.image = opened.ReadImage(page);
            stage.AddBytes(std::uint64_t{loaded.image->RowSize()} * loaded.image->Size().height);
        }
        if (std::string text = withRecord ? opened.ReadMetadataText(page) : ""; !text.empty())
        {
            loaded.record =
                ReadDocument({std::move(text), MetadataSerializer::SerializeType::Xml}, name + ": its record");
        }
    }
    catch (const ImageIO::ReadImageException& failure)
    {
        throw Failure(name + ": " + failure.Reason());
    }
    return loaded;
}

std::string KindText(Imaging::PixelKind kind)
{
    switch (kind)
    {
    case Imaging::PixelKind::UInt8:
        return "8 bit";
    case Imaging::PixelKind::UInt16:
        return "16 bit";
    case Imaging::PixelKind::Float32:
        return "32 bit float";
    case Imaging::PixelKind::Rgb8:
        return "RGB, 8 bit a sample";
    case Imaging::PixelKind::Rgba8:
        return "RGBA, 8 bit a sample";
    }
    return "unknown kind";
}

std::string Describe(const Imaging::const_raw_image& image)
{
    return std::to_string(image.Size().width) + " x " + std::to_string(image.Size().height) + ", " +
           KindText(image.Kind());
}

} // namespace Ardo::Kiln::Tool
