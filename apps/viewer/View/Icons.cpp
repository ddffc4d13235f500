#include "apps/viewer/View/Icons.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

#include <initializer_list>

namespace Ardo::Kiln::Viewer
{

namespace
{

constexpr double Side = 24.0; // of the paths below

QPainterPath Polygon(std::initializer_list<QPointF> corners)
{
    QPainterPath path;
    path.addPolygon(QVector<QPointF>(corners));
    path.closeSubpath();
    return path;
}

QPainterPath Rectangle(double x, double y, double width, double height)
{
    QPainterPath path;
    path.addRect(x, y, width, height);
    return path;
}

/// An arrow to the left.
QPainterPath Arrow()
{
    return Polygon({{3, 12}, {12, 4}, {12, 9}, {21, 9}, {21, 15}, {12, 15}, {12, 20}});
}

QPainterPath PathOf(Symbol symbol)
{
    switch (symbol)
    {
    case Symbol::Open: // a folder with its front tilted
        return Polygon({{2, 19}, {2, 5}, {9, 5}, {11, 7}, {19, 7}, {19, 9}, {6, 9}}) +
               Polygon({{7, 11}, {23, 11}, {19, 20}, {3, 20}});
    case Symbol::Save: // a floppy disk
        return Polygon({{3, 3}, {18, 3}, {21, 6}, {21, 21}, {3, 21}}) - Rectangle(7, 5, 8, 5) - Rectangle(6, 13, 12, 6);
    case Symbol::Previous:
        return Arrow();
    case Symbol::Next:
        return QTransform(-1, 0, 0, 1, Side, 0).map(Arrow());
    case Symbol::Start:
        return Polygon({{6, 3}, {21, 12}, {6, 21}});
    case Symbol::Stop:
        return Rectangle(4, 4, 16, 16);
    case Symbol::Close:
        break;
    }
    return Polygon({{5, 7}, {7, 5}, {19, 17}, {17, 19}}) + Polygon({{17, 5}, {19, 7}, {7, 19}, {5, 17}});
}

class PaletteIcon : public QIconEngine
{
public:
    PaletteIcon(Symbol symbol, QPalette::ColorRole role) : m_symbol(symbol), m_role(role) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const auto role = mode == QIcon::Selected ? QPalette::HighlightedText : m_role;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.topLeft());
        painter->scale(rect.width() / Side, rect.height() / Side);
        painter->fillPath(PathOf(m_symbol), QGuiApplication::palette().color(group, role));
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, pixmap.rect(), mode, state);
        return pixmap;
    }

    QIconEngine* clone() const override { return new PaletteIcon(*this); }

private:
    Symbol m_symbol;
    QPalette::ColorRole m_role;
};

} // namespace

QIcon MakeIcon(Symbol symbol, QPalette::ColorRole role)
{
    return QIcon(new PaletteIcon(symbol, role)); // which the icon owns
}

} // namespace Ardo::Kiln::Viewer
