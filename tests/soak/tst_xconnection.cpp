// The X server going away under the `skeda` launcher: the test starts an X
// server of its own, runs the launcher on it, brings the board into a state
// (idle, drawing, desktop mode, pen popup open), kills the server and checks
// that the launcher ends by itself with one clear line on stderr, a non-zero
// exit code and no crash (no core dump: it was not killed by a signal).

#include "tests/support/launcherprocess.h"
#include "tests/support/x11desktop.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <X11/Xlib.h>

#include <memory>

namespace {

// An Xvfb of the test's own, which the test may kill.
class PrivateServer
{
public:
    ~PrivateServer() { stop(); }

    bool start()
    {
        if (!m_dir.isValid())
            return false;
        const QString displayFile = m_dir.filePath(QStringLiteral("display"));
        // Xvfb picks a free display and writes its number to fd 3.
        m_process.start(QStringLiteral("/bin/sh"),
                        {QStringLiteral("-c"),
                         QStringLiteral("exec Xvfb -displayfd 3 -screen 0 1920x1080x24 -nolisten "
                                        "tcp -noreset 3>\"$0\" 2>/dev/null"),
                         displayFile});
        if (!m_process.waitForStarted())
            return false;
        const bool decided = QTest::qWaitFor(
            [&] {
                QFile file(displayFile);
                if (file.open(QIODevice::ReadOnly)) {
                    const QByteArray number = file.readAll().trimmed();
                    if (!number.isEmpty())
                        m_name = QStringLiteral(":") + QString::fromLatin1(number);
                }
                return !m_name.isEmpty() || m_process.state() == QProcess::NotRunning;
            },
            10000);
        return decided && !m_name.isEmpty();
    }

    QString name() const { return m_name; }

    void kill(bool hard)
    {
        if (hard)
            m_process.kill();
        else
            m_process.terminate();
        m_process.waitForFinished(5000);
    }

    void stop()
    {
        if (m_process.state() != QProcess::NotRunning)
            kill(true);
    }

private:
    QTemporaryDir m_dir;
    QProcess m_process;
    QString m_name;
};

bool xdotoolOn(const QString& display, const QStringList& arguments, QProcess* async = nullptr)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DISPLAY"), display);
    if (async) {
        async->setProcessEnvironment(env);
        async->start(QStringLiteral("xdotool"), arguments);
        return async->waitForStarted();
    }
    QProcess xdotool;
    xdotool.setProcessEnvironment(env);
    xdotool.start(QStringLiteral("xdotool"), arguments);
    return xdotool.waitForFinished(10000) && xdotool.exitCode() == 0;
}

QStringList clickAt(int x, int y)
{
    return {QStringLiteral("mousemove"), QString::number(x), QString::number(y),
            QStringLiteral("click"), QStringLiteral("1")};
}

} // namespace

class TestXConnection : public QObject
{
    Q_OBJECT

private slots:
    void serverDies_data()
    {
        QTest::addColumn<QString>("state");
        QTest::addColumn<bool>("hard");
        QTest::newRow("idle, SIGTERM") << QStringLiteral("idle") << false;
        QTest::newRow("idle, SIGKILL") << QStringLiteral("idle") << true;
        QTest::newRow("while drawing") << QStringLiteral("drawing") << true;
        QTest::newRow("in desktop mode") << QStringLiteral("desktop") << true;
        QTest::newRow("pen popup open") << QStringLiteral("popup") << true;
        QTest::newRow("screenshot overlay open") << QStringLiteral("screenshot") << true;
    }

    void serverDies()
    {
        QFETCH(QString, state);
        QFETCH(bool, hard);

        PrivateServer server;
        QVERIFY(server.start());

        QProcess launcher;
        QVERIFY(LauncherProcess::start(launcher, QStringList(), server.name()));

        // The board is up once its window and the toolbar's are mapped and
        // the screen has settled. The test's own connection watches each
        // state come about and is closed again before the server goes.
        std::unique_ptr<Display, int (*)(Display*)> connection(
            XOpenDisplay(qPrintable(server.name())), XCloseDisplay);
        Display* display = connection.get();
        QVERIFY(display);
        QVERIFY(LauncherProcess::waitForBoard(display, launcher));
        QTRY_VERIFY_WITH_TIMEOUT(
            X11Desktop::hasWindow(display, launcher.processId(), QRect(80, 932, 370, 68)), 20000);
        QImage before = X11Desktop::grabSettled(display);

        // The toolbar sits at (80, 932): select at x 181, pen 241, eraser 301,
        // screenshot 361, all at y 966. Each state shows on the screen; the
        // server goes once it does.
        QProcess drawing;
        if (state == QLatin1String("drawing")) {
            QStringList moves{QStringLiteral("mousemove"), QStringLiteral("300"),
                              QStringLiteral("300"), QStringLiteral("mousedown"),
                              QStringLiteral("1")};
            for (int i = 1; i <= 400; ++i) {
                moves << QStringLiteral("mousemove") << QString::number(300 + i * 3)
                      << QString::number(300 + (i % 50) * 4) << QStringLiteral("sleep")
                      << QStringLiteral("0.005");
            }
            QVERIFY(xdotoolOn(server.name(), moves, &drawing));
            // Ink on the screen while the pointer is still moving.
            QTRY_VERIFY_WITH_TIMEOUT(X11Desktop::grabScreen(display) != before, 20000);
            QCOMPARE(drawing.state(), QProcess::Running);
        } else if (state == QLatin1String("desktop")) {
            QVERIFY(xdotoolOn(server.name(), clickAt(181, 966)));
            QTRY_COMPARE_WITH_TIMEOUT(
                X11Desktop::inputShape(
                    display, X11Desktop::windowOfProcess(display, launcher.processId(), 1920))
                    .size(),
                0, 20000);
        } else if (state == QLatin1String("popup")) {
            // The pen is chosen at start: a click on it opens its popup (a
            // second one would close it again).
            QVERIFY(xdotoolOn(server.name(), clickAt(241, 966)));
            // The popup opens above the toolbar.
            const QRect popupZone(80, 700, 400, 230);
            QTRY_VERIFY_WITH_TIMEOUT(
                X11Desktop::grabScreen(display, popupZone) != before.copy(popupZone), 20000);
        } else if (state == QLatin1String("screenshot")) {
            QVERIFY(xdotoolOn(server.name(), clickAt(361, 966)));
            // The overlay covers the screen.
            QTRY_VERIFY_WITH_TIMEOUT(
                X11Desktop::windowsOfProcess(display, launcher.processId()).size() == 3, 20000);
            before = X11Desktop::grabSettled(display);
            QStringList drag{QStringLiteral("mousemove"), QStringLiteral("400"),
                             QStringLiteral("300"),       QStringLiteral("mousedown"),
                             QStringLiteral("1"),         QStringLiteral("mousemove"),
                             QStringLiteral("700"),       QStringLiteral("500"),
                             QStringLiteral("mouseup"),   QStringLiteral("1")};
            QVERIFY(xdotoolOn(server.name(), drag));
            // The selection is drawn.
            QTRY_VERIFY_WITH_TIMEOUT(X11Desktop::grabScreen(display) != before, 20000);
        }
        connection.reset();
        QCOMPARE(launcher.state(), QProcess::Running);

        server.kill(hard);
        QVERIFY2(launcher.waitForFinished(20000), "the launcher did not end");
        drawing.waitForFinished(5000);

        const QByteArray err = launcher.readAllStandardError();
        QCOMPARE(launcher.exitStatus(), QProcess::NormalExit); // no signal, no core dump
        QCOMPARE(launcher.exitCode(), 1);
        QVERIFY2(err.endsWith("skeda: lost the connection to the X display\n"), err.right(400));
    }
};

QTEST_GUILESS_MAIN(TestXConnection)
#include "tst_xconnection.moc"
