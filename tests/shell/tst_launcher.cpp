// The `skeda` launcher as a user starts it, checked from outside through the
// X server: its window, its frame and what the screen shows.

#include "tests/support/x11desktop.h"

#include <QProcess>
#include <QtTest>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

constexpr unsigned long kDesktop = 0x3B6EA5;

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
        launcher.start(QStringLiteral(SKEDA_LAUNCHER_FILE), QStringList());
        QVERIFY(launcher.waitForStarted());

        // The board, not the toolbar (370 wide), which may be mapped first.
        Window board = 0;
        QTRY_VERIFY_WITH_TIMEOUT(
            (board = X11Desktop::windowOfProcess(m_display, launcher.processId(), 1920)) != 0,
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
