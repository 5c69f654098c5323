// A whole stroke cut by the eraser: MiniEraseOperModel::cutPolygon with the
// stroke's polyline and the swept area, the area either as the eraser builds
// it (getEarsePath, flattened) or any closed polygon.
//
// Properties beyond "no crash, no undefined behaviour, no hang":
// - every piece has two or more points, and for bounded input every point
//   lies within the stroke's bounding box;
// - a stroke whose bounding box is two units or more away from the area's is
//   kept whole, as one piece equal to the stroke.

#include "cutcheck.h"
#include "eraser/erasergeometry.h"
#include "eraser/minieraseopermodel.h"

#include <QPainterPath>
#include <QRectF>

extern "C" int SKEDA_FUZZ_ENTRY(const uint8_t* data, size_t size)
{
    fuzz::quietQt();
    fuzz::Input in(data, size);

    QPolygonF area;
    if (in.flag()) {
        const QPointF p1(in.real(), in.real());
        const QPointF p2(in.real(), in.real());
        const QRectF rect(p2.x() - 50, p2.y() - 75, 100, 150);
        QPainterPath path;
        getEarsePath(path, in.flag() ? rect : QRectF(in.real(), in.real(), in.real(), in.real()),
                     p1, p2);
        area = path.toFillPolygon(QTransform());
    } else {
        const int corners = in.below(16);
        for (int i = 0; i < corners; ++i)
            area.append(QPointF(in.real(), in.real()));
        if (!area.isEmpty())
            area.append(area.first());
    }

    QPolygonF stroke;
    const int points = in.below(40);
    QPointF p(in.real(), in.real());
    for (int i = 0; i < points; ++i) {
        stroke.append(p);
        // Mostly short steps, as a pen draws them.
        if (in.flag())
            p += QPointF(in.int16() / 256.0, in.int16() / 256.0);
        else
            p = QPointF(in.real(), in.real());
    }

    const QList<QPolygonF> pieces = MiniEraseOperModel::cutPolygon(stroke, area);

    bool strokeBounded = true;
    for (const QPointF& q : stroke)
        strokeBounded = strokeBounded && fuzz::bounded(q.x(), 1e9) && fuzz::bounded(q.y(), 1e9);
    bool areaBounded = !area.isEmpty();
    for (const QPointF& q : area)
        areaBounded = areaBounded && fuzz::bounded(q.x(), 1e9) && fuzz::bounded(q.y(), 1e9);
    const QRectF box = stroke.boundingRect();

    for (const QPolygonF& piece : pieces) {
        FUZZ_CHECK(piece.size() >= 2, "a piece of fewer than two points");
        if (!strokeBounded)
            continue;
        for (const QPointF& q : piece)
            FUZZ_CHECK(fuzz::onSegmentBox(q, box.topLeft(), box.bottomRight()),
                       "a piece leaves the stroke's bounding box");
    }

    if (strokeBounded && areaBounded && stroke.size() >= 2) {
        const QRectF areaBox = area.boundingRect();
        const bool apart = areaBox.right() + 2 < box.left() || box.right() + 2 < areaBox.left() ||
                           areaBox.bottom() + 2 < box.top() || box.bottom() + 2 < areaBox.top();
        if (apart) {
            FUZZ_CHECK(pieces.size() == 1, "a stroke away from the area was cut");
            FUZZ_CHECK(fuzz::sameBits(pieces.first(), stroke),
                       "a stroke away from the area was changed");
        }
    }
    return 0;
}
