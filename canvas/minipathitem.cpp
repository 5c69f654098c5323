#include "canvas/minipathitem.h"

#include <QPainter>
#include <QPainterPathStroker>

MiniPathItem::MiniPathItem(QGraphicsItem* parent)
    : QGraphicsItem(parent)
{
    setCacheMode(QGraphicsItem::DeviceCoordinateCache);
}

MiniPathItem::~MiniPathItem() = default;

void MiniPathItem::setSinglePnt(bool singlePnt)
{
    m_singlePnt = singlePnt;
}

QPainterPath MiniPathItem::path() const
{
    return m_path;
}

void MiniPathItem::setPath(QPainterPath path)
{
    m_path = std::move(path);
    invalidateGeometry();
    update(QRectF());
}

QPen MiniPathItem::pen() const
{
    return m_pen;
}

void MiniPathItem::setPen(const QPen& pen)
{
    m_pen = pen;
    m_pen.setCapStyle(Qt::RoundCap);
    m_pen.setJoinStyle(Qt::RoundJoin);
    invalidateGeometry();
}

void MiniPathItem::setPenWidth(int width)
{
    m_pen.setWidth(width);
    invalidateGeometry();
}

void MiniPathItem::invalidateGeometry()
{
    m_boundsValid = false;
    m_shapeValid = false;
}

QRectF MiniPathItem::boundingRect() const
{
    if (!m_boundsValid) {
        QPainterPathStroker stroker;
        stroker.setWidth(qreal(m_pen.width()));
        m_boundingRect = stroker.createStroke(m_path).boundingRect();
        m_boundsValid = true;
    }
    return m_boundingRect;
}

QPainterPath MiniPathItem::shape() const
{
    if (!m_shapeValid) {
        QPainterPathStroker stroker;
        stroker.setWidth(m_pen.width() * 0.5);
        m_shape = stroker.createStroke(m_path);
        m_shapeValid = true;
    }
    return m_shape;
}

void MiniPathItem::paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget)
{
    Q_UNUSED(option)
    Q_UNUSED(widget)
    painter->setPen(m_pen);
    if (m_singlePnt)
        painter->fillPath(m_path, QBrush(m_pen.color(), Qt::SolidPattern));
    else
        painter->drawPath(m_path);
}

int MiniPathItem::type() const
{
    return Type;
}

QPolygonF MiniPathItem::getPolygon() const
{
    QPolygonF polygon = m_path.toFillPolygon(QTransform());
    if (polygon.isEmpty())
        return polygon;
    if (polygon.first() == polygon.last())
        polygon.removeLast();
    return polygon;
}
