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
}

void MiniPathItem::setPenWidth(int width)
{
    m_pen.setWidth(width);
}

QRectF MiniPathItem::boundingRect() const
{
    QPainterPathStroker stroker;
    stroker.setWidth(qreal(pen().width()));
    return stroker.createStroke(path()).boundingRect();
}

QPainterPath MiniPathItem::shape() const
{
    QPainterPathStroker stroker;
    stroker.setWidth(pen().width() * 0.5);
    return stroker.createStroke(path());
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
