#include "Ardo/Kiln/ImageIO/ImageDecoders_p.h"
#include "Ardo/Kiln/ImageIO/PixelBuffer_p.h"
#include "Ardo/Kiln/ImageIO/ReadImageException.h"

#include <cstring>
#include <limits>
#include <stdexcept>

namespace Ardo::Kiln::ImageIO
{

namespace
{

template <std::size_t PixelSize>
void Turn(const Imaging::const_raw_image& image, int orientation, const NewImage& turned)
{
    const bool isTransposed = orientation >= 5;
    const bool fromLastRow = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    const bool fromLastColumn = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const auto [width, height] = image.Size();
    for (std::uint32_t y = 0; y < turned.size.height; ++y)
    {
        unsigned char* pixel = turned.Row(y);
        for (std::uint32_t x = 0; x < turned.size.width; ++x, pixel += PixelSize)
        {
            const std::uint32_t row = isTransposed ? x : y;
            const std::uint32_t column = isTransposed ? y : x;
            const auto* const source =
                static_cast<const unsigned char*>(image.Row(fromLastRow ? height - 1 - row : row));
            std::memcpy(pixel, source + PixelSize * (fromLastColumn ? width - 1 - column : column), PixelSize);
        }
    }
}

} // namespace

NewImage::NewImage(std::uint64_t width, std::uint64_t height, Imaging::PixelKind pixelKind)
    : rowSize(BytesPerPixel(pixelKind) * width),
      size{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)},
      kind(pixelKind)
{
    constexpr auto MaxSize = static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max());
    if (width != size.width || height != size.height || width == 0 || height == 0 || rowSize > MaxSize / height)
    {
        throw std::runtime_error(std::to_string(width) + " x " + std::to_string(height) + " pixels");
    }
    const auto buffer = std::make_shared<PixelBuffer>();
    buffer->Resize(rowSize * height);
    bytes = buffer->Data();
    owner = {buffer, bytes};
}

std::unique_ptr<Imaging::const_raw_image> NewImage::Finish() const
{
    return std::make_unique<Imaging::const_raw_image>(owner, size, kind, rowSize);
}

std::unique_ptr<Imaging::const_raw_image> Oriented(std::unique_ptr<Imaging::const_raw_image> image, int orientation)
{
    if (orientation < 2 || orientation > 8)
    {
        return image;
    }
    const auto [width, height] = image->Size();
    const bool isTransposed = orientation >= 5;
    const NewImage turned(isTransposed ? height : width, isTransposed ? width : height, image->Kind());
    switch (BytesPerPixel(image->Kind()))
    {
    case 1:
        Turn<1>(*image, orientation, turned);
        break;
    case 2:
        Turn<2>(*image, orientation, turned);
        break;
    case 3:
        Turn<3>(*image, orientation, turned);
        break;
    default:
        Turn<4>(*image, orientation, turned);
    }
    return turned.Finish();
}

void CheckCanHold(std::uint64_t fileSize, std::uint64_t width, std::uint64_t height, std::uint64_t pixelsPerByte)
{
    constexpr std::uint64_t MaxNumber = std::numeric_limits<std::uint64_t>::max();
    if (width > std::numeric_limits<std::uint32_t>::max() || height > std::numeric_limits<std::uint32_t>::max() ||
        (fileSize < MaxNumber / pixelsPerByte && width * height > fileSize * pixelsPerByte))
    {
        throw std::runtime_error(std::to_string(width) + " x " + std::to_string(height) + " pixels in " +
                                 std::to_string(fileSize) + " bytes");
    }
}

void RefuseKind(const std::string& reason)
{
    throw ReadImageException(ReadImageException::Cause::Unsupported, reason);
}

} // namespace Ardo::Kiln::ImageIO
