#pragma once

#include "apps/viewer/Model/Calibration.h"

#include <QLineF>
#include <QSize>

class QPainter;

namespace Ardo::Kiln::Viewer
{

/// Draws a bar of a nice length into the lower left corner; nothing without a pixel size.
/// \param view its size, in the painter's unit.
/// \param pixelsPerUnit pixels of the image for a unit of the painter.
/// \returns the text of the bar; empty if there is none.
QString DrawScaleBar(QPainter& painter, const QSize& view, const Calibration& calibration, double pixelsPerUnit);

/// Draws a line with marks at its ends and a text beside its middle.
void DrawMeasuredLine(QPainter& painter, const QLineF& line, const QString& text);

} // namespace Ardo::Kiln::Viewer
