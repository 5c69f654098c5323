// The session the board runs in: which environments make a Wayland session,
// and where a screen picture can be taken.

#include "common/desktopsession.h"

#include <QGuiApplication>
#include <QtTest>

class TestDesktopSession : public QObject
{
    Q_OBJECT

private slots:
    void waylandSession_data()
    {
        QTest::addColumn<QByteArray>("sessionType");
        QTest::addColumn<QByteArray>("waylandDisplay");
        QTest::addColumn<bool>("wayland");
        QTest::newRow("nothing set") << QByteArray() << QByteArray() << false;
        QTest::newRow("X11 session") << QByteArray("x11") << QByteArray() << false;
        QTest::newRow("Wayland session")
            << QByteArray("wayland") << QByteArray("wayland-0") << true;
        QTest::newRow("Wayland session, no display named")
            << QByteArray("wayland") << QByteArray() << true;
        QTest::newRow("a display named, no session type")
            << QByteArray() << QByteArray("wayland-1") << true;
        // The session type decides: a WAYLAND_DISPLAY left over in an X11
        // session's environment does not make it a Wayland one.
        QTest::newRow("X11 session, a display named")
            << QByteArray("x11") << QByteArray("wayland-0") << false;
        QTest::newRow("TTY session") << QByteArray("tty") << QByteArray() << false;
    }

    void waylandSession()
    {
        QFETCH(QByteArray, sessionType);
        QFETCH(QByteArray, waylandDisplay);
        QFETCH(bool, wayland);
        QCOMPARE(DesktopSession::isWaylandFor(sessionType, waylandDisplay), wayland);
    }

    void thisProcessFollowsItsEnvironment()
    {
        qputenv("XDG_SESSION_TYPE", "wayland");
        QVERIFY(DesktopSession::isWayland());
        qputenv("XDG_SESSION_TYPE", "x11");
        QVERIFY(!DesktopSession::isWayland());
    }

    void screenCapture_data()
    {
        QTest::addColumn<QString>("platform");
        QTest::addColumn<bool>("waylandSession");
        QTest::addColumn<bool>("capture");
        QTest::newRow("X11 on an X11 desktop") << QStringLiteral("xcb") << false << true;
        QTest::newRow("XWayland") << QStringLiteral("xcb") << true << false;
        QTest::newRow("Wayland") << QStringLiteral("wayland") << true << false;
        QTest::newRow("Wayland with EGL") << QStringLiteral("wayland-egl") << true << false;
        QTest::newRow("offscreen") << QStringLiteral("offscreen") << false << true;
        QTest::newRow("offscreen in a Wayland session")
            << QStringLiteral("offscreen") << true << true;
    }

    void screenCapture()
    {
        QFETCH(QString, platform);
        QFETCH(bool, waylandSession);
        QFETCH(bool, capture);
        QCOMPARE(DesktopSession::canCaptureScreenOn(platform, waylandSession), capture);
    }

    void thisApplication()
    {
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("offscreen"));
        QVERIFY(!DesktopSession::onWaylandPlatform());
        qputenv("XDG_SESSION_TYPE", "wayland");
        QVERIFY(DesktopSession::canCaptureScreen());
        qputenv("XDG_SESSION_TYPE", "x11");
        QVERIFY(DesktopSession::canCaptureScreen());
    }
};

QTEST_MAIN(TestDesktopSession)
#include "tst_desktopsession.moc"
