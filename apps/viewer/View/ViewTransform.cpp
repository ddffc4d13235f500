#include "apps/viewer/View/ViewTransform.h"

#include <algorithm>
#include <cmath>

namespace Ardo::Kiln::Viewer
{

void ViewTransform::SetSizes(const QSizeF& view, const QSizeF& image)
{
    m_view = view.expandedTo({1, 1});
    m_image = image.expandedTo({1, 1});
    m_isFitted ? Fit() : Limit();
}

void ViewTransform::Fit()
{
    m_zoom = FittingZoom();
    m_isFitted = true;
    Limit();
}

void ViewTransform::ZoomTo(double zoom, const QPointF& fixed)
{
    const QPointF inImage = ToImage(fixed);
    m_zoom = std::clamp(zoom, std::min(FittingZoom(), 1.0), MaxZoom);
    m_origin = fixed - inImage * m_zoom;
    m_isFitted = false;
    Limit();
}

void ViewTransform::PanBy(const QPointF& distance)
{
    m_origin += distance;
    m_isFitted = m_isFitted && distance.isNull();
    Limit();
}

QRectF ViewTransform::Visible() const
{
    return QRectF(ToImage({0, 0}), m_view / m_zoom).intersected({{0, 0}, m_image});
}

double ViewTransform::FittingZoom() const
{
    const double zoom = std::min(m_view.width() / m_image.width(), m_view.height() / m_image.height());
    return zoom <= 1.0 ? zoom : std::floor(zoom);
}

void ViewTransform::Limit()
{
    const auto limited = [this](double origin, double view, double image)
    {
        const double size = image * m_zoom;
        return std::round(size <= view ? (view - size) / 2 : std::clamp(origin, view - size, 0.0));
    };
    m_origin = {limited(m_origin.x(), m_view.width(), m_image.width()),
                limited(m_origin.y(), m_view.height(), m_image.height())};
}

} // namespace Ardo::Kiln::Viewer
