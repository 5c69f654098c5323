#pragma once

#include <QImage>
#include <QPoint>
#include <QStringList>

typedef struct _XDisplay Display;

// What a user would see and do on the X server the tests run on: the
// desktop's colour, the windows of a process, the screen's pixels, and real
// pointer input through xdotool (XTEST).
namespace X11Desktop {

// Paints the root window, and the pixmap a compositor draws the desktop
// from, in one colour (0xRRGGBB).
void paintDesktop(Display* display, unsigned long rgb);

// The viewable top-level window at least minWidth wide whose _NET_WM_PID is
// pid, or 0.
unsigned long windowOfProcess(Display* display, qint64 pid, int minWidth = 100);

// The screen as the X server shows it (composited, when a compositor runs).
QImage grabScreen(Display* display);
QImage grabScreen(Display* display, const QRect& area);

// Runs xdotool with these arguments and waits for it; true on success.
bool xdotool(const QStringList& arguments);

// A press, moves along the points (with a short pause between them so that
// none is merged with the next), and a release of the left button.
bool drag(const QVector<QPoint>& points);

} // namespace X11Desktop
