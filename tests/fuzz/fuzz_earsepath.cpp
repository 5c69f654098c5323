// The eraser's step, from the fuzzer's bytes: the area swept between two
// eraser positions (getEarsePath), flattened as the eraser flattens it, then
// points tested against it (polygonContainsPoint) and stroke segments cut by
// it (intersectNewRect).
//
// Properties beyond "no crash, no undefined behaviour, no hang":
// - whatever is added is one closed outline (a move, then lines, ending on
//   its first point) of at most six corners, or nothing;
// - input a painter path can hold always yields an outline of at least two
//   corners when the rectangle's corners are distinct points; for an eraser
//   as the board has one, a rectangle or an outline of exactly four or six
//   corners (a free rectangle may put an end corner within QPainterPath's
//   fuzzy distance of a start corner, and the path merges the two);
// - for an eraser as the board has one (integer size of at least 8, placed
//   the way the eraser places its picture) the area contains both eraser
//   centres;
// - the cutter keeps its output convention (cutcheck.h).

#include "cutcheck.h"
#include "eraser/erasergeometry.h"

#include <QPainterPath>
#include <QPolygonF>
#include <QRectF>

#include <algorithm>

extern "C" int SKEDA_FUZZ_ENTRY(const uint8_t* data, size_t size)
{
    fuzz::quietQt();
    fuzz::Input in(data, size);

    const QPointF p1(in.real(), in.real());
    const QPointF p2(in.real(), in.real());
    QRectF rect;
    // Placed as the eraser places its picture: centred on p2, the half
    // sizes truncated.
    const bool asTheEraser = in.flag();
    if (asTheEraser) {
        const int w = 1 + (in.int16() & 0x3FFF);
        const int h = 1 + (in.int16() & 0x3FFF);
        const double halfW = truncToInt(0.5 * w);
        const double halfH = truncToInt(0.5 * h);
        rect = QRectF(p2.x() - halfW, p2.y() - halfH, w, h);
    } else {
        rect = QRectF(in.real(), in.real(), in.real(), in.real());
    }

    QPainterPath path;
    if (in.flag())
        path.addRect(QRectF(in.real(), in.real(), 4, 4)); // getEarsePath appends to what is there
    const int before = path.elementCount();
    getEarsePath(path, rect, p1, p2);
    const int added = path.elementCount() - before;

    const auto holdable = [](double v) {
        return std::isfinite(v) && std::fabs(v) < 1e127;
    };
    const bool inputHoldable =
        holdable(p1.x()) && holdable(p1.y()) && holdable(p2.x()) && holdable(p2.y()) &&
        holdable(rect.x()) && holdable(rect.y()) && holdable(rect.width()) &&
        holdable(rect.height()) && holdable(rect.right()) && holdable(rect.bottom()) &&
        holdable(p1.x() - 0.5 * rect.width()) && holdable(p1.y() - 0.5 * rect.height()) &&
        holdable(p1.x() + 0.5 * rect.width()) && holdable(p1.y() + 0.5 * rect.height());
    // QPainterPath drops a line to a point fuzzily equal to the last one, so
    // corners of a rectangle too small for its coordinates merge.
    const double extent = std::max({1.0, std::fabs(p1.x()), std::fabs(p1.y()), std::fabs(p2.x()),
                                    std::fabs(p2.y()), std::fabs(rect.x()), std::fabs(rect.y())});
    const bool distinctCorners =
        std::fabs(rect.width()) >= 1e-9 * extent && std::fabs(rect.height()) >= 1e-9 * extent;
    if (added != 0) {
        FUZZ_CHECK(added <= 7, "an outline of more than six corners");
        const QPainterPath::Element first = path.elementAt(before);
        const QPainterPath::Element last = path.elementAt(path.elementCount() - 1);
        FUZZ_CHECK(first.isMoveTo(), "the outline does not start with a move");
        for (int i = before + 1; i < path.elementCount(); ++i)
            FUZZ_CHECK(path.elementAt(i).isLineTo(), "the outline holds more than lines");
        FUZZ_CHECK(last.x == first.x && last.y == first.y, "the outline is not closed");
    }
    const bool boardSized = asTheEraser && fuzz::bounded(p1.x(), 1e7) &&
                            fuzz::bounded(p1.y(), 1e7) && fuzz::bounded(p2.x(), 1e7) &&
                            fuzz::bounded(p2.y(), 1e7);
    if (distinctCorners) {
        if (inputHoldable)
            FUZZ_CHECK(added >= 3, "holdable input swept no area");
        if (boardSized && added != 5 && added != 7)
            std::fprintf(stderr,
                         "%d elements for rect (%.17g, %.17g, %.17g, %.17g), p1 (%.17g, %.17g), "
                         "p2 (%.17g, %.17g)\n",
                         added, rect.x(), rect.y(), rect.width(), rect.height(), p1.x(), p1.y(),
                         p2.x(), p2.y());
        if (boardSized)
            FUZZ_CHECK(added == 5 || added == 7, "an eraser's outline of an unexpected size");
    }

    const QPolygonF area = path.toFillPolygon(QTransform());

    const bool boardEraser = boardSized && rect.width() >= 8 && rect.height() >= 8 && before == 0;
    if (boardEraser) {
        FUZZ_CHECK(polygonContainsPoint(area, p1), "the swept area misses the start centre");
        FUZZ_CHECK(polygonContainsPoint(area, p2), "the swept area misses the end centre");
    }

    // Probe points, then a stroke cut against the area.
    const int probes = in.below(4);
    for (int i = 0; i < probes; ++i)
        polygonContainsPoint(area, QPointF(in.real(), in.real()));

    QList<QPolygonF> out;
    QPointF a(in.real(), in.real());
    const int segments = in.below(12);
    for (int i = 0; i < segments && !in.atEnd(); ++i) {
        const QPointF b(in.real(), in.real());
        const QList<QPolygonF> previous = out;
        intersectNewRect(a, b, area, out);
        fuzz::checkAppended(previous, out, a, b, 2);
        a = b;
    }
    return 0;
}
