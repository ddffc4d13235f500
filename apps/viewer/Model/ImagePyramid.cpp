#include "apps/viewer/Model/ImagePyramid.h"

#include "apps/viewer/Model/HalveRow.h"

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

/// A level whose samples are 0. Of floats, so that any sample is aligned.
ImagePyramid::Level MakeLevel(size_2d size, Imaging::PixelKind kind)
{
    const std::size_t stride = Imaging::BytesPerPixel(kind) * size.width;
    const auto samples =
        std::make_shared<std::vector<float>>((stride * size.height + sizeof(float) - 1) / sizeof(float));
    auto* const pixels = reinterpret_cast<unsigned char*>(samples->data());
    return {size, stride, pixels, samples, pixels};
}

} // namespace

ImagePyramid::ImagePyramid(const const_raw_image& image, const Progress& progress) : m_kind(image.Kind())
{
    m_levels.push_back(
        {image.Size(), image.Stride(), static_cast<const unsigned char*>(image.Row(0)), image.Pixels(), nullptr});
    AddLevels();
    constexpr std::uint32_t Rows = 256; // few enough to stay in a cache from one level to the next
    const std::uint32_t height = image.Size().height;
    for (std::uint32_t y = 0; y < height; y += std::min(Rows, height - y))
    {
        UpdateLevels(y, y + std::min(Rows, height - y));
        Tell(progress, static_cast<double>(y) / height);
    }
}

ImagePyramid::ImagePyramid(size_2d size, Imaging::PixelKind kind) : m_kind(kind)
{
    m_levels.push_back(MakeLevel(size, kind));
    AddLevels();
}

void ImagePyramid::AddLevels()
{
    for (size_2d size = Size(); std::max(size.width, size.height) > SmallestSide;)
    {
        size = {(size.width + 1) / 2, (size.height + 1) / 2};
        m_levels.push_back(MakeLevel(size, m_kind));
    }
}

const_raw_image ImagePyramid::Image() const
{
    const Level& whole = m_levels.front();
    return {{whole.owner, whole.pixels}, whole.size, m_kind, whole.stride};
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
    UpdateLevels(y, y + rows.Size().height);
}

/// Makes the rows of the copies that show rows of the image.
void ImagePyramid::UpdateLevels(std::uint32_t begin, std::uint32_t end)
{
    for (std::size_t i = 1; i < m_levels.size(); ++i)
    {
        const Level& from = m_levels[i - 1];
        const Level& to = m_levels[i];
        begin = begin / 2;
        end = (end + 1) / 2;
        for (std::uint32_t row = begin; row < end; ++row)
        {
            const unsigned char* const lower = from.Row(std::min(2 * row + 1, from.size.height - 1));
            HalveRow(m_kind, from.Row(2 * row), lower, from.size.width, to.changeable + to.stride * row);
        }
    }
}

} // namespace Ardo::Kiln::Viewer
