#include "apps/viewer/Model/ImagePyramid.h"

#include "Ardo/Imaging/ScaleImage.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace Ardo::Kiln::Viewer
{

namespace
{

using Imaging::const_raw_image;
using Imaging::size_2d;

constexpr std::uint32_t SmallestSide = 256;

size_2d Half(size_2d size)
{
    return {(size.width + 1) / 2, (size.height + 1) / 2};
}

bool IsSmall(size_2d size)
{
    return std::max(size.width, size.height) <= SmallestSide;
}

ImagePyramid::Level LevelOf(const const_raw_image& image)
{
    return {image.Size(), image.Stride(), static_cast<const unsigned char*>(image.Row(0)), image.Pixels(), nullptr};
}

} // namespace

ImagePyramid::ImagePyramid(const const_raw_image& image) : m_kind(image.Kind())
{
    m_levels.push_back(LevelOf(image));
    for (const_raw_image last = image; !IsSmall(last.Size());)
    {
        last = Imaging::ScaleImage(last, Half(last.Size()));
        m_levels.push_back(LevelOf(last));
    }
}

ImagePyramid::ImagePyramid(size_2d size, Imaging::PixelKind kind) : m_kind(kind)
{
    for (bool isLast = false; !isLast; size = Half(size))
    {
        const std::size_t stride = Imaging::BytesPerPixel(kind) * size.width;
        const auto bytes = std::make_shared<std::vector<unsigned char>>(stride * size.height);
        m_levels.push_back({size, stride, bytes->data(), bytes, bytes->data()});
        isLast = IsSmall(size);
    }
}

std::size_t ImagePyramid::LevelFor(double zoom) const noexcept
{
    std::size_t level = 0;
    for (; level + 1 < m_levels.size() && zoom <= 0.5; zoom *= 2)
    {
        ++level;
    }
    return level;
}

void ImagePyramid::SetRows(std::uint32_t y, const const_raw_image& rows)
{
    const Level& whole = m_levels.front();
    if (whole.changeable == nullptr || rows.Kind() != m_kind || rows.Size().width != whole.size.width ||
        y > whole.size.height || rows.Size().height > whole.size.height - y)
    {
        throw std::invalid_argument("ImagePyramid: rows of another image");
    }
    for (std::uint32_t row = 0; row < rows.Size().height; ++row)
    {
        std::memcpy(whole.changeable + whole.stride * (y + row), rows.Row(row), rows.RowSize());
    }
    std::uint32_t begin = y;
    std::uint32_t end = y + rows.Size().height;
    for (std::size_t i = 1; i < m_levels.size(); ++i)
    {
        const Level& from = m_levels[i - 1];
        const Level& to = m_levels[i];
        begin = begin / 2;
        end = std::min((end + 1) / 2, to.size.height);
        const std::uint32_t first = 2 * begin;
        const std::uint32_t count = std::min(2 * (end - begin), from.size.height - first);
        // The source lives as long as this call.
        const const_raw_image band({std::shared_ptr<const void>(), from.Row(first)}, {from.size.width, count}, m_kind,
                                   from.stride);
        const const_raw_image scaled = Imaging::ScaleImage(band, {to.size.width, end - begin});
        for (std::uint32_t row = begin; row < end; ++row)
        {
            std::memcpy(to.changeable + to.stride * row, scaled.Row(row - begin), scaled.RowSize());
        }
    }
}

} // namespace Ardo::Kiln::Viewer
