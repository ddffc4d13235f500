#include "apps/kiln/Image.h"

#include "apps/kiln/Failure.h"
#include "Ardo/Kiln/ImageIO/ReadImageFromFile.h"

#include <stdexcept>
#include <string_view>

namespace Ardo::Kiln::Tool
{

std::unique_ptr<Imaging::const_raw_image> ReadImage(const InputFile& file, const std::string& name)
{
    try
    {
        return ImageIO::ReadImageFromFile(file.WidePath());
    }
    catch (const std::runtime_error& error)
    {
        // The reader has two texts for all failures and logs what happened.
        const bool isOfUnknownKind = error.what() == std::string_view("null IRawImage2");
        throw Failure(
            name + (isOfUnknownKind ? ": pixels of a kind that cannot be taken over" : ": cannot be read as an image"));
    }
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
