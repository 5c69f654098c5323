// The screenshot overlay as built: window flags, geometry, children and
// their sizes, on a real X server. Each function is for one screen size and
// is picked by the test's registration.

#include "common/common.h"
#include "screenshot/screenshot.h"
#include "widgets/mpushbutton_1.h"

#include <QApplication>
#include <QDesktopWidget>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QScreen>
#include <QSpacerItem>
#include <QtTest>

namespace {

struct Expected
{
    QSize screen;
    QRect savedGeometry;
    int fontPixels;
    QSize labelSize;
    QPoint labelPos;
    QSize buttonSize;
    QSize barSize;
    QString barStyle;
    int handleRadius;
    int activeRadius;
};

} // namespace

class TestScreenShotLayout : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        Common::getInstance()->InitSize(QGuiApplication::primaryScreen()->geometry().size());
    }

    void layoutAt1920()
    {
        check({QSize(1920, 1080), QRect(0, 0, 301, 156), 64, QSize(1920, 100), QPoint(0, 490),
               QSize(60, 70), QSize(136, 82),
               QStringLiteral("background-color:white;border-radius:12px;"), 8, 12});
    }

    void layoutAt3840()
    {
        // The label's width is the desktop's width scaled once more: twice
        // as wide as the screen and centred on it, so its text stays centred.
        check({QSize(3840, 2160), QRect(0, 0, 602, 312), 128, QSize(7680, 200), QPoint(-1920, 980),
               QSize(120, 140), QSize(272, 164),
               QStringLiteral("background-color:white;border-radius:24px;"), 16, 24});
    }

private:
    void check(const Expected& e);
};

void TestScreenShotLayout::check(const Expected& e)
{
    QCOMPARE(QApplication::desktop()->geometry(), QRect(QPoint(0, 0), e.screen));

    QWidget parent;
    parent.setGeometry(100, 100, 300, 200);
    QPixmap result;
    QPointer<ScreenShot> shot = new ScreenShot(&result, &parent);

    // Shown by its own constructor, already full screen.
    QVERIFY(shot->isVisible());
    QVERIFY(shot->isWindow());
    QCOMPARE(shot->windowFlags() & Qt::WindowType_Mask, Qt::Tool);
    QVERIFY(shot->windowFlags().testFlag(Qt::FramelessWindowHint));
    QVERIFY(shot->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QVERIFY(shot->testAttribute(Qt::WA_TranslucentBackground));
    QCOMPARE(shot->geometry(), QRect(QPoint(0, 0), e.screen));
    QCOMPARE(shot->savedGeometry(), e.savedGeometry);
    QCOMPARE(shot->handleHitRadius(), e.handleRadius);
    QCOMPARE(shot->activeHandleRadius(), e.activeRadius);
    QCOMPARE(shot->state(), 0);
    QVERIFY(shot->hasMouseTracking());

    QLabel* label = shot->promptLabel();
    QCOMPARE(label->parentWidget(), shot.data());
    QVERIFY(label->isVisible());
    QCOMPARE(label->text(), QStringLiteral("请拖拽一个区域"));
    QCOMPARE(label->font().pixelSize(), e.fontPixels);
    QCOMPARE(label->size(), e.labelSize);
    QCOMPARE(label->minimumSize(), e.labelSize);
    QCOMPARE(label->maximumSize(), e.labelSize);
    QCOMPARE(label->pos(), e.labelPos);
    QCOMPARE(label->alignment(), Qt::AlignCenter);
    QCOMPARE(label->styleSheet(), QStringLiteral("color:white;"));
    QVERIFY(label->testAttribute(Qt::WA_MouseTracking));
    QVERIFY(label->testAttribute(Qt::WA_TransparentForMouseEvents));

    QWidget* bar = shot->buttonBar();
    QCOMPARE(bar->parentWidget(), shot.data());
    QVERIFY(bar->isHidden());
    QCOMPARE(bar->size(), e.barSize);
    QCOMPARE(bar->minimumSize(), e.barSize);
    QCOMPARE(bar->maximumSize(), e.barSize);
    QCOMPARE(bar->styleSheet(), e.barStyle);

    mPushButton_1* confirm = shot->confirmButton();
    mPushButton_1* cancel = shot->cancelButton();
    for (mPushButton_1* button : {confirm, cancel}) {
        QCOMPARE(button->parentWidget(), bar);
        QCOMPARE(button->size(), e.buttonSize);
        QCOMPARE(button->minimumSize(), e.buttonSize);
        QCOMPARE(button->maximumSize(), e.buttonSize);
    }

    // stretch, cancel, stretch, confirm, stretch; no margins, no spacing.
    auto* layout = qobject_cast<QHBoxLayout*>(bar->layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(layout->spacing(), 0);
    QCOMPARE(layout->count(), 5);
    QVERIFY(layout->itemAt(0)->spacerItem());
    QCOMPARE(layout->itemAt(1)->widget(), cancel);
    QVERIFY(layout->itemAt(2)->spacerItem());
    QCOMPARE(layout->itemAt(3)->widget(), confirm);
    QVERIFY(layout->itemAt(4)->spacerItem());

    // Once shown after a selection, cancel sits left of confirm in the bar.
    QTest::mouseClick(shot, Qt::LeftButton, Qt::NoModifier, QPoint(300, 300));
    QVERIFY(bar->isVisible());
    QVERIFY(cancel->geometry().right() < confirm->geometry().left());
    QVERIFY(bar->rect().contains(cancel->geometry()));
    QVERIFY(bar->rect().contains(confirm->geometry()));

    // The caller's window is left where it was.
    QCOMPARE(parent.geometry(), QRect(100, 100, 300, 200));
}

QTEST_MAIN(TestScreenShotLayout)
#include "tst_screenshot_layout.moc"
