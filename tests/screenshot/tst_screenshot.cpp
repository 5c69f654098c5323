// The screenshot overlay's selection, hit regions, bar placement and
// painting, driven through the window system's input path. The expected
// numbers are those of a screen scaled by 1.0 (1920 pixels wide or
// narrower): handle hit radius 8, active ring 12, bar 136 x 82, bar gap 15
// and 30. Only the painting tests read the radii from the overlay, so that
// they also run on a 3840 x 2160 screen.

#include "common/common.h"
#include "screenshot/screencopy.h"
#include "screenshot/screenshot.h"
#include "widgets/mpushbutton_1.h"

#include "screenshottestutil.h"

#include <QGuiApplication>
#include <QLabel>
#include <QPointer>
#include <QScreen>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include <memory>

using namespace ShotTest;

namespace {

// The selection most tests start from: corners (200, 150) and (400, 300).
const QPoint kTopLeft(200, 150);
const QPoint kBottomRight(400, 300);

const QColor kMask(115, 115, 115, 200);
const QColor kBlue(20, 134, 250);

bool isWhite(const QImage& image, int x, int y)
{
    return near(image, x, y, 255, 255, 255, 255);
}

bool isMask(const QImage& image, int x, int y)
{
    return near(image, x, y, 115, 115, 115, 200);
}

// Non-transparent pixels of the image outside the given rectangle.
int inkOutside(const QImage& image, const QRect& excluded)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (!excluded.contains(x, y) && qAlpha(image.pixel(x, y)) != 0) {
                ++count;
            }
        }
    }
    return count;
}

// Renders a stand-alone button as the overlay's buttons are built.
QImage renderButton(const QString& caption, const QString& icon, const QSize& size)
{
    mPushButton_1 button;
    button.setFixedSize(size);
    button.setTextAndPixmap(caption, QPixmap(icon));
    return render(&button);
}

const QString kConfirmIcon = QStringLiteral(":/images/minimize/yuansu2@2x.png");
const QString kCancelIcon = QStringLiteral(":/images/minimize/yuansu1@2x.png");

} // namespace

class TestScreenShot : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    // Where a picture of the screen can be taken.
    void captureAwayFromWayland();

    // Construction and the texts.
    void startsInRectangleMode();
    void englishTexts();
    void chineseTextsComeBack();
    void otherModeOnlyResets();
    void cancelBeforeSelection();
    void twoOverlaysAtOnce();

    // Selection by mouse.
    void clickWithoutMovement();
    void dragUpLeftIsNormalised();
    void handles_data();
    void handles();
    void handleMidpointsAreRounded();
    void hitRadiusIsStrict();
    void insideAndOutside();
    void moveKeepsSize();
    void moveIsPinnedToTheScreen_data();
    void moveIsPinnedToTheScreen();
    void pressOutsideChangesNothing();
    void barCentredUnderSelection_data();
    void barCentredUnderSelection();
    void barMovesInsideNearTheBottom_data();
    void barMovesInsideNearTheBottom();
    void oddEventOrders();
    void movesWhileCapturing();

    // Free-hand mode.
    void freeHandBoundsComeFromPainting();
    void freeHandReleaseBeforeAnyPaint();
    void freeHandReleaseWithoutPress();
    void freeHandFinishedState();

    // Painting.
    void paintWholeScreenDimmed();
    void paintSelection();
    void paintActiveHandleRing_data();
    void paintActiveHandleRing();
    void paintNoRingWhileMoving();
    void paintNothingWhileCapturing();
    void paintFreeHand();

private:
    // A rectangle selected by a drag from a to b.
    void select(const QPoint& a, const QPoint& b);

    QWidget* m_parent = nullptr;
    QPointer<ScreenShot> m_shot;
    QPixmap m_result;
};

void TestScreenShot::initTestCase()
{
    Common::getInstance()->InitSize(QGuiApplication::primaryScreen()->geometry().size());
}

void TestScreenShot::init()
{
    m_parent = new QWidget;
    m_result = QPixmap();
    m_shot = new ScreenShot(&m_result, m_parent);
    m_shot->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_shot));
}

void TestScreenShot::cleanup()
{
    delete m_parent;
    m_parent = nullptr;
    flushDeletes();
    QVERIFY(!m_shot);
}

void TestScreenShot::select(const QPoint& a, const QPoint& b)
{
    drag(m_shot, a, b);
}

void TestScreenShot::startsInRectangleMode()
{
    ScreenShot* shot = m_shot;
    QCOMPARE(shot->state(), 0);
    QCOMPARE(shot->selectionPhase(), 0);
    QCOMPARE(shot->promptPhase(), 1);
    QCOMPARE(shot->hitRegion(), 10);
    QCOMPARE(shot->selection(), QRect());
    QCOMPARE(shot->pressPoint(), QPoint(0, 0));
    QVERIFY(!shot->isPressed());
    QVERIFY(shot->isChinese());
    QVERIFY(shot->freeHandPoints().isEmpty());
    QVERIFY(shot->freeHandPath().isEmpty());
    QCOMPARE(shot->freeHandBounds(), QRect(QPoint(0, 0), QPoint(0, 0)));
    QVERIFY(shot->hasMouseTracking());
    QVERIFY(shot->isWindow());
    QCOMPARE(shot->parentWidget(), m_parent);
    QCOMPARE(shot->geometry(), QRect(QPoint(0, 0), desktop().size()));

    QVERIFY(shot->promptLabel()->isVisible());
    QCOMPARE(shot->promptLabel()->text(), QStringLiteral("请拖拽一个区域"));
    QVERIFY(shot->buttonBar()->isHidden());
    QCOMPARE(shot->confirmButton()->parentWidget(), shot->buttonBar());
    QCOMPARE(shot->cancelButton()->parentWidget(), shot->buttonBar());
    QVERIFY(shot->confirmButton()->isCheckable());

    // The captions and icons as built: compare with buttons made the same
    // way (the captions are drawn, not stored in QPushButton::text()).
    const QSize size = shot->confirmButton()->size();
    QCOMPARE(render(shot->confirmButton()),
             renderButton(QStringLiteral("确定"), kConfirmIcon, size));
    QCOMPARE(render(shot->cancelButton()), renderButton(QStringLiteral("取消"), kCancelIcon, size));
    QVERIFY(render(shot->confirmButton()) !=
            renderButton(QStringLiteral("取消"), kConfirmIcon, size));
}

void TestScreenShot::englishTexts()
{
    ScreenShot* shot = m_shot;
    const QSize size = shot->confirmButton()->size();
    // The comparison below can tell the captions apart.
    QVERIFY(renderButton(QStringLiteral("Yes"), kConfirmIcon, size) !=
            renderButton(QStringLiteral("确定"), kConfirmIcon, size));
    QVERIFY(renderButton(QStringLiteral("No"), kCancelIcon, size) !=
            renderButton(QStringLiteral("取消"), kCancelIcon, size));

    shot->updateLanguage(false);
    QVERIFY(!shot->isChinese());
    QCOMPARE(render(shot->confirmButton()),
             renderButton(QStringLiteral("Yes"), kConfirmIcon, size));
    QCOMPARE(render(shot->cancelButton()), renderButton(QStringLiteral("No"), kCancelIcon, size));
    // The prompt follows on the next change of mode only.
    QCOMPARE(shot->promptLabel()->text(), QStringLiteral("请拖拽一个区域"));

    shot->changeFreeShot(1);
    QCOMPARE(shot->promptLabel()->text(), QStringLiteral("Please Drag An Rect Area"));
    QCOMPARE(shot->state(), 0);

    shot->changeFreeShot(2);
    QCOMPARE(shot->promptLabel()->text(), QStringLiteral("Please Draw A Custom Area"));
    QCOMPARE(shot->state(), 1);
    QVERIFY(!shot->hasMouseTracking());
}

void TestScreenShot::chineseTextsComeBack()
{
    ScreenShot* shot = m_shot;
    const QSize size = shot->confirmButton()->size();
    shot->updateLanguage(false);
    shot->updateLanguage(true);
    QVERIFY(shot->isChinese());
    QCOMPARE(render(shot->confirmButton()),
             renderButton(QStringLiteral("确定"), kConfirmIcon, size));
    QCOMPARE(render(shot->cancelButton()), renderButton(QStringLiteral("取消"), kCancelIcon, size));
    shot->changeFreeShot(2);
    QCOMPARE(shot->promptLabel()->text(), QStringLiteral("请自由绘制一个区域截图"));
    shot->changeFreeShot(1);
    QCOMPARE(shot->promptLabel()->text(), QStringLiteral("请拖拽一个区域"));
    QVERIFY(shot->hasMouseTracking());
}

void TestScreenShot::otherModeOnlyResets()
{
    ScreenShot* shot = m_shot;
    select(kTopLeft, kBottomRight);
    QVERIFY(!shot->promptLabel()->isVisible());
    shot->move(10, 20);
    QCOMPARE(shot->geometry(), QRect(QPoint(10, 20), desktop().size()));

    shot->changeFreeShot(5);
    QCOMPARE(shot->state(), 0);
    QCOMPARE(shot->selectionPhase(), 2);
    QCOMPARE(shot->selection(), QRect());
    QCOMPARE(shot->promptPhase(), 1);
    QVERIFY(shot->promptLabel()->isVisible());
    QCOMPARE(shot->savedGeometry(), QRect(QPoint(10, 20), desktop().size()));
    QCOMPARE(shot->geometry(), QRect(QPoint(0, 0), desktop().size()));
    QVERIFY(shot->isVisible());
}

void TestScreenShot::cancelBeforeSelection()
{
    QPixmap mine(7, 5);
    mine.fill(Qt::red);
    const QImage before = mine.toImage();
    QPointer<ScreenShot> shot = new ScreenShot(&mine, m_parent);
    QSignalSpy spy(shot.data(), &ScreenShot::newPixmap);
    QSignalSpy desktopSpy(shot.data(), &ScreenShot::showDesktop);
    QVERIFY(QTest::qWaitForWindowExposed(shot));

    shot->cancelButton()->click();
    QVERIFY(shot); // deleted later, not at once
    flushDeletes();
    QVERIFY(!shot);
    QCOMPARE(spy.count(), 0);
    QCOMPARE(desktopSpy.count(), 0);
    QCOMPARE(mine.toImage(), before);
    QVERIFY(m_shot); // the other overlay is untouched
}

void TestScreenShot::twoOverlaysAtOnce()
{
    QPixmap second;
    QPointer<ScreenShot> other = new ScreenShot(&second, m_parent);
    QVERIFY(QTest::qWaitForWindowExposed(other));

    send(m_shot, QEvent::MouseButtonPress, QPoint(20, 30));
    send(other, QEvent::MouseButtonPress, QPoint(50, 60));
    send(m_shot, QEvent::MouseMove, QPoint(120, 130));
    send(other, QEvent::MouseMove, QPoint(250, 160));
    send(other, QEvent::MouseButtonRelease, QPoint(250, 160));
    send(m_shot, QEvent::MouseButtonRelease, QPoint(120, 130));
    QCOMPARE(m_shot->selection(), QRect(QPoint(20, 30), QPoint(120, 130)));
    QCOMPARE(other->selection(), QRect(QPoint(50, 60), QPoint(250, 160)));

    other->cancelButton()->click();
    flushDeletes();
    QVERIFY(!other);
    QVERIFY(m_shot);
    QCOMPARE(m_shot->selection(), QRect(QPoint(20, 30), QPoint(120, 130)));
}

void TestScreenShot::clickWithoutMovement()
{
    ScreenShot* shot = m_shot;
    press(shot, QPoint(300, 200));
    QVERIFY(shot->isPressed());
    QCOMPARE(shot->selectionPhase(), 1);
    QCOMPARE(shot->hitRegion(), 8);
    QCOMPARE(shot->pressPoint(), QPoint(300, 200));
    QCOMPARE(shot->promptPhase(), 2);
    QVERIFY(!shot->promptLabel()->isVisible());
    release(shot, QPoint(300, 200));

    QCOMPARE(shot->selection(), QRect(300, 200, 1, 1));
    QCOMPARE(shot->selectionPhase(), 2);
    QVERIFY(!shot->isPressed());
    QCOMPARE(shot->freeHandBounds(), QRect(300, 200, 1, 1));
    QVERIFY(shot->buttonBar()->isVisible());
    // x = 300 + (0 - 135) / 2, with division truncating towards zero.
    QCOMPARE(shot->buttonBar()->pos(), QPoint(233, 215));
}

void TestScreenShot::dragUpLeftIsNormalised()
{
    ScreenShot* shot = m_shot;
    press(shot, QPoint(500, 400));
    moveTo(shot, QPoint(400, 300));
    moveTo(shot, QPoint(300, 200));
    // While drawing, the corners are kept as dragged.
    QCOMPARE(shot->selection().topLeft(), QPoint(500, 400));
    QCOMPARE(shot->selection().bottomRight(), QPoint(300, 200));
    release(shot, QPoint(300, 200));
    // min / max of the corners, not QRect::normalized().
    QCOMPARE(shot->selection(), QRect(QPoint(300, 200), QPoint(500, 400)));
    QCOMPARE(shot->freeHandBounds(), QRect(QPoint(300, 200), QPoint(500, 400)));
    QCOMPARE(shot->buttonBar()->pos(), QPoint(300 + (200 - 135) / 2, 415));
}

void TestScreenShot::handles_data()
{
    QTest::addColumn<int>("region");
    QTest::addColumn<QPoint>("handle");
    QTest::addColumn<int>("cursor");
    QTest::addColumn<QPoint>("target");
    QTest::addColumn<QRect>("expected");

    // From the selection (200, 150)-(400, 300).
    QTest::newRow("1 top middle") << 1 << QPoint(300, 150) << int(Qt::SizeVerCursor)
                                  << QPoint(310, 100) << QRect(QPoint(200, 100), QPoint(400, 300));
    QTest::newRow("2 top-left") << 2 << QPoint(200, 150) << int(Qt::SizeFDiagCursor)
                                << QPoint(150, 120) << QRect(QPoint(150, 120), QPoint(400, 300));
    QTest::newRow("3 top-right") << 3 << QPoint(400, 150) << int(Qt::SizeBDiagCursor)
                                 << QPoint(450, 120) << QRect(QPoint(200, 120), QPoint(450, 300));
    QTest::newRow("4 left middle") << 4 << QPoint(200, 225) << int(Qt::SizeHorCursor)
                                   << QPoint(150, 260) << QRect(QPoint(150, 150), QPoint(400, 300));
    QTest::newRow("5 right middle")
        << 5 << QPoint(400, 225) << int(Qt::SizeHorCursor) << QPoint(500, 100)
        << QRect(QPoint(200, 150), QPoint(500, 300));
    QTest::newRow("6 bottom middle")
        << 6 << QPoint(300, 300) << int(Qt::SizeVerCursor) << QPoint(250, 350)
        << QRect(QPoint(200, 150), QPoint(400, 350));
    QTest::newRow("7 bottom-left") << 7 << QPoint(200, 300) << int(Qt::SizeBDiagCursor)
                                   << QPoint(150, 350) << QRect(QPoint(150, 150), QPoint(400, 350));
    QTest::newRow("8 bottom-right")
        << 8 << QPoint(400, 300) << int(Qt::SizeFDiagCursor) << QPoint(450, 350)
        << QRect(QPoint(200, 150), QPoint(450, 350));
    // Pulled across the opposite corner: normalised on release.
    QTest::newRow("2 across") << 2 << QPoint(200, 150) << int(Qt::SizeFDiagCursor)
                              << QPoint(500, 400) << QRect(QPoint(400, 300), QPoint(500, 400));
    // One past the opposite edge: min / max of the corners gives a
    // rectangle 2 wide (QRect::normalized() would leave it empty).
    QTest::newRow("5 just across") << 5 << QPoint(400, 225) << int(Qt::SizeHorCursor)
                                   << QPoint(199, 225) << QRect(QPoint(199, 150), QPoint(200, 300));
    QTest::newRow("6 just across") << 6 << QPoint(300, 300) << int(Qt::SizeVerCursor)
                                   << QPoint(300, 149) << QRect(QPoint(200, 149), QPoint(400, 150));
    QTest::newRow("5 across") << 5 << QPoint(400, 225) << int(Qt::SizeHorCursor) << QPoint(120, 225)
                              << QRect(QPoint(120, 150), QPoint(200, 300));
}

void TestScreenShot::handles()
{
    QFETCH(int, region);
    QFETCH(QPoint, handle);
    QFETCH(int, cursor);
    QFETCH(QPoint, target);
    QFETCH(QRect, expected);

    ScreenShot* shot = m_shot;
    select(kTopLeft, kBottomRight);
    QCOMPARE(shot->selection(), QRect(kTopLeft, kBottomRight));

    // Hovering 5 pixels away from the handle.
    const QPoint near = handle + QPoint(3, -4);
    moveTo(shot, near);
    QCOMPARE(shot->hitRegion(), region);
    QCOMPARE(int(shot->cursor().shape()), cursor);
    QCOMPARE(shot->getMousePos(near), region);

    press(shot, near);
    QCOMPARE(shot->hitRegion(), region);
    QCOMPARE(shot->pressPoint(), near - kTopLeft);
    QVERIFY(shot->buttonBar()->isHidden());
    moveTo(shot, (near + target) / 2);
    moveTo(shot, target);
    release(shot, target);
    QCOMPARE(shot->selection(), expected);
    QCOMPARE(shot->selectionPhase(), 2);
    QVERIFY(shot->buttonBar()->isVisible());
}

void TestScreenShot::handleMidpointsAreRounded()
{
    ScreenShot* shot = m_shot;
    // Midpoints (201 + 400) / 2 = 300.5 and (151 + 300) / 2 = 225.5 round up.
    select(QPoint(201, 151), QPoint(400, 300));
    QCOMPARE(shot->getMousePos(QPoint(308, 151)), 1); // 7 from (301, 151)
    QCOMPARE(shot->getMousePos(QPoint(201, 233)), 4); // 7 from (201, 226)
    QCOMPARE(shot->getMousePos(QPoint(308, 300)), 6); // 7 from (301, 300)
    // Rounded down instead, these would be 8 away and miss.
    QCOMPARE(shot->getMousePos(QPoint(294, 151)), 1);
    QCOMPARE(shot->getMousePos(QPoint(309, 151)), 9);
}

void TestScreenShot::hitRadiusIsStrict()
{
    ScreenShot* shot = m_shot;
    select(kTopLeft, kBottomRight);
    QCOMPARE(shot->handleHitRadius(), 8);

    // Exactly 8 away from the top-left handle: outside, then inside.
    QCOMPARE(shot->getMousePos(QPoint(192, 150)), 10);
    QCOMPARE(shot->cursor().shape(), Qt::ArrowCursor);
    QCOMPARE(shot->getMousePos(QPoint(193, 150)), 2);
    QCOMPARE(shot->cursor().shape(), Qt::SizeFDiagCursor);
    QCOMPARE(shot->getMousePos(QPoint(208, 150)), 9);
    QCOMPARE(shot->cursor().shape(), Qt::SizeAllCursor);
    QCOMPARE(shot->getMousePos(QPoint(200, 158)), 9);
    QCOMPARE(shot->getMousePos(QPoint(200, 157)), 2);

    // The same through hovering.
    moveTo(shot, QPoint(400, 308));
    QCOMPARE(shot->hitRegion(), 10);
    QCOMPARE(shot->cursor().shape(), Qt::ArrowCursor);
    moveTo(shot, QPoint(400, 307));
    QCOMPARE(shot->hitRegion(), 8);
    QCOMPARE(shot->cursor().shape(), Qt::SizeFDiagCursor);
}

void TestScreenShot::insideAndOutside()
{
    ScreenShot* shot = m_shot;
    select(kTopLeft, kBottomRight);
    moveTo(shot, QPoint(300, 220));
    QCOMPARE(shot->hitRegion(), 9);
    QCOMPARE(shot->cursor().shape(), Qt::SizeAllCursor);
    moveTo(shot, QPoint(250, 300)); // on the bottom edge, between handles
    QCOMPARE(shot->hitRegion(), 9);
    moveTo(shot, QPoint(250, 301));
    QCOMPARE(shot->hitRegion(), 10);
    QCOMPARE(shot->cursor().shape(), Qt::ArrowCursor);
    moveTo(shot, QPoint(600, 500));
    QCOMPARE(shot->hitRegion(), 10);
}

void TestScreenShot::moveKeepsSize()
{
    ScreenShot* shot = m_shot;
    select(kTopLeft, kBottomRight);
    press(shot, QPoint(300, 200));
    QCOMPARE(shot->hitRegion(), 9);
    QCOMPARE(shot->pressPoint(), QPoint(100, 50));
    moveTo(shot, QPoint(330, 260));
    QCOMPARE(shot->selection(), QRect(QPoint(230, 210), QPoint(430, 360)));
    moveTo(shot, QPoint(101, 60)); // x1 = 1 stays
    QCOMPARE(shot->selection(), QRect(QPoint(1, 10), QPoint(201, 160)));
    release(shot, QPoint(101, 60));
    QCOMPARE(shot->selection(), QRect(QPoint(1, 10), QPoint(201, 160)));
    QVERIFY(shot->buttonBar()->isVisible());
    QCOMPARE(shot->buttonBar()->pos(), QPoint(1 + (200 - 135) / 2, 175));
}

void TestScreenShot::moveIsPinnedToTheScreen_data()
{
    const int w = desktop().width();
    const int h = desktop().height();
    QTest::addColumn<QPoint>("target");
    QTest::addColumn<QRect>("expected");
    // Pressed at (300, 200), 100 right of and 50 below the top-left corner.
    QTest::newRow("left") << QPoint(50, 200) << QRect(QPoint(0, 150), QPoint(200, 300));
    QTest::newRow("exactly left") << QPoint(100, 200) << QRect(QPoint(0, 150), QPoint(200, 300));
    QTest::newRow("right") << QPoint(w - 10, 200)
                           << QRect(QPoint(w - 1 - 200, 150), QPoint(w - 1, 300));
    QTest::newRow("top") << QPoint(300, 20) << QRect(QPoint(200, 0), QPoint(400, 150));
    QTest::newRow("bottom") << QPoint(300, h - 10)
                            << QRect(QPoint(200, h - 1 - 150), QPoint(400, h - 1));
    QTest::newRow("corner") << QPoint(w - 2, h - 2)
                            << QRect(QPoint(w - 201, h - 151), QPoint(w - 1, h - 1));
}

void TestScreenShot::moveIsPinnedToTheScreen()
{
    QFETCH(QPoint, target);
    QFETCH(QRect, expected);
    ScreenShot* shot = m_shot;
    select(kTopLeft, kBottomRight);
    press(shot, QPoint(300, 200));
    moveTo(shot, target);
    QCOMPARE(shot->selection(), expected);
    release(shot, target);
    QCOMPARE(shot->selection(), expected);
}

void TestScreenShot::pressOutsideChangesNothing()
{
    ScreenShot* shot = m_shot;
    select(kTopLeft, kBottomRight);
    const QPoint barPos = shot->buttonBar()->pos();
    press(shot, QPoint(600, 500));
    QCOMPARE(shot->hitRegion(), 10);
    QVERIFY(shot->buttonBar()->isHidden());
    moveTo(shot, QPoint(650, 550));
    QCOMPARE(shot->selection(), QRect(kTopLeft, kBottomRight));
    release(shot, QPoint(650, 550));
    QCOMPARE(shot->selection(), QRect(kTopLeft, kBottomRight));
    QVERIFY(shot->buttonBar()->isVisible());
    QCOMPARE(shot->buttonBar()->pos(), barPos);
}

void TestScreenShot::barCentredUnderSelection_data()
{
    QTest::addColumn<QPoint>("from");
    QTest::addColumn<QPoint>("to");
    QTest::addColumn<QPoint>("bar");
    // x = x1 + ((x2 - x1) - 135) / 2, truncated towards zero.
    QTest::newRow("wide") << kTopLeft << kBottomRight << QPoint(232, 315);
    QTest::newRow("odd") << QPoint(100, 100) << QPoint(336, 200) << QPoint(150, 215);
    QTest::newRow("as wide as the bar") << QPoint(100, 100) << QPoint(235, 200) << QPoint(100, 215);
    QTest::newRow("narrow") << QPoint(300, 100) << QPoint(310, 200) << QPoint(238, 215);
    QTest::newRow("narrow, odd") << QPoint(300, 100) << QPoint(311, 200) << QPoint(238, 215);
}

void TestScreenShot::barCentredUnderSelection()
{
    QFETCH(QPoint, from);
    QFETCH(QPoint, to);
    QFETCH(QPoint, bar);
    ScreenShot* shot = m_shot;
    QCOMPARE(shot->buttonBar()->size(), QSize(136, 82));
    select(from, to);
    QCOMPARE(shot->buttonBar()->pos(), bar);
    QVERIFY(shot->buttonBar()->isVisible());
}

void TestScreenShot::barMovesInsideNearTheBottom_data()
{
    const int h = desktop().height();
    QTest::addColumn<int>("bottom");
    QTest::addColumn<int>("barY");
    QTest::newRow("room below") << h - 97 << h - 82;      // ends exactly at the bottom
    QTest::newRow("one short") << h - 96 << h - 81 - 112; // y + 82 > h: up by 82 + 30
    QTest::newRow("near the edge") << h - 50 << h - 35 - 112;
    QTest::newRow("at the edge") << h - 1 << h + 14 - 112;
}

void TestScreenShot::barMovesInsideNearTheBottom()
{
    QFETCH(int, bottom);
    QFETCH(int, barY);
    ScreenShot* shot = m_shot;
    select(QPoint(100, bottom - 100), QPoint(300, bottom));
    QCOMPARE(shot->selection().bottom(), bottom);
    QCOMPARE(shot->buttonBar()->pos(), QPoint(132, barY));
}

void TestScreenShot::oddEventOrders()
{
    ScreenShot* shot = m_shot;
    // A release without a press: no bar, the prompt stays. The empty
    // selection's corners (0, 0) and (-1, -1) are put in order.
    send(shot, QEvent::MouseButtonRelease, QPoint(100, 100));
    QCOMPARE(shot->selection(), QRect(QPoint(-1, -1), QPoint(0, 0)));
    QVERIFY(!shot->isPressed());
    QVERIFY(shot->buttonBar()->isHidden());
    QVERIFY(shot->promptLabel()->isVisible());
    QCOMPARE(shot->selectionPhase(), 0);
    // Moves with no button down only update the hover region.
    send(shot, QEvent::MouseMove, QPoint(50, 50));
    QCOMPARE(shot->hitRegion(), 10);

    // Events before the overlay is shown are handled as usual.
    shot->hide();
    send(shot, QEvent::MouseButtonPress, QPoint(20, 30));
    send(shot, QEvent::MouseMove, QPoint(60, 70));
    send(shot, QEvent::MouseButtonRelease, QPoint(60, 70));
    QCOMPARE(shot->selection(), QRect(QPoint(20, 30), QPoint(60, 70)));
    // Two releases in a row: the second one changes nothing.
    send(shot, QEvent::MouseButtonRelease, QPoint(90, 90));
    QCOMPARE(shot->selection(), QRect(QPoint(20, 30), QPoint(60, 70)));
    shot->show();
    QVERIFY(QTest::qWaitForWindowExposed(shot));
    QVERIFY(shot->buttonBar()->isVisible());

    // Two presses in a row: the second grabs what lies under it.
    send(shot, QEvent::MouseButtonPress, QPoint(40, 50));
    send(shot, QEvent::MouseButtonPress, QPoint(40, 50));
    QCOMPARE(shot->hitRegion(), 9);
    QCOMPARE(shot->pressPoint(), QPoint(20, 20));
    send(shot, QEvent::MouseButtonRelease, QPoint(40, 50));
    QCOMPARE(shot->selection(), QRect(QPoint(20, 30), QPoint(60, 70)));
}

void TestScreenShot::movesWhileCapturing()
{
    ScreenShot* shot = m_shot;
    select(kTopLeft, kBottomRight);
    QSignalSpy spy(shot, &ScreenShot::newPixmap);
    QPoint moved;
    bool pressed = false;
    bool released = true;
    QTimer::singleShot(0, shot, [&] {
        QCOMPARE(shot->state(), 4);
        sendAt(shot, QEvent::MouseButtonPress, QPoint(50, 60), QPoint(50, 60));
        pressed = shot->isPressed();
        sendAt(shot, QEvent::MouseMove, QPoint(60, 70), QPoint(150, 260));
        moved = shot->pos();
        sendAt(shot, QEvent::MouseButtonRelease, QPoint(60, 70), QPoint(150, 260));
        released = !shot->isPressed();
    });
    shot->confirmButton()->click();

    QVERIFY(pressed);
    QCOMPARE(moved, QPoint(100, 200)); // the window followed the mouse
    QVERIFY(released);
    QCOMPARE(spy.count(), 1);
    // Back at its geometry from before it went full screen, and hidden.
    QCOMPARE(shot->geometry(), shot->savedGeometry());
    QVERIFY(!shot->isVisible());
    QCOMPARE(shot->selection(), QRect(kTopLeft, kBottomRight));
    flushDeletes();
    QVERIFY(!m_shot);
}

void TestScreenShot::freeHandBoundsComeFromPainting()
{
    ScreenShot* shot = m_shot;
    shot->changeFreeShot(2);
    send(shot, QEvent::MouseButtonPress, QPoint(100, 100));
    send(shot, QEvent::MouseMove, QPoint(200, 150));
    send(shot, QEvent::MouseMove, QPoint(150, 250));
    QCOMPARE(shot->freeHandPoints(),
             QVector<QPoint>({QPoint(100, 100), QPoint(200, 150), QPoint(150, 250)}));
    QCOMPARE(shot->freeHandBounds(), QRect(QPoint(0, 0), QPoint(0, 0))); // not painted yet
    render(shot);
    QCOMPARE(shot->freeHandBounds(), QRect(QPoint(100, 100), QPoint(200, 250)));

    // The release point (300, 300) is not in the bounds yet.
    QTest::ignoreMessage(QtDebugMsg, "mrect12 QRect(100,100 101x151)");
    send(shot, QEvent::MouseButtonRelease, QPoint(300, 300));
    QCOMPARE(shot->state(), 3);
    QCOMPARE(shot->selection(), QRect(QPoint(100, 100), QPoint(200, 250)));
    QCOMPARE(shot->freeHandPoints().size(), 4);
    QVERIFY(shot->buttonBar()->isVisible());
    QCOMPARE(shot->buttonBar()->pos(), QPoint(100 + (100 - 135) / 2, 265));
    QCOMPARE(shot->buttonBar()->pos(), QPoint(83, 265));

    // The next paint takes the release point in; the selection stays.
    render(shot);
    QCOMPARE(shot->freeHandBounds(), QRect(QPoint(100, 100), QPoint(300, 300)));
    QCOMPARE(shot->selection(), QRect(QPoint(100, 100), QPoint(200, 250)));
}

void TestScreenShot::freeHandReleaseBeforeAnyPaint()
{
    ScreenShot* shot = m_shot;
    shot->changeFreeShot(2);
    QTest::ignoreMessage(QtDebugMsg, "mrect12 QRect(0,0 1x1)");
    send(shot, QEvent::MouseButtonPress, QPoint(300, 300));
    send(shot, QEvent::MouseButtonRelease, QPoint(300, 300));
    QCOMPARE(shot->selection(), QRect(0, 0, 1, 1));
    QCOMPARE(shot->state(), 3);

    // A painted stroke, then a new one released before any paint: the
    // bounds of the previous paint.
    shot->changeFreeShot(2);
    QVERIFY(shot->freeHandPoints().isEmpty());
    QVERIFY(shot->freeHandPath().isEmpty());
    send(shot, QEvent::MouseButtonPress, QPoint(50, 60));
    send(shot, QEvent::MouseMove, QPoint(70, 90));
    render(shot);
    QVERIFY(!shot->freeHandPath().isEmpty());
    QTest::ignoreMessage(QtDebugMsg, "mrect12 QRect(50,60 21x31)");
    send(shot, QEvent::MouseButtonRelease, QPoint(70, 90));

    shot->changeFreeShot(2);
    QTest::ignoreMessage(QtDebugMsg, "mrect12 QRect(50,60 21x31)");
    send(shot, QEvent::MouseButtonPress, QPoint(400, 400));
    send(shot, QEvent::MouseMove, QPoint(410, 420));
    send(shot, QEvent::MouseButtonRelease, QPoint(420, 440));
    QCOMPARE(shot->selection(), QRect(QPoint(50, 60), QPoint(70, 90)));
}

void TestScreenShot::freeHandReleaseWithoutPress()
{
    ScreenShot* shot = m_shot;
    shot->changeFreeShot(2);
    send(shot, QEvent::MouseButtonRelease, QPoint(300, 300));
    QCOMPARE(shot->state(), 1);
    QCOMPARE(shot->selection(), QRect());
    QVERIFY(shot->freeHandPoints().isEmpty());
    QVERIFY(shot->buttonBar()->isHidden());
    QVERIFY(shot->promptLabel()->isVisible());
}

void TestScreenShot::freeHandFinishedState()
{
    ScreenShot* shot = m_shot;
    shot->changeFreeShot(2);
    press(shot, QPoint(100, 100));
    moveTo(shot, QPoint(200, 120));
    moveTo(shot, QPoint(180, 200));
    // The bounds come from the last paint; one is made here rather than
    // left to the event loop's timing.
    render(shot);
    QTest::ignoreMessage(QtDebugMsg, "mrect12 QRect(100,100 101x101)");
    release(shot, QPoint(100, 180));
    QCOMPARE(shot->state(), 3);
    const QPoint barPos = shot->buttonBar()->pos();
    const int points = shot->freeHandPoints().size();

    // Presses hide the bar, moves add nothing, releases show it again.
    press(shot, QPoint(400, 400));
    QVERIFY(shot->buttonBar()->isHidden());
    moveTo(shot, QPoint(420, 420));
    release(shot, QPoint(420, 420));
    QCOMPARE(shot->state(), 3);
    QCOMPARE(shot->freeHandPoints().size(), points);
    QCOMPARE(shot->selection(), QRect(QPoint(100, 100), QPoint(200, 200)));
    QVERIFY(shot->buttonBar()->isVisible());
    QCOMPARE(shot->buttonBar()->pos(), barPos);
}

void TestScreenShot::paintWholeScreenDimmed()
{
    ScreenShot* shot = m_shot;
    const QImage image = render(shot);
    const int w = shot->width();
    const int h = shot->height();
    QCOMPARE(image.size(), desktop().size());
    VERIFY_COLOUR(image, 0, 0, 115, 115, 115, 200);
    VERIFY_COLOUR(image, w - 1, h - 1, 115, 115, 115, 200);
    VERIFY_COLOUR(image, w / 2, 5, 115, 115, 115, 200);
    VERIFY_COLOUR(image, 5, h / 2, 115, 115, 115, 200);
    // Not a pixel of the screen is left undimmed or drawn over, except for
    // the prompt's white text.
    const QRect label = shot->promptLabel()->geometry();
    int other = 0;
    int text = 0;
    for (int y = 0; y < h; y += 3) {
        for (int x = 0; x < w; x += 3) {
            if (!isMask(image, x, y)) {
                ++(label.contains(x, y) ? text : other);
            }
        }
    }
    QCOMPARE(other, 0);
    QVERIFY(text > 0);
    int white = 0;
    for (int y = label.top(); y <= label.bottom(); ++y) {
        for (int x = label.left(); x <= label.right(); ++x) {
            white += isWhite(image, x, y) ? 1 : 0;
        }
    }
    QVERIFY2(white > 50, qPrintable(QString::number(white)));
}

void TestScreenShot::paintSelection()
{
    ScreenShot* shot = m_shot;
    const int r = shot->handleHitRadius();
    // Well inside the screen also when the radii are scaled.
    const QPoint a(200, 150);
    const QPoint b(500, 400);
    select(a, b);
    const QImage image = render(shot);

    // Dimmed outside, untouched inside.
    VERIFY_COLOUR(image, 100, 100, 115, 115, 115, 200);
    VERIFY_COLOUR(image, a.x() - 3 * r, 300, 115, 115, 115, 200);
    VERIFY_COLOUR(image, 350, a.y() - 3 * r, 115, 115, 115, 200);
    QCOMPARE(qAlpha(image.pixel(350, 330)), 0);
    QCOMPARE(qAlpha(image.pixel(a.x() + 3 * r, 300)), 0);
    QCOMPARE(qAlpha(image.pixel(b.x() - 3 * r, 200)), 0);

    // The border: blue on the selection's edge, on every side, between the
    // handles. The edge pixels are covered by the 1-pixel pen.
    const QVector<QPoint> edge = {QPoint(275, a.y()), QPoint(275, b.y()), QPoint(a.x(), 220),
                                  QPoint(b.x(), 330)};
    for (const QPoint& p : edge) {
        const QRgb c = image.pixel(p);
        QVERIFY2(qAlpha(c) >= 100 && qAbs(qRed(c) - 20) <= 2 && qAbs(qGreen(c) - 134) <= 2 &&
                     qAbs(qBlue(c) - 250) <= 2,
                 qPrintable(describe(image, p.x(), p.y())));
    }
    // The line is thin: two pixels inside it the selection is clear again.
    QCOMPARE(qAlpha(image.pixel(275, a.y() + 2)), 0);
    QCOMPARE(qAlpha(image.pixel(a.x() + 2, 220)), 0);

    // The eight handle dots, solid blue, R across; nothing is drawn round
    // them when no handle is held.
    const QVector<QPoint> handles = {QPoint(350, 150), QPoint(200, 150), QPoint(500, 150),
                                     QPoint(200, 275), QPoint(500, 275), QPoint(350, 400),
                                     QPoint(200, 400), QPoint(500, 400)};
    for (const QPoint& h : handles) {
        VERIFY_COLOUR(image, h.x(), h.y(), 20, 134, 250, 255);
        VERIFY_COLOUR(image, h.x() + r / 2, h.y() - r / 2, 20, 134, 250, 255);
        VERIFY_COLOUR(image, h.x() - r + 2, h.y(), 20, 134, 250, 255);
        // Just past the dot: the selection's interior or the mask.
        const QPoint out(h.x() + (h.x() == 500 ? -1 : 1) * (r + 2),
                         h.y() + (h.y() == 400 ? -1 : 1) * (r + 2));
        const QRgb c = image.pixel(out);
        QVERIFY2(qAlpha(c) == 0, qPrintable(describe(image, out.x(), out.y())));
        const QPoint beyond(h.x() - (h.x() == 500 ? -1 : 1) * (r + 2),
                            h.y() - (h.y() == 400 ? -1 : 1) * (r + 2));
        VERIFY_COLOUR(image, beyond.x(), beyond.y(), 115, 115, 115, 200);
    }

    // The bar: white.
    const QRect bar = shot->buttonBar()->geometry();
    QVERIFY(shot->buttonBar()->isVisible());
    VERIFY_COLOUR(image, bar.center().x(), bar.top() + 3, 255, 255, 255, 255);
}

void TestScreenShot::paintActiveHandleRing_data()
{
    QTest::addColumn<int>("region");
    QTest::addColumn<QPoint>("handle");
    // The selection (200, 150)-(500, 400).
    QTest::newRow("1") << 1 << QPoint(350, 150);
    QTest::newRow("2") << 2 << QPoint(200, 150);
    QTest::newRow("3") << 3 << QPoint(500, 150);
    QTest::newRow("4") << 4 << QPoint(200, 275);
    QTest::newRow("5") << 5 << QPoint(500, 275);
    QTest::newRow("6") << 6 << QPoint(350, 400);
    QTest::newRow("7") << 7 << QPoint(200, 400);
    QTest::newRow("8") << 8 << QPoint(500, 400);
}

void TestScreenShot::paintActiveHandleRing()
{
    QFETCH(int, region);
    QFETCH(QPoint, handle);
    ScreenShot* shot = m_shot;
    const int r = shot->handleHitRadius();
    const int a = shot->activeHandleRadius();
    QVERIFY(a - r >= 4);
    select(QPoint(200, 150), QPoint(500, 400));
    const QVector<QPoint> all = {QPoint(350, 150), QPoint(200, 150), QPoint(500, 150),
                                 QPoint(200, 275), QPoint(500, 275), QPoint(350, 400),
                                 QPoint(200, 400), QPoint(500, 400)};
    // Between the dot and the ring's outline, on the four axes.
    const int d = (r + a) / 2;
    const QVector<QPoint> ring = {QPoint(d, 0), QPoint(-d, 0), QPoint(0, d), QPoint(0, -d)};

    const QImage idle = render(shot);
    for (const QPoint& h : all) {
        for (const QPoint& o : ring) {
            QVERIFY(!isWhite(idle, h.x() + o.x(), h.y() + o.y()));
        }
    }

    // Held (and dragged a little along the handle's own axis, so the
    // handle stays where it was).
    press(shot, handle);
    QCOMPARE(shot->hitRegion(), region);
    const QImage held = render(shot);
    for (const QPoint& h : all) {
        for (const QPoint& o : ring) {
            const bool white = isWhite(held, h.x() + o.x(), h.y() + o.y());
            QVERIFY2(white == (h == handle),
                     qPrintable(describe(held, h.x() + o.x(), h.y() + o.y())));
        }
        // The dot is drawn over the ring.
        VERIFY_COLOUR(held, h.x(), h.y(), 20, 134, 250, 255);
    }
    // The ring's outline is blue: just inside radius A.
    const QRgb outline = held.pixel(handle.x() + a - 1, handle.y());
    QVERIFY2(qBlue(outline) > qRed(outline) + 40,
             qPrintable(describe(held, handle.x() + a - 1, handle.y())));
    release(shot, handle);

    // After the release the ring is gone.
    const QImage after = render(shot);
    for (const QPoint& o : ring) {
        QVERIFY(!isWhite(after, handle.x() + o.x(), handle.y() + o.y()));
    }
}

void TestScreenShot::paintNoRingWhileMoving()
{
    ScreenShot* shot = m_shot;
    const int r = shot->handleHitRadius();
    const int a = shot->activeHandleRadius();
    select(QPoint(200, 150), QPoint(500, 400));
    press(shot, QPoint(350, 300));
    QCOMPARE(shot->hitRegion(), 9);
    moveTo(shot, QPoint(360, 310));
    const QImage image = render(shot);
    const int d = (r + a) / 2;
    const QVector<QPoint> all = {QPoint(360, 160), QPoint(210, 160), QPoint(510, 160),
                                 QPoint(210, 285), QPoint(510, 285), QPoint(360, 410),
                                 QPoint(210, 410), QPoint(510, 410)};
    for (const QPoint& h : all) {
        VERIFY_COLOUR(image, h.x(), h.y(), 20, 134, 250, 255);
        QVERIFY(!isWhite(image, h.x() + d, h.y()));
        QVERIFY(!isWhite(image, h.x() - d, h.y()));
    }
    release(shot, QPoint(360, 310));
}

void TestScreenShot::paintNothingWhileCapturing()
{
    ScreenShot* shot = m_shot;
    select(QPoint(200, 150), QPoint(500, 400));
    QImage during;
    QRect bar;
    QTimer::singleShot(0, shot, [&] {
        bar = shot->buttonBar()->geometry();
        during = render(shot);
    });
    shot->confirmButton()->click();
    QCOMPARE(during.size(), desktop().size());
    // Only the button bar is left; mask, border and handles are gone.
    QCOMPARE(inkOutside(during, bar), 0);
    QVERIFY(isWhite(during, bar.center().x(), bar.top() + 3));
}

void TestScreenShot::paintFreeHand()
{
    ScreenShot* shot = m_shot;
    shot->changeFreeShot(2);
    // A square outline from (100, 100) to (300, 300), 10 pixels per point.
    QVector<QPoint> points;
    for (int x = 100; x < 300; x += 10)
        points.append(QPoint(x, 100));
    for (int y = 100; y < 300; y += 10)
        points.append(QPoint(300, y));
    for (int x = 300; x > 100; x -= 10)
        points.append(QPoint(x, 300));
    for (int y = 300; y >= 100; y -= 10)
        points.append(QPoint(100, y));
    send(shot, QEvent::MouseButtonPress, points.first());
    for (int i = 1; i < points.size(); ++i) {
        send(shot, QEvent::MouseMove, points.at(i));
    }
    const QImage image = render(shot);
    const int w = shot->width();
    const int h = shot->height();

    // Dimmed outside the shape, clear inside.
    VERIFY_COLOUR(image, 50, 50, 115, 115, 115, 200);
    VERIFY_COLOUR(image, 400, 200, 115, 115, 115, 200);
    QCOMPARE(qAlpha(image.pixel(200, 200)), 0);
    QCOMPARE(qAlpha(image.pixel(110 + 5, 290 - 5)), 0);
    // The outline, 2 pixels wide and green, on the straight sides.
    VERIFY_COLOUR(image, 200, 99, 0, 255, 0, 255);
    VERIFY_COLOUR(image, 200, 100, 0, 255, 0, 255);
    VERIFY_COLOUR(image, 300, 200, 0, 255, 0, 255);
    VERIFY_COLOUR(image, 200, 300, 0, 255, 0, 255);
    VERIFY_COLOUR(image, 99, 200, 0, 255, 0, 255);
    QCOMPARE(qAlpha(image.pixel(200, 103)), 0);
    VERIFY_COLOUR(image, 200, 96, 115, 115, 115, 200);
    // The screen's border is stroked too.
    VERIFY_COLOUR(image, w / 2, 0, 0, 255, 0, 255);
    VERIFY_COLOUR(image, 0, h / 2, 0, 255, 0, 255);
    VERIFY_COLOUR(image, w - 1, h / 2, 0, 255, 0, 255);
    VERIFY_COLOUR(image, w / 2, h - 1, 0, 255, 0, 255);
    VERIFY_COLOUR(image, w / 2, 2, 115, 115, 115, 200);
    QCOMPARE(shot->freeHandBounds(), QRect(QPoint(100, 100), QPoint(300, 300)));

    // Finished (state 3): still drawn the same way.
    QTest::ignoreMessage(QtDebugMsg, "mrect12 QRect(100,100 201x201)");
    send(shot, QEvent::MouseButtonRelease, QPoint(100, 100));
    QCOMPARE(shot->state(), 3);
    const QImage finished = render(shot);
    VERIFY_COLOUR(finished, 200, 100, 0, 255, 0, 255);
    QCOMPARE(qAlpha(finished.pixel(200, 200)), 0);
    VERIFY_COLOUR(finished, 50, 50, 115, 115, 115, 200);
}

// Off the wayland platform the compositor is never asked: the window
// system's grab decides, which XWayland's black pictures rule out.
void TestScreenShot::captureAwayFromWayland()
{
    QVERIFY(!ScreenCopy::isOffered());
    QVERIFY(ScreenCopy::grab(QGuiApplication::primaryScreen()).isNull());
    QVERIFY(ScreenCopy::grab(nullptr).isNull());
    const bool sessionSet = qEnvironmentVariableIsSet("XDG_SESSION_TYPE");
    const QByteArray session = qgetenv("XDG_SESSION_TYPE");
    qputenv("XDG_SESSION_TYPE", "x11");
    QVERIFY(ScreenShot::canCaptureScreen());
    qputenv("XDG_SESSION_TYPE", "wayland");
    const bool xwayland = QGuiApplication::platformName() == QLatin1String("xcb");
    QCOMPARE(ScreenShot::canCaptureScreen(), !xwayland);
    if (sessionSet)
        qputenv("XDG_SESSION_TYPE", session);
    else
        qunsetenv("XDG_SESSION_TYPE");
}

QTEST_MAIN(TestScreenShot)
#include "tst_screenshot.moc"
