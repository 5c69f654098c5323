// The pen's path helpers: MiniPathOpermodel::cutTail (the tapered tail cut
// into parts of one length), mergePath and cubToLine, on paths and lengths
// from the fuzzer's bytes, and once through the chain the pen runs at every
// point (a curve piece per point, flattened, merged, cut).
//
// Properties beyond "no crash, no undefined behaviour, no hang":
// - cutTail makes at most MaxTailParts parts, none for fewer than two
//   points, no empty one for a length above the coordinates' precision, and
//   for bounded input the parts together are as long as the polyline;
// - mergePath keeps the base path as it was and only appends points of the
//   added path;
// - cubToLine yields a polyline of finite points for bounded input.

#include "canvas/minipathopermodel.h"
#include "fuzzinput.h"

#include <QLineF>
#include <QPainterPath>
#include <QPolygonF>

#include <algorithm>

namespace {

QPainterPath pathFrom(fuzz::Input& in)
{
    QPainterPath path;
    const int ops = in.below(10);
    for (int i = 0; i < ops; ++i) {
        switch (in.below(7)) {
        case 0:
            path.moveTo(in.real(), in.real());
            break;
        case 1:
            path.lineTo(in.real(), in.real());
            break;
        case 2: {
            const QPointF c(in.real(), in.real());
            path.quadTo(c, QPointF(in.real(), in.real()));
            break;
        }
        case 3: {
            const QPointF c1(in.real(), in.real());
            const QPointF c2(in.real(), in.real());
            path.cubicTo(c1, c2, QPointF(in.real(), in.real()));
            break;
        }
        case 4:
            path.addEllipse(QRectF(in.real(), in.real(), in.real(), in.real()));
            break;
        case 5:
            path.addRect(QRectF(in.real(), in.real(), in.real(), in.real()));
            break;
        default:
            path.closeSubpath();
            break;
        }
    }
    return path;
}

bool pathBounded(const QPainterPath& path, double limit)
{
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element& e = path.elementAt(i);
        if (!fuzz::bounded(e.x, limit) || !fuzz::bounded(e.y, limit))
            return false;
    }
    return true;
}

double polylineLength(const QPolygonF& polygon)
{
    double length = 0;
    for (int i = 1; i < polygon.size(); ++i)
        length += QLineF(polygon.at(i - 1), polygon.at(i)).length();
    return length;
}

// The input of a failing cut, for the report.
void printCut(const QPolygonF& polygon, double segmentLength)
{
    std::fprintf(stderr, "cutTail of %d points, length %.17g:", int(polygon.size()), segmentLength);
    for (const QPointF& p : polygon)
        std::fprintf(stderr, " (%.17g, %.17g)", p.x(), p.y());
    std::fprintf(stderr, "\n");
}

void checkCut(const QPolygonF& polygon, double segmentLength)
{
    const QList<QPainterPath> parts = MiniPathOpermodel::cutTail(polygon, segmentLength);
    const auto check = [&](bool ok, const char* what) {
        if (!ok)
            printCut(polygon, segmentLength);
        FUZZ_CHECK(ok, what);
    };
    check(parts.size() <= MiniPathOpermodel::MaxTailParts, "too many tail parts");
    if (polygon.size() < 2) {
        check(parts.isEmpty(), "parts without an edge");
        return;
    }
    // A cut point closer to the edge's start than QPointF's fuzzy equality
    // tells apart is dropped by QPainterPath::lineTo(), which leaves a part of
    // nothing but a move. The pen never asks for such a length: its parts are
    // at least a 250th of a tail that is a pixel long or more.
    // Points a QPainterPath does not take (beyond 1e128, not finite) leave
    // parts empty too.
    double extent = 1;
    for (const QPointF& p : polygon)
        extent = std::max({extent, std::fabs(p.x()), std::fabs(p.y())});
    if (extent <= 1e100 && segmentLength >= 1e-9 * extent) {
        for (const QPainterPath& part : parts)
            check(!part.isEmpty(), "an empty part");
    }

    bool polygonBounded = true;
    for (const QPointF& p : polygon)
        polygonBounded = polygonBounded && fuzz::bounded(p.x(), 1e6) && fuzz::bounded(p.y(), 1e6);
    if (!polygonBounded)
        return;
    double total = 0;
    for (const QPainterPath& part : parts)
        total += part.length();
    const double expected = polylineLength(polygon);
    check(std::fabs(total - expected) <= 1e-6 * (1.0 + expected) * polygon.size(),
          "the parts are not as long as the polyline");
}

} // namespace

extern "C" int SKEDA_FUZZ_ENTRY(const uint8_t* data, size_t size)
{
    fuzz::quietQt();
    fuzz::Input in(data, size);

    switch (in.below(4)) {
    case 0: {
        QPolygonF polygon;
        const int count = in.below(64);
        for (int i = 0; i < count; ++i)
            polygon.append(QPointF(in.real(), in.real()));
        checkCut(polygon, in.real());
        break;
    }
    case 1: {
        const QPainterPath base = pathFrom(in);
        const QPainterPath add = pathFrom(in);
        const QPainterPath merged = MiniPathOpermodel::mergePath(base, add);
        if (base.isEmpty()) {
            FUZZ_CHECK(merged == add, "merging into nothing is not the added path");
            break;
        }
        FUZZ_CHECK(merged.elementCount() >= base.elementCount(), "the base lost elements");
        for (int i = 0; i < base.elementCount(); ++i) {
            const QPainterPath::Element& was = base.elementAt(i);
            const QPainterPath::Element& is = merged.elementAt(i);
            FUZZ_CHECK(was.type == is.type && std::memcmp(&was.x, &is.x, sizeof was.x) == 0 &&
                           std::memcmp(&was.y, &is.y, sizeof was.y) == 0,
                       "the base path changed");
        }
        for (int i = base.elementCount(); i < merged.elementCount(); ++i) {
            const QPainterPath::Element& e = merged.elementAt(i);
            FUZZ_CHECK(e.type == QPainterPath::LineToElement, "a merged element is not a line");
            bool fromAdd = false;
            for (int k = 1; k < add.elementCount() && !fromAdd; ++k)
                fromAdd = QPointF(add.elementAt(k)) == QPointF(e);
            FUZZ_CHECK(fromAdd, "a merged point is not one of the added path's");
        }
        break;
    }
    case 2: {
        const QPainterPath path = pathFrom(in);
        const QPainterPath line = MiniPathOpermodel::cubToLine(path);
        if (pathBounded(path, 1e9)) {
            for (int i = 0; i < line.elementCount(); ++i) {
                const QPainterPath::Element& e = line.elementAt(i);
                FUZZ_CHECK(std::isfinite(e.x) && std::isfinite(e.y),
                           "a flattened point is not finite");
                FUZZ_CHECK(e.type != QPainterPath::CurveToElement, "a flattened path has a curve");
            }
        }
        break;
    }
    default: {
        // The pen's chain: points -> curve pieces -> flattened -> merged ->
        // cut into parts of (length / steps).
        QList<QPointF> points;
        const int count = 2 + in.below(14);
        for (int i = 0; i < count; ++i)
            points.append(QPointF(in.real(), in.real()));
        QList<QPainterPath> pieces;
        QPainterPath first;
        first.moveTo(points.at(0));
        first.lineTo((points.at(0) + points.at(1)) * 0.5);
        pieces.append(first);
        for (int n = 3; n <= points.size(); ++n) {
            const QPointF control = points.at(n - 2);
            QPainterPath piece;
            piece.moveTo(pieces.last().pointAtPercent(1.0));
            piece.quadTo(control, (control + points.at(n - 1)) * 0.5);
            pieces.append(MiniPathOpermodel::cubToLine(piece));
        }
        QPainterPath tail;
        for (const QPainterPath& piece : pieces)
            tail = MiniPathOpermodel::mergePath(tail, piece);
        const double steps = in.real();
        QPolygonF polygon = tail.toFillPolygon(QTransform());
        if (!polygon.isEmpty())
            polygon.removeLast();
        checkCut(polygon, tail.length() / steps);
        break;
    }
    }
    return 0;
}
