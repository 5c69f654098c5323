#pragma once

#include <QGraphicsItem>
#include <QPainterPath>
#include <QPen>
#include <QPolygonF>
#include <QRect>

class InkLayer;

// One piece of a pen stroke: a path in scene coordinates drawn with its own
// pen. In single-point mode (a tap) the path is a small shape that is filled
// instead of stroked.
//
// In the board's scene the item does not paint itself: the scene's ink layer
// draws it (once, into a retained image, when it is finished), and the item
// tells the layer whenever its pixels change.
class MiniPathItem : public QGraphicsItem
{
public:
    enum { Type = UserType + 1 };

    explicit MiniPathItem(QGraphicsItem* parent = nullptr);
    ~MiniPathItem() override;

    void setSinglePnt(bool singlePnt);
    bool isSinglePnt() const { return m_singlePnt; }

    // A finished polyline or run of segments is kept as its points alone
    // (see squeezePath()); its path is then built again on each call.
    QPainterPath path() const;
    // Replaces the path and schedules a repaint. The stroke only grows while
    // it is drawn and the scene keeps no index, so no geometry change is
    // announced first. A path that goes on from the current one (it begins
    // with every element of it, unchanged, and adds lines) changes the ink
    // only around the added lines, where the old end's round cap becomes a
    // round join: the ink layer repaints only that area.
    void setPath(QPainterPath path);
    // Keeps the same path in storage that holds exactly its elements. A path
    // built point by point keeps room for more (at least 16 elements, 24
    // bytes each), which a finished stroke no longer needs. A polyline, or a
    // run of separate segments (a tail part), keeps only its points: 16 bytes
    // a point and none of the path's own data (about 100 bytes).
    void squeezePath();

    QPen pen() const;
    // A pen at most one pixel wide (or cosmetic): Qt draws such lines segment
    // by segment, overlapping segments one over the other, so any part of the
    // path drawn alone shows differently from the whole.
    bool isThin() const { return m_pen.isCosmetic() || m_pen.widthF() <= 1; }
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
    // Whether the path is one polyline: a move, then lines only.
    bool isPolyline() const;
    // Whether the path is exactly this polyline: a move to its first point
    // and a line to each further one, coordinates equal to the last bit.
    bool isPolyline(const QPolygonF& polyline) const;
    // Whether the path holds moves and lines only (one polyline or several).
    bool hasOnlyLines() const;

    // Draws the ink as paint() does, from a private copy of the path, so that
    // the item's own path keeps no drawing cache (a few kilobytes per path).
    void paintInk(QPainter* painter) const;
    // The same, for the pixels within `areas` (item coordinates) only: the
    // segments that cannot reach any of them are left out, which gives the
    // same pixels there for much less work when small areas of a long stroke
    // are drawn again. `bounds` holds all of the areas.
    void paintInkWithin(QPainter* painter, const QRectF& bounds,
                        const QVector<QRectF>& areas) const;

protected:
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;

private:
    friend class BoardHistory;
    friend class InkChangeCommand;
    friend class InkLayer;

    void joinInk();
    void leaveInk();
    // Gives back the record Qt allocates for the item's pixmap cache (its
    // cache mode asks for one; the first update() makes it): two blocks,
    // 128 bytes in all, for pixmaps that an item the ink layer draws never
    // has. The cache mode stays; Qt makes a new record when it needs one.
    void releaseCacheRecord();
    void inkChanged();
    // The index of the current path's last element when `path` goes on from
    // it as setPath() describes; -1 otherwise.
    int continuationOf(const QPainterPath& path) const;
    void inkFlagsChanged();

    // The scene asks for the bounds at every paint of every item, and the
    // eraser for the shape at every step; stroking a path is far dearer than
    // both, so the results are kept until the path or the pen changes.
    void invalidateGeometry();

    // How the path is kept: whole, or as points whose moves and lines follow
    // a fixed pattern (then m_path is empty).
    enum Storage : quint8 {
        WholePath,
        Polyline, // one move, then lines
        Segments, // a move and a line, again and again
    };
    int elementCount() const;
    QPainterPath::ElementType typeAt(int i) const;
    QPointF pointAt(int i) const;

    QPen m_pen;
    QPainterPath m_path;
    QPolygonF m_points;
    mutable QRectF m_boundingRect;
    mutable QPainterPath m_shape;

    // Kept by the ink layer that draws the item (null outside the board's
    // scene): its order of entry into the scene, the scene pixels it covers,
    // and where it stands (wet, waiting, baked into an image).
    InkLayer* m_ink = nullptr;
    quint64 m_inkSeq = 0;
    QRect m_inkRect;
    quint32 m_inkVisit = 0;
    quint8 m_inkState = 0;
    qint8 m_inkBand = 0;
    bool m_inkTouched = false;
    bool m_inkInteractive = false;
    // Whether the item was visible when the layer last heard of it: Qt also
    // reports a newly added item as having become visible (when it polishes
    // it, one pass of the event loop later), which changes nothing.
    bool m_inkVisible = true;
    // The flags the layer added, to be cleared again when the item leaves it.
    quint16 m_inkFlags = 0;
    // How many steps of the board's history refer to the item.
    quint16 m_historyRefs = 0;
    Storage m_storage = WholePath;
    bool m_singlePnt = false;
    mutable bool m_boundsValid = false;
    mutable bool m_shapeValid = false;
};
