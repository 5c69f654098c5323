#include "widgets/pushbutton_basic.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QtTest>

namespace {

void sendEnter(QWidget& widget)
{
    QEvent enter(QEvent::Enter);
    QCoreApplication::sendEvent(&widget, &enter);
}

void sendLeave(QWidget& widget)
{
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(&widget, &leave);
}

} // namespace

class TestPushButtonBasic : public QObject
{
    Q_OBJECT

private slots:
    void enterShowsPointingHandAndLeaveRestores();
    void restoresDefaultCursor();
    void restoresBitmapCursor();
    void restoresCursorSavedOnEnterNotLaterOne();
    void eachEnterSavesAgain();
    void filterNeverConsumes();
    void clicksStillWork();
    void realPointerMoves();
};

void TestPushButtonBasic::enterShowsPointingHandAndLeaveRestores()
{
    PushButton_Basic button;
    button.setCursor(Qt::CrossCursor);
    sendEnter(button);
    QCOMPARE(button.cursor().shape(), Qt::PointingHandCursor);
    sendLeave(button);
    QCOMPARE(button.cursor().shape(), Qt::CrossCursor);
}

void TestPushButtonBasic::restoresDefaultCursor()
{
    PushButton_Basic button;
    QCOMPARE(button.cursor().shape(), Qt::ArrowCursor);
    sendEnter(button);
    QCOMPARE(button.cursor().shape(), Qt::PointingHandCursor);
    sendLeave(button);
    QCOMPARE(button.cursor().shape(), Qt::ArrowCursor);
}

void TestPushButtonBasic::restoresBitmapCursor()
{
    QPixmap pixmap(16, 16);
    pixmap.fill(Qt::magenta);
    PushButton_Basic button;
    button.setCursor(QCursor(pixmap, 3, 5));
    sendEnter(button);
    QCOMPARE(button.cursor().shape(), Qt::PointingHandCursor);
    sendLeave(button);
    QCOMPARE(button.cursor().shape(), Qt::BitmapCursor);
    QCOMPARE(button.cursor().hotSpot(), QPoint(3, 5));
    QCOMPARE(button.cursor().pixmap().toImage().pixel(8, 8), QColor(Qt::magenta).rgb());
}

void TestPushButtonBasic::restoresCursorSavedOnEnterNotLaterOne()
{
    // Leave puts back what the button had when the pointer entered, even if
    // someone changed the cursor in between.
    PushButton_Basic button;
    button.setCursor(Qt::CrossCursor);
    sendEnter(button);
    button.setCursor(Qt::WaitCursor);
    sendLeave(button);
    QCOMPARE(button.cursor().shape(), Qt::CrossCursor);
}

void TestPushButtonBasic::eachEnterSavesAgain()
{
    PushButton_Basic button;
    button.setCursor(Qt::CrossCursor);
    sendEnter(button);
    sendLeave(button);
    button.setCursor(Qt::IBeamCursor);
    sendEnter(button);
    QCOMPARE(button.cursor().shape(), Qt::PointingHandCursor);
    sendLeave(button);
    QCOMPARE(button.cursor().shape(), Qt::IBeamCursor);
}

void TestPushButtonBasic::filterNeverConsumes()
{
    PushButton_Basic button;
    button.resize(40, 20);
    QEvent enter(QEvent::Enter);
    QEvent leave(QEvent::Leave);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(5, 5), Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QVERIFY(!button.eventFilter(&button, &enter));
    QVERIFY(!button.eventFilter(&button, &leave));
    QVERIFY(!button.eventFilter(&button, &press));
    QVERIFY(!button.eventFilter(&button, &release));
}

void TestPushButtonBasic::clicksStillWork()
{
    PushButton_Basic button;
    button.resize(40, 20);
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    QSignalSpy clicked(&button, &QPushButton::clicked);
    QTest::mouseClick(&button, Qt::LeftButton, Qt::NoModifier, QPoint(20, 10));
    QCOMPARE(clicked.count(), 1);
}

void TestPushButtonBasic::realPointerMoves()
{
    // Moves the pointer itself over the button and away again: the window
    // system reports the enter and leave.
    QScreen* screen = QGuiApplication::primaryScreen();
    QVERIFY(screen);
    const QRect available = screen->geometry();
    QCursor::setPos(available.topLeft() + QPoint(600, 600));
    QCoreApplication::processEvents();

    PushButton_Basic button;
    button.setWindowFlags(Qt::FramelessWindowHint);
    button.setGeometry(QRect(available.topLeft() + QPoint(100, 100), QSize(60, 40)));
    button.setCursor(Qt::CrossCursor);
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    QTRY_COMPARE(button.geometry().topLeft(), available.topLeft() + QPoint(100, 100));

    QCursor::setPos(button.mapToGlobal(QPoint(30, 20)));
    QTRY_COMPARE(button.cursor().shape(), Qt::PointingHandCursor);
    QTRY_VERIFY(button.underMouse());

    QCursor::setPos(available.topLeft() + QPoint(600, 600));
    QTRY_COMPARE(button.cursor().shape(), Qt::CrossCursor);
    QVERIFY(!button.underMouse());
}

QTEST_MAIN(TestPushButtonBasic)
#include "tst_pushbutton_basic.moc"
