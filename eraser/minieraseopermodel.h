#pragma once

#include "canvas/baseoperation.h"

#include <QList>
#include <QPixmap>
#include <QPointF>
#include <QPolygonF>
#include <QSize>

class MiniPathItem;
class QGraphicsPathItem;
class QGraphicsPixmapItem;

// The eraser: a rectangular picture that follows the mouse or the first finger
// of a touch and, at every step, cuts the strokes that its rectangle swept
// over since the previous step. What lies outside the swept area survives; a
// stroke cut into several parts becomes several stroke items, and a stroke
// wholly inside the area is deleted.
//
// The operation declares no signals, slots or properties; its meta-object is
// BaseOperation's.
class MiniEraseOperModel : public BaseOperation
{
public:
    // The picture's z value: above the first strokes (z values count up from
    // 0, one per stroke item).
    static constexpr qreal EarseZValue = 9000.0;

    MiniEraseOperModel();
    ~MiniEraseOperModel() override;

    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void touchBegine(QTouchEvent* e) override;
    void touchUpdate(QTouchEvent* e) override;
    void touchEnd(QTouchEvent* e) override;

    // Drops the pointers to the eraser's own items when the view is about to
    // delete them; they are created again at the next press or touch begin.
    void forgetItems(const QList<QGraphicsItem*>& items) override;

    // Creates the eraser picture (its offset at pos) and the probe of the
    // swept area, each only if it does not exist yet, and only when there is
    // a scene. The items are not added to the scene here.
    void initEarse(QPointF const& pos);
    // One erasing step from m_lastPnt to m_curPnt.
    void earse();
    // Drives the eraser with the touch point whose id is m_touchId; all other
    // fingers are ignored.
    void touchPrivate(QTouchEvent* e);

    // The parts of the stroke polyline pts that lie outside the closed
    // polygon area, as polylines in stroke order. Segments whose integer box
    // misses the area are copied whole without being cut. With `changed`,
    // the bounds of the segments that were cut or dropped are added to it.
    static QList<QPolygonF> cutPolygon(const QPolygonF& pts, const QPolygonF& area,
                                       QRectF* changed = nullptr);
    // True only when probe->collidesWithItem(stroke, Qt::IntersectsItemShape)
    // is true, told without Qt's shape test: a point of the stroke's
    // polyline (`polyline`, its getPolygon(); nothing is told unless the
    // stroke's path is exactly that polyline) that ends a segment lies inside
    // the swept area (`area`, the probe's path as a closed polygon) farther
    // from every edge than the probe's pen and the stroke's shape reach.
    // False tells nothing.
    static bool surelyCollides(const QGraphicsPathItem* probe, const QPolygonF& area,
                               const MiniPathItem* stroke, const QPolygonF& polyline);
    // Replaces the top-level stroke item by the pieces: no piece deletes it;
    // otherwise it keeps the first piece, pen and z value, and every further
    // piece of two or more points becomes a new item with the same pen and
    // the item's z value truncated to an integer, in the item's scene.
    // Returns the new items.
    QList<MiniPathItem*> applyPieces(MiniPathItem* item, const QList<QPolygonF>& pieces);

    QSize earseSize() const { return m_earseSize; }
    QGraphicsPixmapItem* earseItem() const { return m_earseItem; }
    QGraphicsPathItem* earsePathItem() const { return m_earsePathItem; }
    int halfWidth() const { return m_halfWidth; }
    int halfHeight() const { return m_halfHeight; }
    QPointF lastPnt() const { return m_lastPnt; }
    QPointF curPnt() const { return m_curPnt; }
    int touchId() const { return m_touchId; }
    bool isTouch() const { return m_isTouch; }

private:
    // Puts the picture, then the probe, into m_scene (once).
    void showItems();
    // Takes the picture, then the probe, out of their scene.
    void hideItems();
    void addToScene(QGraphicsItem* item, QObject*& owner);
    void removeFromScene(QGraphicsItem* item, QObject*& owner);
    void placeEarse(const QPointF& centre);
    // Asks for a repaint of where the picture is now.
    void repaintEarse();
    void removeStroke(MiniPathItem* item);
    // The drag is over: what it erased becomes one step of the history.
    void endErase();
    // Where cutting the stroke into these pieces changes what it shows, when
    // that can be told from the segments that were cut (`cutSegments`);
    // false when the pieces may show differently anywhere.
    static bool changedArea(const MiniPathItem* stroke, const QList<QPolygonF>& pieces,
                            const QRectF& cutSegments, QRect* area);
    void watchScene();
    void sceneDestroyed(QObject* scene);

    QSize m_earseSize;
    QGraphicsPixmapItem* m_earseItem = nullptr;
    QGraphicsPathItem* m_earsePathItem = nullptr;
    QPixmap m_earsePixmap;
    int m_halfWidth = -1;
    int m_halfHeight = -1;
    QPointF m_lastPnt;
    QPointF m_curPnt;
    int m_touchId = -1;
    bool m_isTouch = false;

    // The scene (as a QObject, recorded while it was alive) that holds each of
    // the two items, null while the item is detached. A scene deletes its
    // items when it is destroyed, so these tell which pointers die with it.
    QObject* m_earseItemOwner = nullptr;
    QObject* m_earsePathItemOwner = nullptr;
    // m_scene as a QObject, recorded when its destruction was first watched.
    QObject* m_watchedScene = nullptr;
};
