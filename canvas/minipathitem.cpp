#include "canvas/minipathitem.h"

#include "canvas/boardhistory.h"
#include "canvas/inklayer.h"
#include "canvas/myminigraphicsscene.h"

#include <algorithm>

#include <QPainter>
#include <QPainterPathStroker>

#ifdef SKEDA_QT_PRIVATE_HEADERS
#include <QtWidgets/private/qgraphicsitem_p.h>
#endif

MiniPathItem::MiniPathItem(QGraphicsItem* parent)
    : QGraphicsItem(parent)
{
    setCacheMode(QGraphicsItem::DeviceCoordinateCache);
}

MiniPathItem::~MiniPathItem()
{
    // Qt takes the item out of its scene after this destructor, without
    // telling the item; the layer must forget it first.
    if (m_ink)
        m_ink->removeItem(this);
    // Deleted while the board's history still refers to it: only board
    // items deleted behind the history's back (by a host, say) are.
    if (m_historyRefs > 0)
        BoardHistory::itemDeleted(this);
}

void MiniPathItem::setSinglePnt(bool singlePnt)
{
    m_singlePnt = singlePnt;
}

QPainterPath MiniPathItem::path() const
{
    if (m_storage == WholePath)
        return m_path;
    const int count = m_points.size();
    // Room for exactly the elements (a path made empty reserves 16). The move
    // to the first point again marks the bounds for working out, which the
    // constructor alone leaves at an empty rectangle at the origin.
    QPainterPath path(m_points.first());
    path.reserve(count);
    path.moveTo(m_points.first());
    for (int i = 1; i < count; ++i) {
        if (typeAt(i) == QPainterPath::MoveToElement)
            path.moveTo(m_points.at(i));
        else
            path.lineTo(m_points.at(i));
    }
    return path;
}

int MiniPathItem::elementCount() const
{
    return m_storage == WholePath ? m_path.elementCount() : m_points.size();
}

QPainterPath::ElementType MiniPathItem::typeAt(int i) const
{
    switch (m_storage) {
    case WholePath:
        return m_path.elementAt(i).type;
    case Polyline:
        break;
    case Segments:
        if (i % 2 == 0)
            return QPainterPath::MoveToElement;
        break;
    }
    return i == 0 ? QPainterPath::MoveToElement : QPainterPath::LineToElement;
}

QPointF MiniPathItem::pointAt(int i) const
{
    return m_storage == WholePath ? QPointF(m_path.elementAt(i)) : m_points.at(i);
}

void MiniPathItem::setPath(QPainterPath path)
{
    const int from = m_ink ? continuationOf(path) : -1;
    m_path = std::move(path);
    m_points = QPolygonF();
    m_storage = WholePath;
    invalidateGeometry();
    update(QRectF());
    if (from >= 0)
        m_ink->itemExtended(this, from);
    else
        inkChanged();
}

int MiniPathItem::continuationOf(const QPainterPath& path) const
{
    const int kept = m_path.elementCount();
    const int count = path.elementCount();
    if (m_storage != WholePath || m_singlePnt || kept < 2 || count <= kept ||
        path.fillRule() != m_path.fillRule())
        return -1;
    for (int i = 0; i < kept; ++i) {
        const QPainterPath::Element& old = m_path.elementAt(i);
        const QPainterPath::Element& now = path.elementAt(i);
        if (old.type != now.type || old.x != now.x || old.y != now.y ||
            (now.type != QPainterPath::MoveToElement && now.type != QPainterPath::LineToElement))
            return -1;
    }
    for (int i = kept; i < count; ++i) {
        if (path.elementAt(i).type != QPainterPath::LineToElement)
            return -1;
    }
    return kept - 1;
}

void MiniPathItem::squeezePath()
{
    const int count = m_path.elementCount();
    if (m_storage != WholePath || count == 0)
        return;
    if (m_path.fillRule() == Qt::OddEvenFill) {
        // Moves and lines only, in one of the patterns that need no types.
        bool polyline = true;
        bool segments = count % 2 == 0;
        for (int i = 0; i < count && (polyline || segments); ++i) {
            const QPainterPath::ElementType type = m_path.elementAt(i).type;
            polyline = polyline &&
                       type == (i == 0 ? QPainterPath::MoveToElement : QPainterPath::LineToElement);
            segments = segments && type == (i % 2 == 0 ? QPainterPath::MoveToElement
                                                       : QPainterPath::LineToElement);
        }
        if (polyline || segments) {
            QPolygonF points;
            points.reserve(count);
            for (int i = 0; i < count; ++i)
                points.append(QPointF(m_path.elementAt(i)));
            QPainterPath whole = std::move(m_path);
            m_path = QPainterPath();
            m_points = std::move(points);
            m_storage = polyline ? Polyline : Segments;
            // Built again, the path drops a point that lies on the one before
            // it; such a path stays whole.
            if (path().elementCount() == count)
                return;
            m_path = std::move(whole);
            m_points = QPolygonF();
            m_storage = WholePath;
        }
    }
    if (m_path.capacity() <= count)
        return;
    // Element by element: copying or appending a whole path would share its
    // storage instead.
    QPainterPath exact(QPointF(m_path.elementAt(0)));
    exact.reserve(count);
    exact.setFillRule(m_path.fillRule());
    for (int i = 1; i < count; ++i) {
        const QPainterPath::Element e = m_path.elementAt(i);
        switch (e.type) {
        case QPainterPath::MoveToElement:
            exact.moveTo(e);
            break;
        case QPainterPath::LineToElement:
            exact.lineTo(e);
            break;
        case QPainterPath::CurveToElement:
            if (i + 2 >= count)
                return;
            exact.cubicTo(e, m_path.elementAt(i + 1), m_path.elementAt(i + 2));
            i += 2;
            break;
        case QPainterPath::CurveToDataElement:
            return;
        }
    }
    // A path that repeats a point or holds a curve of one point cannot be
    // rebuilt element for element; it stays as it is.
    if (exact.elementCount() == count)
        m_path = exact;
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
    inkChanged();
}

void MiniPathItem::setPenWidth(int width)
{
    m_pen.setWidth(width);
    invalidateGeometry();
    inkChanged();
}

void MiniPathItem::invalidateGeometry()
{
    m_boundsValid = false;
    // The outline worked out for the old path (several kilobytes for a long
    // stroke: the eraser works out the shapes of the strokes it meets) is
    // let go now rather than kept until the shape is asked for again.
    m_shapeValid = false;
    m_shape = QPainterPath();
}

void MiniPathItem::releaseCacheRecord()
{
#ifdef SKEDA_QT_PRIVATE_HEADERS
    // The layout of Qt's private data is that of the Qt the library was
    // built against; with any other Qt the record stays.
    static const bool sameQt = qstrcmp(qVersion(), QT_VERSION_STR) == 0;
    // An item coordinate cache keeps its size in the record.
    if (!sameQt || cacheMode() != DeviceCoordinateCache)
        return;
    QGraphicsItemPrivate* d = QGraphicsItemPrivate::get(this);
    auto* cache = static_cast<QGraphicsItemCache*>(
        qvariant_cast<void*>(d->extra(QGraphicsItemPrivate::ExtraCacheData)));
    // A record that holds pixmaps (the item was painted by Qt) stays.
    if (!cache || cache->key.isValid() || !cache->deviceData.isEmpty())
        return;
    delete cache;
    d->unsetExtra(QGraphicsItemPrivate::ExtraCacheData);
    d->extras.squeeze();
#endif
}

QRectF MiniPathItem::boundingRect() const
{
    if (!m_boundsValid) {
        QPainterPathStroker stroker;
        stroker.setWidth(qreal(m_pen.width()));
        m_boundingRect = stroker.createStroke(path()).boundingRect();
        m_boundsValid = true;
    }
    return m_boundingRect;
}

QPainterPath MiniPathItem::shape() const
{
    if (!m_shapeValid) {
        QPainterPathStroker stroker;
        stroker.setWidth(m_pen.width() * 0.5);
        m_shape = stroker.createStroke(path());
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
        painter->fillPath(path(), QBrush(m_pen.color(), Qt::SolidPattern));
    else
        painter->drawPath(path());
}

void MiniPathItem::paintInk(QPainter* painter) const
{
    // Drawing a path leaves a cache of its converted points with the path's
    // shared data; moving an element onto itself detaches a private copy that
    // takes the cache with it when it goes. A path built from the points is
    // private already.
    QPainterPath path = this->path();
    if (m_storage == WholePath && !path.isEmpty()) {
        const QPainterPath::Element first = path.elementAt(0);
        path.setElementPositionAt(0, first.x, first.y);
    }
    painter->setPen(m_pen);
    if (m_singlePnt)
        painter->fillPath(path, QBrush(m_pen.color(), Qt::SolidPattern));
    else
        painter->drawPath(path);
}

void MiniPathItem::paintInkWithin(QPainter* painter, const QRectF& bounds,
                                  const QVector<QRectF>& areas) const
{
    const int count = elementCount();
    if (m_singlePnt || count < 3 || isThin()) {
        paintInk(painter);
        return;
    }
    // Half the pen's width, and a pixel of antialiasing, around a segment
    // hold all that it draws.
    const qreal reach = qMax(qreal(1), m_pen.widthF()) / 2 + 2;
    auto meets = [reach](const QRectF& box, const QRectF& area) {
        return box.right() + reach >= area.left() && box.left() - reach <= area.right() &&
               box.bottom() + reach >= area.top() && box.top() - reach <= area.bottom();
    };
    QPainterPath part;
    bool open = false;
    QPointF last = pointAt(0);
    for (int i = 1; i < count; ++i) {
        const QPainterPath::ElementType type = typeAt(i);
        const QPointF p = pointAt(i);
        if (type == QPainterPath::MoveToElement) {
            last = p;
            open = false;
            continue;
        }
        if (type != QPainterPath::LineToElement) {
            paintInk(painter); // curves are drawn whole
            return;
        }
        const QRectF box = QRectF(last, p).normalized();
        bool near = meets(box, bounds);
        if (near && areas.size() > 1)
            near = std::any_of(areas.cbegin(), areas.cend(),
                               [&](const QRectF& area) { return meets(box, area); });
        if (near) {
            if (!open)
                part.moveTo(last);
            part.lineTo(p);
            open = true;
        } else {
            open = false;
        }
        last = p;
    }
    if (part.isEmpty())
        return;
    painter->setPen(m_pen);
    painter->drawPath(part);
}

QVariant MiniPathItem::itemChange(GraphicsItemChange change, const QVariant& value)
{
    switch (change) {
    case ItemSceneChange:
    case ItemParentChange:
        leaveInk();
        break;
    case ItemSceneHasChanged:
    case ItemParentHasChanged:
        joinInk();
        break;
    case ItemVisibleHasChanged:
        if (isVisible() != m_inkVisible) {
            m_inkVisible = isVisible();
            inkChanged();
        }
        break;
    case ItemZValueHasChanged:
    case ItemOpacityHasChanged:
    case ItemPositionHasChanged:
    case ItemTransformHasChanged:
    case ItemRotationHasChanged:
    case ItemScaleHasChanged:
    case ItemTransformOriginPointHasChanged:
        inkChanged();
        break;
    case ItemFlagsHaveChanged:
        inkFlagsChanged();
        break;
    default:
        break;
    }
    return QGraphicsItem::itemChange(change, value);
}

// A top-level item in the board's scene is drawn by the scene's ink layer.
// It tells the layer of every move and transform, which Qt reports only with
// ItemSendsGeometryChanges.
void MiniPathItem::joinInk()
{
    if (m_ink || parentItem())
        return;
    auto* board = dynamic_cast<MyMiniGraphicsScene*>(scene());
    if (!board)
        return;
    const GraphicsItemFlags inkFlags = ItemHasNoContents | ItemSendsGeometryChanges;
    const GraphicsItemFlags added = inkFlags & ~flags();
    if (added) {
        m_inkFlags = quint16(added);
        setFlags(flags() | added);
    }
    m_inkVisible = isVisible();
    board->inkLayer()->addItem(this);
    inkFlagsChanged();
}

void MiniPathItem::leaveInk()
{
    if (!m_ink)
        return;
    m_ink->removeItem(this);
    if (m_inkFlags) {
        const GraphicsItemFlags added(m_inkFlags);
        m_inkFlags = 0;
        setFlags(flags() & ~added);
    }
}

void MiniPathItem::inkFlagsChanged()
{
    if (m_ink)
        m_ink->setItemInteractive(this,
                                  flags() & (ItemIsSelectable | ItemIsMovable | ItemIsFocusable));
}

void MiniPathItem::inkChanged()
{
    if (m_ink)
        m_ink->itemChanged(this);
}

int MiniPathItem::type() const
{
    return Type;
}

QPolygonF MiniPathItem::getPolygon() const
{
    QPolygonF polygon;
    if (m_storage == WholePath) {
        polygon = m_path.toFillPolygon(QTransform());
    } else {
        // Flattened as QPainterPath::toFillPolygon() does it: every subpath
        // of two points or more, its first point again unless it ends
        // there, and after each but the first, the path's first point.
        const int count = m_points.size();
        polygon.reserve(count + count / 2 + 2);
        QPointF first;
        int subpaths = 0;
        for (int start = 0; start < count;) {
            int end = start + 1;
            while (end < count && typeAt(end) != QPainterPath::MoveToElement)
                ++end;
            if (end - start > 1) {
                for (int i = start; i < end; ++i)
                    polygon.append(m_points.at(i));
                if (!(m_points.at(end - 1) == m_points.at(start)))
                    polygon.append(m_points.at(start));
                if (subpaths == 0)
                    first = m_points.at(start);
                else
                    polygon.append(first);
                ++subpaths;
            }
            start = end;
        }
    }
    if (polygon.isEmpty())
        return polygon;
    if (polygon.first() == polygon.last())
        polygon.removeLast();
    return polygon;
}

bool MiniPathItem::isPolyline() const
{
    if (m_storage != WholePath)
        return m_storage == Polyline;
    const int count = m_path.elementCount();
    for (int i = 0; i < count; ++i) {
        if (m_path.elementAt(i).type !=
            (i == 0 ? QPainterPath::MoveToElement : QPainterPath::LineToElement))
            return false;
    }
    return true;
}

bool MiniPathItem::hasOnlyLines() const
{
    if (m_storage != WholePath)
        return true;
    const int count = m_path.elementCount();
    for (int i = 0; i < count; ++i) {
        const QPainterPath::ElementType type = m_path.elementAt(i).type;
        if (type != QPainterPath::MoveToElement && type != QPainterPath::LineToElement)
            return false;
    }
    return true;
}

bool MiniPathItem::isPolyline(const QPolygonF& polyline) const
{
    if (elementCount() != polyline.size() || !isPolyline())
        return false;
    for (int i = 0; i < polyline.size(); ++i) {
        const QPointF point = pointAt(i);
        if (point.x() != polyline.at(i).x() || point.y() != polyline.at(i).y())
            return false;
    }
    return true;
}
