#include "apps/viewer/View/ImageOverlay.h"

#include "Ardo/Kiln/ImageIO/Presentation.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace Ardo::Kiln::Viewer
{

namespace
{

/// A dark plate under white text is readable on every image.
void DrawPlate(QPainter& painter, const QRectF& plate)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 170));
    painter.drawRoundedRect(plate, 4, 4);
}

} // namespace

QString DrawScaleBar(QPainter& painter, const QSize& view, const Calibration& calibration, double pixelsPerUnit)
{
    const auto& pixelSize = calibration.PixelSize();
    const double maxWidth = std::clamp(view.width() / 4.0, 40.0, 300.0);
    const auto bar = pixelSize ? ImageIO::MakeScaleBar(pixelSize->X, maxWidth * pixelsPerUnit) : std::nullopt;
    if (!bar)
    {
        return {};
    }
    const QString label = QString::fromStdWString(bar->label);
    const double width = bar->pixels / pixelsPerUnit;
    const QFontMetricsF metrics(painter.font());
    constexpr double Space = 8.0;
    constexpr double Thickness = 4.0;
    const double plateWidth = std::max(width, metrics.horizontalAdvance(label)) + 2 * Space;
    const double plateHeight = metrics.height() + Thickness + 2.5 * Space;
    const QRectF plate(Space, view.height() - plateHeight - Space, plateWidth, plateHeight);
    DrawPlate(painter, plate);
    painter.setPen(Qt::white);
    painter.drawText(plate.adjusted(0, Space / 2, 0, 0), Qt::AlignHCenter | Qt::AlignTop, label);
    painter.fillRect(QRectF(plate.center().x() - width / 2, plate.bottom() - Space - Thickness, width, Thickness),
                     Qt::white);
    return label;
}

void DrawMeasuredLine(QPainter& painter, const QLineF& line, const QString& text)
{
    painter.setRenderHint(QPainter::Antialiasing);
    for (const auto& [colour, width] : {std::pair(QColor(0, 0, 0, 200), 4.0), std::pair(QColor(255, 220, 0), 2.0)})
    {
        painter.setPen(QPen(colour, width, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(line);
        painter.setBrush(Qt::NoBrush);
        for (const QPointF& end : {line.p1(), line.p2()})
        {
            painter.drawEllipse(end, 4, 4);
        }
    }
    const QFontMetricsF metrics(painter.font());
    QRectF plate(0, 0, metrics.horizontalAdvance(text) + 12, metrics.height() + 6);
    plate.moveCenter(line.center() + QPointF(0, -metrics.height() - 6));
    DrawPlate(painter, plate);
    painter.setPen(Qt::white);
    painter.drawText(plate, Qt::AlignCenter, text);
}

} // namespace Ardo::Kiln::Viewer
