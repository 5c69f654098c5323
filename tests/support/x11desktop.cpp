#include "tests/support/x11desktop.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <QX11Info>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XRes.h>
#include <X11/extensions/shape.h>

namespace {

int ignoreError(Display*, XErrorEvent*)
{
    return 0;
}

// Sees the messages that syncEvents() sends this application through the
// server, on an input-only window of its own (events sent with no mask go
// to the window's creator).
class SyncFilter : public QAbstractNativeEventFilter
{
public:
    explicit SyncFilter(xcb_connection_t* connection)
        : m_connection(connection)
    {
        const xcb_intern_atom_cookie_t cookie =
            xcb_intern_atom(connection, 0, 16, "_SKEDA_TEST_SYNC");
        if (xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(connection, cookie, nullptr)) {
            m_atom = reply->atom;
            free(reply);
        }
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        m_window = xcb_generate_id(connection);
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, m_window, screen->root, -1, -1, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    }

    bool nativeEventFilter(const QByteArray& type, void* message, long*) override
    {
        if (type != "xcb_generic_event_t")
            return false;
        const auto* event = static_cast<const xcb_generic_event_t*>(message);
        if ((event->response_type & 0x7F) != XCB_CLIENT_MESSAGE)
            return false;
        const auto* client = static_cast<const xcb_client_message_event_t*>(message);
        if (client->window != m_window || client->type != m_atom)
            return false;
        m_received = client->data.data32[0];
        return true;
    }

    bool sync()
    {
        xcb_client_message_event_t event = {};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = m_window;
        event.type = m_atom;
        event.data.data32[0] = ++m_sent;
        xcb_send_event(m_connection, 0, m_window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&event));
        xcb_flush(m_connection);
        return QTest::qWaitFor([this] { return m_received == m_sent; }, 10000);
    }

private:
    xcb_connection_t* m_connection;
    xcb_atom_t m_atom = XCB_NONE;
    xcb_window_t m_window = XCB_NONE;
    quint32 m_sent = 0;
    quint32 m_received = 0;
};

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

QMap<QString, int> resourcesOfProcess(Display* display, qint64 pid)
{
    QMap<QString, int> result;
    int eventBase = 0;
    int errorBase = 0;
    if (!XResQueryExtension(display, &eventBase, &errorBase))
        return result;
    XResClientIdSpec every{None, XRES_CLIENT_ID_PID_MASK};
    long count = 0;
    XResClientIdValue* ids = nullptr;
    if (XResQueryClientIds(display, 1, &every, &count, &ids) != Success)
        return result;
    for (long i = 0; i < count; ++i) {
        if (XResGetClientIdType(&ids[i]) != XRES_CLIENT_ID_PID ||
            XResGetClientPid(&ids[i]) != static_cast<pid_t>(pid))
            continue;
        // Each answer starts with the client it speaks of (its resource base).
        const auto& [of, length, value] = ids[i];
        int types = 0;
        XResType* held = nullptr;
        // Unlike XResQueryClientIds(), this one returns non-zero on success.
        if (!XResQueryClientResources(display, of.client, &types, &held))
            continue;
        for (int t = 0; t < types; ++t) {
            if (char* name = XGetAtomName(display, held[t].resource_type)) {
                result[QString::fromLatin1(name)] += int(held[t].count);
                XFree(name);
            }
        }
        XFree(held);
    }
    XResClientIdsDestroy(count, ids);
    return result;
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

bool syncEvents()
{
    xcb_connection_t* connection = QX11Info::connection();
    if (!connection) {
        QCoreApplication::processEvents();
        return true;
    }
    // One for the application's life, installed the first time it is needed.
    static SyncFilter filter(connection);
    static const bool installed = [] {
        QCoreApplication::instance()->installNativeEventFilter(&filter);
        return true;
    }();
    Q_UNUSED(installed)
    return filter.sync();
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

bool click(const QPoint& p)
{
    return xdotool({QStringLiteral("mousemove"), QString::number(p.x()), QString::number(p.y()),
                    QStringLiteral("click"), QStringLiteral("1")});
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
