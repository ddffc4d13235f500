#include "apps/viewer/View/PicturePainter.h"

#include "Ardo/Kiln/Profiling/Stage.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Ardo::Kiln::Viewer
{

namespace
{

/// Pixels around the visible part that are mapped with it, so that not every step of a pan maps anew.
constexpr int Margin = 96;

} // namespace

void PicturePainter::SetPyramid(std::shared_ptr<const ImagePyramid> pyramid)
{
    m_pyramid = std::move(pyramid);
    m_mapping.reset();
    m_part = {};
}

void PicturePainter::SetSettings(const Imaging::DisplaySettings& settings)
{
    m_settings = settings;
    m_mapping.reset();
    m_part = {};
}

void PicturePainter::RowsChanged(std::uint32_t first, std::uint32_t count)
{
    if (m_part.isEmpty())
    {
        return;
    }
    const std::uint32_t end = first + count;
    const auto rounding = (1U << m_level) - 1;
    const int begin = std::max(m_part.top(), static_cast<int>(first >> m_level));
    const int stop = std::min(m_part.top() + m_part.height(), static_cast<int>((end + rounding) >> m_level));
    MapRows(begin, stop);
}

void PicturePainter::Draw(QPainter& painter, const ViewTransform& transform)
{
    if (m_pyramid == nullptr)
    {
        return;
    }
    const std::size_t level = m_pyramid->LevelFor(transform.Zoom());
    const double pixel = std::exp2(level); // of the level, in pixels of the image
    const double scale = transform.Zoom() * pixel;
    const QRectF visible = transform.Visible();
    Prepare(level, QRectF(visible.topLeft() / pixel, visible.size() / pixel).toAlignedRect());
    const Profiling::Stage stage("draw picture");
    const QImage image(m_buffer->Pixels(), m_part.width(), m_part.height(), static_cast<int>(m_buffer->Stride()),
                       QImage::Format_RGB32);
    painter.save();
    painter.translate(transform.Origin());
    painter.scale(scale, scale);
    // The last pixels of a level may be larger than what the image has left.
    painter.setClipRect(QRectF(0, 0, m_pyramid->Size().width / pixel, m_pyramid->Size().height / pixel));
    // Smaller than 1:1 pixels are mixed; larger ones are squares that a person can count.
    painter.setRenderHint(QPainter::SmoothPixmapTransform, scale < 1.0);
    painter.drawImage(m_part.topLeft(), image);
    painter.restore();
}

void PicturePainter::Prepare(std::size_t level, const QRect& visible)
{
    const bool hasMapping = m_mapping.has_value();
    if (!hasMapping)
    {
        m_mapping.emplace(m_pyramid->Kind(), m_settings);
    }
    if (hasMapping && m_level == level && m_part.contains(visible))
    {
        return;
    }
    const Profiling::Stage stage("map picture");
    const Imaging::size_2d size = m_pyramid->Levels()[level].size;
    const QRect all(0, 0, static_cast<int>(size.width), static_cast<int>(size.height));
    m_level = level;
    m_part = visible.adjusted(-Margin, -Margin, Margin, Margin).intersected(all);
    const auto width = static_cast<std::uint32_t>(m_part.width());
    const auto height = static_cast<std::uint32_t>(m_part.height());
    if (m_buffer == nullptr || m_buffer->Size().width < width || m_buffer->Size().height < height)
    {
        const Imaging::size_2d old = m_buffer == nullptr ? Imaging::size_2d{} : m_buffer->Size();
        m_buffer = std::make_unique<Imaging::DisplayBuffer>(
            Imaging::size_2d{std::max(width, old.width), std::max(height, old.height)}, Imaging::DisplayFormat::Rgb32);
    }
    MapRows(m_part.top(), m_part.top() + m_part.height());
}

void PicturePainter::MapRows(int first, int end)
{
    const ImagePyramid::Level& level = m_pyramid->Levels()[m_level];
    const std::size_t offset = Imaging::BytesPerPixel(m_pyramid->Kind()) * static_cast<std::size_t>(m_part.left());
    for (int y = first; y < end; ++y)
    {
        m_buffer->UpdateLine(static_cast<std::uint32_t>(y - m_part.top()),
                             level.Row(static_cast<std::uint32_t>(y)) + offset,
                             static_cast<std::size_t>(m_part.width()), *m_mapping);
    }
}

} // namespace Ardo::Kiln::Viewer
