#include "canvas/inklayer.h"

#include "canvas/minipathitem.h"

#include <QGraphicsItem>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QMetaObject>
#include <QPainter>
#include <QStyleOptionGraphicsItem>

#include <algorithm>
#include <cmath>

namespace {

// Side of a grid cell in scene pixels. A tail item covers one cell or two, a
// body item (at most 200 pixels of path) a few.
constexpr int kCellShift = 7;
// Room around an item's bounds for antialiasing, as Qt leaves it.
constexpr int kMargin = 2;
// Positions beyond this are clamped; no screen is that large.
constexpr qreal kFar = 1 << 24;

quint64 cellKey(int cx, int cy)
{
    return (quint64(quint32(cx)) << 32) | quint32(cy);
}

QRect alignedRect(const QRectF& rect)
{
    if (!std::isfinite(rect.x()) || !std::isfinite(rect.y()) || !std::isfinite(rect.width()) ||
        !std::isfinite(rect.height()) || rect.isEmpty())
        return QRect();
    const QRectF bounded = rect.intersected(QRectF(-kFar, -kFar, 2 * kFar, 2 * kFar));
    if (bounded.isEmpty())
        return QRect();
    return bounded.toAlignedRect().adjusted(-kMargin, -kMargin, kMargin, kMargin);
}

struct Live
{
    QGraphicsItem* item;
    MiniPathItem* ink;
    qreal z;
    quint64 seq;
};

bool liveBelow(const Live& a, const Live& b)
{
    return a.z < b.z || (a.z == b.z && a.seq < b.seq);
}

// Repainting a few more pixels of the retained images costs less than a
// ragged region: Qt clips every drawing to each of its rectangles and sends
// each one to the X server on its own. The rectangles asked for are
// repainted as their bounding rectangle when that is at most three times
// their total area (overlaps counted again) or adds at most this many
// pixels; otherwise as their union.
constexpr double kRepaintSlack = 128 * 128;

// The union of many rectangles, merged pairwise: adding them one by one to
// a region merges each into everything added before.
QRegion unionOf(const QVector<QRect>& rects)
{
    QVector<QRegion> level;
    level.reserve(rects.size());
    for (const QRect& rect : rects)
        level.append(QRegion(rect));
    while (level.size() > 1) {
        QVector<QRegion> next;
        next.reserve((level.size() + 1) / 2);
        for (int i = 0; i < level.size(); i += 2)
            next.append(i + 1 < level.size() ? level.at(i).united(level.at(i + 1)) : level.at(i));
        level.swap(next);
    }
    return level.isEmpty() ? QRegion() : level.first();
}

} // namespace

InkLayer::InkLayer(QGraphicsScene* scene, qreal splitZ)
    : m_scene(scene)
    , m_splitZ(splitZ)
{
}

InkLayer::~InkLayer()
{
    clear();
}

bool InkLayer::above(const MiniPathItem* a, qreal bz, quint64 bseq)
{
    const qreal az = a->zValue();
    return az > bz || (az == bz && a->m_inkSeq > bseq);
}

// The item's bounding rectangle strokes its path with square caps and bevel
// joins, as its design gives it; the ink is drawn with round joins, which
// reach up to half the pen's width further out where the stroke turns
// sharply.
//
// Stroking a path only to learn its bounds is costly, and the eraser makes
// dozens of new pieces at every step, the pen several tail parts at every
// point. For lines in scene coordinates (one polyline, or several as in a
// tail part) the box of their points, widened by the farthest a square cap
// reaches (half the width times the square root of two), holds the stroked
// outline and so the item's bounding rectangle: a little wider at most,
// never narrower.
QRect InkLayer::sceneRectOf(const MiniPathItem* item) const
{
    QRect rect;
    if (item->elementCount() >= 2 && item->hasOnlyLines() && item->sceneTransform().isIdentity())
        rect = linesRectOf(item, 0);
    if (rect.isEmpty())
        rect = alignedRect(item->sceneBoundingRect());
    return withReach(rect, item);
}

QRect InkLayer::linesRectOf(const MiniPathItem* item, int from)
{
    const int count = item->elementCount();
    if (from < 0 || from >= count - 1)
        return QRect();
    const QPointF first = item->pointAt(from);
    qreal left = first.x();
    qreal right = left;
    qreal top = first.y();
    qreal bottom = top;
    for (int i = from + 1; i < count; ++i) {
        const QPointF point = item->pointAt(i);
        left = qMin(left, point.x());
        right = qMax(right, point.x());
        top = qMin(top, point.y());
        bottom = qMax(bottom, point.y());
    }
    // Points that all (nearly) coincide are left to the stroker, which
    // strokes them to nothing.
    if (right - left <= 1e-6 && bottom - top <= 1e-6)
        return QRect();
    const qreal cap = qMax(1, item->m_pen.width()) * 0.7072;
    return alignedRect(
        QRectF(QPointF(left, top), QPointF(right, bottom)).adjusted(-cap, -cap, cap, cap));
}

QRect InkLayer::withReach(const QRect& rect, const MiniPathItem* item)
{
    if (rect.isEmpty())
        return rect;
    const qreal width = item->m_pen.widthF();
    const int reach = std::isfinite(width) ? int(std::ceil(qBound(qreal(0), width, kFar) / 2)) : 0;
    return rect.adjusted(-reach, -reach, reach, reach);
}

int InkLayer::bandOf(qreal z) const
{
    return z < m_splitZ ? 0 : 1;
}

int InkLayer::bakedCount() const
{
    return m_bands[0].baked + m_bands[1].baked;
}

qint64 InkLayer::imageBytes() const
{
    return m_bands[0].image.sizeInBytes() + m_bands[1].image.sizeInBytes();
}

// ---------------------------------------------------------------------------
// Bookkeeping

void InkLayer::addItem(MiniPathItem* item)
{
    if (!item || item->m_ink)
        return;
    item->m_ink = this;
    item->m_inkSeq = ++m_seq;
    item->m_inkRect = QRect();
    ++m_count;
    if (item->zValue() == m_splitZ) {
        item->m_inkState = Level;
        m_live.append(item);
    } else {
        item->m_inkState = Pending;
        m_pending.append(item);
    }
    touch(item);
}

void InkLayer::removeItem(MiniPathItem* item)
{
    if (!item || item->m_ink != this)
        return;
    switch (item->m_inkState) {
    case Pending:
        takeFromPending(item);
        requestRepaint(QRectF(item->m_inkRect));
        break;
    case Baked:
        unbake(item);
        takeFromPending(item);
        break;
    case Wet:
    case Level:
        takeFromLive(item);
        requestRepaint(QRectF(item->m_inkRect));
        break;
    default:
        break;
    }
    if (item->m_inkTouched) {
        m_touched.removeOne(item);
        item->m_inkTouched = false;
    }
    setItemInteractive(item, false);
    item->m_ink = nullptr;
    item->m_inkState = None;
    --m_count;
}

void InkLayer::itemChanged(MiniPathItem* item)
{
    if (!item || item->m_ink != this)
        return;
    const bool level = item->zValue() == m_splitZ;
    switch (item->m_inkState) {
    case Baked:
        unbake(item);
        break;
    case Pending:
        requestRepaint(QRectF(item->m_inkRect));
        if (level) {
            takeFromPending(item);
            item->m_inkState = Level;
            m_live.append(item);
        }
        break;
    case Wet: {
        requestRepaint(QRectF(item->m_inkRect));
        // Wet ink is painted over the dry ink, so it must stay above it; a
        // stroke item moved below what has dried is drawn in its place.
        const Band& band = m_bands[bandOf(item->zValue())];
        if (level) {
            item->m_inkState = Level;
        } else if (band.hasMax && !above(item, band.maxZ, band.maxSeq)) {
            takeFromLive(item);
            item->m_inkState = Pending;
            m_pending.append(item);
        }
        break;
    }
    case Level:
        requestRepaint(QRectF(item->m_inkRect));
        if (!level) {
            takeFromLive(item);
            item->m_inkState = Pending;
            m_pending.append(item);
        }
        break;
    default:
        break;
    }
    touch(item);
}

void InkLayer::itemExtended(MiniPathItem* item, int from)
{
    if (!item || item->m_ink != this)
        return;
    // Wet ink is painted over the images at every repaint, so only the area
    // that the added lines change needs one. A thin pen's lines are drawn
    // one over the other, and anything else goes the ordinary way too.
    QRect added;
    if (item->m_inkState == Wet && !item->m_inkTouched && !item->isThin() &&
        item->sceneTransform().isIdentity())
        added = withReach(linesRectOf(item, from), item);
    if (added.isEmpty()) {
        itemChanged(item);
        return;
    }
    item->m_inkRect |= added;
    requestRepaint(QRectF(added));
}

void InkLayer::setWet(MiniPathItem* item, bool wet)
{
    if (!item || item->m_ink != this)
        return;
    if (wet) {
        if (item->m_inkState == Baked) {
            unbake(item);
            takeFromPending(item);
        } else if (item->m_inkState == Pending) {
            takeFromPending(item);
        } else {
            return;
        }
        item->m_inkState = Wet;
        m_live.append(item);
        touch(item);
    } else if (item->m_inkState == Wet) {
        takeFromLive(item);
        item->m_inkState = Pending;
        m_pending.append(item);
        touch(item);
    }
}

void InkLayer::dryAll()
{
    for (int i = m_live.size() - 1; i >= 0; --i) {
        MiniPathItem* item = m_live.at(i);
        if (item->m_inkState != Wet)
            continue;
        m_live.removeAt(i);
        item->m_inkState = Pending;
        m_pending.append(item);
        touch(item);
    }
}

void InkLayer::clear()
{
    // Ink painted over the images (wet, waiting to dry) is on the screen
    // where its rectangle says, and goes with the rest.
    for (MiniPathItem* item : qAsConst(m_live))
        requestRepaint(QRectF(item->m_inkRect));
    for (MiniPathItem* item : qAsConst(m_pending))
        requestRepaint(QRectF(item->m_inkRect));
    auto forget = [](MiniPathItem* item) {
        item->m_ink = nullptr;
        item->m_inkInteractive = false;
        item->m_inkState = None;
        item->m_inkTouched = false;
    };
    for (MiniPathItem* item : qAsConst(m_live))
        forget(item);
    for (MiniPathItem* item : qAsConst(m_pending))
        forget(item);
    for (MiniPathItem* item : qAsConst(m_touched))
        forget(item);
    for (Band& band : m_bands) {
        for (const QVector<MiniPathItem*>& cell : qAsConst(band.cells)) {
            for (MiniPathItem* item : cell)
                forget(item);
        }
        for (MiniPathItem* item : qAsConst(band.wide))
            forget(item);
        band.cells.clear();
        band.wide.clear();
        band.baked = 0;
        band.dirty = QRegion();
        band.hasMax = false;
        if (!band.used.isEmpty() && !band.image.isNull()) {
            QPainter painter(&band.image);
            painter.setCompositionMode(QPainter::CompositionMode_Source);
            painter.fillRect(band.used, Qt::transparent);
        }
        if (!band.used.isEmpty())
            requestRepaint(m_toDevice.inverted().mapRect(QRectF(band.used)));
        band.used = QRect();
    }
    m_live.clear();
    m_pending.clear();
    m_touched.clear();
    m_count = 0;
    m_interactive = 0;
}

void InkLayer::noteOverlayAdded(QGraphicsItem* item)
{
    if (!item)
        return;
    m_overlaySeq.insert(item, ++m_seq);
    if (!m_overlays.contains(item))
        m_overlays.append(item);
}

void InkLayer::noteOverlayRemoved(QGraphicsItem* item)
{
    m_overlays.removeAll(item);
    m_overlaySeq.remove(item);
}

bool InkLayer::holdsOnlyBoardItems() const
{
    if (m_interactive > 0 || m_scene->items().size() != m_count + m_overlays.size())
        return false;
    for (const QGraphicsItem* overlay : m_overlays) {
        if (overlay->flags() & (QGraphicsItem::ItemIsSelectable | QGraphicsItem::ItemIsMovable |
                                QGraphicsItem::ItemIsFocusable))
            return false;
    }
    return true;
}

void InkLayer::setItemInteractive(MiniPathItem* item, bool interactive)
{
    if (!item || item->m_ink != this || item->m_inkInteractive == interactive)
        return;
    item->m_inkInteractive = interactive;
    m_interactive += interactive ? 1 : -1;
}

void InkLayer::takeFromLive(MiniPathItem* item)
{
    const int i = m_live.lastIndexOf(item);
    if (i >= 0)
        m_live.removeAt(i);
}

void InkLayer::takeFromPending(MiniPathItem* item)
{
    const int i = m_pending.lastIndexOf(item);
    if (i >= 0)
        m_pending.removeAt(i);
}

void InkLayer::touch(MiniPathItem* item)
{
    if (!item->m_inkTouched) {
        item->m_inkTouched = true;
        m_touched.append(item);
    }
    scheduleDispatch();
}

void InkLayer::requestRepaint(const QRectF& sceneRect)
{
    const QRect rect = alignedRect(sceneRect);
    if (rect.isEmpty())
        return;
    addRepaint(rect);
    scheduleDispatch();
}

void InkLayer::addRepaint(const QRect& sceneRect)
{
    if (sceneRect.isEmpty())
        return;
    m_repaint.append(sceneRect);
}

QRegion InkLayer::takeRepaint()
{
    double total = 0;
    QRect bounds;
    for (const QRect& rect : qAsConst(m_repaint)) {
        total += double(rect.width()) * rect.height();
        bounds |= rect;
    }
    const double boundsArea = double(bounds.width()) * bounds.height();
    const QRegion region = boundsArea <= 3 * total || boundsArea - total <= kRepaintSlack
                               ? QRegion(bounds)
                               : unionOf(m_repaint);
    m_repaint.clear();
    return region;
}

void InkLayer::scheduleDispatch()
{
    if (m_dispatchScheduled)
        return;
    m_dispatchScheduled = true;
    // Once per pass of the event loop: the pen changes an item several times
    // per point, and only the last state needs painting.
    QMetaObject::invokeMethod(
        m_scene, [this] { dispatch(); }, Qt::QueuedConnection);
}

void InkLayer::refreshTouched()
{
    for (MiniPathItem* item : qAsConst(m_touched)) {
        item->m_inkTouched = false;
        // An item baked since it changed was cut in place: it shows what it
        // showed, and the area that the cut changed was asked for already.
        if (item->m_inkState == Baked)
            continue;
        const QRect rect = sceneRectOf(item);
        item->m_inkRect = rect;
        addRepaint(rect);
    }
    m_touched.clear();
}

void InkLayer::dispatch()
{
    m_dispatchScheduled = false;
    refreshTouched();
    const QList<QGraphicsView*> views = m_scene->views();
    // Items that a host put into the scene are painted by Qt, which needs a
    // first repaint of everything to see them.
    const bool foreign = m_scene->items().size() != m_count + m_overlays.size();
    if (foreign && !m_foreignSeen) {
        for (QGraphicsView* view : views)
            view->viewport()->update();
    }
    m_foreignSeen = foreign;
    if (m_repaint.isEmpty())
        return;
    const QRegion repaint = takeRepaint();
    for (QGraphicsView* view : views) {
        const QTransform transform = view->viewportTransform();
        if (transform.isIdentity()) {
            view->viewport()->update(repaint);
            continue;
        }
        QVector<QRect> mapped;
        mapped.reserve(repaint.rectCount());
        for (const QRect& rect : repaint)
            mapped.append(transform.mapRect(QRectF(rect)).toAlignedRect());
        view->viewport()->update(unionOf(mapped));
    }
}

// ---------------------------------------------------------------------------
// The grid of dry items

namespace {

// An item that would fill more cells than this (a stroke scaled or drawn far
// beyond the screen, a pen thousands of pixels wide) is kept in a list that
// every query looks at, not in thousands of cells.
constexpr qint64 kMaxCellsPerItem = 256;

bool spansTooManyCells(const QRect& rect)
{
    const qint64 columns = qint64(rect.right() >> kCellShift) - (rect.left() >> kCellShift) + 1;
    const qint64 rows = qint64(rect.bottom() >> kCellShift) - (rect.top() >> kCellShift) + 1;
    return rect.isEmpty() || columns * rows > kMaxCellsPerItem;
}

} // namespace

void InkLayer::gridInsert(Band& band, MiniPathItem* item)
{
    const QRect rect = item->m_inkRect;
    if (spansTooManyCells(rect)) {
        band.wide.append(item);
    } else {
        for (int cx = rect.left() >> kCellShift; cx <= rect.right() >> kCellShift; ++cx) {
            for (int cy = rect.top() >> kCellShift; cy <= rect.bottom() >> kCellShift; ++cy)
                band.cells[cellKey(cx, cy)].append(item);
        }
    }
    ++band.baked;
}

void InkLayer::gridRemove(Band& band, MiniPathItem* item)
{
    auto removeFrom = [item](QVector<MiniPathItem*>& items) {
        const int i = items.indexOf(item);
        if (i < 0)
            return;
        items[i] = items.last();
        items.removeLast();
    };
    const QRect rect = item->m_inkRect;
    if (spansTooManyCells(rect)) {
        removeFrom(band.wide);
    } else {
        for (int cx = rect.left() >> kCellShift; cx <= rect.right() >> kCellShift; ++cx) {
            for (int cy = rect.top() >> kCellShift; cy <= rect.bottom() >> kCellShift; ++cy) {
                auto cell = band.cells.find(cellKey(cx, cy));
                if (cell == band.cells.end())
                    continue;
                removeFrom(cell.value());
                if (cell->isEmpty())
                    band.cells.erase(cell);
            }
        }
    }
    --band.baked;
}

void InkLayer::forEachInGrid(const Band& band, const QRect& sceneRect,
                             const std::function<void(MiniPathItem*)>& visit) const
{
    if (sceneRect.isEmpty())
        return;
    auto visitCell = [&](const QVector<MiniPathItem*>& cell) {
        for (MiniPathItem* item : cell) {
            if (item->m_inkVisit == m_visit)
                continue;
            item->m_inkVisit = m_visit;
            if (item->m_inkRect.intersects(sceneRect))
                visit(item);
        }
    };
    visitCell(band.wide);
    if (band.cells.isEmpty())
        return;
    const int x0 = sceneRect.left() >> kCellShift;
    const int x1 = sceneRect.right() >> kCellShift;
    const int y0 = sceneRect.top() >> kCellShift;
    const int y1 = sceneRect.bottom() >> kCellShift;
    if (qint64(x1 - x0 + 1) * (y1 - y0 + 1) > band.cells.size()) {
        for (const QVector<MiniPathItem*>& cell : band.cells)
            visitCell(cell);
        return;
    }
    for (int cx = x0; cx <= x1; ++cx) {
        for (int cy = y0; cy <= y1; ++cy) {
            const auto cell = band.cells.constFind(cellKey(cx, cy));
            if (cell != band.cells.constEnd())
                visitCell(cell.value());
        }
    }
}

// A baked item leaves its image: its area is drawn again without it (only
// the area a cut changes, when the eraser cuts it).
void InkLayer::unbake(MiniPathItem* item)
{
    Band& band = m_bands[item->m_inkBand];
    gridRemove(band, item);
    const QRect dirty = item == m_cutItem ? m_cutRect : item->m_inkRect;
    band.dirty += dirty;
    requestRepaint(QRectF(dirty));
    item->m_inkState = Pending;
    m_pending.append(item);
}

bool InkLayer::beginCut(MiniPathItem* item, const QRect& changedSceneRect)
{
    m_cutItem = nullptr;
    if (!item || item->m_ink != this || item->m_inkState != Baked)
        return false;
    m_cutItem = item;
    m_cutRect = changedSceneRect & item->m_inkRect;
    return true;
}

void InkLayer::endCut(const QList<MiniPathItem*>& pieces)
{
    MiniPathItem* item = m_cutItem;
    m_cutItem = nullptr;
    // The item, if the cut kept it, and its pieces show in the image what
    // the item showed there before.
    if (item && item->m_ink == this)
        bakeInPlace(item);
    for (MiniPathItem* piece : pieces)
        bakeInPlace(piece);
}

void InkLayer::bakeInPlace(MiniPathItem* item)
{
    if (!item || item->m_ink != this || item->m_inkState != Pending)
        return;
    takeFromPending(item);
    item->m_inkRect = sceneRectOf(item);
    item->m_inkState = Baked;
    item->m_inkBand = qint8(bandOf(item->zValue()));
    gridInsert(m_bands[item->m_inkBand], item);
    item->releaseCacheRecord();
}

// ---------------------------------------------------------------------------
// Queries

QList<MiniPathItem*> InkLayer::strokesNear(const QGraphicsItem* probe) const
{
    QList<MiniPathItem*> near;
    if (!probe || probe->scene() != m_scene)
        return near;
    const QRect area = alignedRect(probe->sceneBoundingRect());
    if (area.isEmpty())
        return near;
    ++m_visit;
    const auto take = [&](MiniPathItem* item) {
        near.append(item);
    };
    for (const Band& band : m_bands)
        forEachInGrid(band, area, take);
    for (const QVector<MiniPathItem*>* list : {&m_pending, &m_live}) {
        for (MiniPathItem* item : *list) {
            if (item->m_inkVisit == m_visit)
                continue;
            item->m_inkVisit = m_visit;
            if (sceneRectOf(item).intersects(area))
                take(item);
        }
    }
    // Topmost first, as Qt sorts colliding items.
    std::sort(near.begin(), near.end(), [](const MiniPathItem* a, const MiniPathItem* b) {
        return above(a, b->zValue(), b->m_inkSeq);
    });
    return near;
}

// ---------------------------------------------------------------------------
// Painting

QRect InkLayer::toDevice(const QRect& sceneRect) const
{
    if (m_toDevice.isIdentity())
        return sceneRect;
    return m_toDevice.mapRect(QRectF(sceneRect)).toAlignedRect();
}

QRect InkLayer::toScene(const QRect& deviceRect) const
{
    if (m_toDevice.isIdentity())
        return deviceRect;
    return m_toDevice.inverted().mapRect(QRectF(deviceRect)).toAlignedRect();
}

bool InkLayer::canPaint(const QGraphicsView* view) const
{
    const QList<QGraphicsView*> views = m_scene->views();
    if (views.isEmpty() || views.first() != view)
        return false;
    if (m_scene->items().size() != m_count + m_overlays.size())
        return false;
    for (const QGraphicsItem* overlay : m_overlays) {
        if (overlay->parentItem() || !overlay->childItems().isEmpty())
            return false;
    }
    return true;
}

bool InkLayer::prepareImages(QGraphicsView* view)
{
    const QWidget* viewport = view->viewport();
    const QSize size = viewport->size();
    if (size.isEmpty())
        return false;
    const qreal dpr = viewport->devicePixelRatioF();
    const QTransform transform = view->viewportTransform();
    m_hints = view->renderHints();
    if (m_imagesValid && m_viewport == viewport && m_imageSize == size && m_dpr == dpr &&
        m_toDevice == transform)
        return true;

    // New images: everything dry is drawn into them again.
    m_viewport = viewport;
    m_imageSize = size;
    m_dpr = dpr;
    m_toDevice = transform;
    m_imagesValid = true;
    const QRect all(QPoint(0, 0), size);
    for (Band& band : m_bands) {
        band.image = QImage(size * dpr, QImage::Format_ARGB32_Premultiplied);
        band.image.setDevicePixelRatio(dpr);
        band.image.fill(Qt::transparent);
        band.used = QRect();
        band.dirty = band.baked ? QRegion(toScene(all)) : QRegion();
    }
    return true;
}

void InkLayer::flush(QGraphicsView* view)
{
    if (!prepareImages(view))
        return;

    // Bring the bounds of what changed up to date. The repaint they need is
    // asked for after this paint: a widget's update() from within its own
    // paint event can be merged into the region being painted and lost.
    refreshTouched();

    // Bake what dried, lowest first. An item waits while wet ink below it
    // overlaps it: painting that wet ink over the image would cover it.
    QVector<MiniPathItem*> onTop;
    if (!m_pending.isEmpty()) {
        std::sort(m_pending.begin(), m_pending.end(), [](MiniPathItem* a, MiniPathItem* b) {
            return above(b, a->zValue(), a->m_inkSeq);
        });
        QVector<MiniPathItem*> waiting;
        QVector<MiniPathItem*> blockers;
        for (MiniPathItem* item : qAsConst(m_live)) {
            if (item->m_inkState == Wet)
                blockers.append(item);
        }
        for (MiniPathItem* item : qAsConst(m_pending)) {
            const QRect rect = sceneRectOf(item);
            item->m_inkRect = rect;
            const int bandIndex = bandOf(item->zValue());
            bool blocked = false;
            for (MiniPathItem* other : qAsConst(blockers)) {
                if (bandOf(other->zValue()) == bandIndex && other->m_inkRect.intersects(rect) &&
                    !above(other, item->zValue(), item->m_inkSeq)) {
                    blocked = true;
                    break;
                }
            }
            if (blocked) {
                waiting.append(item);
                blockers.append(item);
                continue;
            }
            Band& band = m_bands[bandIndex];
            item->m_inkState = Baked;
            item->m_inkBand = qint8(bandIndex);
            gridInsert(band, item);
            item->releaseCacheRecord();
            if (!band.hasMax || above(item, band.maxZ, band.maxSeq)) {
                band.maxZ = item->zValue();
                band.maxSeq = item->m_inkSeq;
                band.hasMax = true;
                onTop.append(item);
            } else {
                band.dirty += rect;
            }
        }
        m_pending = waiting;
    }

    // An item painted on top must not be painted again by a redrawn area
    // that overlaps it; such an item is redrawn with that area instead.
    for (bool grew = true; grew;) {
        grew = false;
        for (int i = onTop.size() - 1; i >= 0; --i) {
            MiniPathItem* item = onTop.at(i);
            Band& band = m_bands[item->m_inkBand];
            if (band.dirty.intersects(item->m_inkRect)) {
                band.dirty += item->m_inkRect;
                onTop.removeAt(i);
                grew = true;
            }
        }
    }

    for (Band& band : m_bands) {
        if (!band.dirty.isEmpty()) {
            const QRegion dirty = band.dirty;
            band.dirty = QRegion();
            redraw(band, dirty);
        }
    }

    if (!onTop.isEmpty()) {
        for (Band& band : m_bands) {
            QPainter painter;
            for (MiniPathItem* item : qAsConst(onTop)) {
                if (&m_bands[item->m_inkBand] != &band)
                    continue;
                if (!painter.isActive()) {
                    painter.begin(&band.image);
                    painter.setRenderHints(m_hints);
                }
                const QRect device = toDevice(item->m_inkRect);
                band.used |= device;
                if (!item->isVisible())
                    continue;
                painter.setWorldTransform(m_toDevice);
                paintItem(item, &painter);
            }
        }
    }
}

void InkLayer::redraw(Band& band, const QRegion& sceneRegion)
{
    const QRect imageRect(QPoint(0, 0), m_imageSize);
    QRegion device;
    for (const QRect& rect : sceneRegion)
        device += toDevice(rect) & imageRect;
    if (device.isEmpty())
        return;

    QPainter painter(&band.image);
    painter.setRenderHints(m_hints);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    for (const QRect& rect : device)
        painter.fillRect(rect, Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setClipRegion(device);

    // Every item whose ink meets the area's box; which of the area's
    // rectangles each one meets is found below, once per item.
    const QRect deviceBounds = device.boundingRect();
    QVector<MiniPathItem*> items;
    ++m_visit;
    forEachInGrid(band, toScene(deviceBounds), [&](MiniPathItem* item) {
        if (item->isVisible() && deviceBounds.intersects(toDevice(item->m_inkRect)))
            items.append(item);
    });
    std::sort(items.begin(), items.end(),
              [](MiniPathItem* a, MiniPathItem* b) { return above(b, a->zValue(), a->m_inkSeq); });
    // Only the part of each item near the redrawn area is drawn: a long
    // stroke crossing a small area costs a few segments, not all of them.
    // The region of an eraser step is a few dozen small rectangles spread
    // over a box several times their area; an item's segments are tested
    // against the few of them that its ink meets.
    const QTransform toScene = m_toDevice.inverted();
    const QVector<QRect> rects(device.begin(), device.end());
    QVector<QRectF> areas;
    areas.reserve(rects.size());
    for (const QRect& rect : rects)
        areas.append(toScene.mapRect(QRectF(rect)));
    QVector<QRectF> near;
    near.reserve(areas.size());
    for (MiniPathItem* item : qAsConst(items)) {
        const QRect ink = toDevice(item->m_inkRect);
        near.clear();
        QRectF nearBounds;
        // A region's rectangles lie in bands from top to bottom: those the
        // ink meets start at the first band that reaches down to its top.
        const int first = int(
            std::partition_point(rects.cbegin(), rects.cend(),
                                 [&ink](const QRect& rect) { return rect.bottom() < ink.top(); }) -
            rects.cbegin());
        for (int i = first; i < rects.size() && rects.at(i).top() <= ink.bottom(); ++i) {
            if (rects.at(i).intersects(ink)) {
                near.append(areas.at(i));
                nearBounds |= areas.at(i);
            }
        }
        if (near.isEmpty())
            continue;
        painter.setWorldTransform(m_toDevice);
        paintItemWithin(item, &painter, nearBounds, near);
    }
    band.used |= device.boundingRect();
}

void InkLayer::paintItem(MiniPathItem* item, QPainter* painter)
{
    const QTransform itemTransform = item->sceneTransform();
    const qreal opacity = item->effectiveOpacity();
    const bool plain = itemTransform.isIdentity() && opacity >= 1.0;
    if (!plain) {
        painter->save();
        painter->setWorldTransform(itemTransform, true);
        painter->setOpacity(painter->opacity() * opacity);
    }
    item->paintInk(painter);
    if (!plain)
        painter->restore();
}

void InkLayer::paintItemWithin(MiniPathItem* item, QPainter* painter, const QRectF& bounds,
                               const QVector<QRectF>& areas)
{
    if (!areas.isEmpty() && item->sceneTransform().isIdentity() && item->effectiveOpacity() >= 1.0)
        item->paintInkWithin(painter, bounds, areas);
    else
        paintItem(item, painter);
}

quint64 InkLayer::seqOf(const QGraphicsItem* item) const
{
    return m_overlaySeq.value(item, 0);
}

void InkLayer::paint(QGraphicsView* view, QPainter* painter, const QRegion& exposed, bool replace)
{
    flush(view);
    if (!m_imagesValid)
        return;
    const QRect bound = exposed.boundingRect();
    const QTransform viewTransform = view->viewportTransform();

    // Everything painted over the images, in stacking order: wet ink, ink
    // waiting to dry, ink at the split level, and the overlays.
    QVector<Live> live;
    live.reserve(m_live.size() + m_pending.size() + m_overlays.size());
    auto addInk = [&](MiniPathItem* item) {
        if (item->isVisible() && toDevice(item->m_inkRect).intersects(bound))
            live.append({item, item, item->zValue(), item->m_inkSeq});
    };
    for (MiniPathItem* item : qAsConst(m_live))
        addInk(item);
    for (MiniPathItem* item : qAsConst(m_pending))
        addInk(item);
    for (QGraphicsItem* overlay : qAsConst(m_overlays)) {
        if (!overlay->isVisible())
            continue;
        // Bounded like the ink's rectangles: an overlay placed far away
        // (a position no window system sends) must not overflow.
        const QRect device = alignedRect(viewTransform.mapRect(overlay->sceneBoundingRect()));
        if (device.intersects(bound))
            live.append({overlay, nullptr, overlay->zValue(), seqOf(overlay)});
    }
    std::sort(live.begin(), live.end(), liveBelow);

    // The exposed area in scene coordinates, for drawing ink only near it
    // (a scaled view keeps drawing it whole: the margin of a segment's reach
    // is in scene pixels).
    QVector<QRectF> sceneAreas;
    QRectF sceneBounds;
    bool invertible = false;
    const QTransform toScene = viewTransform.inverted(&invertible);
    if (invertible && viewTransform.type() <= QTransform::TxTranslate) {
        sceneAreas.reserve(exposed.rectCount());
        for (const QRect& rect : exposed) {
            sceneAreas.append(toScene.mapRect(QRectF(rect)));
            sceneBounds |= sceneAreas.last();
        }
    }

    auto drawBand = [&](const Band& band) {
        const QRect rect = band.used & bound;
        if (rect.isEmpty())
            return;
        painter->setWorldTransform(QTransform());
        painter->drawImage(QRectF(rect), band.image,
                           QRectF(rect.x() * m_dpr, rect.y() * m_dpr, rect.width() * m_dpr,
                                  rect.height() * m_dpr));
    };

    if (replace) {
        // The lower image is copied, not blended, and the rest of the region
        // is cleared: a surface without alpha keeps what the last paint left,
        // and blending the same ink over it again would darken its edges.
        painter->setWorldTransform(QTransform());
        painter->setCompositionMode(QPainter::CompositionMode_Source);
        const QRegion rest = exposed - QRegion(m_bands[0].used);
        for (const QRect& rect : rest)
            painter->fillRect(rect, Qt::transparent);
        drawBand(m_bands[0]);
        painter->setCompositionMode(QPainter::CompositionMode_SourceOver);
    } else {
        drawBand(m_bands[0]);
    }
    bool upperDrawn = false;
    for (const Live& entry : qAsConst(live)) {
        if (!upperDrawn && entry.z > m_splitZ) {
            drawBand(m_bands[1]);
            upperDrawn = true;
        }
        if (entry.ink) {
            painter->setWorldTransform(viewTransform);
            // A long stroke still being drawn changes only near its end: the
            // segments that cannot reach the exposed area are left out.
            paintItemWithin(entry.ink, painter, sceneBounds, sceneAreas);
            continue;
        }
        painter->save();
        painter->setWorldTransform(entry.item->sceneTransform() * viewTransform);
        painter->setOpacity(entry.item->effectiveOpacity());
        QStyleOptionGraphicsItem option;
        option.state = entry.item->isEnabled() ? QStyle::State_Enabled : QStyle::State_None;
        option.rect = entry.item->boundingRect().toAlignedRect();
        option.exposedRect = entry.item->boundingRect();
        option.palette = view->palette();
        entry.item->paint(painter, &option, view->viewport());
        painter->restore();
    }
    if (!upperDrawn)
        drawBand(m_bands[1]);
}
