// Faults of the environment and odd uses of the whole board, each on a board
// as the launcher builds it (a MainWindow with its toolbar):
//
// - screenChangesSize (X11): the X screen shrinks to 1280x720 through RandR,
//   then loses its output altogether, then comes back at 1920x1080, all while
//   the board is open and in use; the board keeps its size and works on;
// - offscreenBoard (offscreen platform): everything but X11 input shapes
//   works: pen, touch, eraser, every toolbar command, the pen popup with Qt
//   Quick's software renderer, the clear panel, screenshot overlays opened,
//   cancelled and confirmed;
// - twoScreenshotsAtOnce, nestedConfirm: two overlays of one board, confirmed
//   one after the other, and one confirmed during the other's capture;
// - showSkedaManyTimes: showSkeda() called 20000 times, visible or not.

#include "canvas/minipathitem.h"
#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/common.h"
#include "screenshot/screenshot.h"
#include "shell/mainwindow.h"
#include "tests/support/heapusage.h"
#include "tests/support/mouseinput.h"
#include "toolbar/skedatool.h"
#include "widgets/mpushbutton_1.h"

#include <QAbstractButton>
#include <QApplication>
#include <QPointer>
#include <QQuickWidget>
#include <QQuickWindow>
#include <QScreen>
#include <QSignalSpy>
#include <QTouchDevice>
#include <QtTest>

#include <X11/Xlib.h>
#include <X11/extensions/Xrandr.h>

#include <memory>

namespace {

QStringList s_warnings;
void collectWarnings(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
        std::abort();
    }
    if (type == QtWarningMsg || type == QtCriticalMsg)
        s_warnings.append(text);
    if (type == QtInfoMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

// What a confirmed screenshot of a selection of this size reports: a picture
// of that size, or an empty one on the offscreen platform, whose screen Qt
// cannot grab.
QSize shotSize(const QSize& selection)
{
    return QGuiApplication::platformName() == QLatin1String("offscreen") ? QSize(0, 0) : selection;
}

int strokeItems(QGraphicsScene* scene)
{
    int count = 0;
    const QList<QGraphicsItem*> items = scene->items();
    for (QGraphicsItem* item : items) {
        if (qgraphicsitem_cast<MiniPathItem*>(item))
            ++count;
    }
    return count;
}

// Sets the X screen's size through RandR on a connection of its own, which
// stays open: a mode made by a client lives only as long as its connection.
class RandrScreen
{
public:
    RandrScreen()
        : m_display(XOpenDisplay(nullptr))
    {
        if (!m_display)
            return;
        m_root = DefaultRootWindow(m_display);
        XRRScreenResources* res = XRRGetScreenResources(m_display, m_root);
        if (res && res->ncrtc > 0 && res->noutput > 0) {
            m_crtc = res->crtcs[0];
            m_output = res->outputs[0];
            XRRCrtcInfo* crtc = XRRGetCrtcInfo(m_display, res, m_crtc);
            if (crtc) {
                m_originalMode = crtc->mode;
                XRRFreeCrtcInfo(crtc);
            }
        }
        if (res)
            XRRFreeScreenResources(res);
    }

    ~RandrScreen()
    {
        if (m_display)
            XCloseDisplay(m_display);
    }

    bool valid() const { return m_display && m_crtc && m_output && m_originalMode; }

    // A mode of this size on the output, the screen cut down to it.
    bool shrinkTo(int width, int height)
    {
        XRRModeInfo info = {};
        QByteArray name = QByteArray::number(width) + 'x' + QByteArray::number(height) + "_skeda";
        info.width = unsigned(width);
        info.height = unsigned(height);
        info.dotClock = 74250000;
        info.hSyncStart = unsigned(width) + 110;
        info.hSyncEnd = unsigned(width) + 150;
        info.hTotal = unsigned(width) + 370;
        info.vSyncStart = unsigned(height) + 5;
        info.vSyncEnd = unsigned(height) + 10;
        info.vTotal = unsigned(height) + 30;
        info.name = name.data();
        info.nameLength = unsigned(name.size());
        const RRMode mode = XRRCreateMode(m_display, m_root, &info);
        XRRAddOutputMode(m_display, m_output, mode);
        if (!setCrtc(mode))
            return false;
        XRRSetScreenSize(m_display, m_root, width, height, width / 4, height / 4);
        XSync(m_display, False);
        return true;
    }

    // The output switched off: the X screen has no monitor at all.
    bool disconnect()
    {
        if (!setCrtc(None))
            return false;
        XSync(m_display, False);
        return true;
    }

    bool restore(int width, int height)
    {
        XRRSetScreenSize(m_display, m_root, width, height, width / 4, height / 4);
        XSync(m_display, False);
        return setCrtc(m_originalMode);
    }

private:
    bool setCrtc(RRMode mode)
    {
        XRRScreenResources* res = XRRGetScreenResources(m_display, m_root);
        if (!res)
            return false;
        RROutput output = m_output;
        const Status status =
            XRRSetCrtcConfig(m_display, res, m_crtc, CurrentTime, 0, 0, mode, RR_Rotate_0,
                             mode == None ? nullptr : &output, mode == None ? 0 : 1);
        XRRFreeScreenResources(res);
        XSync(m_display, False);
        return status == RRSetConfigSuccess;
    }

    Display* m_display = nullptr;
    Window m_root = 0;
    RRCrtc m_crtc = 0;
    RROutput m_output = 0;
    RRMode m_originalMode = 0;
};

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

private:
    QTouchDevice* m_device = nullptr;

    MainWindow* newBoard()
    {
        auto* board = new MainWindow(nullptr);
        board->initUI();
        board->showSkeda();
        if (!QTest::qWaitForWindowExposed(board)) {
            delete board;
            return nullptr;
        }
        return board;
    }

    // The board used: a stroke by mouse, one by two fingers, an erasure, a
    // clear; every step must change the scene as the user expects. All of it
    // within 800x600, the offscreen platform's screen.
    void useBoard(MainWindow* board)
    {
        QWidget* viewport = board->view()->viewport();
        MyMiniGraphicsScene* scene = board->scene();
        QVERIFY(QMetaObject::invokeMethod(board->tool(), "sigPen"));
        const int before = strokeItems(scene);
        MouseInput::drag(viewport, {{200, 300}, {260, 300}, {320, 310}, {380, 320}, {440, 330}});
        QVERIFY(strokeItems(scene) > before);

        const int beforeTouch = strokeItems(scene);
        QTest::touchEvent(board, m_device)
            .press(1, QPoint(300, 450), board)
            .press(2, QPoint(600, 400), board);
        for (int i = 1; i <= 6; ++i)
            QTest::touchEvent(board, m_device)
                .move(1, QPoint(300 + 30 * i, 450), board)
                .move(2, QPoint(600, 400 + 20 * i), board);
        QTest::touchEvent(board, m_device)
            .release(1, QPoint(480, 450), board)
            .release(2, QPoint(600, 520), board);
        QVERIFY(strokeItems(scene) > beforeTouch);

        // The eraser (100x150) swept from (320, 250) to (320, 350) leaves no
        // stroke point well inside x 270..370, y 175..425.
        QVERIFY(QMetaObject::invokeMethod(board->tool(), "sigEraseBtn"));
        MouseInput::drag(viewport, {{320, 250}, {320, 300}, {320, 350}});
        const QRectF swept(QPointF(275, 180), QPointF(365, 420));
        for (QGraphicsItem* item : scene->items()) {
            if (auto* stroke = qgraphicsitem_cast<MiniPathItem*>(item)) {
                for (const QPointF& p : stroke->getPolygon())
                    QVERIFY2(!swept.contains(p), "a stroke survived under the eraser");
            }
        }

        QVERIFY(QMetaObject::invokeMethod(board->tool(), "sigClear"));
        QCOMPARE(strokeItems(scene), 0);
        QVERIFY(QMetaObject::invokeMethod(board->tool(), "sigPen"));
    }

    static ScreenShot* openShot(MainWindow* board)
    {
        const QList<ScreenShot*> before = board->findChildren<ScreenShot*>();
        if (!QMetaObject::invokeMethod(board->tool(), "sigScreenShot"))
            return nullptr;
        for (ScreenShot* shot : board->findChildren<ScreenShot*>()) {
            if (!before.contains(shot))
                return shot;
        }
        return nullptr;
    }

private slots:
    void initTestCase()
    {
        m_device = QTest::createTouchDevice();
        qInstallMessageHandler(collectWarnings);
    }

    void init() { s_warnings.clear(); }

    // What the board and Qt said, each text once.
    void cleanup()
    {
        s_warnings.removeDuplicates();
        for (const QString& warning : qAsConst(s_warnings))
            qInfo("  warned: %s", qPrintable(warning));
    }

    void screenChangesSize()
    {
        RandrScreen screen;
        QVERIFY(screen.valid());
        std::unique_ptr<MainWindow> board(newBoard());
        QVERIFY(board);
        QCOMPARE(board->size(), QSize(1920, 1080));
        useBoard(board.get());

        // Smaller, while a finger and the mouse are down.
        QWidget* viewport = board->view()->viewport();
        QTest::touchEvent(board.get(), m_device).press(7, QPoint(700, 700), board.get());
        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, {1500, 900});
        QVERIFY(screen.shrinkTo(1280, 720));
        QTRY_COMPARE_WITH_TIMEOUT(QGuiApplication::primaryScreen()->geometry().size(),
                                  QSize(1280, 720), 10000);
        QTest::mouseMove(viewport, {1600, 950});
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, {1600, 950});
        QTest::touchEvent(board.get(), m_device).move(7, QPoint(760, 760), board.get());
        QTest::touchEvent(board.get(), m_device).release(7, QPoint(800, 800), board.get());
        QCOMPARE(board->size(), QSize(1920, 1080));
        QCOMPARE(Common::getInstance()->getDeskSize(), QSize(1920, 1080));
        QCOMPARE(board->scene()->sceneRect(), QRectF(0, 0, 1920, 1080));
        useBoard(board.get());
        QVERIFY(QMetaObject::invokeMethod(board->tool(), "sigSelectDesktop"));
        QVERIFY(QMetaObject::invokeMethod(board->tool(), "sigPen"));

        // A screenshot of the smaller screen.
        QSignalSpy pixmaps(board.get(), &MainWindow::sigScreenShotPixmap);
        QPointer<ScreenShot> shot = openShot(board.get());
        QVERIFY(shot);
        QTRY_COMPARE(shot->geometry(), QRect(0, 0, 1280, 720));
        MouseInput::drag(shot, {{100, 100}, {300, 200}, {500, 300}});
        QTest::mouseClick(shot->confirmButton(), Qt::LeftButton);
        QCOMPARE(pixmaps.count(), 1);
        QCOMPARE(pixmaps.first().first().value<QPixmap>().size(), shotSize(QSize(401, 201)));
        board->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(board.get()));

        // No monitor at all, then the screen back at its first size.
        // Qt then puts a screen without an output in the place of the
        // output's, under another name.
        const QString withOutput = QGuiApplication::primaryScreen()->name();
        QVERIFY(screen.disconnect());
        QTRY_VERIFY_WITH_TIMEOUT(QGuiApplication::primaryScreen()->name() != withOutput, 10000);
        qInfo("without an output: %d screen(s), the primary one %s at %dx%d",
              int(QGuiApplication::screens().size()),
              qPrintable(QGuiApplication::primaryScreen()->name()),
              QGuiApplication::primaryScreen()->geometry().width(),
              QGuiApplication::primaryScreen()->geometry().height());
        board->showSkeda();
        board->close();
        board->showSkeda();
        useBoard(board.get());
        QPointer<ScreenShot> blind = openShot(board.get());
        QVERIFY(blind);
        MouseInput::drag(blind, {{50, 50}, {150, 150}});
        blind->cancelButton()->click();
        QTRY_VERIFY(!blind);

        QVERIFY(screen.restore(1920, 1080));
        QTRY_COMPARE_WITH_TIMEOUT(QGuiApplication::primaryScreen()->geometry().size(),
                                  QSize(1920, 1080), 10000);
        board->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(board.get()));
        QCOMPARE(board->size(), QSize(1920, 1080));
        useBoard(board.get());
    }

    void offscreenBoard()
    {
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("offscreen"));
        std::unique_ptr<MainWindow> board(newBoard());
        QVERIFY(board);
        SkedaTool* tool = board->tool();
        QVERIFY(tool->isVisible());
        useBoard(board.get());

        // Desktop mode falls back to a window transparent for input.
        QVERIFY(QMetaObject::invokeMethod(tool, "sigSelectDesktop"));
        QVERIFY(board->windowFlags().testFlag(Qt::WindowTransparentForInput));
        QVERIFY(board->isVisible());
        QVERIFY(QMetaObject::invokeMethod(tool, "sigPen"));
        QVERIFY(!board->windowFlags().testFlag(Qt::WindowTransparentForInput));
        QVERIFY(QTest::qWaitForWindowExposed(board.get()));
        useBoard(board.get());

        // The pen popup, drawn by Qt Quick's software renderer (no OpenGL).
        auto* pen = tool->findChild<QAbstractButton*>(QStringLiteral("penButton"));
        auto* eraser = tool->findChild<QAbstractButton*>(QStringLiteral("eraserButton"));
        QVERIFY(pen && eraser);
        QCOMPARE(QQuickWindow::sceneGraphBackend(), QStringLiteral("software"));
        auto* popup = board->findChild<QQuickWidget*>(QStringLiteral("penPopup"));
        QVERIFY(popup);
        QCOMPARE(popup->status(), QQuickWidget::Ready);
        // A click on the checked pen button opens it; the first click on an
        // unchecked one only chooses the pen.
        QTest::mouseClick(pen, Qt::LeftButton);
        if (!popup->isVisible())
            QTest::mouseClick(pen, Qt::LeftButton);
        QTRY_VERIFY(popup->isVisible());
        const QImage drawn = popup->grabFramebuffer();
        QVERIFY(!drawn.isNull());
        bool painted = false;
        for (int y = 0; y < drawn.height() && !painted; y += 2) {
            for (int x = 0; x < drawn.width() && !painted; x += 2)
                painted = qAlpha(drawn.pixel(x, y)) > 0;
        }
        QVERIFY(painted);
        QVERIFY(QMetaObject::invokeMethod(tool, "onPenColor",
                                          Q_ARG(QVariant, QStringLiteral("#3498DB"))));
        QVERIFY(QMetaObject::invokeMethod(tool, "onPenSize", Q_ARG(QVariant, 12)));
        // A press on the board folds it away.
        QTest::mouseClick(board->view()->viewport(), Qt::LeftButton, Qt::NoModifier, {500, 200});
        QVERIFY(!popup->isVisible());

        // The clear panel.
        QWidget* panel = nullptr;
        for (QWidget* child : board->findChildren<QWidget*>()) {
            if (qstrcmp(child->metaObject()->className(), "EarsePanel") == 0)
                panel = child;
        }
        QVERIFY(panel);
        QVERIFY(!eraser->isChecked());
        QTest::mouseClick(eraser, Qt::LeftButton);
        QVERIFY(eraser->isChecked());
        QVERIFY(!panel->isVisible());
        QTest::mouseClick(eraser, Qt::LeftButton);
        QTRY_VERIFY(panel->isVisible());
        QTest::mouseClick(pen, Qt::LeftButton);
        QVERIFY(!panel->isVisible());

        // Screenshots: cancelled, then confirmed.
        QSignalSpy pixmaps(board.get(), &MainWindow::sigScreenShotPixmap);
        QPointer<ScreenShot> shot = openShot(board.get());
        QVERIFY(shot);
        QVERIFY(shot->isVisible());
        MouseInput::drag(shot, {{400, 300}, {600, 400}});
        QVERIFY(shot->cancelButton()->isVisible());
        QTest::mouseClick(shot->cancelButton(), Qt::LeftButton);
        QTRY_VERIFY(!shot);
        QCOMPARE(pixmaps.count(), 0);
        QVERIFY(board->isVisible());

        shot = openShot(board.get());
        QVERIFY(shot);
        MouseInput::drag(shot, {{400, 300}, {600, 400}});
        QTest::mouseClick(shot->confirmButton(), Qt::LeftButton);
        QCOMPARE(pixmaps.count(), 1);
        QCOMPARE(pixmaps.first().first().value<QPixmap>().size(), shotSize(QSize(201, 101)));
        QVERIFY(!board->isVisible());
        QVERIFY(!tool->isVisible());
        board->showSkeda();
        QVERIFY(board->isVisible() && tool->isVisible());

        QSignalSpy closed(board.get(), &MainWindow::sigSkedaClose);
        QVERIFY(QMetaObject::invokeMethod(tool, "sigClose"));
        QCOMPARE(closed.count(), 1);
        QVERIFY(!board->isVisible());
        board->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(board.get()));
        useBoard(board.get());
    }

    void twoScreenshotsAtOnce()
    {
        std::unique_ptr<MainWindow> board(newBoard());
        QVERIFY(board);
        QSignalSpy pixmaps(board.get(), &MainWindow::sigScreenShotPixmap);
        QPointer<ScreenShot> one = openShot(board.get());
        QPointer<ScreenShot> two = openShot(board.get());
        QVERIFY(one && two && one != two);
        MouseInput::drag(one, {{100, 100}, {149, 119}});
        MouseInput::drag(two, {{600, 500}, {679, 589}});

        // The second confirmed first; the first stays open over the closed
        // board, then is confirmed too. Each report carries its own picture,
        // although both write into the board's one result.
        QTest::mouseClick(two->confirmButton(), Qt::LeftButton);
        QCOMPARE(pixmaps.count(), 1);
        QCOMPARE(pixmaps.at(0).first().value<QPixmap>().size(), shotSize(QSize(80, 90)));
        QVERIFY(!board->isVisible());
        QVERIFY(one && one->isVisible());
        QTest::mouseClick(one->confirmButton(), Qt::LeftButton);
        QCOMPARE(pixmaps.count(), 2);
        QCOMPARE(pixmaps.at(1).first().value<QPixmap>().size(), shotSize(QSize(50, 20)));
        QTRY_VERIFY(!one && !two);
        board->showSkeda();

        // One cancelled and one confirmed, in either order.
        one = openShot(board.get());
        two = openShot(board.get());
        // Away from the screen's left edge: the button bar is centred under
        // the selection and would be cut off there.
        MouseInput::drag(one, {{200, 200}, {260, 240}});
        MouseInput::drag(two, {{300, 300}, {330, 320}});
        QTest::mouseClick(one->cancelButton(), Qt::LeftButton);
        QTRY_VERIFY(!one);
        QVERIFY(board->isVisible());
        QTest::mouseClick(two->confirmButton(), Qt::LeftButton);
        QCOMPARE(pixmaps.count(), 3);
        QCOMPARE(pixmaps.at(2).first().value<QPixmap>().size(), shotSize(QSize(31, 21)));
        QTRY_VERIFY(!two);

        // Both left open when the board goes: they go with it.
        board->showSkeda();
        one = openShot(board.get());
        two = openShot(board.get());
        board.reset();
        QVERIFY(!one && !two);
    }

    void nestedConfirm()
    {
        std::unique_ptr<MainWindow> board(newBoard());
        QVERIFY(board);
        QSignalSpy pixmaps(board.get(), &MainWindow::sigScreenShotPixmap);
        QPointer<ScreenShot> one = openShot(board.get());
        QPointer<ScreenShot> two = openShot(board.get());
        MouseInput::drag(one, {{100, 100}, {199, 149}});
        MouseInput::drag(two, {{500, 500}, {529, 519}});
        // The second is confirmed while the first waits for the screen to be
        // repainted without it.
        bool nested = false;
        QTimer::singleShot(10, two, [&] {
            nested = one && one->state() == 4;
            two->confirmButton()->click();
        });
        one->confirmButton()->click();
        QVERIFY(nested);
        QCOMPARE(pixmaps.count(), 2);
        const QSize first = pixmaps.at(0).first().value<QPixmap>().size();
        const QSize second = pixmaps.at(1).first().value<QPixmap>().size();
        QVERIFY((first == shotSize({30, 20}) && second == shotSize({100, 50})) ||
                (first == shotSize({100, 50}) && second == shotSize({30, 20})));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!one && !two);
        board->showSkeda();
        useBoard(board.get());
    }

    void showSkedaManyTimes()
    {
        std::unique_ptr<MainWindow> board(newBoard());
        QVERIFY(board);
        const int windows = QApplication::topLevelWidgets().size();
        const int children = board->findChildren<QObject*>().size();
        const qint64 heapBefore = HeapUsage::bytesInUse();
        for (int i = 0; i < 20000; ++i) {
            board->showSkeda();
            if (i % 1000 == 500) {
                board->close();
                board->tool()->hide();
            }
            if (i % 100 == 0)
                QCoreApplication::processEvents();
        }
        QVERIFY(QTest::qWaitForWindowExposed(board.get()));
        QVERIFY(board->isVisible());
        QVERIFY(board->tool()->isVisible());
        QCOMPARE(QApplication::topLevelWidgets().size(), windows);
        QCOMPARE(board->findChildren<QObject*>().size(), children);
        const qint64 heapAfter = HeapUsage::bytesInUse();
        QVERIFY2(heapAfter < heapBefore + 4 * 1024 * 1024,
                 qPrintable(QStringLiteral("%1 -> %2 bytes").arg(heapBefore).arg(heapAfter)));
        useBoard(board.get());
    }
};

QTEST_MAIN(TestFaults)
#include "tst_faults.moc"
