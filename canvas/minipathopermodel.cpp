#include "canvas/minipathopermodel.h"

#include "canvas/boardhistory.h"
#include "canvas/inklayer.h"
#include "canvas/minipathitem.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/uimanager.h"

#include <QLineF>
#include <QMouseEvent>
#include <QSet>
#include <QTouchEvent>

#include <climits>
#include <cmath>

namespace {

constexpr qreal kHalf = 0.5;          // midpoint factor, and the dot's radius per width
constexpr int kTailPieces = 5;        // newest pieces kept out of the body
constexpr qreal kMaxBodyLength = 200; // longest body item, in pixels
constexpr qreal kRampDivisor = 5.0;   // a young stroke's width ramp
constexpr qreal kTipFraction = 0.25;  // tip width per start width
constexpr qreal kThinTip = 2.0;       // below this the tip is 1 pixel wide
constexpr qreal kThinTipWidth = 1.0;
constexpr qreal kEndPercent = 1.0; // pointAtPercent() of a piece's end
constexpr qreal kNarrowTip = 0.1;  // tip when the start is thinner than the tip
constexpr qreal kWidthStep = 0.4;  // width lost from one tail part to the next
constexpr qreal kMinMove = 2.0;    // points closer than this are not taken

// Conversion to int that truncates towards zero like a plain cast, but stays
// defined for coordinates no platform sends (NaN, out of range).
int truncated(qreal value)
{
    if (std::isnan(value))
        return 0;
    if (value >= qreal(INT_MAX))
        return INT_MAX;
    if (value <= qreal(INT_MIN))
        return INT_MIN;
    return int(value);
}

QPoint truncated(const QPointF& point)
{
    return QPoint(truncated(point.x()), truncated(point.y()));
}

bool movedEnough(const QPointF& from, const QPointF& to)
{
    return QLineF(truncated(from), truncated(to)).length() >= kMinMove;
}

// Removes every entry but the mouse's.
template<typename Map> void eraseTouchEntries(Map& map)
{
    for (auto it = map.begin(); it != map.end();) {
        if (it.key() == MiniPathOpermodel::MouseStrokeId)
            ++it;
        else
            it = map.erase(it);
    }
}

} // namespace

MiniPathOpermodel::MiniPathOpermodel()
    : BaseOperation(PenOperation)
{
}

// The items belong to the scene; only the bookkeeping goes.
MiniPathOpermodel::~MiniPathOpermodel() = default;

QPen MiniPathOpermodel::penOfWidth(int width)
{
    const QPen& current = UIManager::getInstance()->pen();
    if (current != m_penBase) {
        m_penBase = current;
        m_pensByWidth.clear();
    }
    const auto found = m_pensByWidth.constFind(width);
    if (found != m_pensByWidth.constEnd())
        return *found;
    QPen pen = current;
    pen.setWidth(width);
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    m_pensByWidth.insert(width, pen);
    return pen;
}

QPointF MiniPathOpermodel::toScene(const QPoint& viewportPos) const
{
    return m_view ? m_view->mapToScene(viewportPos) : QPointF(viewportPos);
}

void MiniPathOpermodel::mousePressEvent(QMouseEvent* e)
{
    if (!e || !m_scene)
        return;
    m_isPress = true;
    pressPrivate(MouseStrokeId, toScene(e->pos()));
}

void MiniPathOpermodel::mouseMoveEvent(QMouseEvent* e)
{
    if (!e || !m_isPress)
        return;
    updatePos(MouseStrokeId, toScene(e->pos()));
}

void MiniPathOpermodel::mouseReleaseEvent(QMouseEvent*)
{
    // The stroke is not finished here: what the builder last drew stays, and
    // it dries.
    if (m_isPress) {
        m_isPress = false;
        finishStroke(MouseStrokeId);
    }
}

void MiniPathOpermodel::touchBegine(QTouchEvent* e)
{
    if (!e || !m_scene)
        return;
    forgetTouchStrokes();
    m_isTouch = true;
    touchPrivate(e);
}

void MiniPathOpermodel::touchUpdate(QTouchEvent* e)
{
    if (!e || !m_isTouch)
        return;
    touchPrivate(e);
    forgetReleasedTouches(e);
}

void MiniPathOpermodel::touchEnd(QTouchEvent* e)
{
    m_isTouch = false;
    if (e)
        forgetReleasedTouches(e);
    // No finger is down any more.
    for (auto it = m_itemMap.cbegin(); it != m_itemMap.cend(); ++it) {
        if (it.key() != MouseStrokeId || !m_isPress)
            finishStroke(it.key());
    }
}

void MiniPathOpermodel::touchPrivate(QTouchEvent* e)
{
    const QList<QTouchEvent::TouchPoint> points = e->touchPoints();
    for (const QTouchEvent::TouchPoint& point : points) {
        if (point.state() == Qt::TouchPointMoved) {
            // A finger that barely moved holds back the rest of this event.
            if (!movedEnough(point.lastPos(), point.pos()))
                return;
            updatePos(point.id(), toScene(truncated(point.pos())));
        } else if (point.state() == Qt::TouchPointPressed) {
            pressPrivate(point.id(), toScene(truncated(point.pos())));
        }
    }
}

// Touch ids are not reused by the platform, so a finished finger's entries
// would otherwise pile up for as long as the board lives. Its items stay in
// the scene; only the bookkeeping goes. The mouse's id is kept, since a
// finger may share it.
void MiniPathOpermodel::forgetReleasedTouches(QTouchEvent* e)
{
    const QList<QTouchEvent::TouchPoint> points = e->touchPoints();
    for (const QTouchEvent::TouchPoint& point : points) {
        if (point.state() != Qt::TouchPointReleased)
            continue;
        if (point.id() == MouseStrokeId) {
            // With the mouse's button still down the stroke goes on; it is
            // one step of the history when the button is released.
            finishStroke(point.id(), !m_isPress);
            continue;
        }
        finishStroke(point.id());
        m_pntMap.remove(point.id());
        m_pathMap.remove(point.id());
        m_curItemMap.remove(point.id());
        m_itemMap.remove(point.id());
    }
}

// A touch sequence begins with no finger down, so the touch strokes the pen
// still keeps are over: their release went to another tool (the tool was
// switched while the finger was down) or never came (a cancelled sequence).
// Without this their entries would stay for as long as the board lives. The
// mouse's id is kept.
void MiniPathOpermodel::forgetTouchStrokes()
{
    for (auto it = m_itemMap.cbegin(); it != m_itemMap.cend(); ++it) {
        if (it.key() != MouseStrokeId)
            finishStroke(it.key());
    }
    const QList<int> drawing = m_strokeItems.keys();
    for (int id : drawing) {
        if (id != MouseStrokeId)
            recordStroke(id);
    }
    eraseTouchEntries(m_pntMap);
    eraseTouchEntries(m_pathMap);
    eraseTouchEntries(m_curItemMap);
    eraseTouchEntries(m_itemMap);
}

void MiniPathOpermodel::finishStroke(int id, bool record)
{
    if (!m_scene)
        return;
    InkLayer* ink = m_scene->inkLayer();
    ink->setWet(m_curItemMap.value(id), false);
    const QList<MiniPathItem*> tail = m_itemMap.value(id);
    for (MiniPathItem* item : tail)
        ink->setWet(item, false);
    for (MiniPathItem* item : m_strokeItems.value(id))
        item->squeezePath();
    if (record)
        recordStroke(id);
}

void MiniPathOpermodel::recordStroke(int id)
{
    const QList<MiniPathItem*> items = m_strokeItems.take(id);
    if (!items.isEmpty() && m_scene)
        m_scene->history()->recordStroke(items);
}

void MiniPathOpermodel::recordOpenStrokes()
{
    const QList<int> ids = m_strokeItems.keys();
    for (int id : ids) {
        if (m_strokeItems.value(id).isEmpty())
            continue;
        finishStroke(id);
        // The recorded items are no longer the stroke's to change: a
        // pointer still down draws on from its last point.
        m_curItemMap.remove(id);
        m_itemMap.remove(id);
        auto points = m_pntMap.find(id);
        if (points != m_pntMap.end() && !points->isEmpty())
            *points = QList<QPointF>{points->last()};
        m_pathMap.insert(id, QList<QPainterPath>());
    }
}

void MiniPathOpermodel::pressPrivate(int id, const QPointF& scenePos)
{
    // Whatever the id drew before is finished (its release never came).
    finishStroke(id);
    m_penWidth = UIManager::getInstance()->pen().width();
    m_pntMap.insert(id, QList<QPointF>{scenePos});
    PntListChanged(id);
    m_pathMap.insert(id, QList<QPainterPath>());
    m_itemMap.insert(id, QList<MiniPathItem*>());
}

void MiniPathOpermodel::updatePos(int id, const QPointF& scenePos)
{
    auto it = m_pntMap.find(id);
    if (it == m_pntMap.end() || it->isEmpty())
        return; // a move without a press
    if (!movedEnough(it->last(), scenePos))
        return;
    if (!m_strokeItems.contains(id) && (m_curItemMap.contains(id) || m_itemMap.contains(id))) {
        // The stroke was finished (its items are a step of the history) and
        // its pointer moves on without a new press: it draws a new stroke
        // from its last point and leaves the finished one as it is.
        m_curItemMap.remove(id);
        m_itemMap.remove(id);
        *it = QList<QPointF>{it->last()};
        m_pathMap.insert(id, QList<QPainterPath>());
    }
    it->append(scenePos);
    PntListChanged(id);
}

void MiniPathOpermodel::forgetItems(const QList<QGraphicsItem*>& items)
{
    const QSet<QGraphicsItem*> gone(items.cbegin(), items.cend());
    QSet<int> touched;
    for (auto it = m_curItemMap.begin(); it != m_curItemMap.end();) {
        if (gone.contains(it.value())) {
            touched.insert(it.key());
            it = m_curItemMap.erase(it);
        } else {
            ++it;
        }
    }
    for (auto it = m_itemMap.begin(); it != m_itemMap.end(); ++it) {
        QList<MiniPathItem*>& tail = it.value();
        const int before = tail.size();
        tail.erase(std::remove_if(tail.begin(), tail.end(),
                                  [&gone](MiniPathItem* item) { return gone.contains(item); }),
                   tail.end());
        if (tail.size() != before)
            touched.insert(it.key());
    }
    for (auto it = m_strokeItems.begin(); it != m_strokeItems.end(); ++it) {
        QList<MiniPathItem*>& drawn = it.value();
        drawn.erase(std::remove_if(drawn.begin(), drawn.end(),
                                   [&gone](MiniPathItem* item) { return gone.contains(item); }),
                    drawn.end());
    }
    // A stroke whose ink was taken away goes on, if its pointer is still down,
    // from where it is now; it does not redraw the piece it had just drawn.
    for (int id : qAsConst(touched)) {
        auto points = m_pntMap.find(id);
        if (points != m_pntMap.end() && !points->isEmpty())
            *points = QList<QPointF>{points->last()};
        m_pathMap.insert(id, QList<QPainterPath>());
    }
}

void MiniPathOpermodel::PntListChanged(int id)
{
    const QList<QPointF> points = m_pntMap.value(id);
    if (points.isEmpty())
        return;
    QList<QPainterPath> pieces = m_pathMap.value(id);
    const int n = points.size();

    if (n == 1) {
        addDot(id, points.first(), pieces);
        return;
    }

    if (n == 2) {
        if (MiniPathItem* dot = m_curItemMap.value(id)) {
            m_curItemMap.remove(id);
            m_strokeItems[id].removeOne(dot);
            delete dot;
        }
        QPainterPath piece;
        piece.moveTo(points.at(0));
        piece.lineTo((points.at(0) + points.at(1)) * kHalf);
        pieces = QList<QPainterPath>{piece};
    } else {
        const QPointF control = points.at(n - 2);
        const QPointF start =
            pieces.isEmpty() ? control : pieces.last().pointAtPercent(kEndPercent);
        QPainterPath piece;
        piece.moveTo(start);
        piece.quadTo(control, (control + points.at(n - 1)) * kHalf);
        pieces.append(cubToLine(piece));
    }

    // Everything but the newest pieces moves into the body.
    QPainterPath older;
    for (int i = 0; i <= pieces.size() - (kTailPieces + 1); ++i)
        older = mergePath(older, pieces.at(i));

    MiniPathItem* tailBody = nullptr;
    MiniPathItem* body = nullptr;
    QPainterPath joined;
    if (!older.isEmpty()) {
        pieces = pieces.mid(pieces.size() - kTailPieces);
        body = m_curItemMap.value(id);
        if (body) {
            tailBody = body;
            joined = mergePath(body->path(), older);
        }
    }
    m_pathMap.insert(id, pieces);

    // The previous tail goes before anything new enters the scene, newest
    // item first: Qt then takes each from the end of its list of items,
    // where removing it costs nothing, instead of searching the whole board
    // for it. The z values come from the counter all the same, so the body
    // and the new tail lie above everything drawn before, as if the old tail
    // had gone last.
    const QList<QPainterPath> parts = tailParts(pieces, tailBody);
    if (!parts.isEmpty())
        deleteTail(id);

    if (!older.isEmpty()) {
        if (!body) {
            m_curItemMap.insert(id, addPathToScene(id, m_penWidth, older));
        } else if (joined.length() > kMaxBodyLength) {
            // The old body is finished: it stays as it is, untracked.
            m_curItemMap.insert(id, addPathToScene(id, m_penWidth, older));
            if (m_scene)
                m_scene->inkLayer()->setWet(body, false);
        } else {
            body->setPath(joined);
        }
    }

    if (parts.isEmpty())
        return; // the previous tail stays
    const qreal startWidth = tailStartWidth(pieces, tailBody);
    QList<MiniPathItem*> tail;
    tail.reserve(parts.size());
    for (int j = 0; j < parts.size(); ++j) {
        const int width = qMax(0, truncated(startWidth - kWidthStep * (j + 1)));
        tail.append(addPathToScene(id, width, parts.at(j)));
    }
    m_itemMap.insert(id, tail);
}

void MiniPathOpermodel::addDot(int id, const QPointF& point, QList<QPainterPath>& pieces)
{
    const qreal w = m_penWidth;
    const QPointF corner(point.x() - w * kHalf, point.y() - w * kHalf);
    QPainterPath dotPath;
    dotPath.moveTo(corner);
    dotPath.addEllipse(QRectF(corner.x(), corner.y(), w, w));
    dotPath.closeSubpath();

    // The dot keeps z 0, beneath the strokes drawn before it.
    auto* dot = new MiniPathItem();
    dot->setPen(UIManager::getInstance()->pen());
    dot->setSinglePnt(true);
    dot->setPath(dotPath);
    m_scene->addItem(dot);
    m_strokeItems[id].append(dot);

    pieces.append(dotPath);
    m_pathMap.insert(id, pieces);
    m_curItemMap.insert(id, dot);
}

qreal MiniPathOpermodel::tailStartWidth(const QList<QPainterPath>& pieces, MiniPathItem* body) const
{
    return body ? body->pen().widthF() : pieces.size() * m_penWidth / kRampDivisor;
}

QList<QPainterPath> MiniPathOpermodel::tailParts(const QList<QPainterPath>& pieces,
                                                 MiniPathItem* body) const
{
    const qreal startWidth = tailStartWidth(pieces, body);
    qreal tipWidth = startWidth * kTipFraction;
    if (tipWidth < kThinTip)
        tipWidth = kThinTipWidth;
    if (tipWidth > startWidth)
        tipWidth = kNarrowTip;

    QPainterPath tailPath;
    for (const QPainterPath& piece : pieces)
        tailPath = mergePath(tailPath, piece);

    const qreal steps = (startWidth - tipWidth) / kWidthStep;
    const qreal segmentLength = tailPath.length() / steps;

    QPolygonF polygon = tailPath.toFillPolygon(QTransform());
    if (!polygon.isEmpty())
        polygon.removeLast();
    return cutTail(polygon, segmentLength);
}

void MiniPathOpermodel::deleteTail(int id)
{
    const QList<MiniPathItem*> old = m_itemMap.take(id);
    // The tail is what the stroke added last.
    QList<MiniPathItem*>& drawn = m_strokeItems[id];
    for (int i = old.size() - 1; i >= 0; --i) {
        MiniPathItem* item = old.at(i);
        if (!drawn.isEmpty() && drawn.last() == item)
            drawn.removeLast();
        else
            drawn.removeOne(item);
        delete item;
    }
}

QList<QPainterPath> MiniPathOpermodel::cutTail(QPolygonF polygon, qreal segmentLength)
{
    const bool cut = std::isfinite(segmentLength) && segmentLength > 0;
    QList<QPainterPath> parts;
    QPainterPath cur;
    qreal curLength = 0;
    for (int i = 1; i < polygon.size(); ++i) {
        const QPointF a = polygon.at(i - 1);
        const QPointF b = polygon.at(i);
        const qreal edge = QLineF(a, b).length();
        const qreal total = curLength + edge;
        if (!cut || parts.size() + 1 >= MaxTailParts || total < segmentLength) {
            cur.moveTo(a);
            cur.lineTo(b);
            curLength = total;
        } else if (total == segmentLength) {
            cur.moveTo(a);
            cur.lineTo(b);
            parts.append(cur);
            cur = QPainterPath();
            curLength = 0;
        } else if (total > segmentLength) {
            const qreal rest = segmentLength - curLength;
            const QPointF c = a + (b - a) * rest / edge;
            cur.moveTo(a);
            cur.lineTo(c);
            polygon.insert(i, c);
            parts.append(cur);
            cur = QPainterPath();
            curLength = 0;
        }
    }
    if (!cur.isEmpty())
        parts.append(cur);
    return parts;
}

MiniPathItem* MiniPathOpermodel::addPathToScene(int id, int width, const QPainterPath& path)
{
    auto* item = new MiniPathItem();
    m_scene->addItem(item);
    item->setPen(penOfWidth(width));
    item->setPath(path);
    item->setZValue(qreal(m_scene->getNewZValue()));
    // Painted over the finished ink until its stroke is finished.
    m_scene->inkLayer()->setWet(item, true);
    m_strokeItems[id].append(item);
    return item;
}

QPainterPath MiniPathOpermodel::mergePath(const QPainterPath& base, const QPainterPath& add)
{
    if (base.isEmpty())
        return add;
    QPainterPath merged = base;
    for (int i = 1; i < add.elementCount(); ++i) {
        const QPainterPath::Element& e = add.elementAt(i);
        merged.lineTo(e.x, e.y);
    }
    return merged;
}

QPainterPath MiniPathOpermodel::cubToLine(const QPainterPath& path)
{
    QPolygonF polygon = path.toFillPolygon(QTransform());
    if (!polygon.isEmpty())
        polygon.removeLast();
    QPainterPath line;
    line.addPolygon(polygon);
    return line;
}
