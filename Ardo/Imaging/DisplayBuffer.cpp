#include "Ardo/Imaging/DisplayBuffer.h"

#include <limits>
#include <stdexcept>

namespace Ardo::Imaging
{

namespace
{

constexpr std::size_t WordSize = sizeof(std::uint32_t);

} // namespace

DisplayBuffer::DisplayBuffer(size_2d size, DisplayFormat format) : m_size(size), m_format(format)
{
    const std::size_t words = (BytesPerPixel(format) * size.width + WordSize - 1) / WordSize;
    m_stride = WordSize * words;
    if (size.width == 0 || size.height == 0 || m_stride > std::numeric_limits<std::size_t>::max() / size.height)
    {
        throw std::invalid_argument("DisplayBuffer: no pixels, or too many");
    }
    m_pixels.assign(words * size.height, format == DisplayFormat::Rgb32 ? 0xff000000u : 0u);
}

const std::uint8_t* DisplayBuffer::Pixels() const noexcept
{
    return static_cast<const std::uint8_t*>(static_cast<const void*>(m_pixels.data()));
}

std::uint8_t* DisplayBuffer::At(std::uint32_t x, std::uint32_t y) noexcept
{
    return static_cast<std::uint8_t*>(static_cast<void*>(m_pixels.data())) + m_stride * y + BytesPerPixel(m_format) * x;
}

void DisplayBuffer::Check(const const_raw_image& image, const DisplayMapping& mapping) const
{
    if (image.Size() != m_size)
    {
        throw std::invalid_argument("DisplayBuffer: an image of another size");
    }
    if (mapping.Kind() != image.Kind() || mapping.Format() != m_format)
    {
        throw std::invalid_argument("DisplayBuffer: a mapping of other pixels");
    }
}

void DisplayBuffer::Update(const const_raw_image& image, const DisplayMapping& mapping)
{
    Check(image, mapping);
    // Rows without a gap are one long row, which is faster.
    const std::size_t width = m_size.width;
    const bool isOneRow =
        image.Stride() == BytesPerPixel(image.Kind()) * width && m_stride == BytesPerPixel(m_format) * width;
    const std::uint32_t rows = isOneRow ? 1 : m_size.height;
    const std::size_t count = isOneRow ? width * m_size.height : width;
    for (std::uint32_t y = 0; y < rows; ++y)
    {
        mapping.Map(image.Row(y), count, At(0, y));
    }
}

void DisplayBuffer::Update(const const_raw_image& image, const rectangle& part, const DisplayMapping& mapping)
{
    Check(image, mapping);
    if (part.left < 0 || part.top < 0 || part.Width() < 0 || part.Height() < 0 ||
        part.right > std::int64_t{m_size.width} || part.bottom > std::int64_t{m_size.height})
    {
        throw std::invalid_argument("DisplayBuffer: a part outside the image");
    }
    const auto left = static_cast<std::uint32_t>(part.left);
    for (auto y = static_cast<std::uint32_t>(part.top); y < static_cast<std::uint32_t>(part.bottom); ++y)
    {
        const auto* const row = static_cast<const std::uint8_t*>(image.Row(y));
        mapping.Map(row + BytesPerPixel(image.Kind()) * left, static_cast<std::size_t>(part.Width()), At(left, y));
    }
}

void DisplayBuffer::UpdateLine(std::uint32_t y, const void* pixels, std::size_t count, const DisplayMapping& mapping,
                               std::uint32_t x)
{
    if (mapping.Format() != m_format)
    {
        throw std::invalid_argument("DisplayBuffer: a mapping of other pixels");
    }
    if (y >= m_size.height || x > m_size.width || count > m_size.width - x || (pixels == nullptr && count > 0))
    {
        throw std::invalid_argument("DisplayBuffer: a line outside the image");
    }
    mapping.Map(pixels, count, At(x, y));
}

} // namespace Ardo::Imaging
