// The `skeda` launcher as a user starts it, checked from outside through the
// X server: its window, its frame and what the screen shows.

#include <QProcess>
#include <QtTest>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

constexpr unsigned long kDesktop = 0x3B6EA5;

// The viewable top-level window whose _NET_WM_PID is pid, or 0.
Window windowOfProcess(Display* display, qint64 pid)
{
    const Atom pidAtom = XInternAtom(display, "_NET_WM_PID", True);
    if (pidAtom == None)
        return 0;
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    Window found = 0;
    if (!XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count))
        return 0;
    for (unsigned int i = 0; i < count && !found; ++i) {
        Atom type = None;
        int format = 0;
        unsigned long items = 0;
        unsigned long after = 0;
        unsigned char* data = nullptr;
        if (XGetWindowProperty(display, children[i], pidAtom, 0, 1, False, XA_CARDINAL, &type,
                               &format, &items, &after, &data) == Success &&
            data && items == 1 && format == 32) {
            XWindowAttributes attributes;
            if (*reinterpret_cast<unsigned long*>(data) == static_cast<unsigned long>(pid) &&
                XGetWindowAttributes(display, children[i], &attributes) &&
                attributes.map_state == IsViewable && attributes.width > 100)
                found = children[i];
        }
        if (data)
            XFree(data);
    }
    if (children)
        XFree(children);
    return found;
}

unsigned long rootPixel(Display* display, int x, int y)
{
    XImage* image = XGetImage(display, DefaultRootWindow(display), x, y, 1, 1, AllPlanes, ZPixmap);
    if (!image)
        return ~0ul;
    const unsigned long pixel = XGetPixel(image, 0, 0) & 0xFFFFFF;
    XDestroyImage(image);
    return pixel;
}

} // namespace

class TestLauncher : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_display = XOpenDisplay(nullptr);
        QVERIFY(m_display);
        // Paint the desktop a known colour. A compositor draws the desktop
        // from the pixmap named by _XROOTPMAP_ID, so set that too.
        const Window root = DefaultRootWindow(m_display);
        const int screen = DefaultScreen(m_display);
        const Pixmap tile = XCreatePixmap(m_display, root, 8, 8, DefaultDepth(m_display, screen));
        GC gc = XCreateGC(m_display, tile, 0, nullptr);
        XSetForeground(m_display, gc, kDesktop);
        XFillRectangle(m_display, tile, gc, 0, 0, 8, 8);
        XFreeGC(m_display, gc);
        const Atom rootPixmap = XInternAtom(m_display, "_XROOTPMAP_ID", False);
        XChangeProperty(m_display, root, rootPixmap, XA_PIXMAP, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(&tile), 1);
        XSetWindowBackgroundPixmap(m_display, root, tile);
        XClearWindow(m_display, root);
        XSync(m_display, False);
    }

    void cleanupTestCase()
    {
        if (m_display)
            XCloseDisplay(m_display);
    }

    void boardCoversTheScreenFramelessAndTransparent()
    {
        QProcess launcher;
        launcher.setProcessChannelMode(QProcess::ForwardedChannels);
        launcher.start(QStringLiteral(SKEDA_LAUNCHER_FILE), QStringList());
        QVERIFY(launcher.waitForStarted());

        Window board = 0;
        QTRY_VERIFY_WITH_TIMEOUT((board = windowOfProcess(m_display, launcher.processId())) != 0,
                                 15000);

        XWindowAttributes attributes;
        QVERIFY(XGetWindowAttributes(m_display, board, &attributes));
        QCOMPARE(attributes.x, 0);
        QCOMPARE(attributes.y, 0);
        QCOMPARE(attributes.width, 1920);
        QCOMPARE(attributes.height, 1080);
        QCOMPARE(attributes.depth, 32); // an ARGB visual: the board can be see-through

        // Frameless: Motif hints ask for no decorations at all.
        const Atom motif = XInternAtom(m_display, "_MOTIF_WM_HINTS", True);
        QVERIFY(motif != None);
        Atom type = None;
        int format = 0;
        unsigned long items = 0;
        unsigned long after = 0;
        unsigned char* data = nullptr;
        QCOMPARE(XGetWindowProperty(m_display, board, motif, 0, 5, False, AnyPropertyType, &type,
                                    &format, &items, &after, &data),
                 Success);
        QVERIFY(data);
        QCOMPARE(items, 5ul);
        const auto* hints = reinterpret_cast<unsigned long*>(data);
        const unsigned long decorationsFlag = 1ul << 1;
        const bool decorationsSet = hints[0] & decorationsFlag;
        const unsigned long decorations = hints[2];
        XFree(data);
        QVERIFY(decorationsSet);
        QCOMPARE(decorations, 0ul);

        // Nothing drawn: the compositor shows the desktop through the board.
        QTest::qWait(500);
        for (const QPoint& p :
             {QPoint(0, 0), QPoint(960, 540), QPoint(1919, 1079), QPoint(5, 1000)})
            QTRY_COMPARE_WITH_TIMEOUT(rootPixel(m_display, p.x(), p.y()), kDesktop, 5000);

        launcher.terminate();
        QVERIFY(launcher.waitForFinished(10000));
    }

    void withoutDisplayFailsWithOneLine()
    {
        QProcess launcher;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), QStringLiteral(":4711"));
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));
        launcher.setProcessEnvironment(env);
        launcher.start(QStringLiteral(SKEDA_LAUNCHER_FILE), QStringList());
        QVERIFY(launcher.waitForFinished(15000));
        QCOMPARE(launcher.exitStatus(), QProcess::NormalExit);
        QCOMPARE(launcher.exitCode(), 1);
        const QByteArray err = launcher.readAllStandardError();
        QCOMPARE(err, QByteArray("skeda: cannot open the X display \":4711\"; run it in an X11 "
                                 "session (or set DISPLAY)\n"));
    }

private:
    Display* m_display = nullptr;
};

QTEST_GUILESS_MAIN(TestLauncher)
#include "tst_launcher.moc"
