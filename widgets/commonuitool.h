#pragma once

#include <QPainterPath>
#include <QRect>
#include <QRectF>

// Builders of rounded-rectangle painter paths. Every function appends to or
// returns a path and keeps no state of its own.
//
// The integer variants take corner-to-corner coordinates, both corners
// inclusive, and round their corners with quadratic curves whose control point
// is the rectangle's corner. Radii are used as given: a radius larger than half
// the side produces crossing segments.
class CommonUITool
{
public:
    // Appends one closed subpath with the same radius on all four corners. A
    // radius of 0 or less gives a plain rectangle.
    static void GetRadiusRectPath(QPainterPath& path, int radius, int left, int top, int right,
                                  int bottom);
    // Uses the rectangle's inclusive left(), top(), right() and bottom().
    static void GetRadiusRectPath(QPainterPath& path, int radius, const QRect& rect);
    // Truncates x, y, x + width and y + height toward zero.
    static void GetRadiusRectPath(QPainterPath& path, int radius, const QRectF& rect);

    // Appends one closed subpath with a radius per corner. Negative radii count
    // as 0, and a corner with radius 0 stays square. The bottom-right curve
    // ends at right - topRight: panels with different right-hand radii rely on
    // that horizontal run, so it must stay.
    static void GetRadiusRectPath(QPainterPath& path, int topLeft, int bottomLeft, int topRight,
                                  int bottomRight, int left, int top, int right, int bottom);
    static void GetRadiusRectPath(QPainterPath& path, int topLeft, int bottomLeft, int topRight,
                                  int bottomRight, const QRect& rect);

    // Returns a new path around rect whose corners are cubic curves with the
    // first control point on the current point and the second on the corner.
    // When all four radii are equal and above 5, the sides are pulled in by one
    // eighth of the radius. The path ends on its start point without being
    // closed.
    static QPainterPath getRoundRectPath(const QRectF& rect, double topLeft, double topRight,
                                         double bottomRight, double bottomLeft);
};
