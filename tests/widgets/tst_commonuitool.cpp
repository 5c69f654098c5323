#include "widgets/commonuitool.h"

#include <QPainterPath>
#include <QtTest>

#include <climits>
#include <cmath>

// Every expectation below is worked out by hand from the corner rules. One
// fact about QPainterPath shapes the lists: it stores a quadratic curve
// (p0, control c, end e) as the equivalent cubic, with first control point
// p0 + 2/3 (c - p0) and second control point e + 2/3 (c - e). A quadratic
// therefore appears as three elements: CurveTo (c1), CurveToData (c2),
// CurveToData (e). QPainterPath also drops a cubic whose points all coincide.

namespace {

struct Element
{
    QPainterPath::ElementType type;
    double x;
    double y;
};

using Elements = QVector<Element>;

Element M(double x, double y)
{
    return {QPainterPath::MoveToElement, x, y};
}

Element L(double x, double y)
{
    return {QPainterPath::LineToElement, x, y};
}

// A cubic: three elements.
void C(Elements& list, double c1x, double c1y, double c2x, double c2y, double ex, double ey)
{
    list << Element{QPainterPath::CurveToElement, c1x, c1y}
         << Element{QPainterPath::CurveToDataElement, c2x, c2y}
         << Element{QPainterPath::CurveToDataElement, ex, ey};
}

const char* typeName(int type)
{
    switch (type) {
    case QPainterPath::MoveToElement:
        return "MoveTo";
    case QPainterPath::LineToElement:
        return "LineTo";
    case QPainterPath::CurveToElement:
        return "CurveTo";
    case QPainterPath::CurveToDataElement:
        return "CurveToData";
    }
    return "?";
}

bool same(double a, double b)
{
    return std::fabs(a - b) <= 1e-9 * qMax(1.0, qMax(std::fabs(a), std::fabs(b)));
}

// Describes the first difference between the path and the expected elements,
// or returns an empty string when they match element by element.
QString compareElements(const QPainterPath& path, const Elements& expected, int from = 0)
{
    if (path.elementCount() - from != expected.size()) {
        QString dump;
        for (int i = from; i < path.elementCount(); ++i) {
            const QPainterPath::Element e = path.elementAt(i);
            dump += QStringLiteral("  #%1 %2 (%3, %4)\n")
                        .arg(i)
                        .arg(typeName(e.type))
                        .arg(e.x, 0, 'g', 17)
                        .arg(e.y, 0, 'g', 17);
        }
        return QStringLiteral("element count %1, expected %2\n%3")
            .arg(path.elementCount() - from)
            .arg(expected.size())
            .arg(dump);
    }
    for (int i = 0; i < expected.size(); ++i) {
        const QPainterPath::Element actual = path.elementAt(from + i);
        const Element& want = expected.at(i);
        if (actual.type != want.type || !same(actual.x, want.x) || !same(actual.y, want.y)) {
            return QStringLiteral("element %1: got %2 (%3, %4), expected %5 (%6, %7)")
                .arg(from + i)
                .arg(typeName(actual.type))
                .arg(actual.x, 0, 'g', 17)
                .arg(actual.y, 0, 'g', 17)
                .arg(typeName(want.type))
                .arg(want.x, 0, 'g', 17)
                .arg(want.y, 0, 'g', 17);
        }
    }
    return QString();
}

#define VERIFY_ELEMENTS(path, expected, ...)                                                       \
    do {                                                                                           \
        const QString diff = compareElements(path, expected, ##__VA_ARGS__);                       \
        QVERIFY2(diff.isEmpty(), qPrintable(diff));                                                \
    } while (false)

// Radius 10 on left 0, top 0, right 100, bottom 50.
Elements radius10On100x50()
{
    Elements e;
    e << M(10, 0) << L(90, 0);
    C(e, 290.0 / 3, 0, 100, 10.0 / 3, 100, 10);
    e << L(100, 40);
    C(e, 100, 140.0 / 3, 290.0 / 3, 50, 90, 50);
    e << L(10, 50);
    C(e, 10.0 / 3, 50, 0, 140.0 / 3, 0, 40);
    e << L(0, 10);
    C(e, 0, 10.0 / 3, 10.0 / 3, 0, 10, 0);
    return e;
}

// A plain rectangle on left 0, top 0, right 100, bottom 50, closed by the
// line back to its start that closeSubpath() adds.
Elements plain100x50()
{
    return Elements{M(0, 0), L(100, 0), L(100, 50), L(0, 50), L(0, 0)};
}

} // namespace

Q_DECLARE_METATYPE(Elements)

class TestCommonUITool : public QObject
{
    Q_OBJECT

private slots:
    void singleRadiusCorners();
    void singleRadiusZeroOrNegativeIsPlainRectangle_data();
    void singleRadiusZeroOrNegativeIsPlainRectangle();
    void singleRadiusOversized();
    void singleRadiusHugeDoesNotWrap();
    void singleRadiusQRectUsesInclusiveEdges();
    void singleRadiusQRectFUsesFarEdges();
    void singleRadiusQRectFTruncates();
    void singleRadiusQRectFTruncatesTowardZero();
    void singleRadiusQRectFAbsurdValues();
    void singleRadiusAppendsToExistingPath();
    void singleRadiusSubpathIsClosed();

    void perCornerAllZeroIsRectangle();
    void perCornerNegativeRadiiCountAsZero();
    void perCornerDistinctRadii();
    void perCornerQRectOverload();
    void perCornerBottomRightEndsAtTopRightRadius();
    void perCornerOnlyTopLeft();
    void perCornerOversized();
    void perCornerHugeRadii();
    void perCornerAppendsToExistingPath();

    void cubicCorners_data();
    void cubicCorners();
    void cubicRadiusFiveIsNotInset();
    void cubicFractionalRectangle();
    void cubicZeroRadiiDropEmptyCorners();
    void cubicNegativeRadii();
    void cubicEndIsNotClosed();
    void cubicReturnsFreshPath();
    void cubicNonFiniteInputDoesNotCrash();
};

void TestCommonUITool::singleRadiusCorners()
{
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 10, 0, 0, 100, 50);
    VERIFY_ELEMENTS(path, radius10On100x50());
}

void TestCommonUITool::singleRadiusZeroOrNegativeIsPlainRectangle_data()
{
    QTest::addColumn<int>("radius");
    QTest::newRow("zero") << 0;
    QTest::newRow("minus one") << -1;
    QTest::newRow("minus twenty") << -20;
    QTest::newRow("INT_MIN") << INT_MIN;
}

void TestCommonUITool::singleRadiusZeroOrNegativeIsPlainRectangle()
{
    QFETCH(int, radius);
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, radius, 0, 0, 100, 50);
    VERIFY_ELEMENTS(path, plain100x50());
}

void TestCommonUITool::singleRadiusOversized()
{
    // Radius 30 on a 40 x 20 rectangle: the "straight" runs go backwards and
    // the corners cross, as drawn.
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 30, 0, 0, 40, 20);
    Elements e;
    e << M(30, 0) << L(10, 0);
    C(e, 30, 0, 40, 10, 40, 30);
    e << L(40, -10);
    C(e, 40, 10, 30, 20, 10, 20);
    e << L(30, 20);
    C(e, 10, 20, 0, 10, 0, -10);
    e << L(0, 30);
    C(e, 0, 10, 10, 0, 30, 0);
    VERIFY_ELEMENTS(path, e);
}

void TestCommonUITool::singleRadiusHugeDoesNotWrap()
{
    // left + radius = 1 + 2147483647 lies beyond int; the path must carry the
    // true sum, not a wrapped negative value.
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, INT_MAX, 1, 0, 11, 10);
    QCOMPARE(path.elementCount(), 17);
    const QPainterPath::Element start = path.elementAt(0);
    QCOMPARE(start.type, QPainterPath::MoveToElement);
    QCOMPARE(start.x, 2147483648.0);
    QCOMPARE(start.y, 0.0);
    // lineTo(right - r, top)
    QCOMPARE(path.elementAt(1).x, -2147483636.0);
    // end of the top-right curve: (right, top + r)
    QCOMPARE(path.elementAt(4).x, 11.0);
    QCOMPARE(path.elementAt(4).y, 2147483647.0);
    // lineTo(right, bottom - r)
    QCOMPARE(path.elementAt(5).y, -2147483637.0);

    QPainterPath extreme;
    CommonUITool::GetRadiusRectPath(extreme, INT_MAX, INT_MIN, INT_MIN, INT_MAX, INT_MAX);
    QCOMPARE(extreme.elementCount(), 17);
    QCOMPARE(extreme.elementAt(0).x, -1.0);
    QCOMPARE(extreme.elementAt(0).y, -2147483648.0);
    QCOMPARE(extreme.elementAt(1).x, 0.0);
}

void TestCommonUITool::singleRadiusQRectUsesInclusiveEdges()
{
    // QRect(0, 0, 100, 50): right() = 99, bottom() = 49.
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 10, QRect(0, 0, 100, 50));
    Elements e;
    e << M(10, 0) << L(89, 0);
    C(e, 287.0 / 3, 0, 99, 10.0 / 3, 99, 10);
    e << L(99, 39);
    C(e, 99, 137.0 / 3, 287.0 / 3, 49, 89, 49);
    e << L(10, 49);
    C(e, 10.0 / 3, 49, 0, 137.0 / 3, 0, 39);
    e << L(0, 10);
    C(e, 0, 10.0 / 3, 10.0 / 3, 0, 10, 0);
    VERIFY_ELEMENTS(path, e);

    QPainterPath plain;
    CommonUITool::GetRadiusRectPath(plain, 0, QRect(0, 0, 100, 50));
    VERIFY_ELEMENTS(plain, (Elements{M(0, 0), L(99, 0), L(99, 49), L(0, 49), L(0, 0)}));
}

void TestCommonUITool::singleRadiusQRectFUsesFarEdges()
{
    // QRectF(0, 0, 100, 50): right = x + width = 100, bottom = 50.
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 10, QRectF(0, 0, 100, 50));
    VERIFY_ELEMENTS(path, radius10On100x50());
}

void TestCommonUITool::singleRadiusQRectFTruncates()
{
    // QRectF(0.9, 0.9, 10.5, 10.5): left (int)0.9 = 0, top 0,
    // right (int)11.4 = 11, bottom 11.
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 2, QRectF(0.9, 0.9, 10.5, 10.5));
    Elements e;
    e << M(2, 0) << L(9, 0);
    C(e, 31.0 / 3, 0, 11, 2.0 / 3, 11, 2);
    e << L(11, 9);
    C(e, 11, 31.0 / 3, 31.0 / 3, 11, 9, 11);
    e << L(2, 11);
    C(e, 2.0 / 3, 11, 0, 31.0 / 3, 0, 9);
    e << L(0, 2);
    C(e, 0, 2.0 / 3, 2.0 / 3, 0, 2, 0);
    VERIFY_ELEMENTS(path, e);
}

void TestCommonUITool::singleRadiusQRectFTruncatesTowardZero()
{
    // QRectF(-1.7, -0.5, 3.0, 2.0): left (int)-1.7 = -1 (not -2),
    // top (int)-0.5 = 0, right (int)1.3 = 1, bottom (int)1.5 = 1.
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 0, QRectF(-1.7, -0.5, 3.0, 2.0));
    VERIFY_ELEMENTS(path, (Elements{M(-1, 0), L(1, 0), L(1, 1), L(-1, 1), L(-1, 0)}));
}

void TestCommonUITool::singleRadiusQRectFAbsurdValues()
{
    // Values beyond int saturate instead of invoking undefined conversions:
    // left -1e300 -> INT_MIN, top (int)0.5 = 0, right 1e300 -> INT_MAX,
    // bottom 1e20 -> INT_MAX.
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 0, QRectF(-1e300, 0.5, 2e300, 1e20));
    VERIFY_ELEMENTS(
        path, (Elements{M(-2147483648.0, 0), L(2147483647.0, 0), L(2147483647.0, 2147483647.0),
                        L(-2147483648.0, 2147483647.0), L(-2147483648.0, 0)}));

    // NaN counts as 0: left 0, top 2, right NaN -> 0, bottom 12. The lines
    // onto the current point are dropped by QPainterPath, leaving a flat
    // rectangle of one vertical line and the closing line.
    QPainterPath nan;
    CommonUITool::GetRadiusRectPath(nan, 0, QRectF(qQNaN(), 2.5, 10, 10));
    VERIFY_ELEMENTS(nan, (Elements{M(0, 2), L(0, 12), L(0, 2)}));
}

void TestCommonUITool::singleRadiusAppendsToExistingPath()
{
    QPainterPath path;
    path.moveTo(-5, -5);
    path.lineTo(-1, -1);
    CommonUITool::GetRadiusRectPath(path, 10, 0, 0, 100, 50);
    VERIFY_ELEMENTS(path, (Elements{M(-5, -5), L(-1, -1)}) + radius10On100x50());

    // A second call adds a second subpath after the first.
    CommonUITool::GetRadiusRectPath(path, 0, 0, 0, 100, 50);
    VERIFY_ELEMENTS(path, (Elements{M(-5, -5), L(-1, -1)}) + radius10On100x50() + plain100x50());
}

void TestCommonUITool::singleRadiusSubpathIsClosed()
{
    // After closeSubpath() the next lineTo() starts a new subpath, which
    // QPainterPath marks with a MoveTo at the current point.
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 10, 0, 0, 100, 50);
    path.lineTo(50, 25);
    VERIFY_ELEMENTS(path, radius10On100x50() + Elements{M(10, 0), L(50, 25)});
}

void TestCommonUITool::perCornerAllZeroIsRectangle()
{
    // No curve anywhere; the last line already returns to the start, so
    // closing adds nothing.
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 0, 0, 0, 0, 0, 0, 100, 50);
    VERIFY_ELEMENTS(path, plain100x50());
}

void TestCommonUITool::perCornerNegativeRadiiCountAsZero()
{
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, -3, -7, -1, INT_MIN, 0, 0, 100, 50);
    VERIFY_ELEMENTS(path, plain100x50());
}

void TestCommonUITool::perCornerDistinctRadii()
{
    // tl 6, bl 9, tr 3, br 12 on left 10, top 20, right 110, bottom 80.
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 6, 9, 3, 12, 10, 20, 110, 80);
    Elements e;
    e << M(16, 20) << L(107, 20);
    C(e, 109, 20, 110, 21, 110, 23);
    e << L(110, 68);
    // Bottom-right ends at right - tr = 107.
    C(e, 110, 76, 109, 80, 107, 80);
    e << L(19, 80);
    C(e, 13, 80, 10, 77, 10, 71);
    e << L(10, 26);
    C(e, 10, 22, 12, 20, 16, 20);
    VERIFY_ELEMENTS(path, e);
}

void TestCommonUITool::perCornerQRectOverload()
{
    // QRect(10, 20, 101, 61) has right() = 110 and bottom() = 80.
    QPainterPath viaRect;
    CommonUITool::GetRadiusRectPath(viaRect, 6, 9, 3, 12, QRect(10, 20, 101, 61));
    Elements e;
    e << M(16, 20) << L(107, 20);
    C(e, 109, 20, 110, 21, 110, 23);
    e << L(110, 68);
    C(e, 110, 76, 109, 80, 107, 80);
    e << L(19, 80);
    C(e, 13, 80, 10, 77, 10, 71);
    e << L(10, 26);
    C(e, 10, 22, 12, 20, 16, 20);
    VERIFY_ELEMENTS(viaRect, e);

    // QRect(0, 0, 100, 50) with no radii runs along x = 99 and y = 49.
    QPainterPath plain;
    CommonUITool::GetRadiusRectPath(plain, 0, 0, 0, 0, QRect(0, 0, 100, 50));
    VERIFY_ELEMENTS(plain, (Elements{M(0, 0), L(99, 0), L(99, 49), L(0, 49), L(0, 0)}));
}

void TestCommonUITool::perCornerBottomRightEndsAtTopRightRadius()
{
    // tl 0, bl 0, tr 10, br 4: the bottom-right curve runs from
    // (right, bottom - 4) to (right - 10, bottom).
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 0, 0, 10, 4, 0, 0, 100, 50);
    Elements e;
    e << M(0, 0) << L(90, 0);
    C(e, 290.0 / 3, 0, 100, 10.0 / 3, 100, 10);
    e << L(100, 46);
    C(e, 100, 146.0 / 3, 290.0 / 3, 50, 90, 50);
    e << L(0, 50) << L(0, 0);
    VERIFY_ELEMENTS(path, e);
}

void TestCommonUITool::perCornerOnlyTopLeft()
{
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 5, 0, 0, 0, 0, 0, 20, 10);
    Elements e;
    e << M(5, 0) << L(20, 0) << L(20, 10) << L(0, 10) << L(0, 5);
    C(e, 0, 5.0 / 3, 5.0 / 3, 0, 5, 0);
    VERIFY_ELEMENTS(path, e);
}

void TestCommonUITool::perCornerOversized()
{
    // All radii 30 on 40 x 20: no limiting, crossing runs.
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, 30, 30, 30, 30, 0, 0, 40, 20);
    Elements e;
    e << M(30, 0) << L(10, 0);
    C(e, 30, 0, 40, 10, 40, 30);
    e << L(40, -10);
    C(e, 40, 10, 30, 20, 10, 20);
    e << L(30, 20);
    C(e, 10, 20, 0, 10, 0, -10);
    e << L(0, 30);
    C(e, 0, 10, 10, 0, 30, 0);
    VERIFY_ELEMENTS(path, e);
}

void TestCommonUITool::perCornerHugeRadii()
{
    QPainterPath path;
    CommonUITool::GetRadiusRectPath(path, INT_MAX, INT_MAX, INT_MAX, INT_MAX, 1, 0, 11, 10);
    QCOMPARE(path.elementCount(), 17);
    QCOMPARE(path.elementAt(0).x, 2147483648.0);
    QCOMPARE(path.elementAt(1).x, -2147483636.0);
    QCOMPARE(path.elementAt(5).y, -2147483637.0);
}

void TestCommonUITool::perCornerAppendsToExistingPath()
{
    QPainterPath path;
    path.addRect(0, 0, 100, 50);
    const int before = path.elementCount();
    QCOMPARE(before, 5);
    CommonUITool::GetRadiusRectPath(path, 0, 0, 0, 0, 0, 0, 100, 50);
    VERIFY_ELEMENTS(path, plain100x50() + plain100x50());
}

// The rounded rectangle (0, 0, 100, 50): its corner cubics, inset by e on
// every side when all four radii are equal and above 5.
void TestCommonUITool::cubicCorners_data()
{
    QTest::addColumn<QVector<double>>("radii");
    QTest::addColumn<Elements>("expected");

    // Radii 8: k = 1.5 * 8 / 12 = 1.0 on every corner, so e = 1.0.
    Elements e;
    e << M(1, 8);
    C(e, 1, 8, 0, 0, 8, 1);
    e << L(92, 1);
    C(e, 92, 1, 100, 0, 99, 8);
    e << L(99, 42);
    C(e, 99, 42, 100, 50, 92, 49);
    e << L(8, 49);
    C(e, 8, 49, 0, 50, 1, 42);
    e << L(1, 8);
    QTest::newRow("equal radii above 5 are inset") << QVector<double>{8, 8, 8, 8} << e;

    // (8, 8, 8, 6): k(6) = 0.75 differs from k(8) = 1.0, so e = 0.
    // Order: a top-left 8, b top-right 8, c bottom-right 8, d bottom-left 6.
    e.clear();
    e << M(0, 8);
    C(e, 0, 8, 0, 0, 8, 0);
    e << L(92, 0);
    C(e, 92, 0, 100, 0, 100, 8);
    e << L(100, 42);
    C(e, 100, 42, 100, 50, 92, 50);
    e << L(6, 50);
    C(e, 6, 50, 0, 50, 0, 44);
    e << L(0, 8);
    QTest::newRow("unequal radii are not inset") << QVector<double>{8, 8, 8, 6} << e;

    // (4, 4, 4, 4): 4 is not above 5, k = 0 everywhere, e = 0.
    e.clear();
    e << M(0, 4);
    C(e, 0, 4, 0, 0, 4, 0);
    e << L(96, 0);
    C(e, 96, 0, 100, 0, 100, 4);
    e << L(100, 46);
    C(e, 100, 46, 100, 50, 96, 50);
    e << L(4, 50);
    C(e, 4, 50, 0, 50, 0, 46);
    e << L(0, 4);
    QTest::newRow("small radii are not inset") << QVector<double>{4, 4, 4, 4} << e;
}

void TestCommonUITool::cubicCorners()
{
    QFETCH(QVector<double>, radii);
    QFETCH(Elements, expected);
    const QPainterPath path = CommonUITool::getRoundRectPath(QRectF(0, 0, 100, 50), radii.at(0),
                                                             radii.at(1), radii.at(2), radii.at(3));
    VERIFY_ELEMENTS(path, expected);
}

void TestCommonUITool::cubicRadiusFiveIsNotInset()
{
    // Exactly 5.0 is not above 5.0; 6.0 is (k = 0.75).
    const QPainterPath five = CommonUITool::getRoundRectPath(QRectF(0, 0, 20, 20), 5, 5, 5, 5);
    QCOMPARE(five.elementAt(0).x, 0.0);
    QCOMPARE(five.elementAt(0).y, 5.0);
    const QPainterPath six = CommonUITool::getRoundRectPath(QRectF(0, 0, 20, 20), 6, 6, 6, 6);
    QCOMPARE(six.elementAt(0).x, 0.75);
    QCOMPARE(six.elementAt(0).y, 6.0);
}

void TestCommonUITool::cubicFractionalRectangle()
{
    // QRectF(10.5, 20.25, 40, 30), radii 12: k = 1.5, e = 1.5;
    // right 50.5, bottom 50.25.
    const QPainterPath path =
        CommonUITool::getRoundRectPath(QRectF(10.5, 20.25, 40, 30), 12, 12, 12, 12);
    Elements e;
    e << M(12, 32.25);
    C(e, 12, 32.25, 10.5, 20.25, 22.5, 21.75);
    e << L(38.5, 21.75);
    C(e, 38.5, 21.75, 50.5, 20.25, 49, 32.25);
    e << L(49, 38.25);
    C(e, 49, 38.25, 50.5, 50.25, 38.5, 48.75);
    e << L(22.5, 48.75);
    C(e, 22.5, 48.75, 10.5, 50.25, 12, 38.25);
    e << L(12, 32.25);
    VERIFY_ELEMENTS(path, e);
}

void TestCommonUITool::cubicZeroRadiiDropEmptyCorners()
{
    // With radius 0 every corner cubic collapses onto the corner itself and
    // QPainterPath drops it, leaving four lines.
    const QPainterPath path = CommonUITool::getRoundRectPath(QRectF(0, 0, 100, 50), 0, 0, 0, 0);
    VERIFY_ELEMENTS(path, plain100x50());
}

void TestCommonUITool::cubicNegativeRadii()
{
    // Negative radii are used as given (k = 0, no inset): the corners flip
    // outwards.
    const QPainterPath path = CommonUITool::getRoundRectPath(QRectF(0, 0, 100, 50), -4, -4, -4, -4);
    Elements e;
    e << M(0, -4);
    C(e, 0, -4, 0, 0, -4, 0);
    e << L(104, 0);
    C(e, 104, 0, 100, 0, 100, -4);
    e << L(100, 54);
    C(e, 100, 54, 100, 50, 104, 50);
    e << L(-4, 50);
    C(e, -4, 50, 0, 50, 0, 54);
    e << L(0, -4);
    VERIFY_ELEMENTS(path, e);
}

void TestCommonUITool::cubicEndIsNotClosed()
{
    QPainterPath path = CommonUITool::getRoundRectPath(QRectF(0, 0, 100, 50), 8, 8, 8, 8);
    QCOMPARE(path.elementCount(), 17);
    // Ends with a plain line onto its start point, no extra closing element.
    const QPainterPath::Element first = path.elementAt(0);
    const QPainterPath::Element last = path.elementAt(16);
    QCOMPARE(last.type, QPainterPath::LineToElement);
    QCOMPARE(last.x, first.x);
    QCOMPARE(last.y, first.y);
    // The subpath is still open: a further line continues it directly instead
    // of starting a new subpath (compare singleRadiusSubpathIsClosed).
    path.lineTo(50, 25);
    QCOMPARE(path.elementCount(), 18);
    QCOMPARE(path.elementAt(17).type, QPainterPath::LineToElement);
    QCOMPARE(path.elementAt(17).x, 50.0);
    QCOMPARE(path.elementAt(17).y, 25.0);
}

void TestCommonUITool::cubicReturnsFreshPath()
{
    const QPainterPath a = CommonUITool::getRoundRectPath(QRectF(0, 0, 100, 50), 4, 4, 4, 4);
    const QPainterPath b = CommonUITool::getRoundRectPath(QRectF(0, 0, 100, 50), 4, 4, 4, 4);
    QCOMPARE(a.elementCount(), 17);
    QCOMPARE(b.elementCount(), 17);
    QCOMPARE(a, b);
}

void TestCommonUITool::cubicNonFiniteInputDoesNotCrash()
{
    // QPainterPath ignores points with non-finite coordinates, so nothing but
    // the finite points can survive.
    const double inf = qInf();
    const QPainterPath allInf =
        CommonUITool::getRoundRectPath(QRectF(0, 0, 10, 10), inf, inf, inf, inf);
    for (int i = 0; i < allInf.elementCount(); ++i) {
        QVERIFY(std::isfinite(allInf.elementAt(i).x));
        QVERIFY(std::isfinite(allInf.elementAt(i).y));
    }
    const double nan = qQNaN();
    const QPainterPath withNan = CommonUITool::getRoundRectPath(QRectF(0, 0, 10, 10), nan, 4, 4, 4);
    for (int i = 0; i < withNan.elementCount(); ++i) {
        QVERIFY(std::isfinite(withNan.elementAt(i).x));
        QVERIFY(std::isfinite(withNan.elementAt(i).y));
    }
    const QPainterPath huge =
        CommonUITool::getRoundRectPath(QRectF(0, 0, 1e9, 1e9), 1e12, 1e12, 1e12, 1e12);
    QCOMPARE(huge.elementCount(), 17);
    // k = 1.5e12 / 12 = 1.25e11 on every corner.
    QCOMPARE(huge.elementAt(0).x, 1.25e11);
    QCOMPARE(huge.elementAt(0).y, 1e12);
}

QTEST_APPLESS_MAIN(TestCommonUITool)
#include "tst_commonuitool.moc"
