// The `skeda` launcher as a user starts it, checked from outside through the
// X server: its window, its frame and what the screen shows.

#include "tests/support/launcherprocess.h"
#include "tests/support/x11desktop.h"

#include <QProcess>
#include <QtTest>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

constexpr unsigned long kDesktop = 0x3B6EA5;
// The pen's colour when the board starts.
constexpr unsigned long kPen = 0xF73859;

unsigned long rootPixel(Display* display, int x, int y)
{
    return X11Desktop::grabScreen(display, QRect(x, y, 1, 1)).pixel(0, 0) & 0xFFFFFFu;
}

} // namespace

class TestLauncher : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // The launchers started here decide on shared memory themselves.
        qunsetenv("QT_XCB_NO_MITSHM");
        m_display = XOpenDisplay(nullptr);
        QVERIFY(m_display);
        X11Desktop::paintDesktop(m_display, kDesktop);
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
        QVERIFY(LauncherProcess::start(launcher));
        const Window board = LauncherProcess::waitForBoard(m_display, launcher);
        QVERIFY(board);

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

        // Nothing drawn: once the windows are painted (the toolbar shows on
        // the screen) the compositor shows the desktop through the board.
        QTRY_VERIFY_WITH_TIMEOUT(rootPixel(m_display, 80 + 134 + 27, 932 + 34) != kDesktop, 15000);
        const QImage screen = X11Desktop::grabSettled(m_display, QRect(), 200);
        for (const QPoint& p :
             {QPoint(0, 0), QPoint(960, 540), QPoint(1919, 1079), QPoint(5, 1000)})
            QCOMPARE(screen.pixel(p) & 0xFFFFFFu, uint(kDesktop));

        launcher.terminate();
        QVERIFY(launcher.waitForFinished(10000));
    }

    // The launcher has Qt send the board's updates over the X connection
    // rather than through shared memory, so that a pen point's small repaint
    // waits for no round trip to the server; SKEDA_MITSHM=1 keeps Qt's shared
    // memory. Either way a stroke drawn with real input shows in the pen's
    // colour.
    void updatesGoOverTheConnection_data()
    {
        QTest::addColumn<QString>("keep");
        QTest::addColumn<int>("segments");

        QTest::newRow("by default") << QString() << 0;
        // One segment for each window's backing store: the board and the
        // toolbar.
        QTest::newRow("SKEDA_MITSHM=1") << QStringLiteral("1") << 2;
    }

    void updatesGoOverTheConnection()
    {
        QFETCH(QString, keep);
        QFETCH(int, segments);

        QProcessEnvironment extra;
        if (!keep.isEmpty())
            extra.insert(QStringLiteral("SKEDA_MITSHM"), keep);
        QProcess launcher;
        launcher.setProcessChannelMode(QProcess::ForwardedChannels);
        QVERIFY(LauncherProcess::start(launcher, QStringList(), QString(), extra));
        QVERIFY(LauncherProcess::waitForBoard(m_display, launcher));
        QTRY_VERIFY_WITH_TIMEOUT(rootPixel(m_display, 80 + 134 + 27, 932 + 34) != kDesktop, 15000);

        QVERIFY(X11Desktop::drag({{600, 500}, {650, 500}, {700, 500}, {750, 500}, {800, 500}}));
        QTRY_COMPARE_WITH_TIMEOUT(rootPixel(m_display, 700, 500), kPen, 10000);

        const QMap<QString, int> held =
            X11Desktop::resourcesOfProcess(m_display, launcher.processId());
        QVERIFY2(held.value(QStringLiteral("WINDOW")) > 0, "the launcher's client was not found");
        QCOMPARE(held.value(QStringLiteral("ShmSeg")), segments);

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

    // One board per user and display: later launchers hand it their
    // command and answer once it is carried out.
    void commandsDriveTheRunningBoard()
    {
        QProcess board;
        board.setProcessChannelMode(QProcess::ForwardedChannels);
        QVERIFY(LauncherProcess::start(board));
        QVERIFY(LauncherProcess::waitForBoard(m_display, board));

        QCOMPARE(run({QStringLiteral("--eraser")}).status, 0);
        QCOMPARE(run({QStringLiteral("--close")}).status, 0);
        // Answered once done; the X server may take a moment to unmap.
        QTRY_COMPARE(X11Desktop::windowOfProcess(m_display, board.processId(), 1920), 0ul);
        QCOMPARE(board.state(), QProcess::Running);

        // A second skeda shows the first board and ends.
        const Outcome second = run({});
        QCOMPARE(second.status, 0);
        QTRY_VERIFY(X11Desktop::windowOfProcess(m_display, board.processId(), 1920) != 0);

        QCOMPARE(run({QStringLiteral("--toggle")}).status, 0);
        QTRY_COMPARE(X11Desktop::windowOfProcess(m_display, board.processId(), 1920), 0ul);
        QCOMPARE(run({QStringLiteral("--toggle")}).status, 0);
        QTRY_VERIFY(X11Desktop::windowOfProcess(m_display, board.processId(), 1920) != 0);
        for (const char* command : {"--pen", "--desktop", "--undo", "--redo", "--clear", "--show"})
            QCOMPARE(run({QString::fromLatin1(command)}).status, 0);

        const Outcome twice = run({QStringLiteral("--pen"), QStringLiteral("--clear")});
        QCOMPARE(twice.status, 1);
        QCOMPARE(twice.error, QByteArray("skeda: one command at a time (pen, clear)\n"));

        QCOMPARE(run({QStringLiteral("--quit")}).status, 0);
        QVERIFY(board.waitForFinished(10000));
        QCOMPARE(board.exitStatus(), QProcess::NormalExit);
        QCOMPARE(board.exitCode(), 0);
    }

    // On a Wayland desktop the launcher runs the board through XWayland (an
    // X window here) and says once what that leaves out; a screenshot is
    // refused in one line and opens nothing.
    void onAWaylandDesktopItRunsThroughXWayland()
    {
        QProcessEnvironment wayland;
        wayland.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland"));
        wayland.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("skeda-test-none"));
        QProcess board;
        QVERIFY(LauncherProcess::start(board, QStringList(), QString(), wayland));
        QVERIFY(LauncherProcess::waitForBoard(m_display, board));
        QTRY_COMPARE(X11Desktop::windowsOfProcess(m_display, board.processId()).size(), 2);

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(wayland);
        for (int i = 0; i < 2; ++i) {
            const Outcome shot = run({QStringLiteral("--screenshot")}, env);
            QCOMPARE(shot.status, 1);
            QCOMPARE(shot.error,
                     QByteArray("skeda: error this session cannot capture the screen\n"));
        }
        // The toolbar's button: said once, nothing opens.
        QByteArray err;
        const QByteArray refused = "this session cannot capture the screen (on a Wayland desktop";
        QVERIFY(X11Desktop::click(QPoint(80 + 254 + 27, 932 + 34)));
        QTRY_VERIFY_WITH_TIMEOUT((err += board.readAllStandardError()).contains(refused), 10000);
        QVERIFY(X11Desktop::click(QPoint(80 + 254 + 27, 932 + 34)));
        // Only the board and its toolbar: no overlay.
        QCOMPARE(X11Desktop::windowsOfProcess(m_display, board.processId()).size(), 2);

        QCOMPARE(run({QStringLiteral("--quit")}, env).status, 0);
        QVERIFY(board.waitForFinished(10000));
        QCOMPARE(board.exitCode(), 0);
        err += board.readAllStandardError();
        QCOMPARE(err.count(refused), 1);
        QCOMPARE(err.count("skeda: this is a Wayland session; the board runs through XWayland, "
                           "where select desktop passes clicks only to X programs and "
                           "screenshots cannot be taken\n"),
                 1);
    }

    void commandsWithoutABoard()
    {
        for (const char* command : {"--close", "--pen", "--undo", "--clear", "--quit"}) {
            const Outcome outcome = run({QString::fromLatin1(command)});
            QCOMPARE(outcome.status, 1);
            QCOMPARE(outcome.error, QByteArray("skeda: no board is running on this display\n"));
        }
        const Outcome unknown = run({QStringLiteral("--bogus")});
        QCOMPARE(unknown.status, 1);
        QCOMPARE(unknown.error,
                 QByteArray("skeda: Unknown option 'bogus'.\nTry \"skeda --help\".\n"));
    }

    // Neither opens a board, nor needs a display.
    void helpAndVersionWithoutADisplay()
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove(QStringLiteral("DISPLAY"));
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));
        const Outcome help = run({QStringLiteral("--help")}, env);
        QCOMPARE(help.status, 0);
        QVERIFY2(help.output.startsWith("Usage: skeda [options]\n"), help.output.constData());
        for (const char* option :
             {"--show", "--close", "--toggle", "--pen", "--eraser", "--desktop", "--undo", "--redo",
              "--clear", "--screenshot", "--quit", "--version"})
            QVERIFY2(help.output.contains(option), option);
        const Outcome version = run({QStringLiteral("--version")}, env);
        QCOMPARE(version.status, 0);
        QCOMPARE(version.output, QByteArray("skeda 0.1.0\n"));
    }

private:
    struct Outcome
    {
        int status = -1;
        QByteArray output;
        QByteArray error;
    };

    static Outcome run(const QStringList& arguments,
                       const QProcessEnvironment& env = QProcessEnvironment::systemEnvironment())
    {
        QProcess launcher;
        launcher.setProcessEnvironment(env);
        launcher.start(QStringLiteral(SKEDA_LAUNCHER_FILE), arguments);
        Outcome outcome;
        if (!launcher.waitForFinished(30000) || launcher.exitStatus() != QProcess::NormalExit) {
            launcher.kill();
            launcher.waitForFinished();
            return outcome;
        }
        outcome.status = launcher.exitCode();
        outcome.output = launcher.readAllStandardOutput();
        outcome.error = launcher.readAllStandardError();
        return outcome;
    }

    Display* m_display = nullptr;
};

QTEST_GUILESS_MAIN(TestLauncher)
#include "tst_launcher.moc"
