// The rounded-rectangle builders of the widget kit (CommonUITool) with any
// coordinates and radii: the int variants from INT_MIN to INT_MAX (corners
// crossed over, radii larger than the rectangle, negative radii), the QRectF
// variant and getRoundRectPath with any doubles.
//
// Properties beyond "no crash, no undefined behaviour, no hang": the int
// variants always give one closed outline of at most 18 elements (a move,
// five lines and four curves of three elements), and every one of its points
// is finite; getRoundRectPath never makes more than its 17.

#include "fuzzinput.h"
#include "widgets/commonuitool.h"

#include <QPainterPath>
#include <QRect>
#include <QRectF>

namespace {

void checkClosedOutline(const QPainterPath& path)
{
    FUZZ_CHECK(path.elementCount() >= 1, "no outline at all");
    FUZZ_CHECK(path.elementCount() <= 18, "an outline of more than eighteen elements");
    for (int i = 0; i < path.elementCount(); ++i) {
        const QPainterPath::Element& e = path.elementAt(i);
        FUZZ_CHECK(std::isfinite(e.x) && std::isfinite(e.y), "a point is not finite");
    }
    FUZZ_CHECK(QPointF(path.elementAt(0)) == QPointF(path.elementAt(path.elementCount() - 1)),
               "the outline is not closed");
}

} // namespace

extern "C" int SKEDA_FUZZ_ENTRY(const uint8_t* data, size_t size)
{
    fuzz::quietQt();
    fuzz::Input in(data, size);

    QPainterPath path;
    switch (in.below(6)) {
    case 0: {
        const int radius = in.integer();
        const int left = in.integer();
        const int top = in.integer();
        const int right = in.integer();
        const int bottom = in.integer();
        CommonUITool::GetRadiusRectPath(path, radius, left, top, right, bottom);
        checkClosedOutline(path);
        break;
    }
    case 1: {
        const int radius = in.integer();
        const QPoint topLeft(in.integer(), in.integer());
        const QPoint bottomRight(in.integer(), in.integer());
        CommonUITool::GetRadiusRectPath(path, radius, QRect(topLeft, bottomRight));
        checkClosedOutline(path);
        break;
    }
    case 2: {
        const int radius = in.integer();
        const QRectF rect(in.real(), in.real(), in.real(), in.real());
        CommonUITool::GetRadiusRectPath(path, radius, rect);
        checkClosedOutline(path);
        break;
    }
    case 3: {
        const int tl = in.integer();
        const int bl = in.integer();
        const int tr = in.integer();
        const int br = in.integer();
        const int left = in.integer();
        const int top = in.integer();
        const int right = in.integer();
        const int bottom = in.integer();
        CommonUITool::GetRadiusRectPath(path, tl, bl, tr, br, left, top, right, bottom);
        checkClosedOutline(path);
        break;
    }
    case 4: {
        const int tl = in.integer();
        const int bl = in.integer();
        const int tr = in.integer();
        const int br = in.integer();
        const QPoint topLeft(in.integer(), in.integer());
        const QPoint bottomRight(in.integer(), in.integer());
        CommonUITool::GetRadiusRectPath(path, tl, bl, tr, br, QRect(topLeft, bottomRight));
        checkClosedOutline(path);
        break;
    }
    default: {
        const QRectF rect(in.real(), in.real(), in.real(), in.real());
        const double a = in.real();
        const double b = in.real();
        const double c = in.real();
        const double d = in.real();
        path = CommonUITool::getRoundRectPath(rect, a, b, c, d);
        FUZZ_CHECK(path.elementCount() <= 17, "a round rectangle of more than seventeen elements");
        break;
    }
    }
    // What a panel does with the path next.
    path.boundingRect();
    path.toFillPolygon(QTransform());
    return 0;
}
