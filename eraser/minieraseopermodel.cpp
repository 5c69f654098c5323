#include "eraser/minieraseopermodel.h"

#include "canvas/boardhistory.h"
#include "canvas/inklayer.h"
#include "canvas/minipathitem.h"
#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/common.h"
#include "common/logging.h"
#include "eraser/erasergeometry.h"

#include <QBrush>
#include <QGraphicsPathItem>
#include <QGraphicsPixmapItem>
#include <QLineF>
#include <QMouseEvent>
#include <QPainterPath>
#include <QPen>
#include <QSet>
#include <QTouchEvent>

#include <algorithm>
#include <cmath>

namespace {

// How far inside the swept area a point must lie for the quick answers to
// hold: far beyond the rounding of any containment test at screen scale.
constexpr qreal kDeep = 0.01;

const char* const kEarsePicture = ":/images/minimize/cachuzhuangtai@2x.png";

// Window systems deliver finite positions; anything else would leave the
// picture nowhere.
bool usablePosition(const QPointF& p)
{
    if (std::isfinite(p.x()) && std::isfinite(p.y()))
        return true;
    qCWarning(lcSkedaEraser,
              "MiniEraseOperModel: an event position is not a finite number; it is ignored");
    return false;
}

void collectDescendants(QGraphicsItem* item, QSet<QGraphicsItem*>& into)
{
    const QList<QGraphicsItem*> children = item->childItems();
    for (QGraphicsItem* child : children) {
        into.insert(child);
        collectDescendants(child, into);
    }
}

} // namespace

MiniEraseOperModel::MiniEraseOperModel()
    : BaseOperation(PenOperation)
{
    Common* common = Common::getInstance();
    const int height = common->getNewSize(150);
    const int width = common->getNewSize(100);
    m_earseSize = QSize(width, height);

    m_earsePixmap = QPixmap(QString::fromLatin1(kEarsePicture));
    if (m_earsePixmap.isNull()) {
        // Without its picture the eraser still erases: a transparent picture
        // keeps the rectangle at its full size.
        qCWarning(lcSkedaEraser,
                  "MiniEraseOperModel: the eraser picture %s could not be loaded; the eraser is "
                  "drawn transparent",
                  kEarsePicture);
        m_earsePixmap = QPixmap(m_earseSize);
        m_earsePixmap.fill(Qt::transparent);
    }
}

MiniEraseOperModel::~MiniEraseOperModel()
{
    // Items in a scene belong to it; detached ones are ours.
    if (m_earseItem && !m_earseItem->scene())
        delete m_earseItem;
    if (m_earsePathItem && !m_earsePathItem->scene())
        delete m_earsePathItem;
}

void MiniEraseOperModel::mousePressEvent(QMouseEvent* e)
{
    if (!e || e->button() != Qt::LeftButton)
        return;
    const QPointF p(e->pos());
    initEarse(p);
    if (!m_scene || !m_earseItem || !m_earsePathItem) {
        qCWarning(lcSkedaEraser,
                  "MiniEraseOperModel: there is no scene to erase in; the press is ignored");
        return;
    }
    showItems();
    m_earseItem->setOffset(p);
    placeEarse(p);
    m_lastPnt = p;
    m_curPnt = p;
    earse();
}

void MiniEraseOperModel::mouseMoveEvent(QMouseEvent* e)
{
    // Moves arrive whatever the button state, also before the first press
    // has created the picture; those have nothing to move.
    if (!e || !m_earseItem)
        return;
    const QPointF p(e->pos());
    placeEarse(p);
    m_curPnt = p;
    earse();
    m_lastPnt = p;
}

void MiniEraseOperModel::mouseReleaseEvent(QMouseEvent* e)
{
    Q_UNUSED(e)
    hideItems();
    endErase();
}

void MiniEraseOperModel::touchBegine(QTouchEvent* e)
{
    if (!e)
        return;
    const QList<QTouchEvent::TouchPoint> points = e->touchPoints();
    if (points.isEmpty()) {
        qCWarning(lcSkedaEraser,
                  "MiniEraseOperModel: a touch began without touch points; it is ignored");
        return;
    }
    const QTouchEvent::TouchPoint& first = points.first();
    const QPointF p = first.pos();
    if (!usablePosition(p))
        return;
    initEarse(p);
    if (!m_scene || !m_earseItem || !m_earsePathItem) {
        qCWarning(lcSkedaEraser,
                  "MiniEraseOperModel: there is no scene to erase in; the touch is ignored");
        return;
    }
    m_touchId = first.id();
    m_isTouch = true;
    m_lastPnt = p;
    m_curPnt = p;
    touchPrivate(e);
}

void MiniEraseOperModel::touchUpdate(QTouchEvent* e)
{
    touchPrivate(e);
}

void MiniEraseOperModel::touchEnd(QTouchEvent* e)
{
    Q_UNUSED(e)
    hideItems();
    m_isTouch = false;
    endErase();
}

void MiniEraseOperModel::endErase()
{
    if (m_scene)
        m_scene->history()->endErase();
}

void MiniEraseOperModel::touchPrivate(QTouchEvent* e)
{
    if (!e)
        return;
    const QList<QTouchEvent::TouchPoint> points = e->touchPoints();
    for (const QTouchEvent::TouchPoint& point : points) {
        if (point.id() != m_touchId)
            continue;
        const QPointF p = point.pos();
        if ((point.state() == Qt::TouchPointPressed || point.state() == Qt::TouchPointMoved) &&
            !usablePosition(p))
            continue;
        switch (point.state()) {
        case Qt::TouchPointPressed:
            if (!m_scene || !m_earseItem || !m_earsePathItem)
                break;
            showItems();
            placeEarse(p);
            m_curPnt = p;
            m_lastPnt = p;
            earse();
            break;
        case Qt::TouchPointMoved:
            if (!m_isTouch || !m_earseItem)
                break;
            placeEarse(p);
            m_curPnt = p;
            earse();
            m_lastPnt = p;
            break;
        default:
            break;
        }
    }
}

void MiniEraseOperModel::forgetItems(const QList<QGraphicsItem*>& items)
{
    for (QGraphicsItem* item : items) {
        if (!item)
            continue;
        if (item == m_earseItem || item == m_earsePathItem) {
            if (auto* board = dynamic_cast<MyMiniGraphicsScene*>(item->scene()))
                board->inkLayer()->noteOverlayRemoved(item);
        }
        if (m_earseItem && item == m_earseItem) {
            m_earseItem = nullptr;
            m_earseItemOwner = nullptr;
        }
        if (m_earsePathItem && item == m_earsePathItem) {
            m_earsePathItem = nullptr;
            m_earsePathItemOwner = nullptr;
        }
    }
}

void MiniEraseOperModel::initEarse(QPointF const& pos)
{
    if (!m_scene)
        return;

    if (!m_earseItem) {
        QPixmap scaled =
            m_earsePixmap.scaled(m_earseSize, Qt::IgnoreAspectRatio, Qt::FastTransformation);
        // The picture file is drawn at twice the design size and named
        // "@2x", so Qt loads it with a device pixel ratio of 2. The eraser
        // has its own size in scene pixels; the ratio must not halve it.
        scaled.setDevicePixelRatio(1.0);
        m_earseItem = new QGraphicsPixmapItem();
        m_earseItem->setZValue(EarseZValue);
        m_earseItem->setPixmap(scaled);
        m_earseItem->setOffset(pos);
        const QRectF bounds = m_earseItem->boundingRect();
        m_halfWidth = truncToInt(0.5 * bounds.width());
        m_halfHeight = truncToInt(0.5 * bounds.height());
    }

    if (!m_earsePathItem) {
        m_earsePathItem = new QGraphicsPathItem();
        m_earsePathItem->setPen(QPen(QBrush(Qt::white, Qt::SolidPattern), 2.0, Qt::SolidLine,
                                     Qt::SquareCap, Qt::BevelJoin));
        // Shown only within a step, while the collisions are looked up.
        m_earsePathItem->setVisible(false);
    }

    watchScene();
}

void MiniEraseOperModel::earse()
{
    if (!m_earseItem || !m_earsePathItem)
        return;

    const QRectF rect = m_earseItem->boundingRect();
    QPainterPath path;
    getEarsePath(path, rect, m_lastPnt, m_curPnt);

    m_earsePathItem->setPath(path);
    m_earsePathItem->setVisible(true);
    m_earsePathItem->update();

    const QPolygonF area = path.toFillPolygon(QTransform());

    // Outside a scene the probe collides with nothing. In the board's scene
    // the ink layer gives the strokes whose bounds meet the probe's, in the
    // order collidingItems() gives; which of them collide is asked below,
    // only of those that the cut would change.
    QList<QGraphicsItem*> candidates;
    auto* board = dynamic_cast<MyMiniGraphicsScene*>(m_earsePathItem->scene());
    if (board) {
        const QList<MiniPathItem*> strokes = board->inkLayer()->strokesNear(m_earsePathItem);
        candidates.reserve(strokes.size());
        for (MiniPathItem* stroke : strokes)
            candidates.append(stroke);
    } else {
        candidates = m_earsePathItem->collidingItems(Qt::IntersectsItemShape);
    }
    // On the board the erasure is one step of the history, from press to
    // release. Strokes the pen is still drawing are handed to the history
    // first, so that the step never refers to ink that is still changing.
    BoardHistory* history = board && m_view ? board->history() : nullptr;
    auto record = [this, history] {
        if (!history || history->isErasing())
            return;
        if (MiniPathOpermodel* pen = m_view->pathOperation())
            pen->recordOpenStrokes();
        history->beginErase();
    };
    // Children go with a deleted stroke; their entries must not be touched.
    QSet<QGraphicsItem*> deleted;
    QList<QGraphicsItem*> erased;
    for (QGraphicsItem* candidate : candidates) {
        if (deleted.contains(candidate))
            continue;
        auto* stroke = dynamic_cast<MiniPathItem*>(candidate);
        // A child's path is in its parent's coordinates, not in the scene's
        // where the swept area lies; only top-level strokes are cut.
        if (!stroke || stroke->parentItem())
            continue;
        QRectF cutSegments;
        const QPolygonF polyline = stroke->getPolygon();
        const QList<QPolygonF> pieces = cutPolygon(polyline, area, &cutSegments);
        // A stroke that the area only touches is often cut into exactly
        // itself: a piece that an earlier step ended on the area's edge, cut
        // there again. Nothing would change, so nothing is done.
        if (pieces.size() == 1 && stroke->isPolyline(pieces.first()))
            continue;
        // Comparing shapes is the costly part of finding what the eraser
        // touches; the answer is the same as collidingItems() would give.
        // Most strokes the eraser cuts reach deep into the swept area, where
        // the answer is known without the comparison.
        if (board && !surelyCollides(m_earsePathItem, area, stroke, polyline) &&
            !m_earsePathItem->collidesWithItem(stroke, Qt::IntersectsItemShape))
            continue;
        if (pieces.isEmpty()) {
            collectDescendants(stroke, deleted);
            if (board) {
                // Taken away after the step's pieces have entered the
                // scene: each removal from an unindexed scene makes Qt
                // re-sort all of its items at the next addition.
                erased.append(stroke);
                continue;
            }
        }
        record();
        if (history)
            history->noteCut(stroke);
        // The finished ink keeps the stroke's pixels wherever the cut does
        // not change them; only the changed area is drawn again.
        QRect changed;
        const bool inPlace = board && changedArea(stroke, pieces, cutSegments, &changed) &&
                             board->inkLayer()->beginCut(stroke, changed);
        const QList<MiniPathItem*> added = applyPieces(stroke, pieces);
        if (inPlace)
            board->inkLayer()->endCut(added);
        if (history)
            history->noteAdded(added);
    }

    if (!erased.isEmpty()) {
        if (history) {
            record();
            QList<MiniPathItem*> strokes;
            strokes.reserve(erased.size());
            for (QGraphicsItem* item : qAsConst(erased))
                strokes.append(static_cast<MiniPathItem*>(item));
            history->takeErased(strokes);
        } else if (m_view) {
            m_view->deleteItems(erased);
        } else {
            for (QGraphicsItem* item : qAsConst(erased))
                removeStroke(static_cast<MiniPathItem*>(item));
        }
    }
    m_earsePathItem->setVisible(false);
    // The board shows the result of the step: the ink layer repaints what
    // the cut strokes covered; other scenes repaint whole.
    if (m_scene && !board)
        m_scene->update(QRectF());
}

bool MiniEraseOperModel::changedArea(const MiniPathItem* stroke, const QList<QPolygonF>& pieces,
                                     const QRectF& cutSegments, QRect* area)
{
    // New pieces take the integer part of the z value, and are placed
    // without the item's transform: then they may show differently anywhere.
    // Dots share z 0 with other items of other colours.
    const qreal z = stroke->zValue();
    if (z == 0 || z != qreal(truncToInt(z)) || !stroke->sceneTransform().isIdentity() ||
        stroke->isSinglePnt() || stroke->isThin())
        return false;
    // The pieces are polylines through the stroke's flattened outline: they
    // show what the stroke showed only when its path is one polyline (a
    // tail part holds one subpath per edge, which the flattening joins).
    if (!stroke->isPolyline())
        return false;
    const QPainterPath path = stroke->path();
    // Pieces that come near each other are drawn one over the other where
    // the stroke was drawn once (it may run back over itself: what cutting a
    // tail part leaves, whose subpaths were joined through their points), so
    // their antialiased edges would darken there: wherever the segments of
    // two pieces come within reach of each other is drawn again too. Apart
    // from that and from the cut segments, each piece is the stroke's own
    // polyline and shows what the stroke showed.
    const qreal margin = qMax(qreal(1), stroke->pen().widthF()) / 2 + 2;
    QRectF changed = cutSegments;
    auto reach = [margin](const QPointF& a, const QPointF& b) {
        return QRectF(a, b).normalized().adjusted(-margin, -margin, margin, margin);
    };
    QVector<QRectF> bounds;
    bounds.reserve(pieces.size());
    for (const QPolygonF& piece : pieces)
        bounds.append(piece.boundingRect().adjusted(-margin, -margin, margin, margin));
    // The comparison grows with the square of the pieces' size: the pieces
    // of a stroke that a host drew with tens of thousands of points are not
    // compared for seconds; the stroke is drawn again whole instead.
    constexpr qint64 kComparisons = 1 << 20;
    qint64 comparisons = 0;
    for (int i = 0; i < pieces.size(); ++i) {
        for (int j = i + 1; j < pieces.size(); ++j) {
            if (++comparisons > kComparisons)
                return false;
            if (!bounds.at(i).intersects(bounds.at(j)))
                continue;
            const QPolygonF& first = pieces.at(i);
            const QPolygonF& second = pieces.at(j);
            for (int a = 0; a + 1 < first.size(); ++a) {
                const QRectF near = reach(first.at(a), first.at(a + 1));
                if (!near.intersects(bounds.at(j)))
                    continue;
                comparisons += second.size();
                if (comparisons > kComparisons)
                    return false;
                for (int b = 0; b + 1 < second.size(); ++b) {
                    const QRectF other = reach(second.at(b), second.at(b + 1));
                    if (near.intersects(other))
                        changed |= near | other;
                }
            }
        }
    }
    // A path that ends where it began loses its last segment in the outline
    // the eraser cuts (the repeated point is dropped): that goes too.
    const int last = path.elementCount() - 1;
    if (last > 0 && QPointF(path.elementAt(last)) == QPointF(path.elementAt(0)))
        changed |=
            QRectF(QPointF(path.elementAt(last - 1)), QPointF(path.elementAt(last))).normalized();
    *area = changed.isNull() ? QRect()
                             : changed.adjusted(-margin, -margin, margin, margin).toAlignedRect();
    return true;
}

bool MiniEraseOperModel::surelyCollides(const QGraphicsPathItem* probe, const QPolygonF& area,
                                        const MiniPathItem* stroke, const QPolygonF& polyline)
{
    // Qt compares the stroke's shape (its polyline stroked at half the pen's
    // width) with the probe's (the swept area filled, and its outline
    // stroked with the probe's pen), both unclipped, top-level and untransformed
    // here. Deep inside the area only the area's fill counts. A stroke whose
    // shape has a point there meets the probe: either the two outlines cross,
    // or the stroke's outline lies wholly inside the probe's shape; Qt finds
    // both. A point that ends a segment has the stroke's outline half its
    // shape's width away.
    if (!probe || !stroke || probe->parentItem() || stroke->parentItem() || probe->isClipped() ||
        stroke->isClipped() || !probe->sceneTransform().isIdentity() ||
        !stroke->sceneTransform().isIdentity() || !stroke->isPolyline(polyline) ||
        polyline.size() < 2 || area.size() < 4 || area.first() != area.last())
        return false;
    const QPen probePen = probe->pen();
    qreal probeReach = probePen.style() == Qt::NoPen ? 0 : qMax(qreal(0), probePen.widthF()) / 2;
    // A mitred corner reaches out to the miter limit.
    if (probePen.joinStyle() == Qt::MiterJoin || probePen.joinStyle() == Qt::SvgMiterJoin)
        probeReach *= qMax(qreal(1), probePen.miterLimit());
    // QPainterPathStroker takes a width of zero or less as one.
    const qreal shapeWidth = stroke->pen().width() * 0.5;
    const qreal shapeReach = (shapeWidth > 0 ? shapeWidth : 1) / 2;
    const qreal margin = probeReach + shapeReach + 1;
    if (!std::isfinite(margin))
        return false;
    const auto segmentEndsAt = [&polyline](int i) {
        const auto longEnough = [](const QPointF& a, const QPointF& b) {
            return QLineF(a, b).length() >= 0.5;
        };
        return (i > 0 && longEnough(polyline.at(i - 1), polyline.at(i))) ||
               (i + 1 < polyline.size() && longEnough(polyline.at(i), polyline.at(i + 1)));
    };
    for (int i = 0; i < polyline.size(); ++i) {
        if (pointDeepInPolygon(area, polyline.at(i), margin) && segmentEndsAt(i))
            return true;
    }
    return false;
}

QList<QPolygonF> MiniEraseOperModel::cutPolygon(const QPolygonF& pts, const QPolygonF& area,
                                                QRectF* changed)
{
    QList<QPolygonF> pieces;
    const QRectF areaBounds = area.boundingRect();
    // Most strokes the eraser is asked about only come near it. A segment's
    // integer box lies within a unit of its ends' coordinates, so a polyline
    // whose points' box, widened by that unit, stays apart from the area's
    // bounds has no segment that meets the area nor an end among its
    // corners: it is one untouched piece. Only for finite coordinates that
    // the truncation to integers keeps as they are.
    if (pts.size() >= 2) {
        constexpr double kPlain = 1 << 30;
        double left = pts.first().x();
        double right = left;
        double top = pts.first().y();
        double bottom = top;
        bool plain = true;
        for (const QPointF& p : pts) {
            if (!(std::fabs(p.x()) < kPlain && std::fabs(p.y()) < kPlain)) {
                plain = false;
                break;
            }
            left = qMin(left, p.x());
            right = qMax(right, p.x());
            top = qMin(top, p.y());
            bottom = qMax(bottom, p.y());
        }
        if (plain && (right + 1 < areaBounds.left() || left - 1 > areaBounds.right() ||
                      bottom + 1 < areaBounds.top() || top - 1 > areaBounds.bottom())) {
            pieces.append(pts);
            return pieces;
        }
    }
    for (int i = 0; i + 1 < pts.size(); ++i) {
        const QPointF& s = pts.at(i);
        const QPointF& e = pts.at(i + 1);

        // The segment's integer box, as QPolygon(QRect(left, top, width,
        // height), true) would give it, built in doubles so that no integer
        // sum can overflow. Under one unit along an axis it has no extent.
        const int left = truncToInt(qMin(s.x(), e.x()));
        const int top = truncToInt(qMin(s.y(), e.y()));
        const int width = truncToInt(std::fabs(s.x() - e.x()));
        const int height = truncToInt(std::fabs(s.y() - e.y()));
        const double l = left;
        const double t = top;
        const double r = l + width;
        const double b = t + height;

        // Both ends among the area's corners: erased. This tests the vertex
        // list on purpose, not the geometry.
        const bool sIsVertex = area.contains(s);
        const bool eIsVertex = area.contains(e);
        if (sIsVertex && eIsVertex) {
            if (changed)
                *changed |= QRectF(s, e).normalized();
            continue;
        }

        // A box apart from the area's bounds cannot meet the area; the
        // polygon test is by far the costlier.
        const bool apart = r < areaBounds.left() || l > areaBounds.right() ||
                           b < areaBounds.top() || t > areaBounds.bottom();
        // Qt tests the box against the area as a rectangle against a path,
        // which meets it as soon as the path holds the rectangle's centre:
        // certain, without the test, when the centre lies well inside.
        const bool hit =
            sIsVertex || eIsVertex ||
            (!apart && (pointDeepInPolygon(area, QPointF((l + r) / 2, (t + b) / 2), kDeep) ||
                        area.intersects(QPolygonF({QPointF(l, t), QPointF(r, t), QPointF(r, b),
                                                   QPointF(l, b), QPointF(l, t)}))));
        if (hit) {
            intersectNewRect(s, e, area, pieces);
            if (changed)
                *changed |= QRectF(s, e).normalized();
            continue;
        }

        // Untouched: kept whole, extending the last piece when it ends at s.
        if (!pieces.isEmpty() && !pieces.last().isEmpty() && pieces.last().last() == s)
            pieces.last().append(e);
        else
            pieces.append(QPolygonF(QVector<QPointF>{s, e}));
    }
    return pieces;
}

QList<MiniPathItem*> MiniEraseOperModel::applyPieces(MiniPathItem* item,
                                                     const QList<QPolygonF>& pieces)
{
    QList<MiniPathItem*> added;
    if (!item)
        return added;
    if (item->parentItem()) {
        qCWarning(lcSkedaEraser,
                  "MiniEraseOperModel: a stroke item with a parent item cannot be cut; left as "
                  "it is");
        return added;
    }

    if (pieces.isEmpty()) {
        removeStroke(item);
        return added;
    }

    QPainterPath firstPath;
    firstPath.addPolygon(pieces.first());
    item->setPath(firstPath);
    item->squeezePath();

    const QPen pen = item->pen();
    // Deliberately the integer part, the same for every new piece; the pieces
    // take no fresh value from the scene's counter.
    const int z = truncToInt(item->zValue());
    QGraphicsScene* scene = item->scene();
    for (int k = 1; k < pieces.size(); ++k) {
        const QPolygonF& piece = pieces.at(k);
        if (piece.size() < 2)
            continue;
        if (!scene) {
            qCWarning(lcSkedaEraser,
                      "MiniEraseOperModel: the cut stroke is in no scene; its further pieces are "
                      "dropped");
            return added;
        }
        QPainterPath piecePath;
        piecePath.addPolygon(piece);
        auto* pieceItem = new MiniPathItem();
        pieceItem->setPen(pen);
        pieceItem->setPath(piecePath);
        pieceItem->squeezePath();
        pieceItem->setZValue(z);
        scene->addItem(pieceItem);
        added.append(pieceItem);
    }
    return added;
}

void MiniEraseOperModel::showItems()
{
    addToScene(m_earseItem, m_earseItemOwner);
    addToScene(m_earsePathItem, m_earsePathItemOwner);
}

void MiniEraseOperModel::hideItems()
{
    removeFromScene(m_earseItem, m_earseItemOwner);
    removeFromScene(m_earsePathItem, m_earsePathItemOwner);
}

void MiniEraseOperModel::addToScene(QGraphicsItem* item, QObject*& owner)
{
    if (!item || !m_scene)
        return;
    QGraphicsScene* current = item->scene();
    if (current != m_scene) {
        if (current) {
            if (auto* board = dynamic_cast<MyMiniGraphicsScene*>(current))
                board->inkLayer()->noteOverlayRemoved(item);
            current->removeItem(item);
        }
        m_scene->addItem(item);
        m_scene->inkLayer()->noteOverlayAdded(item);
        m_scene->inkLayer()->requestRepaint(item->sceneBoundingRect());
    }
    owner = m_scene;
    watchScene();
}

void MiniEraseOperModel::removeFromScene(QGraphicsItem* item, QObject*& owner)
{
    if (item) {
        if (QGraphicsScene* current = item->scene()) {
            if (auto* board = dynamic_cast<MyMiniGraphicsScene*>(current)) {
                board->inkLayer()->requestRepaint(item->sceneBoundingRect());
                board->inkLayer()->noteOverlayRemoved(item);
            } else {
                current->update(item->sceneBoundingRect());
            }
            current->removeItem(item);
        }
    }
    owner = nullptr;
}

void MiniEraseOperModel::placeEarse(const QPointF& centre)
{
    repaintEarse();
    m_earseItem->setOffset(centre.x() - m_halfWidth, centre.y() - m_halfHeight);
    repaintEarse();
}

// The board's view paints the picture through the ink layer, which leaves
// Qt's item-by-item repaints off: the old and the new place are asked for
// here.
void MiniEraseOperModel::repaintEarse()
{
    QGraphicsScene* scene = m_earseItem->scene();
    if (auto* board = dynamic_cast<MyMiniGraphicsScene*>(scene))
        board->inkLayer()->requestRepaint(m_earseItem->sceneBoundingRect());
    else if (scene)
        scene->update(m_earseItem->sceneBoundingRect());
}

void MiniEraseOperModel::removeStroke(MiniPathItem* item)
{
    // Through the view, so that the pen operation forgets the item first.
    if (m_view) {
        m_view->deleteItems({item});
        return;
    }
    if (QGraphicsScene* scene = item->scene())
        scene->removeItem(item);
    delete item;
}

void MiniEraseOperModel::watchScene()
{
    if (!m_scene)
        return;
    QObject::connect(m_scene, &QObject::destroyed, this, &MiniEraseOperModel::sceneDestroyed,
                     Qt::UniqueConnection);
    m_watchedScene = m_scene;
}

void MiniEraseOperModel::sceneDestroyed(QObject* scene)
{
    // Only addresses are compared: the scene is already gone, and with it
    // every item it held.
    if (scene == m_earseItemOwner) {
        m_earseItem = nullptr;
        m_earseItemOwner = nullptr;
    }
    if (scene == m_earsePathItemOwner) {
        m_earsePathItem = nullptr;
        m_earsePathItemOwner = nullptr;
    }
    if (scene == m_watchedScene) {
        m_scene = nullptr;
        m_watchedScene = nullptr;
    }
}
