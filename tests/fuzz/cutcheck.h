#pragma once

// The output convention the stroke cutters share: they only ever append to
// the list, either whole new polylines of two or more points or further
// points at the end of its last polyline, and every point they add is an end
// of the cut segment or a crossing on it.

#include "fuzzinput.h"

#include <QList>
#include <QPointF>
#include <QPolygonF>

#include <algorithm>

namespace fuzz {

// Bitwise equality (NaN included): the cutters never rewrite a point.
inline bool sameBits(const QPointF& a, const QPointF& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

inline bool sameBits(const QPolygonF& a, const QPolygonF& b)
{
    if (a.size() != b.size())
        return false;
    for (int i = 0; i < a.size(); ++i) {
        if (!sameBits(a.at(i), b.at(i)))
            return false;
    }
    return true;
}

// Whether p lies in the bounding box of a-b, with a tolerance for the
// rounding of a computed crossing.
inline bool onSegmentBox(const QPointF& p, const QPointF& a, const QPointF& b)
{
    const double scale =
        std::max({1.0, std::fabs(a.x()), std::fabs(a.y()), std::fabs(b.x()), std::fabs(b.y())});
    const double tolerance = scale * 1e-9;
    return p.x() >= std::min(a.x(), b.x()) - tolerance &&
           p.x() <= std::max(a.x(), b.x()) + tolerance &&
           p.y() >= std::min(a.y(), b.y()) - tolerance &&
           p.y() <= std::max(a.y(), b.y()) + tolerance;
}

// Checks what a cutter did to `out` (which held `before`) when cutting a-b:
// at most `maxNew` new polylines, earlier ones untouched, and, when the
// segment's coordinates are bounded, every added point on the segment's box.
inline void checkAppended(const QList<QPolygonF>& before, const QList<QPolygonF>& out,
                          const QPointF& a, const QPointF& b, int maxNew)
{
    FUZZ_CHECK(out.size() >= before.size(), "the list lost polylines");
    FUZZ_CHECK(out.size() - before.size() <= maxNew, "too many new polylines");
    const bool checkPoints = bounded(a.x(), 1e100) && bounded(a.y(), 1e100) &&
                             bounded(b.x(), 1e100) && bounded(b.y(), 1e100);
    for (int i = 0; i < out.size(); ++i) {
        const QPolygonF& polyline = out.at(i);
        int firstNew = 0;
        if (i < before.size()) {
            const QPolygonF& old = before.at(i);
            if (i + 1 < before.size()) {
                FUZZ_CHECK(sameBits(polyline, old), "an earlier polyline changed");
                continue;
            }
            FUZZ_CHECK(polyline.size() >= old.size(), "the last polyline lost points");
            for (int k = 0; k < old.size(); ++k)
                FUZZ_CHECK(sameBits(old.at(k), polyline.at(k)),
                           "a point of the last polyline changed");
            firstNew = old.size();
        } else {
            FUZZ_CHECK(polyline.size() >= 2, "a new polyline has fewer than two points");
        }
        if (!checkPoints)
            continue;
        for (int k = firstNew; k < polyline.size(); ++k) {
            const QPointF& p = polyline.at(k);
            if (!onSegmentBox(p, a, b))
                std::fprintf(stderr,
                             "point (%.17g, %.17g) of segment (%.17g, %.17g)-(%.17g, %.17g)\n",
                             p.x(), p.y(), a.x(), a.y(), b.x(), b.y());
            FUZZ_CHECK(onSegmentBox(p, a, b), "an added point lies off the segment");
        }
    }
}

} // namespace fuzz
