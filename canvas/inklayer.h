#pragma once

#include <QHash>
#include <QImage>
#include <QList>
#include <QPainter>
#include <QRegion>
#include <QTransform>
#include <QVector>

#include <functional>

class MiniPathItem;
class QGraphicsItem;
class QGraphicsScene;
class QGraphicsView;
class QWidget;

// The board's ink, drawn once. Stroke items that are finished ("dry") are
// painted into retained images that cover the board's view and are composed
// from them in one blit; only what changes is drawn again. Strokes that are
// still being drawn ("wet", marked by the pen) are painted over the images at
// every repaint until they are finished.
//
// The items themselves stay ordinary scene items: they keep their paths,
// pens, z values and scene membership, and the eraser still finds them through
// the scene. They only stop painting themselves (QGraphicsItem::
// ItemHasNoContents), which also spares Qt's per-item work in every repaint.
//
// Stacking is kept exactly: an item is painted above another when its z value
// is higher, or on equal z when it entered the scene later, as Qt orders
// them. Two images split the ink at one z value, the level of the eraser's
// picture (the one item of the board that is not ink): ink below that level,
// then the picture and any ink exactly at that level, then the ink above. An
// item that is not above everything dry that it overlaps when it dries (a
// tap's dot, which lies at z 0, or a piece the eraser cut) has its area
// redrawn from the items there, found through a grid of the dry items; and a
// finished stroke that overlaps a still older stroke in progress waits until
// that stroke is finished too, so that wet ink is always painted above the
// dry ink under it.
class InkLayer
{
public:
    InkLayer(QGraphicsScene* scene, qreal splitZ);
    ~InkLayer();

    InkLayer(const InkLayer&) = delete;
    InkLayer& operator=(const InkLayer&) = delete;

    // Bookkeeping, called by MiniPathItem when it enters or leaves the scene
    // as a top-level item, and when anything that changes its pixels changes.
    void addItem(MiniPathItem* item);
    void removeItem(MiniPathItem* item);
    void itemChanged(MiniPathItem* item);
    // The item's path went on from element `from`, its last element before:
    // the path up to there is unchanged, and lines follow.
    void itemExtended(MiniPathItem* item, int from);

    // The pen marks the items of a stroke that is still being drawn, and
    // unmarks them when the stroke is finished. Unmarked items are dry.
    void setWet(MiniPathItem* item, bool wet);
    // Asks every view of the scene to repaint this scene rectangle (once per
    // pass of the event loop, with everything else that changed). What the
    // layer paints besides the ink (the eraser's picture) is repainted this
    // way when it moves.
    void requestRepaint(const QRectF& sceneRect);

    // The eraser cuts a stroke into pieces of itself: beginCut() says where
    // the cut changes its pixels (outside that area the pieces show what the
    // stroke showed), endCut() hands over the new pieces. When the stroke's
    // pixels are in an image, only that area is drawn again and the pieces
    // take the stroke's pixels; beginCut() then returns true.
    bool beginCut(MiniPathItem* item, const QRect& changedSceneRect);
    void endCut(const QList<MiniPathItem*>& pieces);

    // Every stroke is finished (the tool changed): everything wet dries.
    void dryAll();
    // Every item is about to leave the scene (clearing the board): forgets
    // them all at once instead of one by one.
    void clear();

    // The other items of the board's scene (the eraser's picture and its
    // probe), which the layer paints in their place above or below the ink:
    // the eraser tells when they enter and leave the scene.
    void noteOverlayAdded(QGraphicsItem* item);
    void noteOverlayRemoved(QGraphicsItem* item);
    const QList<QGraphicsItem*>& overlays() const { return m_overlays; }
    // Whether the scene holds nothing but the ink and the overlays, none of
    // which takes mouse input: then a press under the pointer has nobody to
    // go to, whatever lies there.
    bool holdsOnlyBoardItems() const;
    // A stroke item that a host made selectable, movable or focusable.
    void setItemInteractive(MiniPathItem* item, bool interactive);

    // The ink items whose bounds meet the probe's, ordered as
    // QGraphicsItem::collidingItems() orders the items it finds (topmost
    // first): the candidates for a collision with the probe, which the caller
    // tests (after ruling out, more cheaply, those it has no use for).
    QList<MiniPathItem*> strokesNear(const QGraphicsItem* probe) const;

    // Whether paint() can draw this view's exposed area: the scene holds the
    // ink and the overlays and nothing else, and this is the view the images
    // belong to (the scene's first).
    bool canPaint(const QGraphicsView* view) const;
    // Draws the ink and the overlays for the exposed region of the view's
    // viewport (device coordinates); the painter paints on the viewport with
    // no transform. With `replace`, what the region held before is replaced
    // (nothing else is drawn beneath the ink); otherwise the ink is laid
    // over it.
    void paint(QGraphicsView* view, QPainter* painter, const QRegion& exposed, bool replace);
    // Draws one ink item with its scene transform and opacity on a painter
    // whose world transform maps the scene.
    static void paintItem(MiniPathItem* item, QPainter* painter);
    // The same for the pixels within `areas` (scene coordinates, all held by
    // `bounds`): a plain item (no transform, full opacity) draws only the
    // segments that can reach them; any other item, or no areas, all of it.
    static void paintItemWithin(MiniPathItem* item, QPainter* painter, const QRectF& bounds,
                                const QVector<QRectF>& areas);

    int count() const { return m_count; }
    // What the images hold, for tests and figures.
    int wetCount() const { return m_live.size(); }
    int pendingCount() const { return m_pending.size(); }
    int bakedCount() const;
    // Total bytes of the retained images.
    qint64 imageBytes() const;

private:
    enum State : quint8 { None = 0, Pending, Baked, Wet, Level };
    struct Band
    {
        QImage image;
        QRegion dirty;  // scene coordinates, to be drawn again
        QRect used;     // device coordinates painted so far
        qreal maxZ = 0; // highest stacking key baked so far
        quint64 maxSeq = 0;
        bool hasMax = false;
        QHash<quint64, QVector<MiniPathItem*>> cells;
        QVector<MiniPathItem*> wide; // too large for the cells, or empty
        int baked = 0;
    };

    static bool above(const MiniPathItem* a, qreal bz, quint64 bseq);
    QRect sceneRectOf(const MiniPathItem* item) const;
    // The box of an untransformed item's points from element `from` on,
    // widened by the farthest a square cap reaches; empty when the points
    // (nearly) coincide.
    static QRect linesRectOf(const MiniPathItem* item, int from);
    // The rectangle widened by half the item's pen width.
    static QRect withReach(const QRect& rect, const MiniPathItem* item);
    int bandOf(qreal z) const;
    void setState(MiniPathItem* item, State state);
    void touch(MiniPathItem* item);
    void addRepaint(const QRect& sceneRect);
    QRegion takeRepaint();
    void scheduleDispatch();
    void refreshTouched();
    void dispatch();
    void takeFromLive(MiniPathItem* item);
    void takeFromPending(MiniPathItem* item);
    void gridInsert(Band& band, MiniPathItem* item);
    void gridRemove(Band& band, MiniPathItem* item);
    void forEachInGrid(const Band& band, const QRect& sceneRect,
                       const std::function<void(MiniPathItem*)>& visit) const;
    void unbake(MiniPathItem* item);
    void bakeInPlace(MiniPathItem* item);
    void flush(QGraphicsView* view);
    bool prepareImages(QGraphicsView* view);
    void redraw(Band& band, const QRegion& sceneRegion);
    QRect toDevice(const QRect& sceneRect) const;
    QRect toScene(const QRect& deviceRect) const;
    quint64 seqOf(const QGraphicsItem* item) const;

    QGraphicsScene* m_scene;
    qreal m_splitZ;
    Band m_bands[2];
    QVector<MiniPathItem*> m_live;
    QVector<MiniPathItem*> m_pending;
    QVector<MiniPathItem*> m_touched;
    QList<QGraphicsItem*> m_overlays;
    // The stroke being cut, and where the cut changes it.
    MiniPathItem* m_cutItem = nullptr;
    QRect m_cutRect;
    QHash<const QGraphicsItem*, quint64> m_overlaySeq;
    int m_interactive = 0;
    // The scene rectangles to repaint, gathered until the next dispatch.
    QVector<QRect> m_repaint;
    quint64 m_seq = 0;
    mutable quint32 m_visit = 0;
    int m_count = 0;
    bool m_dispatchScheduled = false;
    bool m_foreignSeen = false;

    // The view whose viewport the images cover, and how they map the scene.
    const QWidget* m_viewport = nullptr;
    QTransform m_toDevice;
    QPainter::RenderHints m_hints;
    QSize m_imageSize;
    qreal m_dpr = 1.0;
    bool m_imagesValid = false;
};
