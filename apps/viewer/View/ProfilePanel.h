#pragma once

#include "Ardo/Kiln/ImageIO/PlotFile.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include <QLineF>
#include <QWidget>

#include <array>

class QDoubleSpinBox;
class QLabel;
class QPushButton;

namespace Ardo::Kiln::Viewer
{

class PlotView;

/// The line of a measurement: its ends, its length, and the values along it.
class ProfilePanel : public QWidget
{
public:
    explicit ProfilePanel(QWidget* parent = nullptr);

    Threading::ViewSignal<QLineF> lineTyped; ///< A person has typed the ends, in pixels.
    Threading::ViewSignal<> exportRequested; ///< The plot is to be written to a file.

    /// Shows a line and the values along it.
    void Show(const QLineF& line, const QString& length, const ImageIO::Plot& plot);

    /// There is no line. The ends are limited to an image of this size.
    void Clear(const QSizeF& image);

    const ImageIO::Plot& Plot() const;

private:
    std::array<QDoubleSpinBox*, 4> m_ends{}; ///< x and y of both.
    QLabel* m_length;
    QPushButton* m_export;
    PlotView* m_plot;
    bool m_isShowing = false;
};

} // namespace Ardo::Kiln::Viewer
