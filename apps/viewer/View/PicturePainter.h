#pragma once

#include "apps/viewer/Model/ImagePyramid.h"
#include "apps/viewer/View/ViewTransform.h"
#include "Ardo/Imaging/DisplayBuffer.h"
#include "Ardo/Imaging/DisplayMapping.h"

#include <QRect>

#include <memory>
#include <optional>

class QPainter;

namespace Ardo::Kiln::Viewer
{

/// Draws the visible part of an image. Of the pyramid's level that fits the zoom, only what is visible, and a little
/// around it, is mapped to colours, and this is kept: a pan draws again without mapping, and a change of the contrast
/// maps about as many pixels as the screen has.
class PicturePainter
{
public:
    /// \param pyramid may be null: nothing is drawn. It may change between two calls, see RowsChanged().
    void SetPyramid(std::shared_ptr<const ImagePyramid> pyramid);

    /// \param settings for pixels of the pyramid's kind.
    void SetSettings(const Imaging::DisplaySettings& settings);

    /// Rows of the image have changed.
    void RowsChanged(std::uint32_t first, std::uint32_t count);

    /// Draws; the painter's unit is a pixel of the screen.
    void Draw(QPainter& painter, const ViewTransform& transform);

    const std::shared_ptr<const ImagePyramid>& Pyramid() const noexcept { return m_pyramid; }

private:
    void Prepare(std::size_t level, const QRect& visible);
    void MapRows(int first, int end);

    std::shared_ptr<const ImagePyramid> m_pyramid;
    Imaging::DisplaySettings m_settings;
    std::optional<Imaging::DisplayMapping> m_mapping; ///< Empty until the next Draw() after a change.
    std::unique_ptr<Imaging::DisplayBuffer> m_buffer; ///< At least as large as m_part.
    std::size_t m_level = 0;
    QRect m_part; ///< What the buffer holds, in pixels of m_level; empty: nothing.
};

} // namespace Ardo::Kiln::Viewer
