#include "tests/support/x11desktop.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QX11Info>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/shape.h>

namespace {

int ignoreError(Display*, XErrorEvent*)
{
    return 0;
}

} // namespace

namespace X11Desktop {

void paintDesktop(Display* display, unsigned long rgb)
{
    const Window root = DefaultRootWindow(display);
    const int screen = DefaultScreen(display);
    const Pixmap tile = XCreatePixmap(display, root, 8, 8, DefaultDepth(display, screen));
    GC gc = XCreateGC(display, tile, 0, nullptr);
    XSetForeground(display, gc, rgb);
    XFillRectangle(display, tile, gc, 0, 0, 8, 8);
    XFreeGC(display, gc);
    const Atom rootPixmap = XInternAtom(display, "_XROOTPMAP_ID", False);
    XChangeProperty(display, root, rootPixmap, XA_PIXMAP, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&tile), 1);
    XSetWindowBackgroundPixmap(display, root, tile);
    XClearWindow(display, root);
    XSync(display, False);
}

QVector<TopLevel> windowsOfProcess(Display* display, qint64 pid)
{
    QVector<TopLevel> result;
    const Atom pidAtom = XInternAtom(display, "_NET_WM_PID", True);
    if (pidAtom == None)
        return result;
    // A window may go between the listing and the questions about it; the
    // BadWindow that follows is ignored here whatever handler the test has.
    XSync(display, False);
    const XErrorHandler previous = XSetErrorHandler(ignoreError);
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    if (XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count)) {
        for (unsigned int i = 0; i < count; ++i) {
            Atom type = None;
            int format = 0;
            unsigned long items = 0;
            unsigned long after = 0;
            unsigned char* data = nullptr;
            if (XGetWindowProperty(display, children[i], pidAtom, 0, 1, False, XA_CARDINAL, &type,
                                   &format, &items, &after, &data) == Success &&
                data && items == 1 && format == 32 &&
                *reinterpret_cast<unsigned long*>(data) == static_cast<unsigned long>(pid)) {
                XWindowAttributes attributes;
                if (XGetWindowAttributes(display, children[i], &attributes) &&
                    attributes.map_state == IsViewable) {
                    result.append({children[i], QRect(attributes.x, attributes.y, attributes.width,
                                                      attributes.height)});
                }
            }
            if (data)
                XFree(data);
        }
        if (children)
            XFree(children);
    }
    XSync(display, False);
    XSetErrorHandler(previous);
    return result;
}

unsigned long windowOfProcess(Display* display, qint64 pid, int minWidth)
{
    const QVector<TopLevel> windows = windowsOfProcess(display, pid);
    for (const TopLevel& window : windows) {
        if (window.geometry.width() >= minWidth)
            return window.id;
    }
    return 0;
}

bool hasWindow(Display* display, qint64 pid, const QRect& geometry)
{
    const QVector<TopLevel> windows = windowsOfProcess(display, pid);
    return std::any_of(windows.cbegin(), windows.cend(),
                       [&geometry](const TopLevel& window) { return window.geometry == geometry; });
}

QVector<QRect> inputShape(Display* display, unsigned long window)
{
    int count = 0;
    int ordering = 0;
    XRectangle* rects = XShapeGetRectangles(display, window, ShapeInput, &count, &ordering);
    QVector<QRect> result;
    for (int i = 0; i < count; ++i)
        result.append(QRect(rects[i].x, rects[i].y, rects[i].width, rects[i].height));
    if (rects)
        XFree(rects);
    return result;
}

void closeWindow(Display* display, unsigned long window)
{
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = long(XInternAtom(display, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(display, window, False, NoEventMask, &event);
    XFlush(display);
}

void ignoreXErrors()
{
    XSetErrorHandler(ignoreError);
}

QImage grabScreen(Display* display, const QRect& area)
{
    XImage* image = XGetImage(display, DefaultRootWindow(display), area.x(), area.y(),
                              unsigned(area.width()), unsigned(area.height()), AllPlanes, ZPixmap);
    if (!image)
        return QImage();
    QImage result(area.size(), QImage::Format_RGB32);
    for (int y = 0; y < area.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(result.scanLine(y));
        for (int x = 0; x < area.width(); ++x)
            line[x] = 0xFF000000u | (XGetPixel(image, x, y) & 0xFFFFFFu);
    }
    XDestroyImage(image);
    return result;
}

QImage grabScreen(Display* display)
{
    const int screen = DefaultScreen(display);
    return grabScreen(display,
                      QRect(0, 0, DisplayWidth(display, screen), DisplayHeight(display, screen)));
}

QImage grabSettled(Display* display, const QRect& area, int quietMs, int timeoutMs)
{
    const auto grab = [display, &area] {
        return area.isNull() ? grabScreen(display) : grabScreen(display, area);
    };
    QElapsedTimer timer;
    timer.start();
    QElapsedTimer quiet;
    quiet.start();
    QImage previous = grab();
    int same = 1;
    while ((same < 3 || !quiet.hasExpired(quietMs)) && !timer.hasExpired(timeoutMs)) {
        QElapsedTimer pause;
        pause.start();
        while (!pause.hasExpired(30))
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        const QImage current = grab();
        if (current == previous) {
            ++same;
        } else {
            same = 1;
            quiet.restart();
            previous = current;
        }
    }
    return previous;
}

void syncApplication()
{
    QCoreApplication::processEvents();
    xcb_connection_t* connection = QX11Info::connection();
    if (!connection)
        return;
    xcb_flush(connection);
    // A round trip: the reply comes after everything sent before it.
    free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

bool xdotool(const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QStringLiteral("xdotool"), arguments);
    // Keep this process's own windows served while xdotool runs: X events
    // left queued would be merged (Qt compresses pointer motion).
    QElapsedTimer timer;
    timer.start();
    while (!process.waitForFinished(5)) {
        QCoreApplication::processEvents();
        if (timer.hasExpired(30000) || process.state() == QProcess::NotRunning)
            break;
    }
    return process.state() == QProcess::NotRunning &&
           process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

bool drag(const QVector<QPoint>& points)
{
    if (points.isEmpty())
        return false;
    QStringList arguments{QStringLiteral("mousemove"), QString::number(points.first().x()),
                          QString::number(points.first().y()), QStringLiteral("mousedown"),
                          QStringLiteral("1")};
    for (int i = 1; i < points.size(); ++i) {
        arguments << QStringLiteral("sleep") << QStringLiteral("0.02")
                  << QStringLiteral("mousemove") << QString::number(points.at(i).x())
                  << QString::number(points.at(i).y());
    }
    arguments << QStringLiteral("sleep") << QStringLiteral("0.05") << QStringLiteral("mouseup")
              << QStringLiteral("1");
    return xdotool(arguments);
}

} // namespace X11Desktop
