#include "widgets/pushbutton_7.h"

#include "tests/support/paintcounting.h"
#include "widgettestutil.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QtTest>

// Geometry worked out for the buttons used below.
//
// Scale 1, a 48 x 48 button: S(4) = 4, rect().center() = (23, 23). The face
// is a 44 x 44 QRect; moveCenter() keeps x2 - x1 = 43 and puts
// x1 = 23 - 43 / 2 = 2, so the face spans pixels 2..45 and its ellipse is
// the circle of centre (24, 24) and radius 22. The pixmap square is the same
// 44 x 44 rectangle.
// Scale 2, a 96 x 96 button: S(4) = 8, centre (47, 47), face 88 x 88 from
// x1 = 47 - 87 / 2 = 4, pixels 4..91, circle of centre (48, 48), radius 44.
//
// Along the middle row the circle's edge lies at x = S(2) (a hair further
// in, by 0.006 at scale 1), so an outline of width w covers pixels
// S(2) - w / 2 .. S(2) + w / 2 - 1: the S(4) ring pixels 0..S(4) - 1, the
// S(2) ring pixels S(1)..S(3) - 1. Without a ring, pixel S(2) - 1 stays
// empty.

namespace {

const QRgb kBlue = qRgba(13, 131, 251, 255);   // #0D83FB
const QRgb kDark = qRgba(0, 0, 0, 153);        // #99000000, premultiplied
const QRgb kRed = qRgba(255, 0, 0, 255);       // normal pixmap
const QRgb kGreen = qRgba(0, 255, 0, 255);     // checked pixmap
const QRgb kMagenta = qRgba(255, 0, 255, 255); // hover pixmap

QPixmap solid(QRgb colour, int side = 10)
{
    QPixmap pixmap(side, side);
    pixmap.fill(QColor::fromRgba(colour));
    return pixmap;
}

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

bool isRingBlue(QRgb p)
{
    return qAlpha(p) >= 240 && qBlue(p) >= 240 && qRed(p) <= 20 && qGreen(p) >= 120;
}

// Length of the run of ring-blue pixels in the row, starting at the first
// pixel that is not transparent.
int ringRunFromLeft(const QImage& image, int y)
{
    int x = 0;
    while (x < image.width() && qAlpha(image.pixel(x, y)) < 128) {
        ++x;
    }
    int run = 0;
    while (x < image.width() && isRingBlue(image.pixel(x, y))) {
        ++run;
        ++x;
    }
    return run;
}

int ringRunFromRight(const QImage& image, int y)
{
    int x = image.width() - 1;
    while (x >= 0 && qAlpha(image.pixel(x, y)) < 128) {
        --x;
    }
    int run = 0;
    while (x >= 0 && isRingBlue(image.pixel(x, y))) {
        ++run;
        --x;
    }
    return run;
}

// First and last pixel of the given exact colour along a row or column.
QPair<int, int> extentInRow(const QImage& image, int y, QRgb colour)
{
    int first = -1;
    int last = -1;
    for (int x = 0; x < image.width(); ++x) {
        if (image.pixel(x, y) == colour) {
            if (first < 0) {
                first = x;
            }
            last = x;
        }
    }
    return {first, last};
}

QPair<int, int> extentInColumn(const QImage& image, int x, QRgb colour)
{
    int first = -1;
    int last = -1;
    for (int y = 0; y < image.height(); ++y) {
        if (image.pixel(x, y) == colour) {
            if (first < 0) {
                first = y;
            }
            last = y;
        }
    }
    return {first, last};
}

bool allTransparent(const QImage& image)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != 0) {
                return false;
            }
        }
    }
    return true;
}

using CountingButton = PaintCounting<PushButton_7>;

} // namespace

class TestPushButton7 : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void faceAndRing_data();
    void faceAndRing();
    void leaveEndsHover();
    void pixmapFillsCentredSquare_data();
    void pixmapFillsCentredSquare();
    void pixmapSquareUsesWidthOnNonSquareButton();
    void pixmapChoice_data();
    void pixmapChoice();
    void nullCheckedAndHoverAlwaysShowNormal();
    void nullNormalDrawsNoPixmap();
    void iconSizeIsNotUsedForPainting();
    void settersDoNotRepaint();
    void tinyButtonsDoNotCrash();

    void clickOnCheckedEmitsOnceBeforeToggle();
    void releaseOutsideEmitsNothing();
    void clickOnUncheckedEmitsNothing();
    void nonCheckableNeverEmits();
    void releasePositionIsRounded_data();
    void releasePositionIsRounded();
    void cursorStillHandledByBase();
    void realPointerHover();
    void filterNeverConsumes();
};

void TestPushButton7::cleanup()
{
    Common::getInstance()->InitSize(QSize(1920, 1080));
}

void TestPushButton7::faceAndRing_data()
{
    QTest::addColumn<int>("scaleFactor");
    QTest::addColumn<bool>("hoverStyle");
    QTest::addColumn<bool>("hovered");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<QRgb>("face");     // premultiplied colour at the centre
    QTest::addColumn<int>("ringWidth"); // design pixels, 0 for none

    for (int scale = 1; scale <= 2; ++scale) {
        const QByteArray s = QByteArray::number(scale);
        QTest::newRow("x" + s + " plain, hovered")
            << scale << false << true << false << QRgb(0) << 4;
        QTest::newRow("x" + s + " plain, hovered, checked")
            << scale << false << true << true << QRgb(0) << 4;
        QTest::newRow("x" + s + " plain, away") << scale << false << false << false << QRgb(0) << 0;
        QTest::newRow("x" + s + " plain, away, checked")
            << scale << false << false << true << QRgb(0) << 0;
        QTest::newRow("x" + s + " hover style, hovered")
            << scale << true << true << false << kDark << 2;
        QTest::newRow("x" + s + " hover style, hovered, checked")
            << scale << true << true << true << kBlue << 0;
        QTest::newRow("x" + s + " hover style, away, checked")
            << scale << true << false << true << kBlue << 0;
        QTest::newRow("x" + s + " hover style, away")
            << scale << true << false << false << kDark << 0;
    }
}

void TestPushButton7::faceAndRing()
{
    QFETCH(int, scaleFactor);
    QFETCH(bool, hoverStyle);
    QFETCH(bool, hovered);
    QFETCH(bool, checked);
    QFETCH(QRgb, face);
    QFETCH(int, ringWidth);

    WidgetTest::ScaleGuard guard(QSize(1920 * scaleFactor, 1080 * scaleFactor));
    const int side = 48 * scaleFactor;
    const int middle = side / 2;

    // No pixmaps: only the face and the ring are painted.
    PushButton_7 button{QPixmap(), QPixmap(), QPixmap()};
    button.resize(side, side);
    button.setCheckable(true);
    button.setChecked(checked);
    button.setHoverStyle(hoverStyle);
    if (hovered) {
        sendEnter(button);
    }
    const QImage image = WidgetTest::render(button);

    QCOMPARE(image.pixel(middle, middle), face);
    if (!hoverStyle && !hovered) {
        // The ring is drawn with a transparent pen: nothing shows at all.
        QVERIFY(allTransparent(image));
        return;
    }
    if (ringWidth > 0) {
        QCOMPARE(ringRunFromLeft(image, middle), ringWidth * scaleFactor);
        QCOMPARE(ringRunFromRight(image, middle), ringWidth * scaleFactor);
        QCOMPARE(image.pixel(middle, middle - 22 * scaleFactor), kBlue);
        // The ring is an outline only: the face inside keeps its own fill.
        QCOMPARE(image.pixel(middle, middle - 22 * scaleFactor + ringWidth * scaleFactor), face);
    } else {
        // Just outside the face nothing is drawn.
        VERIFY_PIXEL(image, 2 * scaleFactor - 1, middle, 0, 0, 0, 0, 0);
        VERIFY_PIXEL(image, middle, 2 * scaleFactor - 1, 0, 0, 0, 0, 0);
        // The face's own edge is its fill.
        QCOMPARE(image.pixel(2 * scaleFactor + 1, middle), face);
    }
    // The corners lie outside the circle and its ring.
    VERIFY_PIXEL(image, 0, 0, 0, 0, 0, 0, 0);
    VERIFY_PIXEL(image, side - 1, side - 1, 0, 0, 0, 0, 0);
}

void TestPushButton7::leaveEndsHover()
{
    PushButton_7 button{QPixmap(), QPixmap(), QPixmap()};
    button.resize(48, 48);
    sendEnter(button);
    QCOMPARE(ringRunFromLeft(WidgetTest::render(button), 24), 4);
    sendLeave(button);
    QVERIFY(allTransparent(WidgetTest::render(button)));

    button.setHoverStyle(true);
    sendEnter(button);
    QCOMPARE(ringRunFromLeft(WidgetTest::render(button), 24), 2);
    sendLeave(button);
    const QImage away = WidgetTest::render(button);
    VERIFY_PIXEL(away, 1, 24, 0, 0, 0, 0, 0);
    QCOMPARE(away.pixel(24, 24), kDark);
}

void TestPushButton7::pixmapFillsCentredSquare_data()
{
    QTest::addColumn<int>("scaleFactor");
    QTest::addColumn<int>("first"); // first and last pixel of the square
    QTest::addColumn<int>("last");
    // 48 - S(4) = 44 from pixel 2; 96 - S(4) = 88 from pixel 4.
    QTest::newRow("scale 1") << 1 << 2 << 45;
    QTest::newRow("scale 2") << 2 << 4 << 91;
}

void TestPushButton7::pixmapFillsCentredSquare()
{
    QFETCH(int, scaleFactor);
    QFETCH(int, first);
    QFETCH(int, last);
    WidgetTest::ScaleGuard guard(QSize(1920 * scaleFactor, 1080 * scaleFactor));
    const int side = 48 * scaleFactor;

    // Hover style off and not hovered: the ring is transparent and only the
    // pixmap shows, scaled from 10 x 10.
    PushButton_7 button(solid(kRed), QPixmap(), QPixmap());
    button.resize(side, side);
    const QImage image = WidgetTest::render(button);

    const int middle = side / 2;
    QCOMPARE(extentInRow(image, middle, kRed), qMakePair(first, last));
    QCOMPARE(extentInColumn(image, middle, kRed), qMakePair(first, last));
    QCOMPARE(last - first + 1, side - 4 * scaleFactor);
    // The whole square is the pixmap's colour, nothing around it.
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const bool inside = x >= first && x <= last && y >= first && y <= last;
            QCOMPARE(image.pixel(x, y), inside ? kRed : QRgb(0));
        }
    }
}

void TestPushButton7::pixmapSquareUsesWidthOnNonSquareButton()
{
    // 60 x 40 at scale 1: the square's side is 60 - 4 = 56, centred on
    // rect().center() = (29, 19): x1 = 29 - 55 / 2 = 2, y1 = 19 - 27 = -8,
    // so it spans columns 2..57 and rows -8..47, beyond the button's height.
    PushButton_7 button(solid(kRed), QPixmap(), QPixmap());
    button.resize(60, 40);
    const QImage image = WidgetTest::render(button);
    QCOMPARE(extentInRow(image, 20, kRed), qMakePair(2, 57));
    QCOMPARE(extentInColumn(image, 30, kRed), qMakePair(0, 39));
    VERIFY_PIXEL(image, 1, 20, 0, 0, 0, 0, 0);
    VERIFY_PIXEL(image, 58, 20, 0, 0, 0, 0, 0);

    // The face keeps its own size, a 56 x 36 ellipse centred on (30, 20)
    // whose left edge is x = 2. Hovered, its S(4) ring covers pixels 0..3 of
    // the middle row; the pixmap drawn afterwards covers it from column 2 on.
    sendEnter(button);
    const QImage hovered = WidgetTest::render(button);
    QVERIFY(isRingBlue(hovered.pixel(0, 20)));
    QVERIFY(isRingBlue(hovered.pixel(1, 20)));
    QCOMPARE(hovered.pixel(2, 20), kRed);
}

void TestPushButton7::pixmapChoice_data()
{
    QTest::addColumn<bool>("checked");
    QTest::addColumn<bool>("hovered");
    QTest::addColumn<bool>("hasChecked");
    QTest::addColumn<bool>("hasHover");
    QTest::addColumn<QRgb>("expected");

    QTest::newRow("unchecked, away") << false << false << true << true << kRed;
    QTest::newRow("unchecked, hovered") << false << true << true << true << kMagenta;
    QTest::newRow("checked, away") << true << false << true << true << kGreen;
    QTest::newRow("checked, hovered") << true << true << true << true << kGreen;
    QTest::newRow("checked without checked pixmap, hovered")
        << true << true << false << true << kMagenta;
    QTest::newRow("checked without checked pixmap, away") << true << false << false << true << kRed;
    QTest::newRow("hovered without hover pixmap") << false << true << true << false << kRed;
    QTest::newRow("checked, hovered, no hover pixmap") << true << true << true << false << kGreen;
}

void TestPushButton7::pixmapChoice()
{
    QFETCH(bool, checked);
    QFETCH(bool, hovered);
    QFETCH(bool, hasChecked);
    QFETCH(bool, hasHover);
    QFETCH(QRgb, expected);

    PushButton_7 button(solid(kRed), hasChecked ? solid(kGreen) : QPixmap(),
                        hasHover ? solid(kMagenta) : QPixmap());
    button.resize(48, 48);
    button.setCheckable(true);
    button.setChecked(checked);
    if (hovered) {
        sendEnter(button);
    }
    const QImage image = WidgetTest::render(button);
    QCOMPARE(image.pixel(24, 24), expected);
    QCOMPARE(extentInRow(image, 24, expected), qMakePair(2, 45));
}

void TestPushButton7::nullCheckedAndHoverAlwaysShowNormal()
{
    PushButton_7 button(solid(kRed), QPixmap(), QPixmap());
    button.resize(48, 48);
    button.setCheckable(true);
    for (const bool hoverStyle : {false, true}) {
        button.setHoverStyle(hoverStyle);
        for (const bool checked : {false, true}) {
            button.setChecked(checked);
            for (const bool hovered : {false, true}) {
                if (hovered) {
                    sendEnter(button);
                } else {
                    sendLeave(button);
                }
                const QImage image = WidgetTest::render(button);
                QCOMPARE(image.pixel(24, 24), kRed);
                QCOMPARE(extentInRow(image, 24, kRed), qMakePair(2, 45));
            }
        }
    }
}

void TestPushButton7::nullNormalDrawsNoPixmap()
{
    // Unchecked and away with a null normal pixmap: the choice ends on the
    // null pixmap and only the face is drawn, even though the other two
    // pixmaps exist.
    PushButton_7 button(QPixmap(), solid(kGreen), solid(kMagenta));
    button.resize(48, 48);
    button.setCheckable(true);
    QVERIFY(allTransparent(WidgetTest::render(button)));
    button.setHoverStyle(true);
    QCOMPARE(WidgetTest::render(button).pixel(24, 24), kDark);
}

void TestPushButton7::iconSizeIsNotUsedForPainting()
{
    PushButton_7 button(solid(kRed), QPixmap(), QPixmap());
    button.resize(48, 48);
    const QImage before = WidgetTest::render(button);
    button.mSetIconSize(QSize(10, 10));
    QCOMPARE(WidgetTest::render(button), before);
    button.mSetIconSize(QSize(-5, 1000));
    QCOMPARE(WidgetTest::render(button), before);
}

void TestPushButton7::settersDoNotRepaint()
{
    CountingButton button(solid(kRed), QPixmap(), QPixmap());
    button.resize(48, 48);
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    QTRY_VERIFY(button.paints > 0);
    QCoreApplication::processEvents();

    button.paints = 0;
    button.setHoverStyle(true);
    button.mSetIconSize(QSize(20, 20));
    // A repaint would be asked for by a posted request: everything posted
    // runs here.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QCOMPARE(button.paints, 0);

    button.update();
    QTRY_VERIFY(button.paints > 0);
}

void TestPushButton7::tinyButtonsDoNotCrash()
{
    // Buttons no wider than S(4) have no face and no pixmap square.
    for (const QSize size : {QSize(0, 0), QSize(1, 1), QSize(3, 3), QSize(4, 4), QSize(4, 30)}) {
        PushButton_7 button(solid(kRed), solid(kGreen), solid(kMagenta));
        button.resize(size);
        button.setHoverStyle(true);
        sendEnter(button);
        const QImage image = WidgetTest::render(button);
        QVERIFY(allTransparent(image));
    }
    // 30 x 4 has no face (its height is 0), but the pixmap square takes its
    // side from the width: 26, from x1 = 14 - 25 / 2 = 2 to 27, over all rows.
    {
        PushButton_7 button(solid(kRed), solid(kGreen), solid(kMagenta));
        button.resize(30, 4);
        button.setHoverStyle(true);
        sendEnter(button);
        const QImage image = WidgetTest::render(button);
        QCOMPARE(extentInRow(image, 2, kMagenta), qMakePair(2, 27));
        QCOMPARE(extentInColumn(image, 14, kMagenta), qMakePair(0, 3));
        QCOMPARE(image.pixel(1, 2), QRgb(0));
        QCOMPARE(image.pixel(28, 2), QRgb(0));
    }
    // 5 x 5: a one-pixel face and pixmap square, centred on (2, 2).
    PushButton_7 button(solid(kRed), QPixmap(), QPixmap());
    button.resize(5, 5);
    const QImage image = WidgetTest::render(button);
    QCOMPARE(image.pixel(2, 2), kRed);
    QCOMPARE(image.pixel(1, 2), QRgb(0));
    QCOMPARE(image.pixel(3, 2), QRgb(0));
}

void TestPushButton7::clickOnCheckedEmitsOnceBeforeToggle()
{
    PushButton_7 button{QPixmap(), QPixmap(), QPixmap()};
    button.resize(48, 48);
    button.setCheckable(true);
    button.setChecked(true);
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));

    QStringList order;
    QVector<bool> checkedAtSignal;
    connect(&button, &PushButton_7::checkedClicked, &button, [&] {
        order << QStringLiteral("checkedClicked");
        checkedAtSignal << button.isChecked();
    });
    connect(&button, &QAbstractButton::toggled, &button,
            [&](bool on) { order << QStringLiteral("toggled %1").arg(on); });

    QTest::mouseClick(&button, Qt::LeftButton, Qt::NoModifier, QPoint(24, 24));
    QCOMPARE(order, QStringList({QStringLiteral("checkedClicked"), QStringLiteral("toggled 0")}));
    QCOMPARE(checkedAtSignal, QVector<bool>{true});
    QVERIFY(!button.isChecked());

    // Now unchecked: the next click checks it without the signal; the one
    // after that emits again.
    order.clear();
    QTest::mouseClick(&button, Qt::LeftButton, Qt::NoModifier, QPoint(24, 24));
    QCOMPARE(order, QStringList({QStringLiteral("toggled 1")}));
    QTest::mouseClick(&button, Qt::LeftButton, Qt::NoModifier, QPoint(1, 46));
    QCOMPARE(order, QStringList({QStringLiteral("toggled 1"), QStringLiteral("checkedClicked"),
                                 QStringLiteral("toggled 0")}));
}

void TestPushButton7::releaseOutsideEmitsNothing()
{
    // The button sits inside a larger window, as on the toolbar, so that the
    // release points outside the button still lie in the window.
    QWidget window;
    window.resize(200, 200);
    auto* button = new PushButton_7(QPixmap(), QPixmap(), QPixmap(), &window);
    button->setGeometry(50, 50, 48, 48);
    button->setCheckable(true);
    button->setChecked(true);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QSignalSpy spy(button, &PushButton_7::checkedClicked);

    for (const QPoint outside :
         {QPoint(60, 24), QPoint(-1, 24), QPoint(24, 48), QPoint(48, 48), QPoint(24, -30)}) {
        QTest::mousePress(button, Qt::LeftButton, Qt::NoModifier, QPoint(24, 24));
        QTest::mouseRelease(button, Qt::LeftButton, Qt::NoModifier, outside);
        QCOMPARE(spy.count(), 0);
        QVERIFY(button->isChecked());
    }
    // Released inside again: one signal.
    QTest::mousePress(button, Qt::LeftButton, Qt::NoModifier, QPoint(24, 24));
    QTest::mouseRelease(button, Qt::LeftButton, Qt::NoModifier, QPoint(47, 47));
    QCOMPARE(spy.count(), 1);
}

void TestPushButton7::clickOnUncheckedEmitsNothing()
{
    PushButton_7 button{QPixmap(), QPixmap(), QPixmap()};
    button.resize(48, 48);
    button.setCheckable(true);
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    QSignalSpy spy(&button, &PushButton_7::checkedClicked);
    QTest::mouseClick(&button, Qt::LeftButton, Qt::NoModifier, QPoint(24, 24));
    QCOMPARE(spy.count(), 0);
    QVERIFY(button.isChecked());
}

void TestPushButton7::nonCheckableNeverEmits()
{
    PushButton_7 button{QPixmap(), QPixmap(), QPixmap()};
    button.resize(48, 48);
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    QSignalSpy spy(&button, &PushButton_7::checkedClicked);
    QSignalSpy clicked(&button, &QAbstractButton::clicked);
    QTest::mouseClick(&button, Qt::LeftButton, Qt::NoModifier, QPoint(24, 24));
    QTest::mouseClick(&button, Qt::LeftButton, Qt::NoModifier, QPoint(24, 24));
    QCOMPARE(clicked.count(), 2);
    QCOMPARE(spy.count(), 0);
}

void TestPushButton7::releasePositionIsRounded_data()
{
    QTest::addColumn<QPointF>("position");
    QTest::addColumn<int>("expectedSignals");
    // A 48 x 48 button contains x and y from 0 to 47.
    QTest::newRow("47.4 rounds to 47, inside") << QPointF(47.4, 24) << 1;
    QTest::newRow("47.6 rounds to 48, outside") << QPointF(47.6, 24) << 0;
    QTest::newRow("-0.4 rounds to 0, inside") << QPointF(-0.4, 24) << 1;
    QTest::newRow("-0.6 rounds to -1, outside") << QPointF(-0.6, 24) << 0;
    QTest::newRow("y 47.6 rounds to 48, outside") << QPointF(10, 47.6) << 0;
    QTest::newRow("y -0.4 rounds to 0, inside") << QPointF(10, -0.4) << 1;
}

void TestPushButton7::releasePositionIsRounded()
{
    QFETCH(QPointF, position);
    QFETCH(int, expectedSignals);
    PushButton_7 button{QPixmap(), QPixmap(), QPixmap()};
    button.resize(48, 48);
    button.setCheckable(true);
    button.setChecked(true);
    QSignalSpy spy(&button, &PushButton_7::checkedClicked);
    QMouseEvent release(QEvent::MouseButtonRelease, position, button.mapToGlobal(QPoint()),
                        Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&button, &release);
    QCOMPARE(spy.count(), expectedSignals);
}

void TestPushButton7::cursorStillHandledByBase()
{
    PushButton_7 button{QPixmap(), QPixmap(), QPixmap()};
    button.setCursor(Qt::CrossCursor);
    sendEnter(button);
    QCOMPARE(button.cursor().shape(), Qt::PointingHandCursor);
    sendLeave(button);
    QCOMPARE(button.cursor().shape(), Qt::CrossCursor);
}

void TestPushButton7::realPointerHover()
{
    // The pointer itself enters and leaves: the window system's enter and
    // leave switch the hover ring and the cursor.
    QScreen* screen = QGuiApplication::primaryScreen();
    QVERIFY(screen);
    const QPoint origin = screen->geometry().topLeft();
    QCursor::setPos(origin + QPoint(600, 600));
    QCoreApplication::processEvents();

    PushButton_7 button{QPixmap(), QPixmap(), QPixmap()};
    button.setWindowFlags(Qt::FramelessWindowHint);
    button.setGeometry(QRect(origin + QPoint(100, 100), QSize(48, 48)));
    button.setCursor(Qt::CrossCursor);
    button.show();
    QVERIFY(QTest::qWaitForWindowExposed(&button));
    QVERIFY(WidgetTest::render(button).pixel(2, 24) == 0);

    QCursor::setPos(button.mapToGlobal(QPoint(24, 24)));
    QTRY_COMPARE(button.cursor().shape(), Qt::PointingHandCursor);
    QCOMPARE(ringRunFromLeft(WidgetTest::render(button), 24), 4);

    QCursor::setPos(origin + QPoint(600, 600));
    QTRY_COMPARE(button.cursor().shape(), Qt::CrossCursor);
    QVERIFY(allTransparent(WidgetTest::render(button)));
}

void TestPushButton7::filterNeverConsumes()
{
    PushButton_7 button{QPixmap(), QPixmap(), QPixmap()};
    button.resize(48, 48);
    button.setCheckable(true);
    button.setChecked(true);
    QSignalSpy spy(&button, &PushButton_7::checkedClicked);
    QEvent enter(QEvent::Enter);
    QEvent leave(QEvent::Leave);
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(5, 5), Qt::LeftButton, Qt::NoButton,
                        Qt::NoModifier);
    QVERIFY(!button.eventFilter(&button, &enter));
    QVERIFY(!button.eventFilter(&button, &leave));
    QVERIFY(!button.eventFilter(&button, &release));
    QCOMPARE(spy.count(), 1);
}

QTEST_MAIN(TestPushButton7)
#include "tst_pushbutton_7.moc"
