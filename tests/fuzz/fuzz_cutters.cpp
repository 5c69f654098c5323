// The three stroke cutters on any input: intersectNewRect against any
// polygon (closed or open, degenerate, self-crossing), intersectRect against
// any rectangle (negative sizes included), intersectLine with every
// combination of its flags, one segment after another along a stroke, on an
// output list that may already hold pieces.
//
// Properties beyond "no crash, no undefined behaviour, no hang": the output
// convention of cutcheck.h, with at most two new polylines per segment for
// intersectNewRect, four for intersectRect and one for intersectLine.

#include "cutcheck.h"
#include "eraser/erasergeometry.h"

#include <QLineF>
#include <QRectF>

extern "C" int SKEDA_FUZZ_ENTRY(const uint8_t* data, size_t size)
{
    fuzz::quietQt();
    fuzz::Input in(data, size);

    QPolygonF area;
    const int corners = in.below(24);
    for (int i = 0; i < corners; ++i)
        area.append(QPointF(in.real(), in.real()));
    if (!area.isEmpty() && in.flag())
        area.append(area.first());
    const QRectF rect(in.real(), in.real(), in.real(), in.real());
    const QPointF p3(in.real(), in.real());
    const QPointF p4(in.real(), in.real());

    QList<QPolygonF> out;
    const int existing = in.below(3);
    for (int i = 0; i < existing; ++i) {
        QPolygonF piece;
        const int points = 1 + in.below(3);
        for (int k = 0; k < points; ++k)
            piece.append(QPointF(in.real(), in.real()));
        out.append(piece);
    }

    QPointF a(in.real(), in.real());
    const int segments = 1 + in.below(16);
    for (int i = 0; i < segments && !in.atEnd(); ++i) {
        // A stroke runs on from where it was; now and then it jumps back to
        // the end of the last piece, or repeats its point.
        QPointF b(in.real(), in.real());
        const int jump = in.below(8);
        if (jump == 0 && !out.isEmpty() && !out.last().isEmpty())
            b = out.last().last();
        else if (jump == 1)
            b = a;
        const QList<QPolygonF> previous = out;
        switch (in.below(3)) {
        case 0:
            intersectNewRect(a, b, area, out);
            fuzz::checkAppended(previous, out, a, b, 2);
            break;
        case 1:
            intersectRect(a, b, rect, out);
            fuzz::checkAppended(previous, out, a, b, 4);
            break;
        default: {
            QLineF unused(in.real(), in.real(), in.real(), in.real());
            const uint8_t flags = in.byte();
            intersectLine(unused, a, b, p3, p4, flags & 1, flags & 2, flags & 4, out);
            fuzz::checkAppended(previous, out, a, b, 1);
            break;
        }
        }
        a = b;
    }
    return 0;
}
