#pragma once

#include <QDebug>
#include <QList>
#include <QPolygonF>
#include <QString>

#include <initializer_list>

// Helpers shared by the eraser's tests: polygons written inline, and
// polygons and lists of them as text for failure messages (17 digits, so
// that values which differ only far behind the point show the difference).
namespace PolygonTest {

inline QPolygonF poly(std::initializer_list<QPointF> points)
{
    return QPolygonF(QVector<QPointF>(points));
}

inline void write(QDebug& debug, const QPolygonF& polygon)
{
    debug << " [";
    for (const QPointF& p : polygon)
        debug << " (" << qSetRealNumberPrecision(17) << p.x() << "," << p.y() << ")";
    debug << " ]";
}

inline QString describe(const QPolygonF& polygon)
{
    QString text;
    QDebug debug(&text);
    debug.nospace();
    write(debug, polygon);
    return text;
}

inline QString describe(const QList<QPolygonF>& pieces)
{
    QString text;
    QDebug debug(&text);
    debug.nospace();
    debug << "[";
    for (const QPolygonF& piece : pieces)
        write(debug, piece);
    debug << " ]";
    return text;
}

} // namespace PolygonTest
