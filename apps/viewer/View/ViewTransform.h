#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

namespace Ardo::Kiln::Viewer
{

/// Which part of an image a view shows, and how large. Positions in the view are in pixels of the screen, positions in
/// the image in pixels of the image. A value.
class ViewTransform
{
public:
    /// The largest zoom: a pixel of the image takes this many of the screen.
    static constexpr double MaxZoom = 64.0;

    /// The sizes of view and image; an image that was fitted to the view stays so.
    void SetSizes(const QSizeF& view, const QSizeF& image);

    /// Shows the whole image in the middle of the view, as large as possible; it is enlarged by whole numbers only.
    void Fit();

    /// Changes the zoom; the position \p fixed of the view keeps its place in the image.
    /// \param zoom pixels of the screen for a pixel of the image; limited to MaxZoom and to what still shows the whole.
    void ZoomTo(double zoom, const QPointF& fixed);

    /// Moves the image. An image that is larger than the view always fills it, a smaller one is in its middle.
    void PanBy(const QPointF& distance);

    bool IsFitted() const noexcept { return m_isFitted; }
    double Zoom() const noexcept { return m_zoom; }

    /// Where the upper left corner of the image is in the view; whole numbers.
    const QPointF& Origin() const noexcept { return m_origin; }

    QPointF ToImage(const QPointF& inView) const { return (inView - m_origin) / m_zoom; }
    QPointF ToView(const QPointF& inImage) const { return inImage * m_zoom + m_origin; }

    /// The part of the image that is visible, in pixels of the image.
    QRectF Visible() const;

private:
    double FittingZoom() const;
    void Limit();

    QSizeF m_view{1, 1};
    QSizeF m_image{1, 1};
    double m_zoom = 1.0;
    QPointF m_origin;
    bool m_isFitted = true;
};

} // namespace Ardo::Kiln::Viewer
