#pragma once

#include "apps/viewer/Model/Calibration.h"
#include "apps/viewer/View/PicturePainter.h"
#include "apps/viewer/View/ViewTransform.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include <QWidget>

#include <optional>

namespace Ardo::Kiln::Viewer
{

/// What dragging with the left button does.
enum class Tool
{
    Pan,
    Distance,
    Profile
};

/// Shows an image: zoom with the wheel at the pointer, pan by dragging, lines for measurements, a scale bar. Knows
/// neither files nor records.
class ImageView : public QWidget
{
public:
    explicit ImageView(QWidget* parent = nullptr);

    Threading::ViewSignal<QPointF> pointed;        ///< The pointer is at this position of the image.
    Threading::ViewSignal<> pointerLeft;           ///< The pointer is not on the image any more.
    Threading::ViewSignal<double> zoomChanged;     ///< Pixels of the screen for a pixel of the image.
    Threading::ViewSignal<Tool, QLineF> lineDrawn; ///< A line in pixels of the image; sent while it is drawn, too.

    /// Shows an image; null for none. The line of a measurement goes.
    /// \param keepsPart whether the visible part stays as it is, for an image that replaces one of the same size.
    void ShowPicture(std::shared_ptr<const ImagePyramid> pyramid, const Calibration& calibration, bool keepsPart);

    /// The display of the image.
    void SetSettings(const Imaging::DisplaySettings& settings);

    /// A text that stands where the image would stand.
    void SetMessage(const QString& text);

    /// Rows of the image have changed.
    void RowsChanged(std::uint32_t first, std::uint32_t count);

    /// What dragging does.
    void SetTool(Tool tool);

    /// The line of a measurement, in pixels of the image; empty for none.
    void SetLine(const std::optional<QLineF>& line);

    void Fit();
    void ZoomTo(double zoom); ///< The middle of the view stays where it is.
    void ZoomBy(double factor);

    double Zoom() const noexcept { return m_transform.Zoom(); }
    const std::optional<QLineF>& Line() const noexcept { return m_line; }

    /// The text of the scale bar that was drawn last; empty if there was none.
    const QString& ScaleBarText() const noexcept { return m_scaleBarText; }

    /// Where a position of the image is in this widget.
    QPointF ToWidget(const QPointF& inImage) const { return m_transform.ToView(inImage) / devicePixelRatioF(); }

    QSize sizeHint() const override { return {640, 640}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QPointF ToScreen(const QPointF& inWidget) const { return inWidget * devicePixelRatioF(); }
    QPointF ToImage(const QPointF& inWidget) const { return m_transform.ToImage(ToScreen(inWidget)); }
    void UpdateSizes();
    void Zoomed();
    void ShowCursor();
    void DrawOverlay(QPainter& painter);

    PicturePainter m_picture;
    ViewTransform m_transform;
    Calibration m_calibration;
    QString m_message;
    QString m_scaleBarText;
    Tool m_tool = Tool::Pan;
    std::optional<QLineF> m_line;
    std::optional<QPointF> m_dragged; ///< Where the pointer was last while a button is pressed, in the widget.
    bool m_isPanning = false;
};

} // namespace Ardo::Kiln::Viewer
