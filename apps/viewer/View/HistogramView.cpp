#include "apps/viewer/View/HistogramView.h"

#include "apps/viewer/Model/Texts.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace Ardo::Kiln::Viewer
{

namespace
{

constexpr double HandleSize = 7.0;

} // namespace

HistogramView::HistogramView(QWidget* parent) : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAccessibleName(Texts::tr("Histogram"));
    setToolTip(Texts::tr("How often each value occurs. Drag the lines to choose what is black and what is white.\n"
                         "Arrow keys move the range, with Shift its width changes."));
}

void HistogramView::Show(const std::vector<std::uint64_t>& counts, Imaging::ValueRange axis, Imaging::ValueRange range)
{
    m_counts = counts;
    if (m_dragged == Handle::None) // a moving axis would pull the line from under the pointer
    {
        m_axis = axis;
    }
    m_range = range;
    update();
}

QRectF HistogramView::Area() const
{
    return QRectF(rect()).adjusted(HandleSize, 2, -HandleSize, -HandleSize - 2);
}

double HistogramView::PositionOf(double value) const
{
    const QRectF area = Area();
    return area.left() + area.width() * (value - m_axis.low) / (m_axis.high - m_axis.low);
}

double HistogramView::ValueAt(double x) const
{
    const QRectF area = Area();
    return m_axis.low + (m_axis.high - m_axis.low) * (x - area.left()) / std::max(1.0, area.width());
}

HistogramView::Handle HistogramView::HandleAt(double x) const
{
    const double toLow = std::abs(x - PositionOf(m_range.low));
    const double toHigh = std::abs(x - PositionOf(m_range.high));
    if (std::min(toLow, toHigh) <= HandleSize)
    {
        return toLow <= toHigh ? Handle::Low : Handle::High;
    }
    const bool isBetween = (x - PositionOf(m_range.low)) * (x - PositionOf(m_range.high)) < 0;
    return isBetween ? Handle::Both : Handle::None;
}

void HistogramView::MoveTo(double x)
{
    const double value = std::clamp(ValueAt(x), m_axis.low, m_axis.high);
    Imaging::ValueRange range = m_range;
    if (m_dragged == Handle::Low)
    {
        range.low = std::min(value, range.high);
    }
    else if (m_dragged == Handle::High)
    {
        range.high = std::max(value, range.low);
    }
    else
    {
        range = {range.low + value - m_lastValue, range.high + value - m_lastValue};
        m_lastValue = value;
    }
    m_range = range;
    update();
    rangeDragged.Emit(range);
}

void HistogramView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = Area();
    painter.fillRect(area, palette().base());
    if (m_counts.empty())
    {
        return;
    }
    // The square root shows rare values beside frequent ones.
    const double most = std::sqrt(static_cast<double>(std::max<std::uint64_t>(1, std::ranges::max(m_counts))));
    QPainterPath path(area.bottomLeft());
    for (std::size_t i = 0; i < m_counts.size(); ++i)
    {
        const double height = area.height() * std::sqrt(static_cast<double>(m_counts[i])) / most;
        const double part = area.width() / static_cast<double>(m_counts.size());
        path.lineTo(area.left() + part * static_cast<double>(i), area.bottom() - height);
        path.lineTo(area.left() + part * static_cast<double>(i + 1), area.bottom() - height);
    }
    path.lineTo(area.bottomRight());
    painter.fillPath(path, palette().color(QPalette::Text));
    QColor inside = palette().color(QPalette::Highlight);
    inside.setAlpha(70);
    const double low = PositionOf(m_range.low);
    const double high = PositionOf(m_range.high);
    painter.fillRect(QRectF(QPointF(low, area.top()), QPointF(high, area.bottom())).intersected(area), inside);
    painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
    for (const double x : {low, high})
    {
        painter.drawLine(QPointF(x, area.top()), QPointF(x, area.bottom()));
        painter.setBrush(x == low ? Qt::black : Qt::white);
        painter.drawPolygon(QPolygonF({{x, area.bottom()},
                                       {x - HandleSize + 1, area.bottom() + HandleSize},
                                       {x + HandleSize - 1, area.bottom() + HandleSize}}));
    }
    if (hasFocus())
    {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 1, Qt::DotLine));
        painter.drawRect(area);
    }
}

void HistogramView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && !m_counts.empty())
    {
        m_dragged = HandleAt(event->localPos().x());
        m_lastValue = ValueAt(event->localPos().x());
    }
}

void HistogramView::mouseMoveEvent(QMouseEvent* event)
{
    if (m_dragged != Handle::None)
    {
        MoveTo(event->localPos().x());
        return;
    }
    const Handle handle = m_counts.empty() ? Handle::None : HandleAt(event->localPos().x());
    setCursor(handle == Handle::None   ? Qt::ArrowCursor
              : handle == Handle::Both ? Qt::SizeAllCursor
                                       : Qt::SizeHorCursor);
}

void HistogramView::mouseReleaseEvent(QMouseEvent*)
{
    m_dragged = Handle::None;
}

void HistogramView::keyPressEvent(QKeyEvent* event)
{
    const int direction = event->key() == Qt::Key_Left ? -1 : event->key() == Qt::Key_Right ? 1 : 0;
    if (direction == 0 || m_counts.empty())
    {
        QWidget::keyPressEvent(event);
        return;
    }
    const double step = direction * (m_axis.high - m_axis.low) / 100;
    const bool isWidth = (event->modifiers() & Qt::ShiftModifier) != 0;
    const Imaging::ValueRange range{isWidth ? std::min(m_range.low - step, m_range.high) : m_range.low + step,
                                    isWidth ? std::max(m_range.high + step, m_range.low) : m_range.high + step};
    m_range = range;
    update();
    rangeDragged.Emit(range);
}

} // namespace Ardo::Kiln::Viewer
