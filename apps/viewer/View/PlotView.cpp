#include "apps/viewer/View/PlotView.h"

#include "apps/viewer/Model/Texts.h"
#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Formatting/NiceNumber.h"
#include "Ardo/Kiln/Formatting/SI.h"

#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace Ardo::Kiln::Viewer
{

namespace
{

struct Axis
{
    double low = 0.0;
    double high = 1.0;
    double step = 0.5;
};

/// An axis around the values, with about \p count marks.
Axis AxisFor(double low, double high, double count)
{
    if (!(high > low))
    {
        const double space = std::max(std::abs(low) / 10, 1e-30);
        low -= space;
        high += space;
    }
    return {low, high, Formatting::CreateNiceNumber((high - low) / std::max(count, 1.0))};
}

/// Whether the marks of an axis have the unit, with a prefix. A number of pixels has none.
bool HasUnitAtMarks(const std::string& unit)
{
    return !unit.empty() && unit != "px";
}

/// The text of a mark, whose prefix is that of the largest one.
QString MarkText(double value, const std::string& unit, const Axis& axis)
{
    using Formatting::Prefix;
    if (!HasUnitAtMarks(unit))
    {
        return QString::number(value, 'g', 6);
    }
    const double largest = std::max(std::abs(axis.low), std::abs(axis.high));
    return QString::fromStdWString(
        Formatting::SI(value, Conversion::String::FromUtf8(unit), 3, axis.step, largest, Prefix::Femto, Prefix::Exa));
}

QString Title(const ImageIO::PlotAxis& axis)
{
    const bool needsUnit = !axis.unit.empty() && !HasUnitAtMarks(axis.unit);
    return QString::fromStdString(needsUnit ? axis.name + " [" + axis.unit + "]" : axis.name);
}

} // namespace

PlotView::PlotView(QWidget* parent) : QWidget(parent)
{
    setAccessibleName(Texts::tr("Line profile"));
}

void PlotView::Show(const ImageIO::Plot& plot)
{
    m_plot = plot;
    update();
}

void PlotView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (m_plot.positions.size() < 2)
    {
        painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap,
                         Texts::tr("Choose \"Profile\" and drag a line on the image."));
        return;
    }
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (const ImageIO::PlotSeries& series : m_plot.series)
    {
        for (const double value : series.values)
        {
            low = std::isfinite(value) ? std::min(low, value) : low;
            high = std::isfinite(value) ? std::max(high, value) : high;
        }
    }
    if (low > high)
    {
        return;
    }
    const QFontMetricsF metrics(font());
    const double line = metrics.height();
    const Axis y = AxisFor(low, high, height() / (3 * line));
    const std::string unit = m_plot.series[0].axis.unit;
    const double margin = std::max(metrics.horizontalAdvance(MarkText(y.high, unit, y)),
                                   metrics.horizontalAdvance(MarkText(-std::abs(y.step), unit, y))) +
                          10;
    const QRectF area(margin, line, width() - margin - line, height() - 3 * line);
    const Axis x = AxisFor(m_plot.positions.front(), m_plot.positions.back(), area.width() / (7 * line));
    const auto place = [&](double position, double value)
    {
        return QPointF(area.left() + area.width() * (position - x.low) / (x.high - x.low),
                       area.bottom() - area.height() * (value - y.low) / (y.high - y.low));
    };
    painter.fillRect(area, palette().base());
    QColor grid = palette().color(QPalette::Text);
    grid.setAlpha(50);
    const QColor text = palette().color(QPalette::WindowText);
    for (double mark = std::ceil(x.low / x.step) * x.step; mark <= x.high; mark += x.step)
    {
        const QPointF at = place(mark, y.low);
        painter.setPen(grid);
        painter.drawLine(at, QPointF(at.x(), area.top()));
        painter.setPen(text);
        painter.drawText(QRectF(at.x() - 60, area.bottom() + 2, 120, line), Qt::AlignHCenter,
                         MarkText(mark, m_plot.axis.unit, x));
    }
    for (double mark = std::ceil(y.low / y.step) * y.step; mark <= y.high; mark += y.step)
    {
        const QPointF at = place(x.low, mark);
        painter.setPen(grid);
        painter.drawLine(at, QPointF(area.right(), at.y()));
        painter.setPen(text);
        painter.drawText(QRectF(0, at.y() - line / 2, margin - 4, line), Qt::AlignRight, MarkText(mark, unit, y));
    }
    painter.drawText(QRectF(area.left(), area.bottom() + line, area.width(), line), Qt::AlignHCenter,
                     Title(m_plot.axis));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(area.adjusted(-1, -1, 1, 1));
    const std::array<QColor, 3> colours = {QColor(230, 60, 60), QColor(40, 170, 60), QColor(70, 110, 240)};
    for (std::size_t i = 0; i < m_plot.series.size(); ++i)
    {
        const auto& values = m_plot.series[i].values;
        QPolygonF curve;
        for (std::size_t point = 0; point < values.size(); ++point)
        {
            if (std::isfinite(values[point]))
            {
                curve << place(m_plot.positions[point], values[point]);
            }
        }
        painter.setPen(QPen(m_plot.series.size() == 1 ? palette().color(QPalette::Highlight) : colours[i % 3], 1.5));
        painter.drawPolyline(curve);
    }
}

} // namespace Ardo::Kiln::Viewer
