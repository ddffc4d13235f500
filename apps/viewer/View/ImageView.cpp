#include "apps/viewer/View/ImageView.h"

#include "apps/viewer/Model/Texts.h"
#include "apps/viewer/View/ImageOverlay.h"
#include "Ardo/Kiln/Profiling/Stage.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <cmath>
#include <utility>

namespace Ardo::Kiln::Viewer
{

ImageView::ImageView(QWidget* parent) : QWidget(parent)
{
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(120, 120);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(Texts::tr("Image"));
    setAccessibleDescription(Texts::tr("Arrow keys move the image, plus and minus change its size."));
    ShowCursor();
}

void ImageView::ShowPicture(std::shared_ptr<const ImagePyramid> pyramid, const Calibration& calibration, bool keepsPart)
{
    m_picture.SetPyramid(std::move(pyramid));
    m_calibration = calibration;
    m_message.clear();
    SetLine(std::nullopt);
    if (!keepsPart)
    {
        m_transform = ViewTransform();
    }
    UpdateSizes();
    Zoomed();
}

void ImageView::SetSettings(const Imaging::DisplaySettings& settings)
{
    m_picture.SetSettings(settings);
    update();
}

void ImageView::SetMessage(const QString& text)
{
    m_message = text;
    update();
}

void ImageView::RowsChanged(std::uint32_t first, std::uint32_t count)
{
    m_picture.RowsChanged(first, count);
    const double top = ToWidget({0.0, static_cast<double>(first)}).y();
    const double height = count * m_transform.Zoom() / devicePixelRatioF();
    update(QRectF(0, top - 2, width(), height + 4).toAlignedRect());
}

void ImageView::SetTool(Tool tool)
{
    m_tool = tool;
    ShowCursor();
}

void ImageView::SetLine(const std::optional<QLineF>& line)
{
    m_line = line;
    update();
}

void ImageView::Fit()
{
    m_transform.Fit();
    Zoomed();
}

void ImageView::ZoomTo(double zoom)
{
    m_transform.ZoomTo(zoom, ToScreen(QRectF(rect()).center()));
    Zoomed();
}

void ImageView::ZoomBy(double factor)
{
    ZoomTo(m_transform.Zoom() * factor);
}

void ImageView::UpdateSizes()
{
    const auto& pyramid = m_picture.Pyramid();
    const Imaging::size_2d image = pyramid == nullptr ? Imaging::size_2d{1, 1} : pyramid->Size();
    m_transform.SetSizes(QSizeF(size()) * devicePixelRatioF(), QSizeF(image.width, image.height));
}

void ImageView::Zoomed()
{
    update();
    zoomChanged.Emit(m_transform.Zoom());
}

void ImageView::ShowCursor()
{
    setCursor(m_tool != Tool::Pan ? Qt::CrossCursor : m_isPanning ? Qt::ClosedHandCursor : Qt::OpenHandCursor);
}

void ImageView::paintEvent(QPaintEvent* event)
{
    const Profiling::Stage stage("paint image");
    QPainter painter(this);
    painter.fillRect(event->rect(), palette().color(QPalette::Dark));
    painter.save();
    painter.scale(1 / devicePixelRatioF(), 1 / devicePixelRatioF());
    m_picture.Draw(painter, m_transform);
    painter.restore();
    DrawOverlay(painter);
}

void ImageView::DrawOverlay(QPainter& painter)
{
    m_scaleBarText.clear();
    if (m_picture.Pyramid() != nullptr)
    {
        m_scaleBarText = DrawScaleBar(painter, size(), m_calibration, devicePixelRatioF() / m_transform.Zoom());
        if (m_line)
        {
            DrawMeasuredLine(painter, {ToWidget(m_line->p1()), ToWidget(m_line->p2())},
                             m_calibration.LengthText(*m_line));
        }
    }
    if (!m_message.isEmpty())
    {
        painter.fillRect(rect(), palette().color(QPalette::Window));
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(rect().adjusted(24, 24, -24, -24), Qt::AlignCenter | Qt::TextWordWrap, m_message);
    }
}

void ImageView::resizeEvent(QResizeEvent*)
{
    UpdateSizes();
    Zoomed();
}

void ImageView::wheelEvent(QWheelEvent* event)
{
    constexpr double StepsOfDoubling = 4.0;
    constexpr double AngleOfStep = 120.0;
    const double steps = event->angleDelta().y() / AngleOfStep;
    m_transform.ZoomTo(m_transform.Zoom() * std::exp2(steps / StepsOfDoubling), ToScreen(event->position()));
    Zoomed();
    pointed.Emit(ToImage(event->position()));
    event->accept();
}

void ImageView::mousePressEvent(QMouseEvent* event)
{
    if (m_picture.Pyramid() == nullptr || (event->button() != Qt::LeftButton && event->button() != Qt::MiddleButton))
    {
        return;
    }
    m_dragged = event->localPos();
    m_isPanning = m_tool == Tool::Pan || event->button() == Qt::MiddleButton;
    if (!m_isPanning)
    {
        SetLine(QLineF(ToImage(event->localPos()), ToImage(event->localPos())));
    }
    ShowCursor();
}

void ImageView::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF position = event->localPos();
    if (m_dragged && m_isPanning)
    {
        m_transform.PanBy(ToScreen(position) - ToScreen(*m_dragged));
        m_dragged = position;
        update();
    }
    else if (m_dragged && m_line)
    {
        m_line->setP2(ToImage(position));
        update();
        lineDrawn.Emit(m_tool, *m_line);
    }
    if (m_picture.Pyramid() != nullptr)
    {
        pointed.Emit(ToImage(position));
    }
}

void ImageView::mouseReleaseEvent(QMouseEvent*)
{
    m_dragged.reset();
    m_isPanning = false;
    ShowCursor();
}

void ImageView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (m_tool == Tool::Pan && event->button() == Qt::LeftButton)
    {
        m_transform.IsFitted() ? m_transform.ZoomTo(1.0, ToScreen(event->localPos())) : m_transform.Fit();
        Zoomed();
    }
}

void ImageView::leaveEvent(QEvent*)
{
    pointerLeft.Emit();
}

void ImageView::keyPressEvent(QKeyEvent* event)
{
    const double step = event->modifiers() & Qt::ShiftModifier ? 10.0 : 80.0;
    switch (event->key())
    {
    case Qt::Key_Left:
        m_transform.PanBy({step, 0});
        break;
    case Qt::Key_Right:
        m_transform.PanBy({-step, 0});
        break;
    case Qt::Key_Up:
        m_transform.PanBy({0, step});
        break;
    case Qt::Key_Down:
        m_transform.PanBy({0, -step});
        break;
    case Qt::Key_Escape:
        SetLine(std::nullopt);
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    update();
}

} // namespace Ardo::Kiln::Viewer
