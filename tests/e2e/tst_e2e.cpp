// One session with the board, end to end, as a user has it: the example host
// skeda-host runs as a separate process on a composited X server and opens
// the board over a desktop with a window on it; real pointer input (XTEST,
// through xdotool) draws, erases, picks a colour in the pen popup, slides to
// clear, clicks through the board in desktop mode, takes a screenshot of a
// region, opens the board again from the host's window and closes it. Every
// step is checked on the screen as the X server shows it, and the screenshot
// on disk against what the screen showed.
//
// Touch is not driven here: XTEST has no touch devices. Several fingers at
// once are covered by the pen's unit tests, which send touch events through
// Qt's window system interface.
//
// With SKEDA_DOCS_DIR set, the run also writes the pictures docs/e2e-*.png.

#include "tests/support/desktopwindow.h"
#include "tests/support/x11desktop.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>
#include <QWidget>
#include <QtTest>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <cmath>

namespace {

// The board's input shape while it takes input: the whole 1920 x 1080 screen.
const QVector<QRect> kWholeBoard{QRect(0, 0, 1920, 1080)};

constexpr unsigned long kDesktop = 0x2F4858;
const QColor kDefaultPen(0xF7, 0x38, 0x59);
const QColor kTeal(0x00, 0xB8, 0xA9);

// The toolbar at 1920 x 1080: its top-left corner and the centres of its
// buttons (54 x 54, their row 7 pixels below the bar's top).
const QPoint kBar(80, 932);
QPoint button(int x)
{
    return kBar + QPoint(x + 27, 7 + 27);
}
const QPoint kSelectButton = button(74);
const QPoint kPenButton = button(134);
const QPoint kEraserButton = button(194);
const QPoint kShotButton = button(254);
const QPoint kCloseButton = button(314);
// The toolbar and the pop-ups that open above it.
const QRect kToolZone(0, 700, 560, 380);

// A window on the desktop, below the board: a gradient in which
// neighbouring pixels differ, a title, and a ring wherever it was clicked.
class PaperWindow : public DesktopWindow
{
public:
    PaperWindow()
        : DesktopWindow(QRect(1100, 150, 720, 480))
    {
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        // Light paper whose neighbouring pixels differ, so that a picture
        // off by one pixel shows.
        QImage paper(size(), QImage::Format_RGB32);
        for (int y = 0; y < paper.height(); ++y) {
            auto* line = reinterpret_cast<QRgb*>(paper.scanLine(y));
            for (int x = 0; x < paper.width(); ++x)
                line[x] = qRgb(236 + (x & 7), 238 + (y & 7), 240 + ((x + y) & 7));
        }
        painter.drawImage(0, 0, paper);
        painter.fillRect(QRect(0, 0, width(), 44), QColor(0x33, 0x3D, 0x4A));
        painter.setPen(Qt::white);
        QFont font;
        font.setPixelSize(20);
        painter.setFont(font);
        painter.drawText(QRect(16, 0, width() - 32, 44), Qt::AlignVCenter,
                         QStringLiteral("A window on the desktop"));
        // Lines of "text".
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0xB8, 0xC2, 0xCE));
        for (int i = 0; 80 + i * 36 < height() - 30; ++i)
            painter.drawRoundedRect(
                QRect(32, 80 + i * 36, (width() - 64) * (10 - (i * 3) % 5) / 10, 12), 6, 6);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(QColor(0x1B, 0x5E, 0x20), 4));
        for (const QPoint& p : presses)
            painter.drawEllipse(mapFromGlobal(p), 16, 16);
    }
};

// A stroke from x0 to x1 around the line y0, following a sine wave.
QVector<QPoint> wave(int x0, int x1, int y0, double amplitude, double phase = 0)
{
    QVector<QPoint> points;
    for (int x = x0; x <= x1; x += 16) {
        const double t = double(x - x0) / (x1 - x0);
        points.append(QPoint(x, y0 + int(std::lround(amplitude * std::sin(2 * M_PI * t + phase)))));
    }
    return points;
}

// Pixels of the area in which the screen shows this ink over the background
// at a coverage of at least a quarter: the pixel lies on the line from the
// background's colour towards the ink's. A fast stroke on a busy machine
// (Qt merges pointer moves) may be a thin tapered line only; its
// antialiased pixels count too, strokes of another colour do not.
int inkIn(const QImage& screen, const QImage& background, const QRect& area, const QColor& ink)
{
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QRgb b = background.pixel(x, y);
            const QRgb p = screen.pixel(x, y);
            const double d[3] = {double(ink.red() - qRed(b)), double(ink.green() - qGreen(b)),
                                 double(ink.blue() - qBlue(b))};
            const double v[3] = {double(qRed(p) - qRed(b)), double(qGreen(p) - qGreen(b)),
                                 double(qBlue(p) - qBlue(b))};
            const double length2 = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
            if (length2 < 1)
                continue;
            const double t = (v[0] * d[0] + v[1] * d[1] + v[2] * d[2]) / length2;
            if (t < 0.25 || t > 1.1)
                continue;
            const double r[3] = {v[0] - t * d[0], v[1] - t * d[1], v[2] - t * d[2]};
            if (r[0] * r[0] + r[1] * r[1] + r[2] * r[2] <= 24 * 24)
                ++count;
        }
    }
    return count;
}

// Pixels in area that differ between the two pictures, outside exclude.
int differences(const QImage& a, const QImage& b, const QRect& area, const QRect& exclude = QRect())
{
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (exclude.contains(x, y))
                continue;
            if ((a.pixel(x, y) & 0xFFFFFF) != (b.pixel(x, y) & 0xFFFFFF))
                ++count;
        }
    }
    return count;
}

// The bounding box of the pixels of exactly this colour inside area.
QRect boxOf(const QImage& screen, const QRect& area, QRgb rgb)
{
    QRect box;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if ((screen.pixel(x, y) & 0xFFFFFF) == (rgb & 0xFFFFFF))
                box |= QRect(x, y, 1, 1);
        }
    }
    return box;
}

} // namespace

class TestEndToEnd : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_timer.start();
        X11Desktop::ignoreXErrors();
        m_display = XOpenDisplay(nullptr);
        QVERIFY(m_display);
        X11Desktop::paintDesktop(m_display, kDesktop);
        m_docs = qEnvironmentVariable("SKEDA_DOCS_DIR");

        m_window = new PaperWindow;
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
        QVERIFY(m_saveRoot.isValid());
        m_saveDir = m_saveRoot.filePath(QStringLiteral("shots"));

        m_host.setProcessChannelMode(QProcess::SeparateChannels);
        m_host.start(QStringLiteral(SKEDA_HOST_FILE),
                     {QStringLiteral("--open"), QStringLiteral("--save-dir"), m_saveDir,
                      QStringLiteral("--plugin"), QStringLiteral(SKEDA_PLUGIN_FILE)});
        QVERIFY(m_host.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(output().endsWith(QStringLiteral("opened\n")), 20000);
        QCOMPARE(m_output, QStringLiteral("loaded " SKEDA_PLUGIN_FILE "\nopened\n"));
        QTRY_VERIFY_WITH_TIMEOUT(
            X11Desktop::hasWindow(m_display, m_host.processId(), QRect(0, 0, 1920, 1080)), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(
            X11Desktop::hasWindow(m_display, m_host.processId(), QRect(kBar, QSize(370, 68))),
            20000);
        m_baseline = stableScreen();

        // The board lets the desktop and the window on it show through.
        QCOMPARE(m_baseline.pixel(700, 400) & 0xFFFFFF, uint(kDesktop));
        const QImage window = m_window->grab().toImage().convertToFormat(QImage::Format_RGB32);
        QCOMPARE(differences(m_baseline.copy(m_window->geometry()), window, window.rect()), 0);
        // The toolbar is there.
        QImage desktop(1920, 1080, QImage::Format_RGB32);
        desktop.fill(QColor(QRgb(kDesktop)));
        QVERIFY(differences(m_baseline, desktop, QRect(kBar, QSize(370, 68))) > 370 * 68 / 2);
    }

    void cleanupTestCase()
    {
        if (m_host.state() != QProcess::NotRunning) {
            // Closing the host's window ends it, as a user does.
            const QVector<X11Desktop::TopLevel> windows =
                X11Desktop::windowsOfProcess(m_display, m_host.processId());
            for (const X11Desktop::TopLevel& window : windows)
                X11Desktop::closeWindow(m_display, window.id);
            const bool ended = m_host.waitForFinished(20000);
            if (!ended) {
                m_host.kill();
                m_host.waitForFinished();
            }
            QVERIFY2(ended, "skeda-host did not end when its window was closed");
            QCOMPARE(m_host.exitStatus(), QProcess::NormalExit);
            QCOMPARE(m_host.exitCode(), 0);
        }
        delete m_window;
        if (m_display)
            XCloseDisplay(m_display);
        qInfo("end-to-end session: %.1f s", m_timer.elapsed() / 1000.0);
    }

    // The pen is the tool at start; three strokes in its default colour.
    void drawWithTheMouse()
    {
        for (const QVector<QPoint>& stroke : strokes())
            QVERIFY(X11Desktop::drag(stroke));
        // Each stroke in its band, from end to end. (Where exactly the
        // smoothed stroke runs depends on how many pointer moves the board
        // got; a busy machine merges some.)
        QTRY_VERIFY_WITH_TIMEOUT(strokesInBothParts(screen(), m_baseline), 15000);
        const QImage screen = stableScreen();
        // Nothing else changed.
        QCOMPARE(
            differences(screen, m_baseline, QRect(0, 0, 1920, 1080), QRect(180, 160, 760, 480)), 0);
        savePicture(QStringLiteral("e2e-strokes.png"), screen);
    }

    // The eraser, chosen on the toolbar, dragged down across all three.
    void eraseAcrossTheStrokes()
    {
        QVERIFY(chooseTool(kEraserButton, kPenButton));
        QVERIFY(X11Desktop::drag(column(560, 170, 640)));
        // A clean cut where the eraser went, the eraser picture gone...
        const QRect cut(552, 160, 17, 480);
        QTRY_COMPARE_WITH_TIMEOUT(differences(screen(), m_baseline, cut), 0, 15000);
        const QImage screen = stableScreen();
        QCOMPARE(differences(screen, m_baseline, cut), 0);
        // ...and the pieces left and right of it still there.
        QVERIFY(strokesInBothParts(screen, m_baseline));
        savePicture(QStringLiteral("e2e-erased.png"), screen, QRect(160, 140, 800, 520));
    }

    // Pen chosen again, then a second click on it opens the popup above it;
    // a click on a swatch changes the colour of the strokes drawn next.
    void pickAColourInThePenPopup()
    {
        const QRect popupZone(kBar.x(), 700, 400, 230);
        QVERIFY(chooseTool(kPenButton, kEraserButton));
        QCOMPARE(differences(stableScreen(), m_baseline, popupZone), 0);
        QVERIFY(X11Desktop::click(kPenButton));
        QRect swatch;
        QTRY_VERIFY_WITH_TIMEOUT((swatch = boxOf(screen(), popupZone, kTeal.rgb())).width() > 20,
                                 10000);
        QCOMPARE(swatch.size(), QSize(36, 36));
        QVERIFY(X11Desktop::click(swatch.center()));
        // The chosen cell gets a blue frame.
        QTRY_VERIFY_WITH_TIMEOUT(
            boxOf(screen(), swatch.adjusted(-6, -6, 6, 6), qRgb(0x14, 0x86, 0xFA)).width() > 30,
            10000);
        savePicture(QStringLiteral("e2e-pen-popup.png"), stableScreen(), QRect(40, 600, 660, 440));

        QVERIFY(X11Desktop::drag(wave(240, 880, 690, 25, M_PI)));
        const QRect band(230, 650, 660, 80);
        QTRY_VERIFY_WITH_TIMEOUT(inkIn(screen(), m_baseline, band, kTeal) > 300, 15000);
        // The press on the board folded the popup away.
        QTRY_COMPARE_WITH_TIMEOUT(differences(screen(), m_baseline, popupZone, band), 0, 10000);
        const QImage screen = stableScreen();
        QCOMPARE(inkIn(screen, m_baseline, band, kDefaultPen), 0);
        savePicture(QStringLiteral("e2e-colour.png"), screen);
    }

    // A second click on the chosen eraser opens the slide-to-clear panel;
    // the handle dragged to the far right end clears the board.
    void slideToClear()
    {
        QVERIFY(chooseTool(kEraserButton, kPenButton));
        QVERIFY(X11Desktop::click(kEraserButton));
        const QRect panelZone(kBar.x(), 800, 480, 130);
        // The slider's track, in its fill colour, with the handle at its left.
        QRect track;
        QTRY_VERIFY_WITH_TIMEOUT(
            (track = boxOf(screen(), panelZone, qRgb(238, 238, 238))).width() > 150, 10000);
        const QPoint grip(track.left() + 30, track.top() + 18);
        const int travel = track.width() + 40;
        QVERIFY(X11Desktop::xdotool({QStringLiteral("mousemove"), QString::number(grip.x()),
                                     QString::number(grip.y()), QStringLiteral("mousedown"),
                                     QStringLiteral("1")}));
        for (int dx = 20; dx <= travel / 3; dx += 20)
            QVERIFY(move(grip + QPoint(dx, 0)));
        savePicture(QStringLiteral("e2e-slide-to-clear.png"), stableScreen(),
                    QRect(40, 560, 660, 480));
        for (int dx = travel / 3; dx <= travel; dx += 20)
            QVERIFY(move(grip + QPoint(dx, 0)));
        QVERIFY(X11Desktop::xdotool({QStringLiteral("mouseup"), QStringLiteral("1")}));

        // The board is empty: the screen is the desktop again, all but the
        // toolbar and its panel.
        QTRY_COMPARE_WITH_TIMEOUT(
            differences(screen(), m_baseline, QRect(0, 0, 1920, 1080), kToolZone), 0, 10000);
    }

    // Desktop mode: a click on the window below goes through the board,
    // whose drawing stays; the pen brings drawing back.
    void clickThroughToTheDesktop()
    {
        QVERIFY(chooseTool(kPenButton, kEraserButton));
        const QRect band(230, 230, 660, 140);
        QVERIFY(X11Desktop::drag(wave(240, 880, 300, 60)));
        QTRY_VERIFY_WITH_TIMEOUT(inkIn(screen(), m_baseline, band, kTeal) > 300, 15000);
        QVERIFY(m_window->presses.isEmpty());

        // Desktop mode empties the board's input shape; the click must come
        // after that, or it would still land on the board.
        const unsigned long board = boardWindow();
        QVERIFY(board);
        QCOMPARE(X11Desktop::inputShape(m_display, board), kWholeBoard);
        QVERIFY(X11Desktop::click(kSelectButton));
        QTRY_COMPARE_WITH_TIMEOUT(X11Desktop::inputShape(m_display, board), QVector<QRect>(),
                                  10000);
        const QPoint target(1450, 420);
        QVERIFY(X11Desktop::click(target));
        QTRY_COMPARE(m_window->presses, QVector<QPoint>{target});
        const QImage through = stableScreen();
        QCOMPARE(inkIn(through, m_baseline, QRect(target - QPoint(4, 4), QSize(9, 9)), kTeal), 0);
        QVERIFY(inkIn(through, m_baseline, band, kTeal) > 300);

        QVERIFY(X11Desktop::click(kPenButton));
        QTRY_COMPARE_WITH_TIMEOUT(X11Desktop::inputShape(m_display, board), kWholeBoard, 10000);
        QVERIFY(X11Desktop::drag(wave(1150, 1760, 560, 20)));
        QTRY_VERIFY_WITH_TIMEOUT(
            inkIn(screen(), m_baseline, QRect(1140, 530, 630, 60), kTeal) > 300, 15000);
        const QImage after = stableScreen();
        QCOMPARE(m_window->presses.size(), 1);
        savePicture(QStringLiteral("e2e-desktop-mode.png"), after);
    }

    // The screenshot button, a dragged rectangle, the bar's confirm button:
    // the host saves a PNG with exactly what the screen showed there, and
    // the board has closed.
    void screenshotOfARegion()
    {
        const QRect region(QPoint(1130, 300), QPoint(1729, 599));
        // The screen once the board has drawn everything (a second without
        // change).
        const QImage before = stableScreen(1000);
        m_beforeShot = before;
        QVERIFY(X11Desktop::click(kShotButton));
        // The overlay dims the screen.
        QTRY_VERIFY_WITH_TIMEOUT((screen().pixel(700, 400) & 0xFFFFFF) != kDesktop, 10000);
        QVERIFY(
            X11Desktop::drag({region.topLeft(), region.topLeft() + QPoint(150, 80), region.center(),
                              region.bottomRight() - QPoint(40, 20), region.bottomRight()}));
        // The bar of buttons appears centred under the selection, confirm
        // on its right.
        const QPoint bar(region.left() + (region.right() - region.left() - 135) / 2,
                         region.bottom() + 15);
        QTRY_VERIFY_WITH_TIMEOUT((screen().pixel(bar + QPoint(4, 41)) & 0xFFFFFF) == 0xFFFFFF,
                                 10000);
        const QImage selected = stableScreen();
        savePicture(QStringLiteral("e2e-screenshot-selection.png"), selected);
        QVERIFY(X11Desktop::click(bar + QPoint(100, 41)));

        QTRY_VERIFY_WITH_TIMEOUT(output().contains(QStringLiteral("saved ")), 15000);
        const QString line = m_output.section(QLatin1Char('\n'), -2, -2);
        QVERIFY2(line.startsWith(QStringLiteral("saved ")), qPrintable(m_output));
        const QString file = line.mid(6);
        QCOMPARE(QFileInfo(file).absolutePath(), m_saveDir);
        QVERIFY(file.endsWith(QStringLiteral(".png")));
        const QImage shot = QImage(file).convertToFormat(QImage::Format_RGB32);
        QCOMPARE(shot.size(), region.size());
        // What the screen showed there: inside the selection the overlay
        // neither dims nor draws (but for its border and handles)...
        const QRect inside = QRect(QPoint(0, 0), region.size()).adjusted(14, 14, -14, -14);
        QCOMPARE(differences(shot, selected.copy(region), inside), 0);
        // ...and, border and handles included, the screen before the overlay.
        QCOMPARE(differences(shot, before.copy(region), shot.rect()), 0);
        savePicture(QStringLiteral("e2e-screenshot-saved.png"), shot);

        // The board closed itself.
        QTRY_VERIFY(!X11Desktop::hasWindow(m_display, m_host.processId(), QRect(0, 0, 1920, 1080)));
    }

    // The host's window offers the board again: its big button shows it
    // with the drawing as it was left.
    void openAgainFromTheHost()
    {
        QVector<X11Desktop::TopLevel> windows;
        QTRY_VERIFY_WITH_TIMEOUT(
            (windows = X11Desktop::windowsOfProcess(m_display, m_host.processId())).size() == 1,
            10000);
        const QRect hostWindow = windows.first().geometry;
        QVERIFY(hostWindow.width() < 1000);
        // Painted, so ready for the click on its button.
        QTRY_VERIFY_WITH_TIMEOUT((screen().pixel(hostWindow.center()) & 0xFFFFFF) != kDesktop,
                                 10000);
        QVERIFY(X11Desktop::click(hostWindow.center()));
        QTRY_VERIFY_WITH_TIMEOUT(output().endsWith(QStringLiteral("opened\n")), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(
            X11Desktop::hasWindow(m_display, m_host.processId(), QRect(0, 0, 1920, 1080)), 10000);
        QTRY_COMPARE_WITH_TIMEOUT(
            differences(screen(), m_beforeShot, QRect(0, 0, 1920, 1080), kToolZone), 0, 10000);
    }

    // The close button: board and toolbar go, the host hears it once.
    void closeTheBoard()
    {
        QVERIFY(X11Desktop::click(kCloseButton));
        QTRY_VERIFY_WITH_TIMEOUT(output().endsWith(QStringLiteral("closed\n")), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(
            !X11Desktop::hasWindow(m_display, m_host.processId(), QRect(0, 0, 1920, 1080)), 10000);
        QVERIFY(!X11Desktop::hasWindow(m_display, m_host.processId(), QRect(kBar, QSize(370, 68))));
        const QImage screen = stableScreen();
        QCOMPARE(screen.pixel(kPenButton) & 0xFFFFFF, uint(kDesktop));
        QCOMPARE(screen.pixel(560, 300) & 0xFFFFFF, uint(kDesktop));
        QCOMPARE(m_output.count(QStringLiteral("closed\n")), 1);
        QCOMPARE(m_output.count(QStringLiteral("opened\n")), 2);
        QCOMPARE(m_output.count(QStringLiteral("saved ")), 1);

        // The host's window is back, offering the board again.
        QVector<X11Desktop::TopLevel> windows;
        QTRY_VERIFY(
            (windows = X11Desktop::windowsOfProcess(m_display, m_host.processId())).size() == 1);
        savePicture(QStringLiteral("e2e-host-window.png"), stableScreen(),
                    windows.first().geometry);
    }

private:
    static QVector<QVector<QPoint>> strokes()
    {
        return {wave(240, 880, 260, 40), wave(240, 880, 400, 0), wave(240, 880, 540, 30, M_PI)};
    }

    // Where the three strokes lie, and the parts left and right of the cut.
    static QVector<QRect> strokeBands()
    {
        return {QRect(230, 210, 660, 100), QRect(230, 390, 660, 20), QRect(230, 500, 660, 80)};
    }
    static QRect leftPart(const QRect& band) { return QRect(240, band.top(), 260, band.height()); }
    static QRect rightPart(const QRect& band) { return QRect(620, band.top(), 260, band.height()); }

    static QVector<QPoint> column(int x, int y0, int y1)
    {
        QVector<QPoint> points;
        for (int y = y0; y <= y1; y += 16)
            points.append(QPoint(x, y));
        return points;
    }

    static bool move(const QPoint& p)
    {
        return X11Desktop::xdotool({QStringLiteral("mousemove"), QString::number(p.x()),
                                    QString::number(p.y()), QStringLiteral("sleep"),
                                    QStringLiteral("0.02")});
    }

    QImage screen() const { return X11Desktop::grabScreen(m_display); }

    // The screen once it has not changed for a while (the board and the
    // compositor have caught up), or after ten seconds.
    QImage stableScreen(int quietMs = 150) const
    {
        return X11Desktop::grabSettled(m_display, QRect(), quietMs);
    }

    // Clicks a tool's button and waits until the toolbar shows the choice:
    // the button of the tool chosen before loses its checked look (the
    // pointer is never over it, so no hover look comes between).
    bool chooseTool(const QPoint& button, const QPoint& chosenBefore) const
    {
        const QRect before(chosenBefore - QPoint(27, 27), QSize(54, 54));
        const QImage checked = X11Desktop::grabScreen(m_display, before);
        return X11Desktop::click(button) &&
               QTest::qWaitFor([&] { return X11Desktop::grabScreen(m_display, before) != checked; },
                               10000);
    }

    unsigned long boardWindow() const
    {
        const QVector<X11Desktop::TopLevel> windows =
            X11Desktop::windowsOfProcess(m_display, m_host.processId());
        for (const X11Desktop::TopLevel& window : windows) {
            if (window.geometry == QRect(0, 0, 1920, 1080))
                return window.id;
        }
        return 0;
    }

    static bool strokesInBothParts(const QImage& screen, const QImage& background)
    {
        for (const QRect& band : strokeBands()) {
            if (inkIn(screen, background, leftPart(band), kDefaultPen) <= 100 ||
                inkIn(screen, background, rightPart(band), kDefaultPen) <= 100)
                return false;
        }
        return true;
    }

    QString output()
    {
        m_output += QString::fromUtf8(m_host.readAllStandardOutput());
        return m_output;
    }

    // A picture for the docs, when SKEDA_DOCS_DIR is set: the area, or the
    // whole screen at half size.
    void savePicture(const QString& name, const QImage& image, const QRect& area = QRect()) const
    {
        if (m_docs.isEmpty())
            return;
        QImage picture = area.isValid() ? image.copy(area) : image;
        if (!area.isValid() && picture.width() >= 1920)
            picture =
                picture.scaled(picture.size() / 2, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        QDir().mkpath(m_docs);
        QVERIFY(picture.save(QDir(m_docs).filePath(name)));
    }

    Display* m_display = nullptr;
    PaperWindow* m_window = nullptr;
    QProcess m_host;
    QString m_output;
    QTemporaryDir m_saveRoot;
    QString m_saveDir;
    QString m_docs;
    QImage m_baseline;
    QImage m_beforeShot;
    QElapsedTimer m_timer;
};

QTEST_MAIN(TestEndToEnd)
#include "tst_e2e.moc"
