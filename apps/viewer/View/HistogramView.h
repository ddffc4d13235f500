#pragma once

#include "Ardo/Imaging/Histogram.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include <QWidget>

#include <cstdint>
#include <vector>

namespace Ardo::Kiln::Viewer
{

/// A diagram of how often values occur, with the two ends of the range as lines that can be dragged. Dragging between
/// them moves both.
class HistogramView : public QWidget
{
public:
    explicit HistogramView(QWidget* parent = nullptr);

    /// The ends of the range were dragged here.
    Threading::ViewSignal<Imaging::ValueRange> rangeDragged;

    /// \param counts of equal parts of \p axis; empty for nothing.
    void Show(const std::vector<std::uint64_t>& counts, Imaging::ValueRange axis, Imaging::ValueRange range);

    /// Where a value is on the widget's x axis.
    double PositionOf(double value) const;

    QSize sizeHint() const override { return {260, 120}; }
    QSize minimumSizeHint() const override { return {120, 80}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    enum class Handle
    {
        None,
        Low,
        High,
        Both
    };

    QRectF Area() const;
    double ValueAt(double x) const;
    Handle HandleAt(double x) const;
    void MoveTo(double x);

    std::vector<std::uint64_t> m_counts;
    Imaging::ValueRange m_axis{0.0, 1.0};
    Imaging::ValueRange m_range{0.0, 1.0};
    Handle m_dragged = Handle::None;
    double m_lastValue = 0.0; ///< Under the pointer while both are dragged.
};

} // namespace Ardo::Kiln::Viewer
