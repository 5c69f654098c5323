#pragma once

#include <QImage>
#include <QMap>
#include <QPoint>
#include <QRect>
#include <QStringList>
#include <QVector>

typedef struct _XDisplay Display;

// What a user would see and do on the X server the tests run on: the
// desktop's colour, the windows of a process, the screen's pixels, and real
// pointer input through xdotool (XTEST).
namespace X11Desktop {

// Paints the root window, and the pixmap a compositor draws the desktop
// from, in one colour (0xRRGGBB).
void paintDesktop(Display* display, unsigned long rgb);

// A top-level window and where it is on the screen.
struct TopLevel
{
    unsigned long id = 0;
    QRect geometry;
};

// The viewable top-level windows whose _NET_WM_PID is pid. Windows that go
// while they are looked at are left out.
QVector<TopLevel> windowsOfProcess(Display* display, qint64 pid);

// The first of those at least minWidth wide, or 0.
unsigned long windowOfProcess(Display* display, qint64 pid, int minWidth = 100);

// Whether the process has a viewable top-level window at exactly this
// geometry.
bool hasWindow(Display* display, qint64 pid, const QRect& geometry);

// What the X server holds for the process's connections (found by the
// process id the server learns from each local client), per resource type:
// "WINDOW", "PIXMAP", "ShmSeg" (a shared-memory segment), ... Empty when the
// server lacks the X-Resource extension or has no client of that process.
QMap<QString, int> resourcesOfProcess(Display* display, qint64 pid);

// The rectangles of a window's input shape, as the X server has them (none
// while clicks go through the window).
QVector<QRect> inputShape(Display* display, unsigned long window);

// Asks a window to close, as a window manager's close button does
// (WM_DELETE_WINDOW).
void closeWindow(Display* display, unsigned long window);

// For tests that talk to the windows of other processes, which come and go
// at any time: X errors no longer end this process (Xlib's default handler
// exits on the first BadWindow).
void ignoreXErrors();

// The screen as the X server shows it (composited, when a compositor runs).
QImage grabScreen(Display* display);
QImage grabScreen(Display* display, const QRect& area);

// The screen once it has stopped changing: grabbed every 30 ms until it has
// stayed the same for `quietMs` (at least two grabs after the first; at most
// `timeoutMs` in all), with this process's own events served meanwhile. For
// pictures of what other processes and the compositor show, where no
// signal says they are done.
QImage grabSettled(Display* display, const QRect& area = QRect(), int quietMs = 60,
                   int timeoutMs = 10000);

// Waits until the X server has carried out every request this
// application's own X connection sent (its repaints included).
void syncApplication();

// Waits until this application has handled every X event the server sent
// it so far (input that xdotool made included): a message sent to itself
// through the server comes after them all. For checks that something did
// not happen. False after ten seconds without it.
bool syncEvents();

// Runs xdotool with these arguments and waits for it; true on success.
bool xdotool(const QStringList& arguments);

// The pointer moved to p (global coordinates) and a click of the left
// button there; true when xdotool did it.
bool click(const QPoint& p);

// A press, moves along the points (with a short pause between them so that
// none is merged with the next), and a release of the left button.
bool drag(const QVector<QPoint>& points);

} // namespace X11Desktop
