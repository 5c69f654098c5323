// The screenshot overlay on a real, composited X server: a known picture on
// the screen, a rectangle dragged and the confirm button clicked with real
// pointer input (xdotool), and the captured pixmap compared with the
// picture. Also the confirm sequence's odd cases, and the pictures of the
// overlay for the docs (saved when SKEDA_DOCS_DIR is set).

#include "common/common.h"
#include "screenshot/screenshot.h"
#include "tests/support/x11desktop.h"
#include "widgets/mpushbutton_1.h"

#include "screenshottestutil.h"

#include <QDir>
#include <QGuiApplication>
#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include <X11/Xlib.h>

using namespace ShotTest;

namespace {

constexpr unsigned long kDesktopColour = 0x30343A;

// Every pixel of a 1920 x 1080 screen in its own colour: red and green are
// the low bytes of x and y, blue tells the 256-pixel tiles apart.
QImage uniquePattern(const QSize& size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            line[x] = qRgb(x & 0xFF, y & 0xFF, (((x >> 8) & 7) | (((y >> 8) & 7) << 3)) << 2);
        }
    }
    return image;
}

// Something that looks like a desktop with a few windows, for the pictures.
QImage desktopScene(const QSize& size)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, size.width(), size.height());
    sky.setColorAt(0, QColor(0x1E, 0x5A, 0x8C));
    sky.setColorAt(1, QColor(0x6C, 0x3B, 0x8E));
    painter.fillRect(image.rect(), sky);

    const auto window = [&painter](const QRect& frame, const QColor& title, const QString& text) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0xF4, 0xF5, 0xF7));
        painter.drawRoundedRect(frame, 8, 8);
        painter.setBrush(title);
        painter.drawRoundedRect(QRect(frame.topLeft(), QSize(frame.width(), 40)), 8, 8);
        painter.drawRect(QRect(frame.left(), frame.top() + 20, frame.width(), 20));
        painter.setPen(Qt::white);
        QFont font;
        font.setPixelSize(20);
        painter.setFont(font);
        painter.drawText(QRect(frame.left() + 16, frame.top(), frame.width(), 40),
                         Qt::AlignVCenter | Qt::AlignLeft, text);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0xC9, 0xCE, 0xD6));
        for (int i = 0; i * 34 + 80 < frame.height() - 20; ++i) {
            const int width = (frame.width() - 48) * (10 - (i * 3) % 5) / 10;
            painter.drawRoundedRect(QRect(frame.left() + 24, frame.top() + 70 + i * 34, width, 14),
                                    7, 7);
        }
    };
    window(QRect(180, 140, 760, 520), QColor(0xE8, 0x5D, 0x3F), QStringLiteral("Notes"));
    window(QRect(820, 320, 820, 560), QColor(0x2E, 0x9E, 0x6B), QStringLiteral("Chart"));
    painter.setPen(Qt::NoPen);
    const QColor bars[] = {QColor(0xF2, 0xB1, 0x34), QColor(0x3D, 0x8B, 0xD9),
                           QColor(0xE8, 0x5D, 0x3F), QColor(0x2E, 0x9E, 0x6B)};
    for (int i = 0; i < 8; ++i) {
        painter.setBrush(bars[i % 4]);
        const int height = 60 + (i * 53) % 300;
        painter.drawRect(QRect(880 + i * 90, 840 - height, 60, height));
    }
    painter.end();
    return image;
}

// A plain frameless window over the whole screen that shows a picture; the
// overlays are made its children, as the board makes them its own.
class PictureWindow : public QWidget
{
public:
    explicit PictureWindow(const QImage& picture)
        : m_picture(picture)
    {
        setWindowFlags(Qt::FramelessWindowHint);
        setAttribute(Qt::WA_OpaquePaintEvent);
        setGeometry(QRect(QPoint(0, 0), picture.size()));
    }

    void setPicture(const QImage& picture)
    {
        m_picture = picture;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.drawImage(0, 0, m_picture);
    }

private:
    QImage m_picture;
};

// Pixels of a that differ from b (both the same size).
int differences(const QImage& a, const QImage& b)
{
    if (a.size() != b.size()) {
        return -1;
    }
    const QImage x = a.convertToFormat(QImage::Format_RGB32);
    const QImage y = b.convertToFormat(QImage::Format_RGB32);
    int count = 0;
    for (int row = 0; row < x.height(); ++row) {
        const auto* p = reinterpret_cast<const QRgb*>(x.constScanLine(row));
        const auto* q = reinterpret_cast<const QRgb*>(y.constScanLine(row));
        for (int column = 0; column < x.width(); ++column) {
            count += (p[column] & 0xFFFFFF) != (q[column] & 0xFFFFFF) ? 1 : 0;
        }
    }
    return count;
}

// The colour the dimming mask gives a pixel of the picture below it.
bool dimmed(const QColor& seen, const QColor& below)
{
    const auto channel = [](int b) {
        return (115 * 200 + b * 55) / 255.0;
    };
    return qAbs(seen.red() - channel(below.red())) <= 2 &&
           qAbs(seen.green() - channel(below.green())) <= 2 &&
           qAbs(seen.blue() - channel(below.blue())) <= 2;
}

// The colour of the selection's border over a pixel of the picture: its
// 1-pixel pen lies on the pixel edge between two rows (or columns), so
// each of them is covered half.
bool border(const QColor& seen, const QColor& below)
{
    const auto channel = [](int blue, int b) {
        return (blue * 128 + b * 127) / 255.0;
    };
    return qAbs(seen.red() - channel(20, below.red())) <= 3 &&
           qAbs(seen.green() - channel(134, below.green())) <= 3 &&
           qAbs(seen.blue() - channel(250, below.blue())) <= 3;
}

QPoint centreOf(QWidget* widget)
{
    return widget->mapToGlobal(widget->rect().center());
}

} // namespace

class TestScreenShotCapture : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void captureWithRealInput();
    void twoOverlaysInSequence();
    void cancelWithRealClick();
    void confirmClickedTwice();
    void parentDeletedWhileCapturing();
    void cancelWhileCapturing();
    void nullResultStillReports();
    void twoOverlaysOpenAtOnce();
    void pictures();

private:
    // Drags a rectangle with the real pointer and waits until the overlay
    // has it and shows its bar.
    bool dragSelection(ScreenShot* shot, const QPoint& from, const QPoint& to);
    ScreenShot* openOverlay(QPixmap* result, QWidget* parent);

    Display* m_display = nullptr;
    QImage m_pattern;
    PictureWindow* m_window = nullptr;
};

void TestScreenShotCapture::initTestCase()
{
    const QSize screen = QGuiApplication::primaryScreen()->geometry().size();
    QCOMPARE(screen, QSize(1920, 1080));
    Common::getInstance()->InitSize(screen);
    m_display = XOpenDisplay(nullptr);
    QVERIFY(m_display);
    X11Desktop::paintDesktop(m_display, kDesktopColour);

    m_pattern = uniquePattern(screen);
    m_window = new PictureWindow(m_pattern);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window));
    // The pattern is what the screen shows, once the compositor shows it.
    QTRY_COMPARE_WITH_TIMEOUT(differences(X11Desktop::grabScreen(m_display), m_pattern), 0, 10000);
}

void TestScreenShotCapture::cleanupTestCase()
{
    delete m_window;
    if (m_display) {
        XCloseDisplay(m_display);
    }
}

void TestScreenShotCapture::init()
{
    X11Desktop::xdotool(
        {QStringLiteral("mousemove"), QStringLiteral("1900"), QStringLiteral("1060")});
}

void TestScreenShotCapture::cleanup()
{
    flushDeletes();
    // No overlay is left on the screen.
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        QVERIFY(!qobject_cast<ScreenShot*>(widget) || !widget->isVisible());
    }
}

ScreenShot* TestScreenShotCapture::openOverlay(QPixmap* result, QWidget* parent)
{
    auto* shot = new ScreenShot(result, parent);
    // As the board does: construct, then show.
    shot->show();
    if (!QTest::qWaitForWindowExposed(shot)) {
        return shot;
    }
    // Shown on the screen: the compositor has drawn it.
    X11Desktop::grabSettled(m_display);
    return shot;
}

bool TestScreenShotCapture::dragSelection(ScreenShot* shot, const QPoint& from, const QPoint& to)
{
    if (!X11Desktop::drag({from, (from + to) / 2, to})) {
        return false;
    }
    const QRect expected(QPoint(qMin(from.x(), to.x()), qMin(from.y(), to.y())),
                         QPoint(qMax(from.x(), to.x()), qMax(from.y(), to.y())));
    if (!QTest::qWaitFor(
            [&] { return shot->selection() == expected && shot->buttonBar()->isVisible(); },
            5000)) {
        qWarning() << "selection" << shot->selection() << "expected" << expected;
        return false;
    }
    // The selection drawn and shown.
    X11Desktop::grabSettled(m_display);
    return true;
}

void TestScreenShotCapture::captureWithRealInput()
{
    QPixmap result;
    const QRect parentGeometry = m_window->geometry();
    QPointer<ScreenShot> shot = openOverlay(&result, m_window);
    QSignalSpy spy(shot.data(), &ScreenShot::newPixmap);
    QSignalSpy desktopSpy(shot.data(), &ScreenShot::showDesktop);

    // The whole screen is dimmed before a selection.
    const QImage before = X11Desktop::grabScreen(m_display);
    QVERIFY(dimmed(before.pixelColor(100, 100), m_pattern.pixelColor(100, 100)));
    QVERIFY(dimmed(before.pixelColor(700, 450), m_pattern.pixelColor(700, 450)));

    QVERIFY(dragSelection(shot, QPoint(500, 300), QPoint(900, 600)));
    const QRect selection(QPoint(500, 300), QPoint(900, 600));
    // Clear inside the selection, dimmed outside.
    const QImage selecting = X11Desktop::grabScreen(m_display);
    QCOMPARE(selecting.pixelColor(700, 450), m_pattern.pixelColor(700, 450));
    QVERIFY(dimmed(selecting.pixelColor(100, 100), m_pattern.pixelColor(100, 100)));
    QVERIFY(border(selecting.pixelColor(600, 300), m_pattern.pixelColor(600, 300)));
    QVERIFY(border(selecting.pixelColor(900, 400), m_pattern.pixelColor(900, 400)));

    QVERIFY(X11Desktop::click(centreOf(shot->confirmButton())));
    // The click may already be handled while xdotool runs.
    QTRY_COMPARE_WITH_TIMEOUT(spy.count(), 1, 5000);

    QCOMPARE(result.size(), selection.size());
    QCOMPARE(differences(result.toImage(), m_pattern.copy(selection)), 0);
    QTRY_VERIFY(!shot);
    QCOMPARE(desktopSpy.count(), 0);
    QCOMPARE(m_window->geometry(), parentGeometry);
    QTRY_COMPARE_WITH_TIMEOUT(differences(X11Desktop::grabScreen(m_display), m_pattern), 0, 10000);
}

void TestScreenShotCapture::twoOverlaysInSequence()
{
    QPixmap first;
    QPixmap second;
    const QRect a(QPoint(100, 120), QPoint(419, 359));
    const QRect b(QPoint(1000, 500), QPoint(1799, 899));

    QPointer<ScreenShot> one = openOverlay(&first, m_window);
    QSignalSpy spyOne(one.data(), &ScreenShot::newPixmap);
    QVERIFY(dragSelection(one, a.topLeft(), a.bottomRight()));
    QVERIFY(X11Desktop::click(centreOf(one->confirmButton())));
    QTRY_COMPARE_WITH_TIMEOUT(spyOne.count(), 1, 5000);
    QTRY_VERIFY(!one);

    QPointer<ScreenShot> two = openOverlay(&second, m_window);
    QSignalSpy spyTwo(two.data(), &ScreenShot::newPixmap);
    // Dragged from the bottom-right corner up to the top-left one.
    QVERIFY(dragSelection(two, b.bottomRight(), b.topLeft()));
    QVERIFY(X11Desktop::click(centreOf(two->confirmButton())));
    QTRY_COMPARE_WITH_TIMEOUT(spyTwo.count(), 1, 5000);
    QTRY_VERIFY(!two);

    QCOMPARE(spyOne.count(), 1);
    QCOMPARE(spyTwo.count(), 1);
    QCOMPARE(first.size(), QSize(320, 240));
    QCOMPARE(second.size(), QSize(800, 400));
    QCOMPARE(differences(first.toImage(), m_pattern.copy(a)), 0);
    QCOMPARE(differences(second.toImage(), m_pattern.copy(b)), 0);
}

void TestScreenShotCapture::cancelWithRealClick()
{
    QPixmap result(5, 4);
    result.fill(Qt::magenta);
    const QImage before = result.toImage();
    QPointer<ScreenShot> shot = openOverlay(&result, m_window);
    QSignalSpy spy(shot.data(), &ScreenShot::newPixmap);
    QVERIFY(dragSelection(shot, QPoint(300, 300), QPoint(700, 500)));
    QVERIFY(X11Desktop::click(centreOf(shot->cancelButton())));
    QTRY_VERIFY(!shot);
    QCOMPARE(spy.count(), 0);
    QCOMPARE(result.toImage(), before);
    QTRY_COMPARE_WITH_TIMEOUT(differences(X11Desktop::grabScreen(m_display), m_pattern), 0, 10000);
}

void TestScreenShotCapture::confirmClickedTwice()
{
    QPixmap result;
    QPointer<ScreenShot> shot = openOverlay(&result, m_window);
    QSignalSpy spy(shot.data(), &ScreenShot::newPixmap);
    drag(shot, QPoint(200, 200), QPoint(399, 299));
    QTimer::singleShot(10, shot, [&] { shot->confirmButton()->click(); });
    shot->confirmButton()->click();
    QCOMPARE(spy.count(), 1);
    QVERIFY(shot); // deletion is deferred
    // Clicked again after the capture: ignored at once, no second wait.
    shot->confirmButton()->click();
    QVERIFY(shot);
    QCOMPARE(spy.count(), 1);
    flushDeletes();
    QVERIFY(!shot);
    QCOMPARE(result.size(), QSize(200, 100));
    QCOMPARE(differences(result.toImage(), m_pattern.copy(QRect(200, 200, 200, 100))), 0);
}

void TestScreenShotCapture::parentDeletedWhileCapturing()
{
    QPixmap result(3, 3);
    result.fill(Qt::cyan);
    const QImage before = result.toImage();
    QPointer<QWidget> parent = new QWidget;
    QPointer<ScreenShot> shot = openOverlay(&result, parent);
    QSignalSpy spy(shot.data(), &ScreenShot::newPixmap);
    drag(shot, QPoint(200, 200), QPoint(399, 299));
    bool deletedDuringLoop = false;
    QTimer::singleShot(10, this, [&] {
        deletedDuringLoop = shot && shot->state() == 4;
        delete parent;
    });
    shot->confirmButton()->click();
    QVERIFY(deletedDuringLoop);
    QVERIFY(!parent);
    QVERIFY(!shot);
    QCOMPARE(spy.count(), 0);
    QCOMPARE(result.toImage(), before);
}

void TestScreenShotCapture::cancelWhileCapturing()
{
    QPixmap result(3, 3);
    result.fill(Qt::yellow);
    const QImage before = result.toImage();
    QPointer<ScreenShot> shot = openOverlay(&result, m_window);
    QSignalSpy spy(shot.data(), &ScreenShot::newPixmap);
    drag(shot, QPoint(200, 200), QPoint(399, 299));
    QTimer::singleShot(10, shot, [&] { shot->cancelButton()->click(); });
    shot->confirmButton()->click();
    // Deleted inside the wait, before the grab.
    QVERIFY(!shot);
    QCOMPARE(spy.count(), 0);
    QCOMPARE(result.toImage(), before);
}

void TestScreenShotCapture::nullResultStillReports()
{
    QPointer<ScreenShot> shot = openOverlay(nullptr, m_window);
    QSignalSpy spy(shot.data(), &ScreenShot::newPixmap);
    drag(shot, QPoint(200, 200), QPoint(399, 299));
    QTest::ignoreMessage(QtWarningMsg,
                         "ScreenShot: no pixmap to store the capture in; it is dropped");
    shot->confirmButton()->click();
    QCOMPARE(spy.count(), 1);
    flushDeletes();
    QVERIFY(!shot);
}

void TestScreenShotCapture::twoOverlaysOpenAtOnce()
{
    QPixmap first;
    QPixmap second;
    QPointer<ScreenShot> one = openOverlay(&first, m_window);
    QPointer<ScreenShot> two = openOverlay(&second, m_window);
    QSignalSpy spyOne(one.data(), &ScreenShot::newPixmap);
    QSignalSpy spyTwo(two.data(), &ScreenShot::newPixmap);
    send(one, QEvent::MouseButtonPress, QPoint(100, 100));
    send(one, QEvent::MouseButtonRelease, QPoint(149, 119));
    send(two, QEvent::MouseButtonPress, QPoint(600, 500));
    send(two, QEvent::MouseButtonRelease, QPoint(679, 589));

    one->confirmButton()->click();
    QCOMPARE(spyOne.count(), 1);
    QCOMPARE(spyTwo.count(), 0);
    QCOMPARE(first.size(), QSize(50, 20));
    QVERIFY(two->isVisible());
    // The first overlay deletes itself once done; the second capture comes
    // when it has gone from the screen.
    flushDeletes();
    QTRY_VERIFY(!one);
    X11Desktop::grabSettled(m_display);
    two->confirmButton()->click();
    QCOMPARE(spyOne.count(), 1);
    QCOMPARE(spyTwo.count(), 1);
    QCOMPARE(second.size(), QSize(80, 90));
    flushDeletes();
    QVERIFY(!one);
    QVERIFY(!two);
    // The second grab was taken after the first overlay had gone.
    QCOMPARE(differences(second.toImage(), m_pattern.copy(QRect(600, 500, 80, 90))), 0);
}

void TestScreenShotCapture::pictures()
{
    const QString docs = qEnvironmentVariable("SKEDA_DOCS_DIR");
    const QImage scene = desktopScene(m_pattern.size());
    m_window->setPicture(scene);
    X11Desktop::grabSettled(m_display);

    QPixmap result;
    QPointer<ScreenShot> shot = openOverlay(&result, m_window);
    const QImage prompt = X11Desktop::grabScreen(m_display);
    QVERIFY(dimmed(prompt.pixelColor(40, 40), scene.pixelColor(40, 40)));

    // A selection over the "Notes" window, with its bar below.
    QVERIFY(dragSelection(shot, QPoint(240, 220), QPoint(760, 560)));
    const QImage selecting = X11Desktop::grabScreen(m_display);
    QCOMPARE(selecting.pixelColor(500, 400), scene.pixelColor(500, 400));
    QVERIFY(border(selecting.pixelColor(380, 220), scene.pixelColor(380, 220)));
    QCOMPARE(selecting.pixelColor(240, 220), QColor(20, 134, 250)); // a handle dot
    const QRect bar = shot->buttonBar()->geometry();
    QCOMPARE(selecting.pixelColor(bar.center().x(), bar.top() + 3), QColor(Qt::white));

    // The bottom-right handle held and dragged: a white ring round it.
    QVERIFY(X11Desktop::xdotool(
        {QStringLiteral("mousemove"), QStringLiteral("760"), QStringLiteral("560"),
         QStringLiteral("mousedown"), QStringLiteral("1"), QStringLiteral("sleep"),
         QStringLiteral("0.05"), QStringLiteral("mousemove"), QStringLiteral("800"),
         QStringLiteral("600"), QStringLiteral("sleep"), QStringLiteral("0.05"),
         QStringLiteral("mousemove"), QStringLiteral("820"), QStringLiteral("620")}));
    QTRY_COMPARE(shot->selection(), QRect(QPoint(240, 220), QPoint(820, 620)));
    const QImage dragging = X11Desktop::grabSettled(m_display);
    const int ring = (shot->handleHitRadius() + shot->activeHandleRadius()) / 2;
    QCOMPARE(dragging.pixelColor(820 + ring, 620), QColor(Qt::white));
    QCOMPARE(dragging.pixelColor(820, 620), QColor(20, 134, 250));
    QVERIFY(X11Desktop::xdotool({QStringLiteral("mouseup"), QStringLiteral("1")}));
    QTRY_VERIFY(shot->buttonBar()->isVisible());
    const QImage adjusted = X11Desktop::grabSettled(m_display);

    if (!docs.isEmpty()) {
        const QDir dir(docs);
        QVERIFY(prompt.save(dir.filePath(QStringLiteral("screenshot-prompt.png"))));
        QVERIFY(selecting.copy(QRect(120, 120, 760, 620))
                    .save(dir.filePath(QStringLiteral("screenshot-selection.png"))));
        QVERIFY(dragging.copy(QRect(120, 120, 820, 580))
                    .save(dir.filePath(QStringLiteral("screenshot-handle-drag.png"))));
        QVERIFY(adjusted.copy(QRect(120, 120, 820, 660))
                    .save(dir.filePath(QStringLiteral("screenshot-adjusted.png"))));
        // The held handle, enlarged eight times: blue dot, white ring.
        QVERIFY(dragging.copy(QRect(820 - 30, 620 - 30, 60, 60))
                    .scaled(480, 480, Qt::IgnoreAspectRatio, Qt::FastTransformation)
                    .save(dir.filePath(QStringLiteral("screenshot-handle-ring.png"))));
    }

    QSignalSpy spy(shot.data(), &ScreenShot::newPixmap);
    shot->cancelButton()->click();
    QTRY_VERIFY(!shot);
    QCOMPARE(spy.count(), 0);
    m_window->setPicture(m_pattern);
    QTRY_COMPARE_WITH_TIMEOUT(differences(X11Desktop::grabScreen(m_display), m_pattern), 0, 10000);
}

QTEST_MAIN(TestScreenShotCapture)
#include "tst_screenshot_capture.moc"
