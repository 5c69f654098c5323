// The point-in-polygon test on any polygon: empty, one point, degenerate,
// self-crossing, open or closed, with any coordinates.
//
// Properties beyond "no crash, no undefined behaviour, no hang":
// - one edge step changes the winding count by -1, 0 or +1, and tolerates a
//   null count;
// - away from the places where the board's rule deliberately differs from
//   the usual scan rule (a point level with a vertex, a point on an edge),
//   polygonContainsPoint agrees with QPolygonF::containsPoint under the
//   winding rule.

#include "eraser/erasergeometry.h"
#include "fuzzinput.h"

#include <QPolygonF>

extern "C" int SKEDA_FUZZ_ENTRY(const uint8_t* data, size_t size)
{
    fuzz::quietQt();
    fuzz::Input in(data, size);

    const QPointF pt(in.real(), in.real());
    QPolygonF polygon;
    const int count = in.below(48);
    for (int i = 0; i < count; ++i) {
        // Now and then a repeated point: zero-length and collinear edges.
        if (!polygon.isEmpty() && in.below(8) == 0)
            polygon.append(polygon.at(in.below(polygon.size())));
        else
            polygon.append(QPointF(in.real(), in.real()));
    }
    if (!polygon.isEmpty() && in.flag())
        polygon.append(polygon.first()); // closed explicitly

    const bool inside = polygonContainsPoint(polygon, pt);

    bool onEdge = false;
    bool levelWithVertex = false;
    int winding = 0;
    for (int i = 0; i < polygon.size(); ++i) {
        const QPointF& p = polygon.at(i);
        const QPointF& q = polygon.at((i + 1) % polygon.size());
        const int was = winding;
        if (polygon_isect_line(p, q, pt, &winding))
            onEdge = true;
        FUZZ_CHECK(std::abs(winding - was) <= 1, "one edge moved the count by more than one");
        polygon_isect_line(p, q, pt, nullptr);
        if (p.y() == pt.y())
            levelWithVertex = true;
    }

    if (polygon.size() < 2)
        FUZZ_CHECK(!inside, "a polygon without edges contains a point");
    if (!onEdge && !levelWithVertex)
        FUZZ_CHECK(inside == polygon.containsPoint(pt, Qt::WindingFill),
                   "disagrees with QPolygonF::containsPoint off the boundary");
    return 0;
}
