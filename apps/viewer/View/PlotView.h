#pragma once

#include "Ardo/Kiln/ImageIO/PlotFile.h"

#include <QWidget>

namespace Ardo::Kiln::Viewer
{

/// Draws the curves of a plot with axes and units.
class PlotView : public QWidget
{
public:
    explicit PlotView(QWidget* parent = nullptr);

    /// A plot without positions shows nothing.
    void Show(const ImageIO::Plot& plot);

    const ImageIO::Plot& Plot() const noexcept { return m_plot; }

    QSize sizeHint() const override { return {360, 140}; }
    QSize minimumSizeHint() const override { return {120, 80}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ImageIO::Plot m_plot;
};

} // namespace Ardo::Kiln::Viewer
