#pragma once

#include <QPoint>
#include <QVector>
#include <QWidget>
#include <QtTest>

#include <cmath>

// Mouse input as the tests send it to a widget (the board's viewport, the
// screenshot overlay, a whole board window), through QTest's events.
namespace MouseInput {

// A press at the first point and moves through the points before index
// `end`; the button stays down.
inline void pressAlong(QWidget* widget, const QVector<QPoint>& points, int end)
{
    QTest::mousePress(widget, Qt::LeftButton, Qt::NoModifier, points.first());
    for (int i = 1; i < end; ++i)
        QTest::mouseMove(widget, points.at(i));
}

// A press at the first point, moves through the others, the release at
// the last.
inline void drag(QWidget* widget, const QVector<QPoint>& points)
{
    pressAlong(widget, points, points.size());
    QTest::mouseRelease(widget, Qt::LeftButton, Qt::NoModifier, points.last());
}

// A press at from, a move half-way, a move to to and the release there.
inline void drag(QWidget* widget, const QPoint& from, const QPoint& to)
{
    drag(widget, {from, (from + to) / 2, to});
}

// A gentle wave going right: `count` points 8 pixels apart, 20 pixels up
// and down around the start's line.
inline QVector<QPoint> wave(const QPoint& start, int count, double phase = 0)
{
    QVector<QPoint> points;
    for (int i = 0; i < count; ++i)
        points.append(start + QPoint(8 * i, int(20 * std::sin(phase + i * 0.3))));
    return points;
}

} // namespace MouseInput
