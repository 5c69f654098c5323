// The eraser's plain geometry: the tolerant comparison, the crossing count and
// point-in-polygon test, the swept area of the eraser rectangle and the three
// segment cutters. Every expected value below was worked out by hand from the
// rules the functions follow.

#include "eraser/erasergeometry.h"
#include "eraser/minieraseopermodel.h"
#include "tests/eraser/polygontestutil.h"

#include <QLineF>
#include <QRandomGenerator>
#include <QtTest>

#include <cmath>
#include <limits>

namespace {

using Pieces = QList<QPolygonF>;

using PolygonTest::describe;
using PolygonTest::poly;

// Compares with QPointF's fuzzy equality, point by point.
bool samePieces(const Pieces& actual, const Pieces& expected)
{
    return actual == expected;
}

#define COMPARE_PIECES(actual, expected)                                                           \
    do {                                                                                           \
        const Pieces a_ = (actual);                                                                \
        const Pieces e_ = (expected);                                                              \
        QVERIFY2(                                                                                  \
            samePieces(a_, e_),                                                                    \
            qPrintable(                                                                            \
                QStringLiteral("actual %1\n   expected %2").arg(describe(a_), describe(e_))));     \
    } while (false)

struct Element
{
    QPainterPath::ElementType type;
    double x;
    double y;
};

// The elements of a closed outline through the corners: moveTo the first,
// lineTo each further one, and the closing lineTo back to the first. addRect
// gives the same shape for its four corners (top-left, top-right,
// bottom-right, bottom-left).
QVector<Element> outline(std::initializer_list<QPointF> corners)
{
    QVector<Element> elements;
    bool first = true;
    for (const QPointF& c : corners) {
        elements.append(
            {first ? QPainterPath::MoveToElement : QPainterPath::LineToElement, c.x(), c.y()});
        first = false;
    }
    elements.append({QPainterPath::LineToElement, corners.begin()->x(), corners.begin()->y()});
    return elements;
}

QString pathMismatch(const QPainterPath& path, const QVector<Element>& expected)
{
    QString text;
    QDebug debug(&text);
    debug.nospace();
    bool same = path.elementCount() == expected.size();
    for (int i = 0; same && i < expected.size(); ++i) {
        const QPainterPath::Element e = path.elementAt(i);
        same = e.type == expected.at(i).type && std::fabs(e.x - expected.at(i).x) < 1e-9 &&
               std::fabs(e.y - expected.at(i).y) < 1e-9;
    }
    if (same)
        return QString();
    debug << "actual:";
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element e = path.elementAt(i);
        debug << " " << int(e.type) << "(" << e.x << "," << e.y << ")";
    }
    debug << "\n   expected:";
    for (const Element& e : expected)
        debug << " " << int(e.type) << "(" << e.x << "," << e.y << ")";
    return text;
}

#define COMPARE_PATH(path, expected)                                                               \
    do {                                                                                           \
        const QString m_ = pathMismatch((path), (expected));                                       \
        QVERIFY2(m_.isEmpty(), qPrintable(m_));                                                    \
    } while (false)

// The square (100,100)-(200,200), closed (first point repeated).
QPolygonF closedSquare()
{
    return poly({{100, 100}, {200, 100}, {200, 200}, {100, 200}, {100, 100}});
}

QPolygonF openSquare()
{
    return poly({{100, 100}, {200, 100}, {200, 200}, {100, 200}});
}

} // namespace

class TestEraserGeometry : public QObject
{
    Q_OBJECT

private slots:
    // --- IsEqual ---------------------------------------------------------

    void isEqualIsStrictBelowOneMillionth()
    {
        QVERIFY(IsEqual(0.0, 0.0000009));
        QVERIFY(!IsEqual(0.0, 0.000001));
        QVERIFY(IsEqual(100.0, 100.0000005));
        QVERIFY(!IsEqual(100.0, 100.00001));
        QVERIFY(IsEqual(-3.0, -3.0));
        QVERIFY(!IsEqual(std::numeric_limits<double>::quiet_NaN(), 0.0));
    }

    // --- polygon_isect_line ----------------------------------------------

    void isectLineOnNonHorizontalEdge()
    {
        int winding = 0;
        QVERIFY(polygon_isect_line({0, 0}, {10, 10}, {5, 5}, &winding));
        QCOMPARE(winding, 0);
    }

    void isectLineCountsByDirection()
    {
        // Edge running down the screen (y grows): +1 for a point to its right.
        int winding = 0;
        QVERIFY(!polygon_isect_line({0, 0}, {10, 10}, {8, 5}, &winding));
        QCOMPARE(winding, 1);
        // The same edge running up: -1.
        winding = 0;
        QVERIFY(!polygon_isect_line({10, 10}, {0, 0}, {8, 5}, &winding));
        QCOMPARE(winding, -1);
        // A point to the left of the edge is not counted.
        winding = 0;
        QVERIFY(!polygon_isect_line({0, 0}, {10, 10}, {2, 5}, &winding));
        QCOMPARE(winding, 0);
    }

    void isectLineYRangeIsInclusive()
    {
        int winding = 0;
        QVERIFY(!polygon_isect_line({0, 0}, {0, 10}, {5, 10}, &winding));
        QCOMPARE(winding, 1);
        QVERIFY(!polygon_isect_line({0, 0}, {0, 10}, {5, 0}, &winding));
        QCOMPARE(winding, 2);
        QVERIFY(!polygon_isect_line({0, 0}, {0, 10}, {5, 10.5}, &winding));
        QCOMPARE(winding, 2);
    }

    void isectLineSkipsHorizontalEdges()
    {
        // Both y exactly 0: horizontal, even for a point lying on the edge.
        int winding = 0;
        QVERIFY(!polygon_isect_line({0, 0}, {10, 0}, {5, 0}, &winding));
        QCOMPARE(winding, 0);
        // Relative fuzzy equality: 1e6 and 1e6 + 1e-7 are the same height.
        QVERIFY(!polygon_isect_line({0, 1e6}, {10, 1e6 + 1e-7}, {20, 1e6}, &winding));
        QCOMPARE(winding, 0);
    }

    void isectLineTinyYFromZeroIsNotHorizontal()
    {
        // From y = 0 to a tiny y the relative rule does not apply: the edge
        // counts. x at pos.y = 0 is 1e21 * 0 + 0 = 0.
        int winding = 0;
        QVERIFY(!polygon_isect_line({0, 0}, {10, 1e-20}, {20, 0}, &winding));
        QCOMPARE(winding, 1);
        winding = 0;
        QVERIFY(polygon_isect_line({0, 0}, {10, 1e-20}, {0, 0}, &winding));
        QCOMPARE(winding, 0);
    }

    void isectLineToleratesNullCount()
    {
        QVERIFY(!polygon_isect_line({0, 0}, {10, 10}, {8, 5}, nullptr));
        QVERIFY(polygon_isect_line({0, 0}, {10, 10}, {5, 5}, nullptr));
    }

    // --- polygonContainsPoint ---------------------------------------------

    void containsEmptyAndOnePoint()
    {
        QVERIFY(!polygonContainsPoint(QPolygonF(), {0, 0}));
        QVERIFY(!polygonContainsPoint(poly({{5, 5}}), {5, 5}));
        QVERIFY(!polygonContainsPoint(poly({{5, 5}}), {6, 5}));
    }

    void containsOpenPolygonIsClosedImplicitly()
    {
        // Inside only thanks to the implicit edge (0,10)-(0,0): the right
        // edge is not to the point's left, the horizontal edges never count.
        const QPolygonF open = poly({{0, 0}, {10, 0}, {10, 10}, {0, 10}});
        QVERIFY(polygonContainsPoint(open, {5, 5}));
        QVERIFY(!polygonContainsPoint(open, {15, 5}));
        QVERIFY(!polygonContainsPoint(open, {-5, 5}));
        // On the implicit edge.
        QVERIFY(polygonContainsPoint(open, {0, 5}));
    }

    void containsClosedPolygonIsNotClosedTwice()
    {
        const QPolygonF closed = poly({{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0}});
        QVERIFY(polygonContainsPoint(closed, {5, 5}));
        QVERIFY(!polygonContainsPoint(closed, {15, 5}));

        // Last point fuzzy-equal to the first (both within 1e-12 of 0): the
        // polygon counts as closed, so the gap between (1e-13, 1e-13) and
        // (0, 0) is no edge and a point on it is outside. Were it closed
        // again, that edge (not horizontal: it starts at y = 0) would report
        // the point as on the boundary.
        const QPolygonF nearlyClosed = poly({{0, 0}, {10, 0}, {10, 10}, {0, 10}, {1e-13, 1e-13}});
        QVERIFY(!polygonContainsPoint(nearlyClosed, {0.5e-13, 0.5e-13}));
        int winding = 0;
        QVERIFY(polygon_isect_line({1e-13, 1e-13}, {0, 0}, {0.5e-13, 0.5e-13}, &winding));
    }

    void containsPointOnNonHorizontalEdge()
    {
        const QPolygonF square = poly({{0, 0}, {10, 0}, {10, 10}, {0, 10}});
        // The left edge: the ray to -x meets nothing, the count is 0, and yet
        // the point is on the boundary.
        QVERIFY(polygonContainsPoint(square, {0, 5}));
        QVERIFY(polygonContainsPoint(square, {10, 5}));
        // On a slanted edge of a triangle.
        QVERIFY(polygonContainsPoint(poly({{0, 0}, {10, 10}, {0, 10}}), {5, 5}));
    }

    void containsPointOnHorizontalEdgeDecidedByOthers()
    {
        // Top edge of a square: right edge (x 10) is not left of the point,
        // the left edge (running up, -1) is: inside.
        QVERIFY(polygonContainsPoint(poly({{0, 0}, {10, 0}, {10, 10}, {0, 10}}), {5, 0}));

        // A step: the point (15,10) lies on the horizontal edge
        // (10,10)-(20,10). Edge (10,0)-(10,10) counts +1 (y 10 is inside its
        // inclusive range), edge (20,10)-(20,20) lies to its right, the
        // closing edge (0,20)-(0,0) counts -1: total 0, outside.
        const QPolygonF step = poly({{0, 0}, {10, 0}, {10, 10}, {20, 10}, {20, 20}, {0, 20}});
        QVERIFY(!polygonContainsPoint(step, {15, 10}));
        QVERIFY(polygonContainsPoint(step, {15, 15}));
    }

    void containsVertexCountedByBothEdges()
    {
        // Left side runs up through the vertex (-5,10): (0,20)->(-5,10) and
        // (-5,10)->(0,0). A point level with it to its right is counted by
        // both edges: -2, still inside by the nonzero rule.
        const QPolygonF polygon = poly({{0, 0}, {10, 0}, {10, 20}, {0, 20}, {-5, 10}});
        int winding = 0;
        QVERIFY(!polygon_isect_line({0, 20}, {-5, 10}, {5, 10}, &winding));
        QVERIFY(!polygon_isect_line({-5, 10}, {0, 0}, {5, 10}, &winding));
        QCOMPARE(winding, -2);
        QVERIFY(polygonContainsPoint(polygon, {5, 10}));

        // The same inclusive rule at a turning vertex: right of the
        // triangle's tip (10,10) both edges meeting there count +1, the
        // closing edge -1, so the point outside the triangle reads inside.
        QVERIFY(polygonContainsPoint(poly({{0, 0}, {10, 10}, {0, 20}}), {15, 10}));
        QVERIFY(!polygonContainsPoint(poly({{0, 0}, {10, 10}, {0, 20}}), {15, 11}));
    }

    // --- getEarsePath -----------------------------------------------------

    void earsePathSamePointIsRect()
    {
        QPainterPath path;
        getEarsePath(path, QRectF(50, 25, 100, 150), {100, 100}, {100, 100});
        COMPARE_PATH(path, outline({{50, 25}, {150, 25}, {150, 175}, {50, 175}}));

        // Equal within 1e-6: still the rectangle itself.
        QPainterPath nearly;
        getEarsePath(nearly, QRectF(50.0000005, 25, 100, 150), {100, 100}, {100.0000005, 100});
        COMPARE_PATH(
            nearly,
            outline({{50.0000005, 25}, {150.0000005, 25}, {150.0000005, 175}, {50.0000005, 175}}));
    }

    void earsePathSkewedStraightDown()
    {
        // p1 (100,100), p2 (100.4,160): dx = (int)-0.4 = 0, dy = -60: the
        // straight-down outline B.BL, A.TL, A.TR, B.BR. A is (50,25) 100x150,
        // B (the rect) is (50.4,85) 100x150.
        QPainterPath path;
        getEarsePath(path, QRectF(50.4, 85, 100, 150), {100, 100}, {100.4, 160});
        COMPARE_PATH(path, outline({{50.4, 235}, {50, 25}, {150, 25}, {150.4, 235}}));
    }

    void earsePathSubUnitMoveIsStartRect()
    {
        // (+0.9,+0.9): both truncate to 0 and the start rectangle A is added,
        // not the rect given.
        QPainterPath path;
        getEarsePath(path, QRectF(50.9, 25.9, 100, 150), {100, 100}, {100.9, 100.9});
        COMPARE_PATH(path, outline({{50, 25}, {150, 25}, {150, 175}, {50, 175}}));
    }

    void earsePathOutlines_data()
    {
        // The start centre is always (200,200): A = (150,125) 100x150, so
        // A.TL (150,125), A.TR (250,125), A.BR (250,275), A.BL (150,275).
        QTest::addColumn<QPointF>("p2");
        QTest::addColumn<QRectF>("rect");
        QTest::addColumn<QVector<QPointF>>("corners");

        // B (250,185): TL (250,185) TR (350,185) BR (350,335) BL (250,335).
        QTest::newRow("right and down") << QPointF(300, 260) << QRectF(250, 185, 100, 150)
                                        << QVector<QPointF>{{150, 125}, {250, 125}, {350, 185},
                                                            {350, 335}, {250, 335}, {150, 275}};
        // B (250,65): TL (250,65) TR (350,65) BR (350,215) BL (250,215).
        QTest::newRow("right and up") << QPointF(300, 140) << QRectF(250, 65, 100, 150)
                                      << QVector<QPointF>{{150, 125}, {250, 65},  {350, 65},
                                                          {350, 215}, {250, 275}, {150, 275}};
        // B (50,185): TL (50,185) TR (150,185) BR (150,335) BL (50,335).
        QTest::newRow("left and down") << QPointF(100, 260) << QRectF(50, 185, 100, 150)
                                       << QVector<QPointF>{{150, 125}, {250, 125}, {250, 275},
                                                           {150, 335}, {50, 335},  {50, 185}};
        // B (50,65): TL (50,65) TR (150,65) BR (150,215) BL (50,215).
        QTest::newRow("left and up")
            << QPointF(100, 140) << QRectF(50, 65, 100, 150)
            << QVector<QPointF>{{250, 125}, {250, 275}, {150, 275}, {50, 215}, {50, 65}, {150, 65}};
        // B (150,65): TL (150,65) TR (250,65); A.BL, B.TL, B.TR, A.BR.
        QTest::newRow("straight up")
            << QPointF(200, 140) << QRectF(150, 65, 100, 150)
            << QVector<QPointF>{{150, 275}, {150, 65}, {250, 65}, {250, 275}};
        // B (150,185): BL (150,335) BR (250,335); B.BL, A.TL, A.TR, B.BR.
        QTest::newRow("straight down")
            << QPointF(200, 260) << QRectF(150, 185, 100, 150)
            << QVector<QPointF>{{150, 335}, {150, 125}, {250, 125}, {250, 335}};
        // B (50,125): BL (50,275) TL (50,125); A.TR, A.BR, B.BL, B.TL.
        QTest::newRow("straight left")
            << QPointF(100, 200) << QRectF(50, 125, 100, 150)
            << QVector<QPointF>{{250, 125}, {250, 275}, {50, 275}, {50, 125}};
        // B (250,125): TR (350,125) BR (350,275); B.TR, B.BR, A.BL, A.TL.
        QTest::newRow("straight right")
            << QPointF(300, 200) << QRectF(250, 125, 100, 150)
            << QVector<QPointF>{{350, 125}, {350, 275}, {150, 275}, {150, 125}};
        // dx = (int)-0.5 = 0, dy = (int)0.5 = 0: the start rectangle A.
        QTest::newRow("under one unit")
            << QPointF(200.5, 199.5) << QRectF(150.5, 124.5, 100, 150)
            << QVector<QPointF>{{150, 125}, {250, 125}, {250, 275}, {150, 275}};
    }

    void earsePathOutlines()
    {
        QFETCH(QPointF, p2);
        QFETCH(QRectF, rect);
        QFETCH(QVector<QPointF>, corners);

        QVector<Element> expected;
        for (int i = 0; i < corners.size(); ++i)
            expected.append({i == 0 ? QPainterPath::MoveToElement : QPainterPath::LineToElement,
                             corners.at(i).x(), corners.at(i).y()});
        expected.append({QPainterPath::LineToElement, corners.first().x(), corners.first().y()});

        QPainterPath path;
        getEarsePath(path, rect, QPointF(200, 200), p2);
        COMPARE_PATH(path, expected);
    }

    void earsePathAppends()
    {
        QPainterPath path;
        path.moveTo(1, 2);
        path.lineTo(3, 4);
        getEarsePath(path, QRectF(250, 125, 100, 150), {200, 200}, {300, 200});
        QVector<Element> expected{{QPainterPath::MoveToElement, 1, 2},
                                  {QPainterPath::LineToElement, 3, 4}};
        expected += outline({{350, 125}, {350, 275}, {150, 275}, {150, 125}});
        COMPARE_PATH(path, expected);
    }

    void earsePathMergesFuzzilyEqualCorners()
    {
        // A free rectangle whose edges lie 2^-20 right of the start
        // rectangle's: within QPainterPath's fuzzy distance at x = 1e7, where
        // the path merges the end corner into the start corner, beyond it at
        // x = 0, where both corners stay.
        const double nudge = std::ldexp(1.0, -20);
        QPainterPath path;
        getEarsePath(path, QRectF(1e7 + nudge, -1, -1e7, 2), {5e6, 0}, {1e8, 1e8});
        COMPARE_PATH(path,
                     outline({{1e7, -1}, {0, -1}, {nudge, -1}, {nudge, 1}, {1e7 + nudge, 1}}));
    }

    void earsePathNonFiniteAddsNothing()
    {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const double inf = std::numeric_limits<double>::infinity();
        QPainterPath path;
        const QRegularExpression outOfRange("getEarsePath: .* out of range");
        QTest::ignoreMessage(QtWarningMsg, outOfRange);
        getEarsePath(path, QRectF(0, 0, 100, 150), {nan, 0}, {10, 10});
        QTest::ignoreMessage(QtWarningMsg, outOfRange);
        getEarsePath(path, QRectF(inf, 0, 100, 150), {0, 0}, {10, 10});
        // Beyond what a QPainterPath keeps (1e128): nothing either, rather
        // than an outline with corners silently missing.
        QTest::ignoreMessage(QtWarningMsg, outOfRange);
        getEarsePath(path, QRectF(1e300, 0, 100, 150), {0, 75}, {1e300, 75});
        QVERIFY(path.isEmpty());

        // Huge but held: the sign of the move still selects the outline
        // (straight right, dx saturated negative): B.TR, B.BR, A.BL, A.TL
        // with A at (-50,0).
        QPainterPath far;
        getEarsePath(far, QRectF(1e100, 0, 100, 150), {0, 75}, {1e100, 75});
        COMPARE_PATH(far, outline({{1e100, 0}, {1e100, 150}, {-50, 150}, {-50, 0}}));
    }

    // --- intersectNewRect -------------------------------------------------

    void newRectOutsideExtendsPreviousPolyline()
    {
        Pieces out{poly({{0, 0}, {50, 50}})};
        intersectNewRect({50, 50}, {60, 40}, closedSquare(), out);
        COMPARE_PIECES(out, Pieces{poly({{0, 0}, {50, 50}, {60, 40}})});
    }

    void newRectOutsideRunningBackAppendsA()
    {
        // The segment ends (b) where the last piece ended: a is appended.
        Pieces out{poly({{0, 0}, {50, 50}})};
        intersectNewRect({60, 40}, {50, 50}, closedSquare(), out);
        COMPARE_PIECES(out, Pieces{poly({{0, 0}, {50, 50}, {60, 40}})});
    }

    void newRectOutsideStartsNewPolyline()
    {
        Pieces out;
        intersectNewRect({300, 300}, {310, 320}, closedSquare(), out);
        COMPARE_PIECES(out, Pieces{poly({{300, 300}, {310, 320}})});
        intersectNewRect({0, 0}, {10, 0}, closedSquare(), out);
        COMPARE_PIECES(out, (Pieces{poly({{300, 300}, {310, 320}}), poly({{0, 0}, {10, 0}})}));
    }

    void newRectJoinsByFuzzyEquality()
    {
        // 1e-13 and 0 are equal (within 1e-12 of zero); 1000 and
        // 1000 + 1e-10 are equal relatively.
        Pieces out{poly({{0, 0}, {1e-13, 1000 + 1e-10}})};
        intersectNewRect({0, 1000}, {10, 1000}, closedSquare(), out);
        QCOMPARE(out.size(), 1);
        QCOMPARE(out.first().size(), 3);
        QCOMPARE(out.first().last(), QPointF(10, 1000));
    }

    void newRectInsideAddsNothing()
    {
        Pieces out;
        intersectNewRect({120, 120}, {180, 150}, closedSquare(), out);
        QVERIFY(out.isEmpty());
        Pieces kept{poly({{0, 0}, {120, 120}})};
        intersectNewRect({120, 120}, {180, 150}, closedSquare(), kept);
        COMPARE_PIECES(kept, Pieces{poly({{0, 0}, {120, 120}})});
    }

    void newRectThroughCorner()
    {
        // y = x + 100 touches the square only at its corner (100,200): the
        // bottom edge and the left edge both report that point; N = F and
        // both halves survive, the second as a polyline of its own.
        Pieces out;
        intersectNewRect({80, 180}, {120, 220}, closedSquare(), out);
        COMPARE_PIECES(out,
                       (Pieces{poly({{80, 180}, {100, 200}}), poly({{100, 200}, {120, 220}})}));
    }

    void newRectOpenAreaMissesClosingEdge()
    {
        // Closed: the left edge is seen, the part from a to it survives.
        Pieces closed;
        intersectNewRect({50, 150}, {150, 150}, closedSquare(), closed);
        COMPARE_PIECES(closed, Pieces{poly({{50, 150}, {100, 150}})});
        // Open: the left edge is the missing closing edge; no crossing, and b
        // is inside (containment closes the polygon): nothing survives.
        Pieces open;
        intersectNewRect({50, 150}, {150, 150}, openSquare(), open);
        QVERIFY(open.isEmpty());

        // Right across: closed gives two pieces, open only sees the right
        // edge, and with neither end inside a stands for the outside end.
        Pieces across;
        intersectNewRect({50, 150}, {250, 150}, closedSquare(), across);
        COMPARE_PIECES(across,
                       (Pieces{poly({{50, 150}, {100, 150}}), poly({{200, 150}, {250, 150}})}));
        Pieces openAcross;
        intersectNewRect({50, 150}, {250, 150}, openSquare(), openAcross);
        COMPARE_PIECES(openAcross, Pieces{poly({{50, 150}, {200, 150}})});
    }

    void newRectAlongEdge()
    {
        // Along the top edge with both ends on it: no crossing (parallel),
        // the ends are on the boundary, dropped.
        Pieces out;
        intersectNewRect({120, 100}, {180, 100}, closedSquare(), out);
        QVERIFY(out.isEmpty());

        // From the edge out past the corner (200,100): the right edge is
        // crossed at the corner; a is on the boundary so b is the outside
        // end, and I.x 200 < b.x 250 gives [I, b].
        intersectNewRect({150, 100}, {250, 100}, closedSquare(), out);
        COMPARE_PIECES(out, Pieces{poly({{200, 100}, {250, 100}})});

        // Along a flat area with both ends outside: no edge is crossed and
        // neither end is contained, so the segment is kept whole.
        Pieces flat;
        intersectNewRect({50, 100}, {250, 100}, poly({{100, 100}, {200, 100}, {100, 100}}), flat);
        COMPARE_PIECES(flat, Pieces{poly({{50, 100}, {250, 100}})});
    }

    void newRectVerticalUpAndDownSameOrder()
    {
        // Down from outside: O = a; up from inside: O = b. Both pieces are
        // [crossing, outside end].
        Pieces down;
        intersectNewRect({150, 50}, {150, 150}, closedSquare(), down);
        COMPARE_PIECES(down, Pieces{poly({{150, 100}, {150, 50}})});
        Pieces up;
        intersectNewRect({150, 150}, {150, 50}, closedSquare(), up);
        COMPARE_PIECES(up, Pieces{poly({{150, 100}, {150, 50}})});
    }

    void newRectOneCrossingOrderedByX()
    {
        // Rightwards into the area: [a, I]; rightwards out of it: [I, b].
        Pieces out;
        intersectNewRect({50, 150}, {150, 150}, closedSquare(), out);
        intersectNewRect({150, 150}, {250, 150}, closedSquare(), out);
        COMPARE_PIECES(out,
                       (Pieces{poly({{50, 150}, {100, 150}}), poly({{200, 150}, {250, 150}})}));
        // Leftwards into the area: [a, I]; leftwards out of it: [I, b].
        Pieces left;
        intersectNewRect({250, 150}, {150, 150}, closedSquare(), left);
        intersectNewRect({150, 150}, {50, 150}, closedSquare(), left);
        COMPARE_PIECES(left,
                       (Pieces{poly({{250, 150}, {200, 150}}), poly({{100, 150}, {50, 150}})}));
        // Slanted, down-right out of the area through the bottom edge at
        // (160,200): O = b (180,220), I.x 160 < 180 gives [I, O].
        Pieces slant;
        intersectNewRect({140, 180}, {180, 220}, closedSquare(), slant);
        COMPARE_PIECES(slant, Pieces{poly({{160, 200}, {180, 220}})});
    }

    void newRectTwoCrossingsStartNewPolyline()
    {
        // The right edge is found first (200,150), the left second
        // (100,150); the left is nearer to a and ends the joined piece.
        Pieces out{poly({{0, 150}, {50, 150}})};
        intersectNewRect({50, 150}, {250, 150}, closedSquare(), out);
        COMPARE_PIECES(
            out, (Pieces{poly({{0, 150}, {50, 150}, {100, 150}}), poly({{200, 150}, {250, 150}})}));
        // The next segment outside continues the second polyline.
        intersectNewRect({250, 150}, {300, 150}, closedSquare(), out);
        COMPARE_PIECES(out, (Pieces{poly({{0, 150}, {50, 150}, {100, 150}}),
                                    poly({{200, 150}, {250, 150}, {300, 150}})}));

        // Leftwards: the first found (200,150) is the nearer one.
        Pieces left;
        intersectNewRect({250, 150}, {50, 150}, closedSquare(), left);
        COMPARE_PIECES(left,
                       (Pieces{poly({{250, 150}, {200, 150}}), poly({{100, 150}, {50, 150}})}));

        // Both ends inside a concave area that the segment leaves and enters
        // again: both pieces are still added.
        const QPolygonF u = poly({{0, 0},
                                  {300, 0},
                                  {300, 300},
                                  {200, 300},
                                  {200, 100},
                                  {100, 100},
                                  {100, 300},
                                  {0, 300},
                                  {0, 0}});
        Pieces concave;
        intersectNewRect({50, 200}, {250, 200}, u, concave);
        COMPARE_PIECES(concave,
                       (Pieces{poly({{50, 200}, {100, 200}}), poly({{200, 200}, {250, 200}})}));
    }

    void newRectTieTakesSecondCrossingAsNearer()
    {
        // A segment through the corner (100,200) whose two crossings differ
        // in the last bit of x but lie at the same computed distance from a.
        const QPointF a(169.17507761728405, 249.84592390869068);
        const QPointF b(51.577445667901173, 165.10785326391652);
        QPointF i0;
        QPointF i1;
        QCOMPARE(QLineF(a, b).intersects(QLineF({200, 200}, {100, 200}), &i0),
                 QLineF::BoundedIntersection);
        QCOMPARE(QLineF(a, b).intersects(QLineF({100, 200}, {100, 100}), &i1),
                 QLineF::BoundedIntersection);
        if (i0.x() == i1.x() && i0.y() == i1.y())
            QSKIP("the two crossings coincide exactly with this floating-point unit");
        QCOMPARE(QLineF(a, i0).length(), QLineF(a, i1).length());

        Pieces out;
        intersectNewRect(a, b, closedSquare(), out);
        QCOMPARE(out.size(), 2);
        // Exact comparisons: the second crossing found ends the first piece,
        // the first found starts the second.
        QVERIFY(out.at(0).at(1).x() == i1.x() && out.at(0).at(1).y() == i1.y());
        QVERIFY(out.at(1).at(0).x() == i0.x() && out.at(1).at(0).y() == i0.y());
        QVERIFY(out.at(0).at(0) == a);
        QVERIFY(out.at(1).at(1) == b);
    }

    void newRectDegenerateArea()
    {
        // Fewer than two points: no crossing, nothing contains a or b.
        Pieces out;
        intersectNewRect({0, 0}, {10, 10}, QPolygonF(), out);
        intersectNewRect({10, 10}, {20, 10}, poly({{15, 10}}), out);
        COMPARE_PIECES(out, Pieces{poly({{0, 0}, {10, 10}, {20, 10}})});
    }

    void newRectNonFiniteTerminates()
    {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const double inf = std::numeric_limits<double>::infinity();
        Pieces out;
        intersectNewRect({nan, 0}, {10, 10}, closedSquare(), out);
        intersectNewRect({0, 0}, {inf, inf}, closedSquare(), out);
        intersectNewRect({0, 0}, {1e300, 1e300}, closedSquare(), out);
        intersectNewRect({0, 0}, {10, 10}, poly({{nan, nan}, {inf, 0}, {0, -inf}, {nan, nan}}),
                         out);
        // A segment with a coordinate that is not finite crosses nothing and
        // is kept whole; a huge finite one is cut where it crosses the
        // square; an area with such corners cuts nothing.
        QCOMPARE(out.size(), 5);
        QCOMPARE(out.at(0).size(), 2);
        QVERIFY(std::isnan(out.at(0).at(0).x()));
        QCOMPARE(out.at(0).at(0).y(), 0.0);
        QCOMPARE(out.at(0).at(1), QPointF(10, 10));
        QCOMPARE(out.at(1).size(), 2);
        QCOMPARE(out.at(1).at(0), QPointF(0, 0));
        QCOMPARE(out.at(1).at(1).x(), inf);
        QCOMPARE(out.at(1).at(1).y(), inf);
        QCOMPARE(out.at(2), poly({{0, 0}, {100, 100}}));
        QCOMPARE(out.at(3), poly({{200, 200}, {1e300, 1e300}}));
        QCOMPARE(out.at(4), poly({{0, 0}, {10, 10}}));
    }

    // Found by fuzzing (tests/fuzz, target cutters): for lines of tiny extent
    // QLineF::intersects divides by a denormal and reports a bounded crossing
    // at NaN. Such a crossing is none; finite input gives finite pieces.
    void cuttersTakeNoCrossingAtNaN()
    {
        const QLineF segment(QPointF(0, 0), QPointF(1e-300, 0));
        QPointF crossing;
        if (segment.intersects(QLineF(QPointF(0, 0), QPointF(0, 1e-10)), &crossing) !=
                QLineF::BoundedIntersection ||
            std::isfinite(crossing.x()))
            QSKIP("this Qt finds no crossing at NaN here");

        const auto allFinite = [](const Pieces& pieces) {
            for (const QPolygonF& piece : pieces) {
                for (const QPointF& p : piece) {
                    if (!std::isfinite(p.x()) || !std::isfinite(p.y()))
                        return false;
                }
            }
            return true;
        };
        const QPolygonF area = poly({{0, 0}, {0, 1e-10}, {-1, 1e-10}, {-1, 0}, {0, 0}});
        Pieces out;
        intersectNewRect({0, 0}, {1e-300, 0}, area, out);
        QVERIFY(allFinite(out));
        COMPARE_PIECES(out, Pieces{}); // a lies on the area's edge

        Pieces rect;
        intersectRect({0, 0}, {1e-300, 0}, QRectF(0, 0, 1, 1e-10), rect);
        QVERIFY(allFinite(rect));
        COMPARE_PIECES(rect, Pieces{});

        Pieces line;
        QLineF unused;
        intersectLine(unused, {0, 0}, {1e-300, 0}, {0, 0}, {0, 1e-10}, true, true, false, line);
        COMPARE_PIECES(line, Pieces{});
    }

    // --- intersectRect ----------------------------------------------------

    void rectEdges_data()
    {
        QTest::addColumn<QPointF>("a");
        QTest::addColumn<QPointF>("b");
        QTest::addColumn<QPolygonF>("piece");

        // Rect (100,100) 100x100. Top: E = a when rect.y > a.y, else b.
        QTest::newRow("top, a above")
            << QPointF(150, 50) << QPointF(150, 150) << poly({{150, 50}, {150, 100}});
        QTest::newRow("top, a below")
            << QPointF(150, 150) << QPointF(150, 50) << poly({{150, 50}, {150, 100}});
        // Left: E = a when rect.x > a.x, else b.
        QTest::newRow("left, a left of it")
            << QPointF(50, 150) << QPointF(150, 150) << poly({{50, 150}, {100, 150}});
        QTest::newRow("left, a right of it")
            << QPointF(150, 150) << QPointF(50, 150) << poly({{50, 150}, {100, 150}});
        // Bottom: E = a when a.y > y + h, else b.
        QTest::newRow("bottom, a below")
            << QPointF(150, 250) << QPointF(150, 150) << poly({{150, 250}, {150, 200}});
        QTest::newRow("bottom, a above")
            << QPointF(150, 150) << QPointF(150, 250) << poly({{150, 250}, {150, 200}});
        // Right: [a, I] when a.x > x + w, else [I, b].
        QTest::newRow("right, a right of it")
            << QPointF(250, 150) << QPointF(150, 150) << poly({{250, 150}, {200, 150}});
        QTest::newRow("right, a left of it")
            << QPointF(150, 150) << QPointF(250, 150) << poly({{200, 150}, {250, 150}});
    }

    void rectEdges()
    {
        QFETCH(QPointF, a);
        QFETCH(QPointF, b);
        QFETCH(QPolygonF, piece);
        Pieces out;
        intersectRect(a, b, QRectF(100, 100, 100, 100), out);
        COMPARE_PIECES(out, Pieces{piece});
    }

    void rectTwoEdgesIndependently()
    {
        // y = x - 70 from (120,50) to (260,190): top at (170,100) with E = a,
        // right at (200,130) with [I, b].
        Pieces out;
        intersectRect({120, 50}, {260, 190}, QRectF(100, 100, 100, 100), out);
        COMPARE_PIECES(out,
                       (Pieces{poly({{120, 50}, {170, 100}}), poly({{200, 130}, {260, 190}})}));
    }

    void rectNoCrossingAddsNothing()
    {
        Pieces out;
        intersectRect({120, 120}, {180, 180}, QRectF(100, 100, 100, 100), out);
        intersectRect({0, 0}, {50, 50}, QRectF(100, 100, 100, 100), out);
        QVERIFY(out.isEmpty());
    }

    void rectJoins()
    {
        Pieces out{poly({{0, 50}, {150, 50}})};
        intersectRect({150, 50}, {150, 150}, QRectF(100, 100, 100, 100), out);
        COMPARE_PIECES(out, Pieces{poly({{0, 50}, {150, 50}, {150, 100}})});
    }

    // --- intersectLine ----------------------------------------------------

    void lineCombinations_data()
    {
        QTest::addColumn<bool>("byX");
        QTest::addColumn<bool>("takeMin");
        QTest::addColumn<bool>("reverse");
        QTest::addColumn<QPolygonF>("piece");

        // p1 (100,150), p2 (300,50) crosses y = 100 at I (200,100).
        // by x: min is p1, max p2; by y: min is p2, max p1.
        QTest::newRow("x min") << true << true << false << poly({{200, 100}, {100, 150}});
        QTest::newRow("x min reverse") << true << true << true << poly({{100, 150}, {200, 100}});
        QTest::newRow("x max") << true << false << false << poly({{300, 50}, {200, 100}});
        QTest::newRow("x max reverse") << true << false << true << poly({{200, 100}, {300, 50}});
        QTest::newRow("y min") << false << true << false << poly({{300, 50}, {200, 100}});
        QTest::newRow("y min reverse") << false << true << true << poly({{200, 100}, {300, 50}});
        QTest::newRow("y max") << false << false << false << poly({{200, 100}, {100, 150}});
        QTest::newRow("y max reverse") << false << false << true << poly({{100, 150}, {200, 100}});
    }

    void lineCombinations()
    {
        QFETCH(bool, byX);
        QFETCH(bool, takeMin);
        QFETCH(bool, reverse);
        QFETCH(QPolygonF, piece);
        // The line argument is not read: NaN in it changes nothing.
        const double nan = std::numeric_limits<double>::quiet_NaN();
        QLineF unused(nan, nan, nan, nan);
        Pieces out;
        intersectLine(unused, {100, 150}, {300, 50}, {0, 100}, {400, 100}, byX, takeMin, reverse,
                      out);
        COMPARE_PIECES(out, Pieces{piece});
    }

    void lineEqualCoordinateKeepsP2()
    {
        // Vertical segment (100,50)-(100,150): equal x, so by x the kept end
        // is p2 whether the minimum or the maximum is asked for.
        QLineF unused;
        Pieces minOut;
        intersectLine(unused, {100, 50}, {100, 150}, {0, 100}, {400, 100}, true, true, false,
                      minOut);
        COMPARE_PIECES(minOut, Pieces{poly({{100, 100}, {100, 150}})});
        Pieces maxOut;
        intersectLine(unused, {100, 50}, {100, 150}, {0, 100}, {400, 100}, true, false, false,
                      maxOut);
        COMPARE_PIECES(maxOut, Pieces{poly({{100, 100}, {100, 150}})});
        // By y the two differ: the minimum is p1.
        Pieces yMin;
        intersectLine(unused, {100, 50}, {100, 150}, {0, 100}, {400, 100}, false, true, false,
                      yMin);
        COMPARE_PIECES(yMin, Pieces{poly({{100, 100}, {100, 50}})});
    }

    void lineNoCrossingAndJoining()
    {
        QLineF unused;
        Pieces out;
        intersectLine(unused, {100, 0}, {300, 50}, {0, 100}, {400, 100}, true, true, false, out);
        QVERIFY(out.isEmpty());
        out = Pieces{poly({{0, 0}, {200, 100}})};
        intersectLine(unused, {100, 150}, {300, 50}, {0, 100}, {400, 100}, true, true, false, out);
        COMPARE_PIECES(out, Pieces{poly({{0, 0}, {200, 100}, {100, 150}})});
    }

    // --- stroke cutting along a swept area ---------------------------------

    void cutPolygonAcrossSquare()
    {
        // (0,150)-(50,150): box misses the square, kept. (50,150)-(150,150):
        // cut at the left edge, joined. (150,150)-(250,150): cut at the right
        // edge, a new polyline. (250,150)-(300,150): box misses, joined.
        const QPolygonF stroke = poly({{0, 150}, {50, 150}, {150, 150}, {250, 150}, {300, 150}});
        COMPARE_PIECES(MiniEraseOperModel::cutPolygon(stroke, closedSquare()),
                       (Pieces{poly({{0, 150}, {50, 150}, {100, 150}}),
                               poly({{200, 150}, {250, 150}, {300, 150}})}));
    }

    void cutPolygonInsideAndDegenerate()
    {
        QVERIFY(MiniEraseOperModel::cutPolygon(poly({{120, 120}, {150, 130}, {180, 190}}),
                                               closedSquare())
                    .isEmpty());
        // A sub-unit segment inside: its box has no extent but lies in the
        // area, so the segment is cut (and erased).
        QVERIFY(
            MiniEraseOperModel::cutPolygon(poly({{150.2, 150.2}, {150.6, 150.7}}), closedSquare())
                .isEmpty());
        QVERIFY(MiniEraseOperModel::cutPolygon(QPolygonF(), closedSquare()).isEmpty());
        QVERIFY(MiniEraseOperModel::cutPolygon(poly({{0, 0}}), closedSquare()).isEmpty());
        // Far away: one polyline, as it was.
        COMPARE_PIECES(
            MiniEraseOperModel::cutPolygon(poly({{0, 0}, {10, 0}, {10, 10}}), closedSquare()),
            Pieces{poly({{0, 0}, {10, 0}, {10, 10}})});
    }

    // Strokes that only come near the area come back whole, however close:
    // the changed bounds stay empty.
    void cutPolygonLeavesStrokesBesideTheArea()
    {
        const QVector<QPolygonF> beside{
            poly({{60, 120}, {99.4, 150}, {60, 180}}),
            poly({{300, 300}, {250, 250}, {201.5, 260}}),
            poly({{150, 20}, {160, 99.2}, {170, 20}, {180, 99.9}}),
        };
        for (const QPolygonF& stroke : beside) {
            QRectF changed;
            COMPARE_PIECES(MiniEraseOperModel::cutPolygon(stroke, closedSquare(), &changed),
                           Pieces{stroke});
            QVERIFY(changed.isNull());
        }
        // Below zero the truncation to integers moves a segment's box
        // towards zero, here away from the area.
        const QPolygonF area = poly({{-50, -50}, {-10, -50}, {-10, -10}, {-50, -10}, {-50, -50}});
        const QPolygonF stroke = poly({{-9.5, -30}, {0, -30}, {-9.7, -20}});
        COMPARE_PIECES(MiniEraseOperModel::cutPolygon(stroke, area), Pieces{stroke});

        // Within a unit the segment's integer box decides: (-0.9,5)-(-0.6,5.3)
        // lies left of the area, but its box, truncated towards zero, is the
        // point (0,5) well inside it. The segment counts as cut (its bounds
        // are changed), and what lies outside the area is all of it.
        const QPolygonF near = poly({{-0.5, 0}, {10, 0}, {10, 10}, {-0.5, 10}, {-0.5, 0}});
        const QPolygonF grazing = poly({{-0.9, 5}, {-0.6, 5.3}});
        QRectF changed;
        COMPARE_PIECES(MiniEraseOperModel::cutPolygon(grazing, near, &changed), Pieces{grazing});
        QCOMPARE(changed, QRectF(QPointF(-0.9, 5), QPointF(-0.6, 5.3)));
    }

    void cutPolygonDropsSegmentsBetweenAreaVertices()
    {
        // A C-shaped area; (30,10)-(30,20) joins two of its corners across
        // the opening, outside the area. Both ends are vertices of the area,
        // so the segment is erased all the same.
        const QPolygonF c = poly(
            {{0, 0}, {30, 0}, {30, 10}, {10, 10}, {10, 20}, {30, 20}, {30, 30}, {0, 30}, {0, 0}});
        QVERIFY(!polygonContainsPoint(c, {30, 15}));
        QVERIFY(MiniEraseOperModel::cutPolygon(poly({{30, 10}, {30, 20}}), c).isEmpty());
        // From a vertex out into the open: cut, and what is outside survives.
        COMPARE_PIECES(MiniEraseOperModel::cutPolygon(poly({{30, 10}, {40, 10}}), c),
                       Pieces{poly({{30, 10}, {40, 10}})});
    }

    // --- points well inside ----------------------------------------------------

    void pointDeepInPolygonCases()
    {
        const QPolygonF square = poly({{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0}});
        QVERIFY(pointDeepInPolygon(square, {5, 5}, 1));
        QVERIFY(pointDeepInPolygon(square, {5, 5}, 4.99));
        QVERIFY(!pointDeepInPolygon(square, {5, 5}, 5)); // exactly 5 from each edge
        QVERIFY(!pointDeepInPolygon(square, {0.5, 5}, 1));
        QVERIFY(!pointDeepInPolygon(square, {15, 5}, 1));
        QVERIFY(!pointDeepInPolygon(square, {-5, 5}, 1));
        // The edge back to the first point counts although the polygon is
        // open: (4,4) is 8/sqrt(2), about 1.41, from the hypotenuse.
        const QPolygonF triangle = poly({{0, 0}, {10, 0}, {0, 10}});
        QVERIFY(pointDeepInPolygon(triangle, {2, 2}, 1));
        QVERIFY(pointDeepInPolygon(triangle, {4, 4}, 1.4));
        QVERIFY(!pointDeepInPolygon(triangle, {4, 4}, 1.5));
        // Odd-even: the middle of a five-pointed star is wound twice, so it
        // is outside, as in a QPainterPath made from the polygon.
        QPolygonF star;
        for (int k = 0; k <= 5; ++k) {
            const qreal angle = M_PI / 2 + k * 4 * M_PI / 5;
            star << QPointF(100 + 90 * std::cos(angle), 100 - 90 * std::sin(angle));
        }
        QVERIFY(polygonContainsPoint(star, {100, 100}));
        QPainterPath starPath;
        starPath.addPolygon(star);
        QVERIFY(!starPath.contains(QPointF(100, 100)));
        QVERIFY(!pointDeepInPolygon(star, {100, 100}, 1));
        QVERIFY(pointDeepInPolygon(star, {100, 30}, 1)); // in the top point
        // Nothing to hold, or nowhere.
        QVERIFY(!pointDeepInPolygon(QPolygonF(), {0, 0}, 0));
        QVERIFY(!pointDeepInPolygon(poly({{0, 0}, {10, 10}}), {5, 5}, 0));
        const qreal nan = std::numeric_limits<qreal>::quiet_NaN();
        QVERIFY(!pointDeepInPolygon(square, {nan, 5}, 1));
        QVERIFY(!pointDeepInPolygon(square, {5, 5}, nan));
        QVERIFY(!pointDeepInPolygon(poly({{0, 0}, {nan, 0}, {10, 10}, {0, 10}}), {5, 5}, 1));
    }

    // Where the quick answer says "well inside", Qt says inside too: for
    // random polygons (many of them crossing themselves) against the path
    // Qt makes of them, and for the eraser's swept areas against the boxes
    // the stroke cutter tests, which then meet the area.
    void pointDeepInPolygonNeverDisagreesWithQt()
    {
        QRandomGenerator random(20261127);
        auto uniform = [&random](qreal low, qreal high) {
            return low + random.bounded(high - low);
        };
        int deepPoints = 0;
        int insidePoints = 0;
        for (int n = 0; n < 2000; ++n) {
            QPolygonF polygon;
            const int corners = 3 + int(random.bounded(6));
            for (int k = 0; k < corners; ++k)
                polygon << QPointF(uniform(0, 100), uniform(0, 100));
            if (random.bounded(2))
                polygon << polygon.first();
            QPainterPath path;
            path.addPolygon(polygon);
            for (int k = 0; k < 10; ++k) {
                const QPointF point(uniform(-5, 105), uniform(-5, 105));
                const bool inside = path.contains(point);
                insidePoints += inside;
                if (pointDeepInPolygon(polygon, point, 0.01)) {
                    ++deepPoints;
                    QVERIFY2(inside,
                             qPrintable(QStringLiteral("polygon %1, point %2").arg(n).arg(k)));
                }
            }
        }
        QVERIFY2(deepPoints * 10 > insidePoints * 9,
                 qPrintable(QStringLiteral("%1 of %2").arg(deepPoints).arg(insidePoints)));

        int deepBoxes = 0;
        int meeting = 0;
        for (int n = 0; n < 4000; ++n) {
            QRectF rect(0, 0, uniform(5, 200), uniform(5, 200));
            const QPointF from(uniform(0, 400), uniform(0, 400));
            const QPointF to = from + QPointF(uniform(-60, 60), uniform(-60, 60));
            rect.moveCenter(to);
            QPainterPath swept;
            getEarsePath(swept, rect, from, to);
            const QPolygonF area = swept.toFillPolygon(QTransform());
            // Around the area's end, where a sweep meets strokes.
            const QPointF s =
                to + QPointF(uniform(-rect.width() / 2 - 20, rect.width() / 2 + 20),
                             uniform(-rect.height() / 2 - 20, rect.height() / 2 + 20));
            const QPointF e = s + QPointF(uniform(-12, 12), uniform(-12, 12));
            // The stroke cutter's box of the segment s-e.
            const double l = truncToInt(qMin(s.x(), e.x()));
            const double t = truncToInt(qMin(s.y(), e.y()));
            const double r = l + truncToInt(std::fabs(s.x() - e.x()));
            const double b = t + truncToInt(std::fabs(s.y() - e.y()));
            const bool meets = area.intersects(QPolygonF(
                {QPointF(l, t), QPointF(r, t), QPointF(r, b), QPointF(l, b), QPointF(l, t)}));
            meeting += meets;
            if (pointDeepInPolygon(area, QPointF((l + r) / 2, (t + b) / 2), 0.01)) {
                ++deepBoxes;
                QVERIFY2(meets, qPrintable(QStringLiteral("sweep %1").arg(n)));
            }
        }
        QVERIFY2(meeting > 2000 && deepBoxes * 10 > meeting * 8,
                 qPrintable(QStringLiteral("%1 of %2").arg(deepBoxes).arg(meeting)));
    }

    // --- any input ------------------------------------------------------------

    void randomInputsTerminate()
    {
        // Ordinary, tiny, huge, infinite and NaN coordinates in every
        // function: each call returns, the outputs grow by bounded amounts.
        QRandomGenerator random(4242);
        const double odd[] = {0.0,
                              -0.0,
                              1e-300,
                              1e-13,
                              0.5,
                              100.0,
                              1e12,
                              1e127,
                              1e300,
                              -1e300,
                              std::numeric_limits<double>::max(),
                              std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()};
        auto value = [&] {
            return random.bounded(3) == 0 ? odd[random.bounded(int(sizeof(odd) / sizeof(odd[0])))]
                                          : random.bounded(400.0) - 100;
        };
        auto point = [&] {
            return QPointF(value(), value());
        };
        QtMessageHandler previous =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        for (int i = 0; i < 5000; ++i) {
            QPolygonF polygon;
            const int size = random.bounded(8);
            for (int k = 0; k < size; ++k)
                polygon << point();
            int winding = 0;
            polygon_isect_line(point(), point(), point(), &winding);
            QVERIFY(qAbs(winding) <= 1);
            polygonContainsPoint(polygon, point());

            QPainterPath path;
            getEarsePath(path, QRectF(value(), value(), value(), value()), point(), point());
            QVERIFY(path.elementCount() <= 7);

            Pieces out;
            intersectNewRect(point(), point(), polygon, out);
            intersectRect(point(), point(), QRectF(value(), value(), value(), value()), out);
            QLineF unused;
            intersectLine(unused, point(), point(), point(), point(), random.bounded(2),
                          random.bounded(2), random.bounded(2), out);
            QVERIFY(out.size() <= 7);
            const Pieces pieces = MiniEraseOperModel::cutPolygon(polygon, path.toFillPolygon());
            QVERIFY(pieces.size() <= 2 * polygon.size());
        }
        qInstallMessageHandler(previous);
    }

    // --- integer truncation -------------------------------------------------

    void truncToIntSaturates()
    {
        QCOMPARE(truncToInt(3.9), 3);
        QCOMPARE(truncToInt(-3.9), -3);
        QCOMPARE(truncToInt(-0.4), 0);
        QCOMPARE(truncToInt(2147483647.5), std::numeric_limits<int>::max());
        QCOMPARE(truncToInt(1e300), std::numeric_limits<int>::max());
        QCOMPARE(truncToInt(-1e300), std::numeric_limits<int>::min());
        QCOMPARE(truncToInt(std::numeric_limits<double>::quiet_NaN()), 0);
        QCOMPARE(truncToInt(std::numeric_limits<double>::infinity()),
                 std::numeric_limits<int>::max());
    }
};

QTEST_GUILESS_MAIN(TestEraserGeometry)
#include "tst_erasergeometry.moc"
