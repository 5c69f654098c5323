#include "tests/support/headlesssway.h"
#include "tests/support/launcherprocess.h"
#include "tests/support/virtualpointer.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QRect>
#include <QtTest>

#include <X11/Xlib.h>

namespace {

const QColor kInk(0xF7, 0x38, 0x59);
const QByteArray kFallbackWarning =
    "skeda: this is a Wayland session; the board runs through XWayland, where select desktop "
    "passes clicks only to X programs and screenshots cannot be taken\n";

// The windows that XWayland shows for the process `pid`, as the compositor
// places them.
QVector<QRect> xwaylandWindowsOf(const QJsonValue& node, qint64 pid)
{
    QVector<QRect> found;
    const QJsonObject object = node.toObject();
    if (object.value(QStringLiteral("shell")).toString() == QLatin1String("xwayland") &&
        object.value(QStringLiteral("pid")).toInt() == pid) {
        const QJsonObject rect = object.value(QStringLiteral("rect")).toObject();
        found.append(QRect(rect.value(QStringLiteral("x")).toInt(),
                           rect.value(QStringLiteral("y")).toInt(),
                           rect.value(QStringLiteral("width")).toInt(),
                           rect.value(QStringLiteral("height")).toInt()));
    }
    for (const char* children : {"nodes", "floating_nodes"}) {
        const QJsonArray array = object.value(QString::fromLatin1(children)).toArray();
        for (const QJsonValue& child : array)
            found += xwaylandWindowsOf(child, pid);
    }
    return found;
}

bool inkNear(const QImage& image, const QPoint& centre)
{
    for (int dy = -2; dy <= 2; ++dy) {
        for (int dx = -2; dx <= 2; ++dx) {
            if (image.pixelColor(centre + QPoint(dx, dy)) == kInk)
                return true;
        }
    }
    return false;
}

// Where XWayland has the pointer, and whether its left button is down: it
// follows the compositor's pointer once that is over one of its windows.
struct PointerState
{
    QPoint pos;
    bool down = false;
    bool operator==(const PointerState& other) const
    {
        return pos == other.pos && down == other.down;
    }
};

PointerState xPointer(Display* display)
{
    Window root = 0;
    Window child = 0;
    int rootX = -1;
    int rootY = -1;
    int x = 0;
    int y = 0;
    unsigned int mask = 0;
    XQueryPointer(display, DefaultRootWindow(display), &root, &child, &rootX, &rootY, &x, &y,
                  &mask);
    return PointerState{QPoint(rootX, rootY), (mask & Button1Mask) != 0};
}

} // namespace

// The launcher on a real Wayland desktop (sway, headless) that has no board
// of its own for it: the board runs through XWayland, covers the output,
// shows the desktop through, and draws under the compositor's pointer.
class TestWayland : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(HeadlessSway::available(),
                 "sway, swaymsg, grim, xhost and setpriv are needed (scripts/install-deps.sh)");
        QString error;
        QVERIFY2(m_sway.start(&error), qPrintable(error));
        QVERIFY(LauncherProcess::start(m_board, QStringList(), QString(), m_sway.environment()));
    }

    void cleanupTestCase()
    {
        m_pointer.finish();
        if (m_board.state() != QProcess::NotRunning) {
            QProcess quit;
            quit.setProcessEnvironment(m_sway.environment());
            quit.start(QStringLiteral(SKEDA_LAUNCHER_FILE), {QStringLiteral("--quit")});
            quit.waitForFinished(10000);
            if (!m_board.waitForFinished(10000))
                m_board.kill();
        }
    }

    void theBoardCoversTheOutputThroughXWayland()
    {
        const QRect output(QPoint(0, 0), m_sway.size());
        QVector<QRect> windows;
        QTRY_VERIFY_WITH_TIMEOUT(
            (windows = xwaylandWindowsOf(m_sway.tree().object(), m_board.processId())).size() == 2,
            20000);
        QVERIFY(windows.contains(output));
        const QRect toolbar = windows.at(windows.at(0) == output ? 1 : 0);
        QVERIFY(output.contains(toolbar));
        QVERIFY(toolbar.width() < output.width());

        // Transparent where nothing is drawn: the desktop's colour, exactly,
        // in every corner; the toolbar is painted over it.
        QImage picture;
        QTRY_VERIFY_WITH_TIMEOUT(!(picture = m_sway.grab()).isNull() &&
                                     picture.pixelColor(toolbar.center()) !=
                                         HeadlessSway::background(),
                                 10000);
        QCOMPARE(picture.size(), m_sway.size());
        for (const QPoint& corner :
             {QPoint(5, 5), QPoint(output.right() - 5, 5), QPoint(5, output.bottom() - 5),
              QPoint(output.right() - 5, output.bottom() - 5)})
            QCOMPARE(picture.pixelColor(corner), HeadlessSway::background());

        QByteArray err;
        QTRY_VERIFY((err += m_board.readAllStandardError()).contains(kFallbackWarning));
        QCOMPARE(err.count(kFallbackWarning), 1);
    }

    // A drag of the compositor's own pointer reaches the board and leaves a
    // stroke in the pen's colour along its way.
    void aDragDrawsAStroke()
    {
        const QPoint from(200, 200);
        const QPoint to(500, 300);
        const QPoint along(260, 220); // on the way from `from` to `to`
        QVERIFY(!inkNear(m_sway.grab(), along));
        QVERIFY(m_pointer.start(m_sway.environment(), m_sway.size()));
        // Each step is let through XWayland before the next: the board must
        // have the pointer before the press, or the press goes to nobody,
        // and moves that arrive together are merged into one.
        Display* display = XOpenDisplay(qPrintable(m_sway.environment().value("DISPLAY")));
        QVERIFY(display);
        auto step = [&](const QPoint& to, bool down) {
            m_pointer.move(to);
            if (down != xPointer(display).down) {
                if (down)
                    m_pointer.press();
                else
                    m_pointer.release();
            }
            return m_pointer.sync() && QTest::qWaitFor(
                                           [&] {
                                               return xPointer(display) == PointerState{to, down};
                                           },
                                           10000);
        };
        QVERIFY(step(from, false));
        QVERIFY(step(from, true));
        for (int i = 1; i <= 30; ++i)
            QVERIFY(step(from + (to - from) * i / 30, true));
        QVERIFY(step(to, false));
        XCloseDisplay(display);
        QTRY_VERIFY_WITH_TIMEOUT(inkNear(m_sway.grab(), along), 10000);
        // Away from the line the desktop still shows.
        QCOMPARE(m_sway.grab().pixelColor(along + QPoint(0, 60)), HeadlessSway::background());
    }

    // XWayland hands out black pictures of the screen: the launcher's
    // screenshot command is refused in one line, and the board goes on.
    void aScreenshotIsRefused()
    {
        for (int i = 0; i < 2; ++i) {
            QProcess shot;
            shot.setProcessEnvironment(m_sway.environment());
            shot.start(QStringLiteral(SKEDA_LAUNCHER_FILE), {QStringLiteral("--screenshot")});
            QVERIFY(shot.waitForFinished(20000));
            QCOMPARE(shot.exitCode(), 1);
            QCOMPARE(shot.readAllStandardError(),
                     QByteArray("skeda: error this session cannot capture the screen\n"));
        }
        QCOMPARE(xwaylandWindowsOf(m_sway.tree().object(), m_board.processId()).size(), 2);
        QCOMPARE(m_board.state(), QProcess::Running);
    }

private:
    HeadlessSway m_sway;
    QProcess m_board;
    VirtualPointer m_pointer;
};

QTEST_MAIN(TestWayland)
#include "tst_wayland.moc"
