#include "eraser/erasergeometry.h"

#include "common/logging.h"

#include <QLineF>
#include <QVector>
#include <QtGlobal>

#include <cmath>
#include <limits>
#include <utility>

namespace {

QPolygonF twoPoints(const QPointF& first, const QPointF& second)
{
    QPolygonF polyline;
    polyline.reserve(2);
    polyline << first << second;
    return polyline;
}

// Adds the piece first-second to out. When the last polyline of out ends at
// first (QPointF's fuzzy equality), second extends it; otherwise the piece
// starts a polyline of its own. This is how the surviving parts of a stroke's
// consecutive segments grow back into one polyline.
void addJoined(QList<QPolygonF>& out, const QPointF& first, const QPointF& second)
{
    if (!out.isEmpty() && !out.last().isEmpty() && out.last().last() == first) {
        out.last().append(second);
        return;
    }
    out.append(twoPoints(first, second));
}

// The crossing of the segment with the edge, if they really cross (ends
// included). Parallel or degenerate lines never cross. For lines of tiny
// extent (around 1e-300) QLineF::intersects divides by a denormal and can
// report a bounded crossing at NaN; that is no crossing.
bool boundedCrossing(const QLineF& segment, const QLineF& edge, QPointF* crossing)
{
    return segment.intersects(edge, crossing) == QLineF::BoundedIntersection &&
           std::isfinite(crossing->x()) && std::isfinite(crossing->y());
}

// QPainterPath silently drops points beyond 1e128 (and non-finite ones),
// which would leave a wrong outline behind.
bool holdable(double c)
{
    return std::isfinite(c) && std::fabs(c) < 1e128;
}

bool holdable(const QPointF& p)
{
    return holdable(p.x()) && holdable(p.y());
}

} // namespace

bool IsEqual(double a, double b)
{
    return std::fabs(a - b) < 1e-6;
}

bool polygon_isect_line(QPointF const& p1, QPointF const& p2, QPointF const& pos, int* winding)
{
    double x1 = p1.x();
    double y1 = p1.y();
    double x2 = p2.x();
    double y2 = p2.y();

    // Horizontal by the relative fuzzy comparison of doubles. A y = 0 edge
    // (both exactly 0) is caught too; an edge from 0 to a tiny y is not.
    if (qMin(std::fabs(y1), std::fabs(y2)) >= std::fabs(y1 - y2) * 1e12)
        return false;

    int dir = 1;
    if (y1 > y2) {
        std::swap(x1, x2);
        std::swap(y1, y2);
        dir = -1;
    }

    // Both ends inclusive: a ray through a vertex is counted by each of the
    // two edges that meet there.
    if (pos.y() < y1 || pos.y() > y2)
        return false;

    const double x = (x2 - x1) / (y2 - y1) * (pos.y() - y1) + x1;
    if (x == pos.x())
        return true;
    if (pos.x() > x && winding)
        *winding += dir;
    return false;
}

bool polygonContainsPoint(QPolygonF const& polygon, QPointF const& pt)
{
    if (polygon.isEmpty())
        return false;

    int winding = 0;
    const QPointF first = polygon.at(0);
    QPointF last = first;
    for (int i = 1; i < polygon.size(); ++i) {
        const QPointF& current = polygon.at(i);
        if (polygon_isect_line(last, current, pt, &winding))
            return true;
        last = current;
    }

    // An open polygon is closed implicitly; a closed one is not closed twice.
    if (last != first && polygon_isect_line(last, first, pt, &winding))
        return true;

    return winding != 0;
}

bool pointDeepInPolygon(QPolygonF const& polygon, QPointF const& pt, qreal depth)
{
    if (polygon.size() < 3 || !std::isfinite(pt.x()) || !std::isfinite(pt.y()) ||
        !std::isfinite(depth))
        return false;
    bool inside = false;
    for (int i = 0; i < polygon.size(); ++i) {
        const QPointF a = polygon.at(i);
        const QPointF b = polygon.at((i + 1) % polygon.size());
        if (!std::isfinite(a.x()) || !std::isfinite(a.y()))
            return false;
        const QPointF ab = b - a;
        const qreal lengthSquared = QPointF::dotProduct(ab, ab);
        const qreal t =
            lengthSquared > 0
                ? qBound(qreal(0), QPointF::dotProduct(pt - a, ab) / lengthSquared, qreal(1))
                : 0;
        const QPointF gap = pt - (a + ab * t);
        if (!(QPointF::dotProduct(gap, gap) > depth * depth))
            return false;
        // A ray from pt towards +x crosses the edges that span its height.
        if ((a.y() > pt.y()) != (b.y() > pt.y()) &&
            pt.x() < a.x() + (pt.y() - a.y()) * ab.x() / ab.y())
            inside = !inside;
    }
    return inside;
}

void getEarsePath(QPainterPath& path, QRectF const& rect, QPointF const& p1, QPointF const& p2)
{
    if (!holdable(p1) || !holdable(p2) || !holdable(rect.topLeft()) ||
        !holdable(rect.bottomRight())) {
        qCWarning(lcSkedaEraser,
                  "getEarsePath: eraser position or rectangle out of range; no area is swept");
        return;
    }

    if (IsEqual(p1.x(), p2.x()) && IsEqual(p1.y(), p2.y())) {
        path.addRect(rect);
        return;
    }

    const double w = rect.width();
    const double h = rect.height();

    // A at the previous centre, B the current rectangle.
    const double ax = p1.x() - w * 0.5;
    const double ay = p1.y() - h * 0.5;
    const QPointF aTL(ax, ay);
    const QPointF aTR(ax + w, ay);
    const QPointF aBR(ax + w, ay + h);
    const QPointF aBL(ax, ay + h);

    const double bx = rect.x();
    const double by = rect.y();
    const QPointF bTL(bx, by);
    const QPointF bTR(bx + w, by);
    const QPointF bBR(bx + w, by + h);
    const QPointF bBL(bx, by + h);
    if (!holdable(aTL) || !holdable(aBR)) {
        qCWarning(lcSkedaEraser,
                  "getEarsePath: eraser position or rectangle out of range; no area is swept");
        return;
    }

    // Truncated to whole units: a move under one unit along an axis counts as
    // no move along it. This only selects which outline is drawn.
    const int dx = truncToInt(p1.x() - p2.x());
    const int dy = truncToInt(p1.y() - p2.y());

    QVector<QPointF> corners;
    if (dx < 0 && dy < 0) // right and down
        corners = {aTL, aTR, bTR, bBR, bBL, aBL};
    else if (dx < 0 && dy > 0) // right and up
        corners = {aTL, bTL, bTR, bBR, aBR, aBL};
    else if (dx > 0 && dy < 0) // left and down
        corners = {aTL, aTR, aBR, bBR, bBL, bTL};
    else if (dx > 0 && dy > 0) // left and up
        corners = {aTR, aBR, aBL, bBL, bTL, bTR};
    else if (dx == 0 && dy > 0) // straight up
        corners = {aBL, bTL, bTR, aBR};
    else if (dx == 0 && dy < 0) // straight down
        corners = {bBL, aTL, aTR, bBR};
    else if (dx > 0 && dy == 0) // straight left
        corners = {aTR, aBR, bBL, bTL};
    else if (dx < 0 && dy == 0) // straight right
        corners = {bTR, bBR, aBL, aTL};

    if (corners.isEmpty()) {
        // Under one unit on both axes: the start rectangle stands for the step.
        path.addRect(QRectF(ax, ay, w, h));
        return;
    }

    path.moveTo(corners.at(0));
    for (int i = 1; i < corners.size(); ++i)
        path.lineTo(corners.at(i));
    path.closeSubpath();
}

void intersectNewRect(QPointF const& a, QPointF const& b, QPolygonF const& area,
                      QList<QPolygonF>& out)
{
    const QLineF segment(a, b);

    // The closing edge (last point back to the first) is not walked: the area
    // comes closed.
    QPointF crossings[2];
    int count = 0;
    for (int i = 0; i + 1 < area.size() && count < 2; ++i) {
        QPointF crossing;
        if (boundedCrossing(segment, QLineF(area.at(i), area.at(i + 1)), &crossing))
            crossings[count++] = crossing;
    }

    if (count == 0) {
        // Either wholly in the erased area (an end inside or on the boundary
        // decides) or wholly outside it.
        if (polygonContainsPoint(area, a) || polygonContainsPoint(area, b))
            return;
        if (!out.isEmpty() && !out.last().isEmpty()) {
            QPolygonF& last = out.last();
            if (last.last() == a) {
                last.append(b);
                return;
            }
            // A segment running back to where the last piece ended extends
            // that piece in reverse.
            if (last.last() == b) {
                last.append(a);
                return;
            }
        }
        out.append(twoPoints(a, b));
        return;
    }

    if (count == 1) {
        const QPointF& crossing = crossings[0];
        // The outside end; when neither end is inside, a stands for it.
        const QPointF outside = polygonContainsPoint(area, a) ? b : a;
        // Ordered by x alone, along the segment's horizontal direction; a tie
        // (a vertical segment) puts the crossing first whichever way the
        // stroke runs.
        bool outsideFirst;
        if (a.x() > b.x())
            outsideFirst = outside.x() > crossing.x();
        else
            outsideFirst = crossing.x() > outside.x();
        if (outsideFirst)
            addJoined(out, outside, crossing);
        else
            addJoined(out, crossing, outside);
        return;
    }

    // Two crossings: the segment enters and leaves the area. The one nearer to
    // a ends the first piece; on equal distances the second found is nearer.
    const double d0 = QLineF(a, crossings[0]).length();
    const double d1 = QLineF(a, crossings[1]).length();
    const QPointF& nearer = d1 > d0 ? crossings[0] : crossings[1];
    const QPointF& farther = d1 > d0 ? crossings[1] : crossings[0];
    addJoined(out, a, nearer);
    out.append(twoPoints(farther, b));
}

void intersectRect(QPointF const& a, QPointF const& b, QRectF const& rect, QList<QPolygonF>& out)
{
    const QLineF segment(a, b);
    const double x = rect.x();
    const double y = rect.y();
    const double right = x + rect.width();
    const double bottom = y + rect.height();
    QPointF crossing;

    if (boundedCrossing(segment, QLineF(x, y, right, y), &crossing))
        addJoined(out, y > a.y() ? a : b, crossing);

    if (boundedCrossing(segment, QLineF(x, y, x, bottom), &crossing))
        addJoined(out, x > a.x() ? a : b, crossing);

    if (boundedCrossing(segment, QLineF(x, bottom, right, bottom), &crossing))
        addJoined(out, a.y() > bottom ? a : b, crossing);

    // Only the right edge keeps the stroke's direction.
    if (boundedCrossing(segment, QLineF(right, y, right, bottom), &crossing)) {
        if (a.x() > right)
            addJoined(out, a, crossing);
        else
            addJoined(out, crossing, b);
    }
}

void intersectLine(QLineF& line, QPointF const& p1, QPointF const& p2, QPointF const& p3,
                   QPointF const& p4, bool byX, bool takeMin, bool reverse, QList<QPolygonF>& out)
{
    Q_UNUSED(line)

    QPointF crossing;
    if (!boundedCrossing(QLineF(p1, p2), QLineF(p3, p4), &crossing))
        return;

    // The kept end: smaller or larger x (or y); p2 on equal coordinates.
    const double c1 = byX ? p1.x() : p1.y();
    const double c2 = byX ? p2.x() : p2.y();
    const bool keepP1 = takeMin ? c1 < c2 : c1 > c2;
    const QPointF& kept = keepP1 ? p1 : p2;

    // Ordered by x whatever byX says.
    const bool keptFirst = reverse ? crossing.x() > kept.x() : kept.x() > crossing.x();
    if (keptFirst)
        addJoined(out, kept, crossing);
    else
        addJoined(out, crossing, kept);
}

int truncToInt(double value)
{
    if (std::isnan(value))
        return 0;
    if (value >= static_cast<double>(std::numeric_limits<int>::max()))
        return std::numeric_limits<int>::max();
    if (value <= static_cast<double>(std::numeric_limits<int>::min()))
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}
