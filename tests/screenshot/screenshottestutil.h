#pragma once

#include "screenshot/screenshot.h"

#include <QApplication>
#include <QColor>
#include <QCoreApplication>
#include <QDesktopWidget>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QString>
#include <QWidget>
#include <QtTest>

#include <cstdlib>

// Helpers shared by the screenshot overlay's tests.
namespace ShotTest {

// The desktop the overlay covers.
inline QRect desktop()
{
    return QApplication::desktop()->geometry();
}

// The widget (and its children) rendered into a transparent image, without
// any window background, unpremultiplied so that colours read as painted.
inline QImage render(QWidget* widget)
{
    QImage image(widget->size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    widget->render(&painter, QPoint(), QRegion(), QWidget::DrawChildren);
    painter.end();
    return image.convertToFormat(QImage::Format_ARGB32);
}

inline QString describe(const QImage& image, int x, int y)
{
    const QRgb p = image.pixel(x, y);
    return QStringLiteral("(%1, %2): r %3 g %4 b %5 a %6")
        .arg(x)
        .arg(y)
        .arg(qRed(p))
        .arg(qGreen(p))
        .arg(qBlue(p))
        .arg(qAlpha(p));
}

// Whether the unpremultiplied pixel is r, g, b (within colourTolerance) at
// alpha a (within alphaTolerance).
inline bool near(const QImage& image, int x, int y, int r, int g, int b, int a,
                 int colourTolerance = 1, int alphaTolerance = 0)
{
    const QRgb p = image.pixel(x, y);
    return std::abs(qRed(p) - r) <= colourTolerance && std::abs(qGreen(p) - g) <= colourTolerance &&
           std::abs(qBlue(p) - b) <= colourTolerance && std::abs(qAlpha(p) - a) <= alphaTolerance;
}

// A mouse event delivered straight to the widget, bypassing the window
// system (for odd orders of events and for widgets that are not shown).
inline void send(QWidget* widget, QEvent::Type type, const QPoint& local,
                 Qt::MouseButton button = Qt::LeftButton)
{
    const Qt::MouseButtons buttons =
        type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::MouseButtons(button);
    QMouseEvent event(type, QPointF(local), QPointF(widget->mapToGlobal(local)),
                      type == QEvent::MouseMove ? Qt::NoButton : button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(widget, &event);
}

inline void sendAt(QWidget* widget, QEvent::Type type, const QPoint& local, const QPoint& global)
{
    QMouseEvent event(type, QPointF(local), QPointF(global),
                      type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(widget, &event);
}

// Input through the window system (the overlay must be shown). QTest puts a
// position of (0, 0) at the widget's centre, so none of these is used there.
inline void press(QWidget* widget, const QPoint& pos)
{
    QTest::mousePress(widget, Qt::LeftButton, Qt::NoModifier, pos);
}

inline void moveTo(QWidget* widget, const QPoint& pos)
{
    QTest::mouseMove(widget, pos);
}

inline void release(QWidget* widget, const QPoint& pos)
{
    QTest::mouseRelease(widget, Qt::LeftButton, Qt::NoModifier, pos);
}

// A press at from, a move half-way, a move to to and the release there.
inline void drag(QWidget* widget, const QPoint& from, const QPoint& to)
{
    press(widget, from);
    moveTo(widget, (from + to) / 2);
    moveTo(widget, to);
    release(widget, to);
}

// Runs the deletions that deleteLater() has scheduled.
inline void flushDeletes()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace ShotTest

#define VERIFY_COLOUR(image, x, y, r, g, b, a)                                                     \
    QVERIFY2(                                                                                      \
        ShotTest::near(image, x, y, r, g, b, a),                                                   \
        qPrintable(ShotTest::describe(image, x, y) +                                               \
                   QStringLiteral(", expected r %1 g %2 b %3 a %4").arg(r).arg(g).arg(b).arg(a)))
