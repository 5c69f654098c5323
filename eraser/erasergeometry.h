#pragma once

// Plain 2-D geometry behind the eraser: the area that the rectangular eraser
// sweeps between two positions, a point-in-polygon test that counts the
// boundary as inside, and the cutters that keep the parts of a stroke segment
// lying outside an area, a rectangle or a line.
//
// Coordinates are scene coordinates (x to the right, y downwards). Nothing
// here keeps state or needs a widget or a scene. Every loop is bounded by the
// size of its input, so NaN, infinite or huge coordinates give meaningless
// but finite results and never hang.

#include <QList>
#include <QPainterPath>
#include <QPointF>
#include <QPolygonF>
#include <QRectF>

class QLineF;

// True when |a - b| < 1e-6 (strictly). The only tolerance of getEarsePath.
bool IsEqual(double a, double b);

// One step of a winding count along a horizontal ray from pos towards -x,
// for the polygon edge p1-p2. Returns true when pos lies exactly on the edge;
// otherwise returns false after adding +1 (edge running down the screen) or
// -1 (running up) to *winding when the ray crosses the edge. Edges whose two
// y values are equal by Qt's relative fuzzy comparison count as horizontal
// and are skipped. Both ends of the edge's y range are inclusive, so a ray
// through a vertex is counted by each of the two edges that meet there.
// A null winding pointer is tolerated (the count is then not kept).
bool polygon_isect_line(QPointF const& p1, QPointF const& p2, QPointF const& pos, int* winding);

// Nonzero winding rule with the boundary counted as inside. A polygon whose
// last point differs from its first (fuzzy QPointF comparison) is closed
// implicitly. Empty and one-point polygons contain nothing.
bool polygonContainsPoint(QPolygonF const& polygon, QPointF const& pt);

// True when pt lies inside polygon by the odd-even rule (the rule of a
// QPainterPath made from a QPolygonF) and farther than depth from each of its
// edges, the edge from the last point back to the first included. Points
// that close to an edge are where rounding could change the answer of any
// other containment test; farther in, every test agrees. Non-finite input
// and polygons of fewer than three points hold nothing.
bool pointDeepInPolygon(QPolygonF const& polygon, QPointF const& pt, qreal depth);

// Adds to path the area swept by a rectangle of rect's size moving in a
// straight line from centre p1 to the position rect (its centre being p2):
// rect itself when p1 and p2 are equal within 1e-6, the start rectangle when
// the move is under one unit on both axes, otherwise one closed outline of
// four or six corners joining the two rectangles. Input that a QPainterPath
// cannot hold (non-finite, or beyond 1e128) adds nothing and is reported
// with a warning.
void getEarsePath(QPainterPath& path, QRectF const& rect, QPointF const& p1, QPointF const& p2);

// Cuts the stroke segment a-b against the closed polygon area (first point
// repeated at the end; the edge from the last point back to the first is not
// tested) and appends to out what lies outside it.
void intersectNewRect(QPointF const& a, QPointF const& b, QPolygonF const& area,
                      QList<QPolygonF>& out);

// Older cutter against an axis-aligned rectangle: for each of the four edges
// (top, left, bottom, right) that the segment crosses, one piece from the
// kept end to the crossing is appended to out.
void intersectRect(QPointF const& a, QPointF const& b, QRectF const& rect, QList<QPolygonF>& out);

// Older cutter against the line p3-p4: when the segment p1-p2 crosses it, the
// piece between the crossing and the end chosen by byX/takeMin is appended to
// out, ordered by x as reverse asks. line is not read.
void intersectLine(QLineF& line, QPointF const& p1, QPointF const& p2, QPointF const& p3,
                   QPointF const& p4, bool byX, bool takeMin, bool reverse, QList<QPolygonF>& out);

// A double truncated towards zero to an int without undefined behaviour:
// values beyond the int range saturate, NaN gives 0.
int truncToInt(double value);
