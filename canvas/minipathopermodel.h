#pragma once

#include "canvas/baseoperation.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QPainterPath>
#include <QPen>
#include <QPointF>

class MiniPathItem;

// The pen. Every finger and the mouse draw a stroke of their own, keyed by an
// id: 101 for the mouse, the platform's touch-point id for each finger. The
// stroke's points are kept in scene coordinates, and after each accepted
// point the stroke builder brings the stroke's items up to date: a dot for
// the first point, then a smoothed body at full width and a tapered tail.
class MiniPathOpermodel : public BaseOperation
{
    Q_OBJECT

public:
    static constexpr int MouseStrokeId = 101;
    // The tail is never cut into more parts than this, whatever the pen width
    // (a width of 100 needs under 190).
    static constexpr int MaxTailParts = 256;

    MiniPathOpermodel();
    ~MiniPathOpermodel() override;

    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void touchBegine(QTouchEvent* e) override;
    void touchUpdate(QTouchEvent* e) override;
    void touchEnd(QTouchEvent* e) override;
    void forgetItems(const QList<QGraphicsItem*>& items) override;
    // Hands every stroke still in progress to the board's history as it
    // stands, each as one step. A stroke whose pointer is still down goes on
    // from where it is, as a stroke of its own. The eraser calls this before
    // it cuts, and undo before it takes anything back, so that no step ever
    // refers to ink that a stroke in progress still changes.
    void recordOpenStrokes();

    // `add` appended to `base` as straight lines to each of its points after
    // the first (whatever the element types); a copy of `add` if `base` is
    // empty.
    static QPainterPath mergePath(const QPainterPath& base, const QPainterPath& add);
    // The path flattened into a polyline through its curve.
    static QPainterPath cubToLine(const QPainterPath& path);
    // Cuts the polyline into consecutive parts of the given length, each edge
    // as its own move-and-line subpath. A length that is not a positive finite
    // number leaves the polyline in one part; at most MaxTailParts parts are
    // made, the last one taking whatever remains.
    static QList<QPainterPath> cutTail(QPolygonF polygon, qreal segmentLength);

    // Read-only views of the per-stroke state.
    const QMap<int, QList<QPointF>>& pointMap() const { return m_pntMap; }
    const QMap<int, QList<QPainterPath>>& pathMap() const { return m_pathMap; }
    const QMap<int, MiniPathItem*>& curItemMap() const { return m_curItemMap; }
    const QMap<int, QList<MiniPathItem*>>& itemMap() const { return m_itemMap; }
    int penWidth() const { return m_penWidth; }
    bool isTouch() const { return m_isTouch; }

private:
    void touchPrivate(QTouchEvent* e);
    void forgetReleasedTouches(QTouchEvent* e);
    void forgetTouchStrokes();
    void pressPrivate(int id, const QPointF& scenePos);
    void updatePos(int id, const QPointF& scenePos);
    void PntListChanged(int id);
    void addDot(int id, const QPointF& point, QList<QPainterPath>& pieces);
    qreal tailStartWidth(const QList<QPainterPath>& pieces, MiniPathItem* body) const;
    // The tail cut into parts, widest first; body is the stroke's current
    // body item, if it has one.
    QList<QPainterPath> tailParts(const QList<QPainterPath>& pieces, MiniPathItem* body) const;
    void deleteTail(int id);
    // The stroke's items go to the board's history as one step.
    void recordStroke(int id);
    // The stroke is no longer drawn: its items dry into the ink layer and,
    // with `record`, become one step of the board's history.
    void finishStroke(int id, bool record = true);
    MiniPathItem* addPathToScene(int id, int width, const QPainterPath& path);
    // The current pen at this width, one pen shared by every item drawn at
    // it: an item's own copy of a pen costs about 80 bytes of heap.
    QPen penOfWidth(int width);
    QPointF toScene(const QPoint& viewportPos) const;

    int m_penWidth = 0;
    QMap<int, QList<QPointF>> m_pntMap;
    QMap<int, QList<QPainterPath>> m_pathMap;
    QMap<int, MiniPathItem*> m_curItemMap;
    QMap<int, QList<MiniPathItem*>> m_itemMap;
    // Every item that each stroke in progress has in the scene, in the order
    // they entered it; the step it becomes when the stroke is finished.
    QMap<int, QList<MiniPathItem*>> m_strokeItems;
    bool m_isTouch = false;
    QPen m_penBase;
    QHash<int, QPen> m_pensByWidth;
};
