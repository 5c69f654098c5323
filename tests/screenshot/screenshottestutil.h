#pragma once

#include "screenshot/screenshot.h"
#include "tests/support/mouseinput.h"
#include "tests/support/pixelcheck.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDesktopWidget>
#include <QImage>
#include <QMouseEvent>
#include <QString>
#include <QWidget>
#include <QtTest>

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
    return PixelCheck::render(*widget).convertToFormat(QImage::Format_ARGB32);
}

using PixelCheck::describe;

// Whether the unpremultiplied pixel is r, g, b (within 1, for the rounding of
// unpremultiplying) at exactly alpha a.
inline bool near(const QImage& image, int x, int y, int r, int g, int b, int a)
{
    return PixelCheck::near(image, x, y, r, g, b, a, 1, 0);
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
    MouseInput::drag(widget, from, to);
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
