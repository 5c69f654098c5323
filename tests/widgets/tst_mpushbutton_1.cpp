#include "widgets/mpushbutton_1.h"

#include "tests/support/paintcounting.h"
#include "widgettestutil.h"

#include <QtTest>

// At scale factor f the pixmap goes into QRectF(10f, 3f, 40f, 40f) and the
// caption into the integer rectangle with inclusive corners (0, 50f) and
// (60f, 65f); the buttons are 70f x 70f so that both lie inside.

namespace {

const QRgb kRed = qRgba(255, 0, 0, 255);

QPixmap solidRed()
{
    QPixmap pixmap(8, 8);
    pixmap.fill(Qt::red);
    return pixmap;
}

struct Ink
{
    QRect bounds; // of every non-transparent pixel
    int count = 0;
    int offColour = 0; // pixels whose colour is not the caption grey
};

// Collects the non-transparent pixels outside the given rectangle and checks
// each against grey (102, 102, 102) at its own coverage: premultiplied,
// every channel is 102 * alpha / 255.
Ink inkOutside(const QImage& image, const QRect& excluded)
{
    Ink ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (excluded.contains(x, y)) {
                continue;
            }
            const QRgb p = image.pixel(x, y);
            if (qAlpha(p) == 0) {
                continue;
            }
            ++ink.count;
            ink.bounds |= QRect(x, y, 1, 1);
            const double grey = 102.0 * qAlpha(p) / 255.0;
            if (qAbs(qRed(p) - grey) > 1.5 || qAbs(qGreen(p) - grey) > 1.5 ||
                qAbs(qBlue(p) - grey) > 1.5) {
                ++ink.offColour;
            }
        }
    }
    return ink;
}

using CountingButton = PaintCounting<mPushButton_1>;

} // namespace

class TestMPushButton1 : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void constructsCheckableAndEmpty();
    void pixmapAndCaption_data();
    void pixmapAndCaption();
    void captionUsesScaledFont();
    void emptyCaptionDrawsOnlyPixmap();
    void nullPixmapDrawsOnlyCaption();
    void checkedStateDoesNotChangeLook();
    void setLocalTextKeepsPixmap();
    void settersRepaint();
    void tinyButtonDoesNotCrash();
};

void TestMPushButton1::cleanup()
{
    Common::getInstance()->InitSize(QSize(1920, 1080));
}

void TestMPushButton1::constructsCheckableAndEmpty()
{
    mPushButton_1 button;
    QVERIFY(button.isCheckable());
    QVERIFY(!button.isChecked());
    button.resize(70, 70);
    // Empty caption, null pixmap and a face drawn without pen or brush.
    const QImage image = WidgetTest::render(button);
    QCOMPARE(inkOutside(image, QRect()).count, 0);
    // A click toggles it like any checkable button.
    button.click();
    QVERIFY(button.isChecked());
}

void TestMPushButton1::pixmapAndCaption_data()
{
    QTest::addColumn<int>("f");
    QTest::newRow("scale 1") << 1;
    QTest::newRow("scale 2") << 2;
}

void TestMPushButton1::pixmapAndCaption()
{
    QFETCH(int, f);
    WidgetTest::ScaleGuard guard(QSize(1920 * f, 1080 * f));

    mPushButton_1 button;
    button.resize(70 * f, 70 * f);
    button.setTextAndPixmap(QStringLiteral("MMMM"), solidRed());
    const QImage image = WidgetTest::render(button);

    // The 8 x 8 pixmap scaled into (10f, 3f) .. (50f, 43f), exactly.
    const QRect pixmapRect(10 * f, 3 * f, 40 * f, 40 * f);
    for (int y = 0; y < 50 * f; ++y) {
        for (int x = 0; x < image.width(); ++x) {
            QCOMPARE(image.pixel(x, y), pixmapRect.contains(x, y) ? kRed : QRgb(0));
        }
    }

    // The caption: grey ink, inside its rectangle, centred horizontally on
    // the rectangle's middle (60f + 1) / 2.
    const QRect captionRect(QPoint(0, 50 * f), QPoint(60 * f, 65 * f));
    const Ink ink = inkOutside(image, pixmapRect);
    QVERIFY(ink.count > 10);
    QCOMPARE(ink.offColour, 0);
    QVERIFY2(captionRect.contains(ink.bounds), qPrintable(QStringLiteral("ink %1,%2 %3x%4")
                                                              .arg(ink.bounds.x())
                                                              .arg(ink.bounds.y())
                                                              .arg(ink.bounds.width())
                                                              .arg(ink.bounds.height())));
    const double inkMiddle = ink.bounds.x() + ink.bounds.width() / 2.0;
    QVERIFY2(qAbs(inkMiddle - (60 * f + 1) / 2.0) <= 1.5, qPrintable(QString::number(inkMiddle)));
}

void TestMPushButton1::captionUsesScaledFont()
{
    // The caption is set in a default font of 12 design pixels: 12 pixels at
    // scale 1, 24 at scale 2. The ink of "MMMM" is as tall and as wide as
    // the tight bounds that font metrics give for those sizes.
    for (const int f : {1, 2}) {
        WidgetTest::ScaleGuard guard(QSize(1920 * f, 1080 * f));
        mPushButton_1 button;
        button.resize(70 * f, 70 * f);
        button.setTextAndPixmap(QStringLiteral("MMMM"), QPixmap());
        const Ink ink = inkOutside(WidgetTest::render(button), QRect());

        QFont font;
        font.setPixelSize(12 * f);
        const QRect tight = QFontMetrics(font).tightBoundingRect(QStringLiteral("MMMM"));
        QVERIFY2(qAbs(ink.bounds.height() - tight.height()) <= 1,
                 qPrintable(QStringLiteral("scale %1: ink height %2, font %3")
                                .arg(f)
                                .arg(ink.bounds.height())
                                .arg(tight.height())));
        QVERIFY2(qAbs(ink.bounds.width() - tight.width()) <= 2,
                 qPrintable(QStringLiteral("scale %1: ink width %2, font %3")
                                .arg(f)
                                .arg(ink.bounds.width())
                                .arg(tight.width())));
    }
}

void TestMPushButton1::emptyCaptionDrawsOnlyPixmap()
{
    mPushButton_1 button;
    button.resize(70, 70);
    button.setTextAndPixmap(QString(), solidRed());
    const QImage image = WidgetTest::render(button);
    const QRect pixmapRect(10, 3, 40, 40);
    QCOMPARE(inkOutside(image, pixmapRect).count, 0);
    QCOMPARE(image.pixel(10, 3), kRed);
    QCOMPARE(image.pixel(49, 42), kRed);
}

void TestMPushButton1::nullPixmapDrawsOnlyCaption()
{
    mPushButton_1 button;
    button.resize(70, 70);
    button.setTextAndPixmap(QStringLiteral("MMMM"), QPixmap());
    const QImage image = WidgetTest::render(button);
    const Ink ink = inkOutside(image, QRect());
    QVERIFY(ink.count > 10);
    QCOMPARE(ink.offColour, 0);
    QVERIFY(QRect(QPoint(0, 50), QPoint(60, 65)).contains(ink.bounds));
}

void TestMPushButton1::checkedStateDoesNotChangeLook()
{
    mPushButton_1 button;
    button.resize(70, 70);
    button.setTextAndPixmap(QStringLiteral("Save"), solidRed());
    const QImage unchecked = WidgetTest::render(button);
    button.setChecked(true);
    QVERIFY(button.isChecked());
    QCOMPARE(WidgetTest::render(button), unchecked);
    button.setDown(true);
    QCOMPARE(WidgetTest::render(button), unchecked);
}

void TestMPushButton1::setLocalTextKeepsPixmap()
{
    mPushButton_1 button;
    button.resize(70, 70);
    button.setTextAndPixmap(QString(), solidRed());
    const QImage withoutCaption = WidgetTest::render(button);
    QCOMPARE(inkOutside(withoutCaption, QRect(10, 3, 40, 40)).count, 0);

    button.setLocalText(QStringLiteral("MMMM"));
    const QImage withCaption = WidgetTest::render(button);
    QCOMPARE(withCaption.pixel(30, 20), kRed);
    QVERIFY(inkOutside(withCaption, QRect(10, 3, 40, 40)).count > 10);

    // Back to no caption: identical to the first picture.
    button.setLocalText(QString());
    QCOMPARE(WidgetTest::render(button), withoutCaption);
}

void TestMPushButton1::settersRepaint()
{
    CountingButton button;
    button.resize(70, 70);
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    QTRY_VERIFY(button.paints > 0);
    QCoreApplication::processEvents();

    button.paints = 0;
    // Nothing is pending: whatever is posted runs, and paints nothing.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QCOMPARE(button.paints, 0);
    button.setLocalText(QStringLiteral("A"));
    QTRY_VERIFY(button.paints > 0);

    button.paints = 0;
    button.setTextAndPixmap(QStringLiteral("B"), solidRed());
    QTRY_VERIFY(button.paints > 0);
}

void TestMPushButton1::tinyButtonDoesNotCrash()
{
    // Pixmap and caption both lie beyond a 5 x 5 button.
    for (const QSize size : {QSize(0, 0), QSize(1, 1), QSize(5, 5)}) {
        mPushButton_1 button;
        button.resize(size);
        button.setTextAndPixmap(QStringLiteral("MMMM"), solidRed());
        const QImage image = WidgetTest::render(button);
        QCOMPARE(inkOutside(image, QRect()).count, 0);
    }
}

QTEST_MAIN(TestMPushButton1)
#include "tst_mpushbutton_1.moc"
