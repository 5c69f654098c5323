#include "tests/support/headlesssway.h"
#include "tests/support/launcherprocess.h"
#include "tests/support/virtualpointer.h"

#include "common/common.h"

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

// Where the tests park the pointer, whose picture the headless output shows:
// its last pixel (the arrow's outline reaches three pixels into the output).
QPoint parked(const QSize& output)
{
    return QPoint(output.width() - 1, output.height() - 1);
}

// The box of what differs from the desktop's colour in the picture, but for
// the parked pointer.
QRect drawnArea(const QImage& image)
{
    const QRect pointer(parked(image.size()) - QPoint(3, 3), QSize(4, 4));
    QRect box;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (!pointer.contains(x, y) && image.pixelColor(x, y) != HeadlessSway::background())
                box |= QRect(x, y, 1, 1);
        }
    }
    return box;
}

// The desktop's colour under the screenshot overlay's dimming mask, RGBA
// (115, 115, 115, 200), within the compositor's rounding.
bool isDimmed(const QColor& seen)
{
    const QColor desktop = HeadlessSway::background();
    const auto over = [](int below) {
        return (115 * 200 + below * (255 - 200)) / 255.0;
    };
    return qAbs(seen.red() - over(desktop.red())) <= 2 &&
           qAbs(seen.green() - over(desktop.green())) <= 2 &&
           qAbs(seen.blue() - over(desktop.blue())) <= 2;
}

// The box of the white pixels in the 150 rows below row `row`: the
// screenshot overlay's confirm bar once it shows (or the prompt's white text
// before), and not the toolbar further down.
QRect whiteBelow(const QImage& image, int row)
{
    QRect box;
    for (int y = row + 1; y < qMin(image.height(), row + 151); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y) == QColor(Qt::white))
                box |= QRect(x, y, 1, 1);
        }
    }
    return box;
}

// The number of pixels of `area` in the pen's colour.
int inkPixels(const QImage& image, const QRect& area)
{
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            count += image.pixelColor(x, y) == kInk ? 1 : 0;
    }
    return count;
}

// The number of pixels of `area` that are not the desktop's colour.
int differentPixels(const QImage& image, const QRect& area)
{
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            count += image.pixelColor(x, y) != HeadlessSway::background() ? 1 : 0;
    }
    return count;
}

// The box of the pixels of `area` in `colour`.
QRect boxOf(const QImage& image, const QRect& area, const QColor& colour)
{
    QRect box;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (image.pixelColor(x, y) == colour)
                box |= QRect(x, y, 1, 1);
        }
    }
    return box;
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

// The launcher on a real Wayland desktop (sway, headless). Where the
// compositor offers the layer shell the board is native: it covers the
// output, shows the desktop through, draws under the compositor's pointer,
// keeps its toolbar above it and, in desktop mode, lets clicks through to a
// native window below. Asked to, or where it cannot be native, it runs
// through XWayland and says so.
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
        // The pointer exists before any board: a client binds its pointer
        // when the seat announces one, and input sent before that is lost.
        QVERIFY(m_pointer.start(m_sway.environment(), m_sway.size()));
        m_pointer.move(parked(m_sway.size()));
        QVERIFY(m_pointer.sync());
    }

    void cleanup()
    {
        if (m_counter.state() != QProcess::NotRunning) {
            m_counter.kill();
            m_counter.waitForFinished();
        }
    }

    void cleanupTestCase()
    {
        quitBoard();
        m_pointer.finish();
    }

    // --- The native board -------------------------------------------------

    void theNativeBoardCoversTheOutput()
    {
        QVERIFY(startBoard(QProcessEnvironment()));
        // Layer surfaces, not windows of XWayland.
        QCOMPARE(xwaylandWindowsOf(m_sway.tree().object(), m_board.processId()).size(), 0);

        // The desktop's colour wherever nothing is drawn; the toolbar where
        // the board places it, at the output's lower left.
        QImage picture;
        QTRY_VERIFY_WITH_TIMEOUT(
            !(picture = m_sway.grab()).isNull() && !drawnArea(picture).isEmpty(), 20000);
        Common::getInstance()->InitSize(m_sway.size());
        const int margin = Common::getInstance()->getNewSize(80);
        const QRect toolbar = drawnArea(picture);
        QVERIFY2(qAbs(toolbar.left() - margin) <= 4, qPrintable(QString::number(toolbar.left())));
        QVERIFY2(qAbs(toolbar.bottom() - (m_sway.size().height() - margin - 1)) <= 4,
                 qPrintable(QString::number(toolbar.bottom())));
        QVERIFY(toolbar.width() < m_sway.size().width() / 2);
        QCOMPARE(picture.pixelColor(5, 5), HeadlessSway::background());
        QCOMPARE(picture.pixelColor(m_sway.size().width() - 5, 5), HeadlessSway::background());
        m_toolbar = toolbar;
        // No warning: nothing is left out.
        QCOMPARE(m_board.readAllStandardError().count("XWayland"), 0);
    }

    void aDragDrawsOnTheNativeBoard()
    {
        QVERIFY(m_board.state() == QProcess::Running);
        const QPoint from(200, 200);
        const QPoint to(500, 300);
        const QPoint along(260, 220);
        QVERIFY(!inkNear(m_sway.grab(), along));
        QVERIFY(dragInSteps(from, to));
        QTRY_VERIFY_WITH_TIMEOUT(inkNear(m_sway.grab(), along), 10000);
        QCOMPARE(m_sway.grab().pixelColor(along + QPoint(0, 60)), HeadlessSway::background());
    }

    // Select desktop (the toolbar's second button) empties the board's input
    // region: a click reaches the native window below, the drawing stays;
    // the pen (third button) takes input back.
    void desktopModePassesClicksToANativeWindow()
    {
        QVERIFY(m_board.state() == QProcess::Running);
        QVERIFY(!m_toolbar.isEmpty());
        m_counter.setProcessEnvironment(m_sway.environment());
        m_counter.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_counter.start(QStringLiteral(SKEDA_CLICK_COUNTER_FILE), QStringList());
        QVERIFY(m_counter.waitForStarted());
        QByteArray out;
        QTRY_VERIFY_WITH_TIMEOUT((out += m_counter.readAllStandardOutput()).contains("ready\n"),
                                 20000);
        // Tiled under the board; its colour shows through.
        QTRY_VERIFY_WITH_TIMEOUT(m_sway.grab().pixelColor(900, 500) == QColor(0x20, 0x90, 0x40),
                                 10000);

        const QPoint free(900, 500);
        QVERIFY(click(free)); // the pen: the board takes it
        QVERIFY(click(toolbarButton(1)));
        // The board's new input region counts from its next frame: the
        // pointer is moved about until the window below has it.
        QVERIFY(pointerReaches(&out, "enter\n", free));
        QVERIFY(click(free));
        QTRY_VERIFY_WITH_TIMEOUT((out += m_counter.readAllStandardOutput()).contains("click "),
                                 10000);
        QCOMPARE(out.count("click "), 1);
        // The stroke drawn before is still in the picture.
        QVERIFY(inkNear(m_sway.grab(), QPoint(260, 220)));

        QVERIFY(click(toolbarButton(2)));
        const QPoint dot = free + QPoint(40, 0);
        QVERIFY(pointerReaches(&out, "leave\n", dot));
        QVERIFY(click(dot));
        // The pointer's picture would hide the dot.
        m_pointer.move(parked(m_sway.size()));
        QVERIFY(m_pointer.sync());
        // The board has the click again: a dot where it fell, and no click
        // for the window below.
        QTRY_VERIFY_WITH_TIMEOUT(inkNear(m_sway.grab(), dot), 10000);
        QVERIFY(readCounter(&out));
        QCOMPARE(out.count("click "), 1);
    }

    // The pen's second click opens the pen settings above the toolbar; the
    // eraser's the clear panel. Both are drawn in the board's own surface,
    // where the toolbar's place says.
    void thePopupsOpenAboveTheToolbar()
    {
        QVERIFY(m_board.state() == QProcess::Running);
        QVERIFY(!m_toolbar.isEmpty());
        const QPoint pen = toolbarButton(2);
        const QPoint overPen(pen.x(), m_toolbar.top() - 45);
        QCOMPARE(m_sway.grab().pixelColor(overPen), HeadlessSway::background());
        QVERIFY(click(pen)); // the pen is chosen: its popup opens
        m_pointer.move(parked(m_sway.size()));
        QVERIFY(m_pointer.sync());
        QTRY_COMPARE_WITH_TIMEOUT(m_sway.grab().pixelColor(overPen), QColor(Qt::white), 10000);
        saveForDocs(QStringLiteral("wayland-pen-popup.png"));
        QVERIFY(click(pen));
        QTRY_COMPARE_WITH_TIMEOUT(m_sway.grab().pixelColor(overPen), HeadlessSway::background(),
                                  10000);

        const QPoint eraser = toolbarButton(3);
        const QPoint overEraser(eraser.x(), m_toolbar.top() - 40);
        QVERIFY(click(eraser));
        QVERIFY(click(eraser));
        m_pointer.move(parked(m_sway.size()));
        QVERIFY(m_pointer.sync());
        QTRY_VERIFY_WITH_TIMEOUT(m_sway.grab().pixelColor(overEraser) != HeadlessSway::background(),
                                 10000);
        saveForDocs(QStringLiteral("wayland-clear-panel.png"));
        QVERIFY(click(pen));
    }

    // The eraser (the toolbar's third button) cuts the stroke where it is
    // dragged across; a second click on it opens the clear panel, whose
    // handle slid to the far end clears the board.
    void erasingAndSlideToClearWorkOnTheNativeBoard()
    {
        QVERIFY(m_board.state() == QProcess::Running);
        QVERIFY(!m_toolbar.isEmpty());
        // The stroke of the drag test runs from (200, 200) to (500, 300).
        const QRect cut(346, 225, 9, 50);
        QVERIFY(inkNear(m_sway.grab(), QPoint(350, 250)));
        QVERIFY(click(toolbarButton(3)));
        QVERIFY(dragInSteps(QPoint(350, 170), QPoint(350, 330)));
        m_pointer.move(parked(m_sway.size()));
        QVERIFY(m_pointer.sync());
        QTRY_COMPARE_WITH_TIMEOUT(inkPixels(m_sway.grab(), cut), 0, 10000);
        const QImage erased = m_sway.grab();
        QCOMPARE(differentPixels(erased, cut), 0);
        // Both pieces stay.
        QVERIFY(inkNear(erased, QPoint(260, 220)));
        QVERIFY(inkNear(erased, QPoint(440, 280)));

        QVERIFY(click(toolbarButton(3)));
        m_pointer.move(parked(m_sway.size()));
        QVERIFY(m_pointer.sync());
        // The slider's track, in its fill colour, with the handle at its
        // left end, above the toolbar.
        const QRect panelZone(0, m_toolbar.top() - 150, m_sway.size().width() / 2, 150);
        QRect track;
        QTRY_VERIFY_WITH_TIMEOUT(
            (track = boxOf(m_sway.grab(), panelZone, QColor(238, 238, 238))).width() > 150, 10000);
        QVERIFY(inkPixels(m_sway.grab(), QRect(QPoint(0, 0), m_sway.size())) > 0);
        const QPoint grip(track.left() + 30, track.top() + 18);
        QVERIFY(dragInSteps(grip, grip + QPoint(track.width() + 40, 0)));
        m_pointer.move(parked(m_sway.size()));
        QVERIFY(m_pointer.sync());
        QTRY_COMPARE_WITH_TIMEOUT(inkPixels(m_sway.grab(), QRect(QPoint(0, 0), m_sway.size())), 0,
                                  10000);
        // Nothing but the toolbar and its panel differs from the desktop.
        QVERIFY(m_toolbar.united(panelZone).contains(drawnArea(m_sway.grab())));
        QVERIFY(click(toolbarButton(2)));
    }

    // The logo drags the toolbar about: where the pointer lets it go, the
    // bar lies with the logo under the pointer as at the press.
    void theToolbarGoesWhereItsLogoIsDragged()
    {
        QVERIFY(m_board.state() == QProcess::Running);
        QVERIFY(!m_toolbar.isEmpty());
        m_pointer.move(parked(m_sway.size()));
        QVERIFY(m_pointer.sync());
        QTRY_COMPARE_WITH_TIMEOUT(drawnArea(m_sway.grab()), m_toolbar, 10000);
        const Common* common = Common::getInstance();
        const QPoint logo = toolbarButton(1) - QPoint(common->getNewSize(60), 0);
        const QPoint by(300, -200);
        QVERIFY(dragInSteps(logo, logo + by));
        m_pointer.move(parked(m_sway.size()));
        QVERIFY(m_pointer.sync());
        QTRY_COMPARE_WITH_TIMEOUT(drawnArea(m_sway.grab()), m_toolbar.translated(by), 10000);
        // The drag neither folded the bar nor left it unusable: back again.
        QVERIFY(dragInSteps(logo + by, logo));
        m_pointer.move(parked(m_sway.size()));
        QVERIFY(m_pointer.sync());
        QTRY_COMPARE_WITH_TIMEOUT(drawnArea(m_sway.grab()), m_toolbar, 10000);
    }

    // The launcher's screenshot command opens the overlay over the whole
    // output, which dims the desktop.
    void theScreenshotCommandOpensTheOverlayOnTheNativeBoard()
    {
        QVERIFY(m_board.state() == QProcess::Running);
        QCOMPARE(m_sway.grab().pixelColor(5, 5), HeadlessSway::background());
        QCOMPARE(runCommand(QStringLiteral("--screenshot")), 0);
        QCOMPARE(m_lastError, QByteArray());
        QTRY_VERIFY_WITH_TIMEOUT(isDimmed(m_sway.grab().pixelColor(5, 5)), 10000);
        quitBoard();
    }

    // A screenshot taken on the native board is the compositor's own
    // picture of the selected region: the pixels grim gets of it, exactly.
    void aScreenshotOnTheNativeBoardIsTheCompositorsPicture()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString file = dir.filePath(QStringLiteral("shot.png"));
        QProcess host;
        host.setProcessEnvironment(m_sway.environment());
        host.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        host.start(QStringLiteral(SKEDA_SHOT_HOST_FILE), {file});
        QVERIFY(host.waitForStarted());
        QByteArray out;
        QTRY_VERIFY_WITH_TIMEOUT((out += host.readAllStandardOutput()).contains("ready\n"), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(!drawnArea(m_sway.grab()).isEmpty(), 20000);

        QVERIFY(dragInSteps(QPoint(300, 150), QPoint(600, 250)));
        m_pointer.move(parked(m_sway.size()));
        QVERIFY(m_pointer.sync());
        // The stroke as the board leaves it once it has had the release.
        QByteArray synced;
        host.write("sync\n");
        QTRY_VERIFY_WITH_TIMEOUT((synced += host.readAllStandardOutput()).contains("synced\n"),
                                 10000);
        // Two pictures in a row alike: the output has settled.
        QImage before = m_sway.grab();
        const auto settled = [&] {
            const QImage next = m_sway.grab();
            const bool same = next == before;
            before = next;
            return same && inkNear(before, QPoint(450, 200));
        };
        QTRY_VERIFY_WITH_TIMEOUT(settled(), 10000);

        QVERIFY(click(toolbarButton(4)));
        QTRY_VERIFY_WITH_TIMEOUT(isDimmed(m_sway.grab().pixelColor(5, 5)), 10000);
        // The first drag selects from its press to its release, both
        // included; the confirm bar then shows centred under the selection,
        // its confirm button on the right. Until the overlay has had the
        // drag, the white below the selection is the prompt's text: the bar
        // is known by its place and size.
        const QRect selection(QPoint(250, 100), QPoint(700, 350));
        QVERIFY(dragInSteps(selection.topLeft(), selection.bottomRight()));
        m_pointer.move(parked(m_sway.size()));
        QVERIFY(m_pointer.sync());
        const Common* common = Common::getInstance();
        const QSize barSize = common->getNewSize(136, 82);
        const QRect bar(
            QPoint(selection.left() +
                       ((selection.right() - selection.left()) - (barSize.width() - 1)) / 2,
                   selection.bottom() + common->getNewSize(15)),
            barSize);
        QTRY_COMPARE_WITH_TIMEOUT(whiteBelow(m_sway.grab(), selection.bottom()), bar, 10000);
        saveForDocs(QStringLiteral("wayland-screenshot.png"));
        QVERIFY(click(QPoint(bar.right() - bar.width() / 4, bar.center().y())));
        QTRY_VERIFY_WITH_TIMEOUT((out += host.readAllStandardOutput()).contains("shot "), 10000);
        QCOMPARE(out.mid(out.indexOf("shot ")), QByteArray("shot ") +
                                                    QByteArray::number(selection.width()) + ' ' +
                                                    QByteArray::number(selection.height()) + '\n');
        const QImage shot = QImage(file).convertToFormat(QImage::Format_RGB32);
        const QImage expected = before.copy(selection).convertToFormat(QImage::Format_RGB32);
        if (shot != expected) {
            shot.save(QDir::temp().filePath(QStringLiteral("tst_wayland-shot.png")));
            expected.save(QDir::temp().filePath(QStringLiteral("tst_wayland-expected.png")));
        }
        QCOMPARE(shot, expected);
        // The host ends cleanly: nothing of the capture is left over (the
        // sanitizer build checks for leaks at the exit).
        host.write("quit\n");
        QVERIFY(host.waitForFinished(30000));
        QCOMPARE(host.exitStatus(), QProcess::NormalExit);
        QCOMPARE(host.exitCode(), 0);
    }

    // --- Through XWayland -------------------------------------------------

    void theBoardCoversTheOutputThroughXWayland()
    {
        QProcessEnvironment xwayland;
        xwayland.insert(QStringLiteral("SKEDA_WAYLAND_BOARD"), QStringLiteral("xwayland"));
        QVERIFY(startBoard(xwayland));
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
    void aDragDrawsThroughXWayland()
    {
        QVERIFY(m_board.state() == QProcess::Running);
        const QPoint from(200, 200);
        const QPoint to(500, 300);
        const QPoint along(260, 220); // on the way from `from` to `to`
        QVERIFY(!inkNear(m_sway.grab(), along));
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
    void aScreenshotIsRefusedThroughXWayland()
    {
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(runCommand(QStringLiteral("--screenshot")), 1);
            QCOMPARE(m_lastError,
                     QByteArray("skeda: error this session cannot capture the screen\n"));
        }
        QCOMPARE(xwaylandWindowsOf(m_sway.tree().object(), m_board.processId()).size(), 2);
        QCOMPARE(m_board.state(), QProcess::Running);
        quitBoard();
    }

private:
    bool startBoard(const QProcessEnvironment& extra)
    {
        QProcessEnvironment env = m_sway.environment();
        env.insert(extra);
        if (!LauncherProcess::start(m_board, QStringList(), QString(), env))
            return false;
        m_boardEnv = env;
        // Ready once it answers commands; --pen, unlike --show, starts no
        // board of its own while none answers.
        return QTest::qWaitFor([&] { return runCommand(QStringLiteral("--pen")) == 0; }, 20000);
    }

    // The launcher with one command, to the running board; its exit status.
    int runCommand(const QString& command)
    {
        QProcess process;
        process.setProcessEnvironment(m_boardEnv);
        process.start(QStringLiteral(SKEDA_LAUNCHER_FILE), {command});
        if (!process.waitForFinished(20000))
            return -1;
        m_lastError = process.readAllStandardError();
        return process.exitCode();
    }

    void quitBoard()
    {
        if (m_board.state() == QProcess::NotRunning)
            return;
        runCommand(QStringLiteral("--quit"));
        if (!m_board.waitForFinished(10000)) {
            m_board.kill();
            m_board.waitForFinished();
        }
    }

    // The centre of the toolbar's small button `index` (1 select desktop, 2
    // pen, 3 eraser, ...) where the board places the toolbar: its lower left
    // corner 80 from the output's, a 68-pixel logo, then 54-pixel buttons
    // with gaps of 6, centred on the logo's height; all scaled.
    QPoint toolbarButton(int index) const
    {
        const Common* common = Common::getInstance();
        const int left = common->getNewSize(80);
        const int top = m_sway.size().height() - common->getNewSize(80) - common->getNewSize(68);
        const int x = left + common->getNewSize(68) + common->getNewSize(6) +
                      (index - 1) * (common->getNewSize(54) + common->getNewSize(6)) +
                      common->getNewSize(54) / 2;
        return QPoint(x, top + common->getNewSize(68) / 2);
    }

    // With SKEDA_DOCS_DIR set, the output as it is now goes to the docs.
    void saveForDocs(const QString& name) const
    {
        const QString dir = qEnvironmentVariable("SKEDA_DOCS_DIR");
        if (!dir.isEmpty())
            QVERIFY(m_sway.grab().save(dir + QLatin1Char('/') + name));
    }

    // A click that the compositor has handed on before the next request.
    bool click(const QPoint& at)
    {
        m_pointer.move(at);
        if (!m_pointer.sync())
            return false;
        m_pointer.press();
        if (!m_pointer.sync())
            return false;
        m_pointer.release();
        return m_pointer.sync();
    }

    // Everything the click counter has said up to now, once it has handled
    // every event the compositor sent it before this call.
    bool readCounter(QByteArray* out)
    {
        m_counter.write("sync\n");
        return QTest::qWaitFor(
            [&] {
                *out += m_counter.readAllStandardOutput();
                const int synced = out->indexOf("synced\n");
                if (synced < 0)
                    return false;
                out->remove(synced, int(qstrlen("synced\n")));
                return true;
            },
            10000);
    }

    // Moves the pointer to and fro by a pixel about `at` until the click
    // counter's last word on the pointer is `line` ("enter" or "leave");
    // the pointer is left at `at`.
    bool pointerReaches(QByteArray* out, const QByteArray& line, const QPoint& at)
    {
        bool left = false;
        const bool reached = QTest::qWaitFor(
            [&] {
                left = !left;
                m_pointer.move(at + QPoint(left ? -1 : 0, 0));
                if (!m_pointer.sync() || !readCounter(out))
                    return false;
                const int enter = out->lastIndexOf("enter\n");
                const int leave = out->lastIndexOf("leave\n");
                return line == "enter\n" ? enter > leave : leave > enter;
            },
            10000);
        m_pointer.move(at);
        return reached && m_pointer.sync();
    }

    // A drag in steps of 10 pixels, each handed on by the compositor before
    // the next: moves that reach the board together are one.
    bool dragInSteps(const QPoint& from, const QPoint& to)
    {
        m_pointer.move(from);
        m_pointer.press();
        if (!m_pointer.sync())
            return false;
        for (int i = 1; i <= 30; ++i) {
            m_pointer.move(from + (to - from) * i / 30);
            if (!m_pointer.sync())
                return false;
        }
        m_pointer.release();
        return m_pointer.sync();
    }

    HeadlessSway m_sway;
    VirtualPointer m_pointer;
    QProcess m_board;
    QProcess m_counter;
    QProcessEnvironment m_boardEnv;
    QByteArray m_lastError;
    QRect m_toolbar;
};

QTEST_MAIN(TestWayland)
#include "tst_wayland.moc"
