#include "widgets/baseshadowwidget.h"

#include "tests/support/paintcounting.h"
#include "widgettestutil.h"

#include <QtTest>

#include <climits>

// Pixel expectations. The shadow pen is one pixel wide, so an outline along
// the integer coordinate c covers [c - 0.5, c + 0.5]:
// - rendered 1:1, it covers half of pixel c - 1 and half of pixel c, and two
//   neighbouring rings share every pixel between them;
// - rendered through a painter scaled by 2, it covers device pixels 2c - 1 and
//   2c completely and the rings no longer touch, so every ring's own alpha can
//   be read exactly.
// The panel fill starts at the inset n, that is at device pixel 2n.
// Premultiplied grey of alpha a is 135 * a / 255 per channel.

namespace {

int premultipliedGrey(double alpha)
{
    return qRound(135.0 * alpha / 255.0);
}

using CountingShadowWidget = PaintCounting<BaseShadowWidget>;

} // namespace

class TestBaseShadowWidget : public QObject
{
    Q_OBJECT

private slots:
    void constructsAsPlainChild();
    void borderWidthZeroIsFullyTransparent_data();
    void borderWidthZeroIsFullyTransparent();
    void borderWidthOnePaintsPanelWithOneRing();
    void borderWidthOneOnExactRings();
    void borderWidthTenRingAlphasFromInsideOut();
    void borderWidthTenRenderedOneToOne();
    void ringAlphasTruncate();
    void ringAlphasUseSinglePrecision();
    void differentRightRadiiBendBottomRightToTopRightRadius();
    void roundedCornerLeavesCornerTransparent();
    void tinyWidgetsDoNotCrash();
    void borderWiderThanWidgetFillsEverything();
    void hugeRadiiDoNotCrash();
    void paintingIgnoresScale();
    void settersDoNotRepaint();
};

void TestBaseShadowWidget::constructsAsPlainChild()
{
    QWidget parent;
    auto* panel = new BaseShadowWidget(&parent);
    QCOMPARE(panel->parent(), &parent);
    QCOMPARE(panel->windowType(), Qt::Widget);
    QVERIFY(!panel->isWindow());
}

void TestBaseShadowWidget::borderWidthZeroIsFullyTransparent_data()
{
    QTest::addColumn<int>("border");
    QTest::addColumn<bool>("configure");
    QTest::newRow("defaults") << 0 << false;
    QTest::newRow("zero with colour and radii") << 0 << true;
    QTest::newRow("negative with colour and radii") << -4 << true;
    QTest::newRow("INT_MIN with colour and radii") << INT_MIN << true;
}

void TestBaseShadowWidget::borderWidthZeroIsFullyTransparent()
{
    QFETCH(int, border);
    QFETCH(bool, configure);
    BaseShadowWidget panel;
    panel.resize(60, 40);
    if (configure) {
        panel.setBorderWidth(border);
        panel.setBackgroundColor(Qt::red);
        panel.setRadius(8, 8, 8, 8);
    }
    for (int scale = 1; scale <= 2; ++scale) {
        const QImage image = WidgetTest::render(panel, scale);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                VERIFY_PIXEL(image, x, y, 0, 0, 0, 0, 0);
            }
        }
    }
}

void TestBaseShadowWidget::borderWidthOnePaintsPanelWithOneRing()
{
    // One path at inset 1: panel from (1, 1) to (59, 39), outlined in grey at
    // alpha 70. Rendered 1:1 the outline lies half on the last pixel outside
    // the panel (alpha 35) and half over the first pixel of the red panel.
    BaseShadowWidget panel;
    panel.resize(60, 40);
    panel.setBorderWidth(1);
    panel.setBackgroundColor(QColor(255, 0, 0));
    const QImage image = WidgetTest::render(panel);

    const int halfGrey = premultipliedGrey(35);                    // 19
    const int redUnderHalfGrey = qRound(135.0 * 35 / 255 + 220.0); // 239
    // Left edge, middle row.
    VERIFY_PIXEL(image, 0, 20, halfGrey, halfGrey, halfGrey, 35, 2);
    VERIFY_PIXEL(image, 1, 20, redUnderHalfGrey, halfGrey, halfGrey, 255, 2);
    VERIFY_PIXEL(image, 2, 20, 255, 0, 0, 255, 0);
    // Top edge.
    VERIFY_PIXEL(image, 30, 0, halfGrey, halfGrey, halfGrey, 35, 2);
    VERIFY_PIXEL(image, 30, 1, redUnderHalfGrey, halfGrey, halfGrey, 255, 2);
    // Right edge at x = 59: pixel 58 is the panel's last, 59 outside.
    VERIFY_PIXEL(image, 57, 20, 255, 0, 0, 255, 0);
    VERIFY_PIXEL(image, 58, 20, redUnderHalfGrey, halfGrey, halfGrey, 255, 2);
    VERIFY_PIXEL(image, 59, 20, halfGrey, halfGrey, halfGrey, 35, 2);
    // Bottom edge at y = 39.
    VERIFY_PIXEL(image, 30, 38, redUnderHalfGrey, halfGrey, halfGrey, 255, 2);
    VERIFY_PIXEL(image, 30, 39, halfGrey, halfGrey, halfGrey, 35, 2);
    // Middle.
    VERIFY_PIXEL(image, 30, 20, 255, 0, 0, 255, 0);
}

void TestBaseShadowWidget::borderWidthOneOnExactRings()
{
    BaseShadowWidget panel;
    panel.resize(60, 40);
    panel.setBorderWidth(1);
    panel.setBackgroundColor(QColor(255, 0, 0));
    const QImage image = WidgetTest::render(panel, 2);

    const int grey70 = premultipliedGrey(70); // 37
    // Device row 40 is the widget's middle row. Pixel 0 lies outside the
    // ring, pixel 1 is the ring alone, pixel 2 the ring over the panel.
    VERIFY_PIXEL(image, 0, 40, 0, 0, 0, 0, 0);
    QCOMPARE(qAlpha(image.pixel(1, 40)), 70);
    VERIFY_PIXEL(image, 1, 40, grey70, grey70, grey70, 70, 1);
    VERIFY_PIXEL(image, 2, 40, qRound(135.0 * 70 / 255 + 185.0), grey70, grey70, 255, 1);
    VERIFY_PIXEL(image, 3, 40, 255, 0, 0, 255, 0);
    // The same on the top edge.
    VERIFY_PIXEL(image, 60, 0, 0, 0, 0, 0, 0);
    QCOMPARE(qAlpha(image.pixel(60, 1)), 70);
    VERIFY_PIXEL(image, 60, 3, 255, 0, 0, 255, 0);
}

void TestBaseShadowWidget::borderWidthTenRingAlphasFromInsideOut()
{
    BaseShadowWidget panel;
    panel.resize(100, 80);
    panel.setBorderWidth(10);
    panel.setRadius(8, 8, 8, 8);
    panel.setBackgroundColor(QColor(0, 0, 255));
    const QImage image = WidgetTest::render(panel, 2);

    // Inside out: the ring at inset 10 first, the one at inset 1 last.
    const int alphas[10] = {70, 63, 56, 49, 42, 35, 28, 21, 14, 7};
    for (int ring = 0; ring < 10; ++ring) {
        const int inset = 10 - ring;
        const int alpha = alphas[ring];
        const int grey = premultipliedGrey(alpha);
        // Left edge along the middle row (device 80): pixel 2 * inset - 1
        // carries only this ring; so does 2 * inset except for the innermost
        // ring, which lies over the panel there.
        QCOMPARE(qAlpha(image.pixel(2 * inset - 1, 80)), alpha);
        VERIFY_PIXEL(image, 2 * inset - 1, 80, grey, grey, grey, alpha, 1);
        // Top edge along the middle column (device 100).
        QCOMPARE(qAlpha(image.pixel(100, 2 * inset - 1)), alpha);
        VERIFY_PIXEL(image, 100, 2 * inset - 1, grey, grey, grey, alpha, 1);
        // Right edge: the ring at x = 100 - inset covers device pixels
        // 199 - 2 * inset and 200 - 2 * inset; the latter is outside the
        // panel.
        QCOMPARE(qAlpha(image.pixel(200 - 2 * inset, 80)), alpha);
        // Bottom edge likewise.
        QCOMPARE(qAlpha(image.pixel(100, 160 - 2 * inset)), alpha);
        if (inset < 10) {
            QCOMPARE(qAlpha(image.pixel(2 * inset, 80)), alpha);
        }
    }
    // Nothing outside the outermost ring.
    VERIFY_PIXEL(image, 0, 80, 0, 0, 0, 0, 0);
    VERIFY_PIXEL(image, 100, 0, 0, 0, 0, 0, 0);
    // The innermost ring over the blue panel, then the panel itself.
    VERIFY_PIXEL(image, 20, 80, premultipliedGrey(70), premultipliedGrey(70),
                 qRound(135.0 * 70 / 255 + 185.0), 255, 1);
    VERIFY_PIXEL(image, 21, 80, 0, 0, 255, 255, 0);
    VERIFY_PIXEL(image, 100, 80, 0, 0, 255, 255, 0);
}

void TestBaseShadowWidget::borderWidthTenRenderedOneToOne()
{
    // Rendered 1:1, pixel column p (p < 10) on the left edge holds half of
    // the ring at inset p + 1 (drawn first) and half of the ring at inset p
    // (drawn over it), composed source-over. Column 0 has only the outermost
    // ring's half; column 10 is the panel under half of the innermost ring.
    BaseShadowWidget panel;
    panel.resize(100, 80);
    panel.setBorderWidth(10);
    panel.setRadius(8, 8, 8, 8);
    panel.setBackgroundColor(QColor(0, 0, 255));
    const QImage image = WidgetTest::render(panel);

    // Alpha of the ring at each inset, 1 to 10 (index 0: no ring).
    const int alphaAtInset[11] = {0, 7, 14, 21, 28, 35, 42, 49, 56, 63, 70};
    for (int p = 0; p < 10; ++p) {
        const double under = alphaAtInset[p + 1] / 2.0;
        const double over = alphaAtInset[p] / 2.0;
        const double alpha = over + under * (1.0 - over / 255.0);
        const int grey = premultipliedGrey(alpha);
        VERIFY_PIXEL(image, p, 40, grey, grey, grey, qRound(alpha), 2);
        VERIFY_PIXEL(image, 50, p, grey, grey, grey, qRound(alpha), 2);
    }
    VERIFY_PIXEL(image, 10, 40, premultipliedGrey(35), premultipliedGrey(35),
                 qRound(135.0 * 35 / 255 + 220.0), 255, 2);
    VERIFY_PIXEL(image, 11, 40, 0, 0, 255, 255, 0);
}

void TestBaseShadowWidget::ringAlphasTruncate()
{
    // Three rings: step 70 / 3 = 23.33..., alphas (int)70 = 70,
    // (int)46.67 = 46 and (int)23.33 = 23 (truncated, not rounded).
    BaseShadowWidget panel;
    panel.resize(40, 30);
    panel.setBorderWidth(3);
    panel.setBackgroundColor(Qt::white);
    const QImage image = WidgetTest::render(panel, 2);
    QCOMPARE(qAlpha(image.pixel(5, 30)), 70); // inset 3
    QCOMPARE(qAlpha(image.pixel(3, 30)), 46); // inset 2
    QCOMPARE(qAlpha(image.pixel(1, 30)), 23); // inset 1
}

void TestBaseShadowWidget::ringAlphasUseSinglePrecision()
{
    // 63 rings: step = 70.0f / 63 = 1.11111116 in single precision.
    // Ring 45 (inset 18): 45 * step rounds to 50.0000038 in float, and
    // 70 - 50.0000038 = 19.9999962 truncates to 19 (in double it would be 20).
    // Ring 54 (inset 9): 70 - 60.0000038 = 9.9999962, truncated 9 (double: 10).
    // Ring 0 (inset 63): 70. Ring 62 (inset 1): 70 - 68.8888931 = 1.11, so 1.
    BaseShadowWidget panel;
    panel.resize(200, 160);
    panel.setBorderWidth(63);
    panel.setBackgroundColor(Qt::white);
    const QImage image = WidgetTest::render(panel, 2);
    const int row = 160;
    QCOMPARE(qAlpha(image.pixel(2 * 63 - 1, row)), 70);
    QCOMPARE(qAlpha(image.pixel(2 * 18 - 1, row)), 19);
    QCOMPARE(qAlpha(image.pixel(2 * 9 - 1, row)), 9);
    QCOMPARE(qAlpha(image.pixel(2 * 1 - 1, row)), 1);
}

void TestBaseShadowWidget::differentRightRadiiBendBottomRightToTopRightRadius()
{
    // Border 1: the panel path runs on right = 99, bottom = 59. With
    // top-right 40 and bottom-right 20 the bottom-right curve goes from
    // (99, 39) with control (99, 59) to (99 - 40, 59) = (59, 59):
    //   x(t) = 99 - 40 t^2, y(t) = 39 + 40 t - 20 t^2.
    // At x = 90.5: t^2 = 0.2125, t = 0.461, y = 53.19; so pixel (90, 55) is
    // outside the panel and its ring, and pixel (90, 50) inside.
    // With top-right 20 the curve would end at (79, 59):
    //   x(t) = 99 - 20 t^2, at x = 90.5: t = 0.652, y = 56.58,
    // and pixel (90, 55) lies inside the panel.
    BaseShadowWidget panel;
    panel.resize(100, 60);
    panel.setBorderWidth(1);
    panel.setBackgroundColor(QColor(255, 0, 0));

    // The top-right curve, from (59, 1) with control (99, 1) to (99, 41):
    //   x(t) = 59 + 80 t - 40 t^2, y(t) = 1 + 40 t^2; at x = 90.5, t = 0.539
    // and y = 12.62, so pixel (90, 10) is outside. With top-right 20 it runs
    // from (79, 1) to (99, 21) and at x = 90.5 lies at y = 3.42, leaving
    // (90, 10) inside.
    panel.setRadius(0, 0, 40, 20);
    QImage image = WidgetTest::render(panel);
    VERIFY_PIXEL(image, 90, 55, 0, 0, 0, 0, 0);
    VERIFY_PIXEL(image, 90, 50, 255, 0, 0, 255, 0);
    VERIFY_PIXEL(image, 90, 10, 0, 0, 0, 0, 0);

    panel.setRadius(0, 0, 20, 20);
    image = WidgetTest::render(panel);
    VERIFY_PIXEL(image, 90, 55, 255, 0, 0, 255, 0);
    VERIFY_PIXEL(image, 90, 10, 255, 0, 0, 255, 0);
}

void TestBaseShadowWidget::roundedCornerLeavesCornerTransparent()
{
    // Radii are handed over in the order top-left, bottom-left, top-right,
    // bottom-right. Border 1, top-left 20 and nothing else: the top-left
    // corner curve runs from (1, 21) with control (1, 1) to (21, 1); its
    // midpoint is (6, 6), so pixel (3, 3) is outside and every other corner
    // is square.
    BaseShadowWidget panel;
    panel.resize(60, 40);
    panel.setBorderWidth(1);
    panel.setBackgroundColor(QColor(255, 0, 0));
    panel.setRadius(20, 0, 0, 0);
    const QImage image = WidgetTest::render(panel);
    VERIFY_PIXEL(image, 3, 3, 0, 0, 0, 0, 0);
    VERIFY_PIXEL(image, 2, 37, 255, 0, 0, 255, 0);  // bottom-left square
    VERIFY_PIXEL(image, 57, 2, 255, 0, 0, 255, 0);  // top-right square
    VERIFY_PIXEL(image, 57, 37, 255, 0, 0, 255, 0); // bottom-right square
    VERIFY_PIXEL(image, 9, 9, 255, 0, 0, 255, 0);   // inside the curve

    // The same radius given second lands on the bottom-left corner.
    panel.setRadius(0, 20, 0, 0);
    const QImage second = WidgetTest::render(panel);
    VERIFY_PIXEL(second, 3, 3 + 33, 0, 0, 0, 0, 0);
    VERIFY_PIXEL(second, 2, 2, 255, 0, 0, 255, 0);
}

void TestBaseShadowWidget::tinyWidgetsDoNotCrash()
{
    for (int side = 0; side <= 3; ++side) {
        BaseShadowWidget panel;
        panel.resize(side, side);
        panel.setBorderWidth(10);
        panel.setRadius(-5, 100, 0, INT_MAX);
        panel.setBackgroundColor(QColor(255, 0, 0));
        const QImage image = WidgetTest::render(panel);
        QCOMPARE(image.size(), QSize(side, side));
    }
    // On a 3 x 3 widget the innermost path (inset 10) runs from 10 to -7:
    // its fill covers the whole widget, under faint grey rings.
    BaseShadowWidget panel;
    panel.resize(3, 3);
    panel.setBorderWidth(10);
    panel.setBackgroundColor(QColor(255, 0, 0));
    const QImage image = WidgetTest::render(panel);
    QCOMPARE(qAlpha(image.pixel(1, 1)), 255);
    QVERIFY2(qRed(image.pixel(1, 1)) > 150 && qGreen(image.pixel(1, 1)) < 100,
             qPrintable(WidgetTest::describe(image, 1, 1)));
}

void TestBaseShadowWidget::borderWiderThanWidgetFillsEverything()
{
    // With a border of INT_MAX the innermost path spans from INT_MAX down to
    // 20 - INT_MAX and its fill covers the whole widget. The rings that could
    // still reach the widget have alphas (int)(70 * inset / INT_MAX) = 0.
    BaseShadowWidget panel;
    panel.resize(20, 10);
    panel.setBorderWidth(INT_MAX);
    panel.setBackgroundColor(QColor(255, 0, 0));
    // Painting must not loop over every one of the INT_MAX rings (a loop
    // like that would not end within the test's time limit).
    const QImage image = WidgetTest::render(panel);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            VERIFY_PIXEL(image, x, y, 255, 0, 0, 255, 0);
        }
    }
}

void TestBaseShadowWidget::hugeRadiiDoNotCrash()
{
    // With every radius R far beyond the panel, a corner curve such as the
    // top-right one, x = 55 - R (1 - t)^2, y = 5 + R t^2 (inset 5 on 60 x 40),
    // never comes near the widget; inside it only the four straight runs
    // remain, each crossing the whole widget. A ray from (0, 20) to the left
    // meets just the top-right and bottom-right curves far away, both running
    // downwards: winding number 2, so under the winding fill rule the pixel is
    // panel. Over it lies half of the outermost ring (inset 1, alpha
    // 70 / 5 = 14, half 7): premultiplied red 255 - 7 + 135 * 7 / 255 = 251.7,
    // green and blue 3.7.
    for (const int radius : {100000, INT_MAX}) {
        BaseShadowWidget panel;
        panel.resize(60, 40);
        panel.setBorderWidth(5);
        panel.setBackgroundColor(QColor(255, 0, 0));
        panel.setRadius(radius, radius, radius, radius);
        const QImage image = WidgetTest::render(panel);
        VERIFY_PIXEL(image, 0, 20, 252, 4, 4, 255, 1);
        VERIFY_PIXEL(image, 30, 20, 255, 0, 0, 255, 0);
    }
}

void TestBaseShadowWidget::paintingIgnoresScale()
{
    // Border width and radii are device pixels: the scale factor plays no
    // part in the panel's painting.
    BaseShadowWidget panel;
    panel.resize(60, 40);
    panel.setBorderWidth(4);
    panel.setRadius(6, 6, 6, 6);
    panel.setBackgroundColor(QColor(10, 200, 30));
    const QImage atOne = WidgetTest::render(panel);
    {
        WidgetTest::ScaleGuard guard(QSize(3840, 2160));
        QCOMPARE(Common::getInstance()->getNewSize(4), 8);
        const QImage atTwo = WidgetTest::render(panel);
        QCOMPARE(atTwo, atOne);
    }
    QCOMPARE(Common::getInstance()->getNewSize(4), 4);
}

void TestBaseShadowWidget::settersDoNotRepaint()
{
    CountingShadowWidget panel;
    panel.resize(60, 40);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    QTRY_VERIFY(panel.paints > 0);
    QCoreApplication::processEvents();

    panel.paints = 0;
    panel.setBorderWidth(5);
    panel.setRadius(1, 2, 3, 4);
    panel.setBackgroundColor(Qt::blue);
    // A repaint asked for would run with the posted events.
    QCoreApplication::processEvents();
    QCOMPARE(panel.paints, 0);

    // The counter does see a requested repaint, the same way.
    panel.update();
    QCoreApplication::processEvents();
    QVERIFY(panel.paints > 0);
}

QTEST_MAIN(TestBaseShadowWidget)
#include "tst_baseshadowwidget.moc"
