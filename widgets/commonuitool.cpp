#include "widgets/commonuitool.h"

#include <QtGlobal>

#include <cmath>
#include <limits>

namespace {

// Sums of coordinates and radii are taken in 64 bits so that extreme radii
// cannot overflow; every result fits a double exactly.
double sum(qint64 a, qint64 b)
{
    return static_cast<double>(a + b);
}

// Truncation toward zero that saturates at the int range and maps NaN to 0,
// so that absurd rectangles still give a well-defined path.
int truncToInt(double value)
{
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= static_cast<double>(std::numeric_limits<int>::max())) {
        return std::numeric_limits<int>::max();
    }
    if (value <= static_cast<double>(std::numeric_limits<int>::min())) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(value);
}

double insetFactor(double radius)
{
    return radius > 5.0 ? 1.5 * radius / 12.0 : 0.0;
}

} // namespace

void CommonUITool::GetRadiusRectPath(QPainterPath& path, int radius, int left, int top, int right,
                                     int bottom)
{
    const qint64 r = radius;
    if (r <= 0) {
        path.moveTo(left, top);
        path.lineTo(right, top);
        path.lineTo(right, bottom);
        path.lineTo(left, bottom);
        path.closeSubpath();
        return;
    }

    path.moveTo(sum(left, r), top);
    path.lineTo(sum(right, -r), top);
    path.quadTo(right, top, right, sum(top, r));
    path.lineTo(right, sum(bottom, -r));
    path.quadTo(right, bottom, sum(right, -r), bottom);
    path.lineTo(sum(left, r), bottom);
    path.quadTo(left, bottom, left, sum(bottom, -r));
    path.lineTo(left, sum(top, r));
    path.quadTo(left, top, sum(left, r), top);
    path.closeSubpath();
}

void CommonUITool::GetRadiusRectPath(QPainterPath& path, int radius, const QRect& rect)
{
    GetRadiusRectPath(path, radius, rect.left(), rect.top(), rect.right(), rect.bottom());
}

void CommonUITool::GetRadiusRectPath(QPainterPath& path, int radius, const QRectF& rect)
{
    GetRadiusRectPath(path, radius, truncToInt(rect.x()), truncToInt(rect.y()),
                      truncToInt(rect.x() + rect.width()), truncToInt(rect.y() + rect.height()));
}

void CommonUITool::GetRadiusRectPath(QPainterPath& path, int topLeft, int bottomLeft, int topRight,
                                     int bottomRight, int left, int top, int right, int bottom)
{
    const qint64 tl = qMax(topLeft, 0);
    const qint64 bl = qMax(bottomLeft, 0);
    const qint64 tr = qMax(topRight, 0);
    const qint64 br = qMax(bottomRight, 0);

    if (tl > 0) {
        path.moveTo(sum(left, tl), top);
    } else {
        path.moveTo(left, top);
    }
    path.lineTo(sum(right, -tr), top);
    if (tr > 0) {
        path.quadTo(right, top, right, sum(top, tr));
    }
    path.lineTo(right, sum(bottom, -br));
    if (br > 0) {
        // Ends at right - tr on purpose: see the header.
        path.quadTo(right, bottom, sum(right, -tr), bottom);
    }
    path.lineTo(sum(left, bl), bottom);
    if (bl > 0) {
        path.quadTo(left, bottom, left, sum(bottom, -bl));
    }
    path.lineTo(left, sum(top, tl));
    if (tl > 0) {
        path.quadTo(left, top, sum(left, tl), top);
    }
    path.closeSubpath();
}

void CommonUITool::GetRadiusRectPath(QPainterPath& path, int topLeft, int bottomLeft, int topRight,
                                     int bottomRight, const QRect& rect)
{
    GetRadiusRectPath(path, topLeft, bottomLeft, topRight, bottomRight, rect.left(), rect.top(),
                      rect.right(), rect.bottom());
}

QPainterPath CommonUITool::getRoundRectPath(const QRectF& rect, double topLeft, double topRight,
                                            double bottomRight, double bottomLeft)
{
    const double a = topLeft;
    const double b = topRight;
    const double c = bottomRight;
    const double d = bottomLeft;

    const double ka = insetFactor(a);
    const double e =
        (ka == insetFactor(b) && ka == insetFactor(c) && ka == insetFactor(d)) ? ka : 0.0;

    const double x = rect.x();
    const double y = rect.y();
    const double right = x + rect.width();
    const double bottom = y + rect.height();

    QPainterPath path;
    path.moveTo(x + e, y + a);
    path.cubicTo(x + e, y + a, x, y, x + a, y + e);
    path.lineTo(right - b, y + e);
    path.cubicTo(right - b, y + e, right, y, right - e, y + b);
    path.lineTo(right - e, bottom - c);
    path.cubicTo(right - e, bottom - c, right, bottom, right - c, bottom - e);
    path.lineTo(x + d, bottom - e);
    path.cubicTo(x + d, bottom - e, x, bottom, x + e, bottom - d);
    path.lineTo(x + e, y + a);
    return path;
}
