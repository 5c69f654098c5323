#pragma once

#include <QGraphicsItem>
#include <QPainterPath>
#include <QPen>
#include <QPolygonF>

// One piece of a pen stroke: a path in scene coordinates drawn with its own
// pen. In single-point mode (a tap) the path is a small shape that is filled
// instead of stroked.
class MiniPathItem : public QGraphicsItem
{
public:
    enum { Type = UserType + 1 };

    explicit MiniPathItem(QGraphicsItem* parent = nullptr);
    ~MiniPathItem() override;

    void setSinglePnt(bool singlePnt);
    bool isSinglePnt() const { return m_singlePnt; }

    QPainterPath path() const;
    // Replaces the path and schedules a repaint. The stroke only grows while
    // it is drawn and the scene keeps no index, so no geometry change is
    // announced first.
    void setPath(QPainterPath path);

    QPen pen() const;
    // Takes the pen with round cap and round join, whatever it had.
    void setPen(const QPen& pen);
    void setPenWidth(int width);

    QRectF boundingRect() const override;
    // A band half as wide as the drawn line: what the eraser's hit test sees.
    QPainterPath shape() const override;
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;
    int type() const override;

    // The path flattened to its points, each vertex once: the closing point
    // that flattening repeats is dropped.
    virtual QPolygonF getPolygon() const;

private:
    // The scene asks for the bounds at every paint of every item, and the
    // eraser for the shape at every step; stroking a path is far dearer than
    // both, so the results are kept until the path or the pen changes.
    void invalidateGeometry();

    QPen m_pen;
    bool m_singlePnt = false;
    QPainterPath m_path;
    mutable QRectF m_boundingRect;
    mutable QPainterPath m_shape;
    mutable bool m_boundsValid = false;
    mutable bool m_shapeValid = false;
};
