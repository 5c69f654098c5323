// The slide-to-clear slider and the panel that holds it, driven with mouse
// input through the window system and checked on the pixels it paints.

#include "toolbartestutil.h"

#include "tests/support/x11desktop.h"
#include "widgets/baseshadowwidget.h"

#include <QCursor>
#include <QMouseEvent>
#include <QVBoxLayout>

#include <X11/Xlib.h>

using namespace ToolbarTest;

namespace {

const QColor kTrackFill(238, 238, 238);
const QColor kHint(136, 136, 136);
const QColor kWindow(Qt::white);

// The panel on a plain opaque white window, away from the screen's corner.
class PanelWindow
{
public:
    PanelWindow()
    {
        window.setAttribute(Qt::WA_StyledBackground);
        window.setAutoFillBackground(true);
        QPalette palette = window.palette();
        palette.setColor(QPalette::Window, kWindow);
        window.setPalette(palette);
        window.setWindowFlags(Qt::FramelessWindowHint);
        window.setGeometry(100, 100, 700, 400);
        panel = new EarsePanel(&window);
        panel->move(50, 50);
        slider = panel->findChild<SliderWidget*>(QStringLiteral("slider"));
        handle = slider ? slider->findChild<QLabel*>() : nullptr;
        window.show();
    }

    bool exposed() { return QTest::qWaitForWindowExposed(&window); }

    // The slider's pixels as they reach the screen: read back from the X
    // server when there is one, else rendered by the backing store's path.
    QImage sliderPixels() const
    {
        QCoreApplication::processEvents();
        if (onX11()) {
            // No compositor here: the screen shows the window's pixels once
            // the X server has carried out the repaint.
            X11Desktop::syncApplication();
            Display* display = XOpenDisplay(nullptr);
            if (!display) {
                return QImage();
            }
            const QImage image = X11Desktop::grabScreen(
                display, QRect(slider->mapToGlobal(QPoint(0, 0)), slider->size()));
            XCloseDisplay(display);
            return image;
        }
        return slider->grab().toImage().convertToFormat(QImage::Format_RGB32);
    }

    QWidget window;
    EarsePanel* panel = nullptr;
    SliderWidget* slider = nullptr;
    QLabel* handle = nullptr;
};

bool isTrack(const QColor& c)
{
    return c == kTrackFill;
}

// A pixel of the hint: darker than the track, never darker than the hint's
// own grey (antialiased edges lie between the two).
bool isHint(const QColor& c)
{
    return c.red() < 230 && c.green() < 230 && c.blue() < 230;
}

// Sends a mouse event straight to the slider, past the window system, for
// orders that a real pointer cannot produce.
void sendMouse(QWidget* target, QEvent::Type type, const QPointF& local, Qt::MouseButton button,
               Qt::MouseButtons buttons)
{
    QMouseEvent event(type, local, target->mapToGlobal(local.toPoint()), button, buttons,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(target, &event);
}

} // namespace

class TestSliderWidget : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void panelForm_data();
    void panelForm();
    void panelPaintsAShadowCard();
    void sliderDefaults();

    void releaseAtTheEnd_data();
    void releaseAtTheEnd();
    void pressBelowTheGripStartsNothing_data();
    void pressBelowTheGripStartsNothing();
    void pressAboveTheHandleImageArms();
    void dragIsClamped_data();
    void dragIsClamped();
    void rightButtonNeverArms();
    void rightReleaseKeepsTheDragGoing();
    void panelPassesClearSignalOn();
    void hoverShowsPointingHand();
    void oddEventOrdersAreHarmless();
    void marginsLimitTheTravel();

    void paintsTrackAndHint_data();
    void paintsTrackAndHint();
    void wipesTheTrackUpToTheHandle();
};

void TestSliderWidget::initTestCase()
{
    initScaleFromScreen();
    // The hint is decoded with the locale's codec; these tests run in a
    // UTF-8 locale, as a desktop session does.
    QCOMPARE(QString::fromLocal8Bit(">>> 右滑清屏"), QStringLiteral(u">>> 右滑清屏"));
}

void TestSliderWidget::panelForm_data()
{
    QTest::addColumn<double>("scale");
    QTest::addColumn<QSize>("panelSize");
    QTest::addColumn<QSize>("sliderSize");
    QTest::addColumn<QRect>("handleGeometry");
    QTest::addColumn<int>("innerMargin");
    QTest::addColumn<QString>("radiusLine");
    QTest::newRow("scale1") << 1.0 << QSize(248, 72) << QSize(226, 48) << QRect(0, 5, 88, 38) << 2
                            << QStringLiteral("qx====m_pRadius= 4");
    QTest::newRow("scale2") << 2.0 << QSize(496, 144) << QSize(452, 96) << QRect(0, 10, 176, 76)
                            << 4 << QStringLiteral("qx====m_pRadius= 8");
}

void TestSliderWidget::panelForm()
{
    QFETCH(double, scale);
    QFETCH(QSize, panelSize);
    QFETCH(QSize, sliderSize);
    QFETCH(QRect, handleGeometry);
    QFETCH(int, innerMargin);
    QFETCH(QString, radiusLine);
    if (Common::getInstance()->getScale() != scale) {
        QSKIP("written for another scale");
    }

    MessageLog messages;
    EarsePanel panel;
    QVERIFY(messages.lines().contains(radiusLine));

    QCOMPARE(panel.objectName(), QStringLiteral("EarsePanel"));
    QCOMPARE(panel.windowTitle(), QStringLiteral("Form"));
    QCOMPARE(panel.size(), panelSize);
    QCOMPARE(panel.minimumSize(), panelSize);
    QCOMPARE(panel.maximumSize(), panelSize);
    QVERIFY(!panel.parentWidget());

    auto* outer = qobject_cast<QVBoxLayout*>(panel.layout());
    QVERIFY(outer);
    QCOMPARE(outer->objectName(), QStringLiteral("verticalLayout_2"));
    QCOMPARE(outer->count(), 1);
    auto* inner = qobject_cast<QVBoxLayout*>(outer->itemAt(0)->layout());
    QVERIFY(inner);
    QCOMPARE(inner->objectName(), QStringLiteral("verticalLayout"));
    QCOMPARE(inner->contentsMargins(),
             QMargins(innerMargin, innerMargin, innerMargin, innerMargin));
    QCOMPARE(inner->count(), 1);

    auto* slider = qobject_cast<SliderWidget*>(inner->itemAt(0)->widget());
    QVERIFY(slider);
    QCOMPARE(slider->objectName(), QStringLiteral("slider"));
    QCOMPARE(slider->parentWidget(), &panel);
    QCOMPARE(slider->size(), sliderSize);
    QCOMPARE(slider->minimumSize(), sliderSize);
    QCOMPARE(slider->maximumSize(), sliderSize);

    const QList<QLabel*> labels = slider->findChildren<QLabel*>();
    QCOMPARE(labels.size(), 1);
    QLabel* handle = labels.first();
    QCOMPARE(handle->geometry(), handleGeometry);
    QCOMPARE(handle->minimumSize(), handleGeometry.size());
    QCOMPARE(handle->maximumSize(), handleGeometry.size());
    QVERIFY(handle->hasScaledContents());
    const QImage shown = handle->pixmap(Qt::ReturnByValue).toImage();
    QVERIFY(!shown.isNull());
    const QImage file = QImage(QStringLiteral(":/images/minimize/huakuai@2x.png"));
    QCOMPARE(file.size(), QSize(176, 76));
    QCOMPARE(shown.convertToFormat(QImage::Format_ARGB32_Premultiplied),
             file.convertToFormat(QImage::Format_ARGB32_Premultiplied));
}

// The card is the shadow panel with border S(2), radius S(8) on every corner
// and a white fill: the same widget configured that way paints the same
// pixels wherever the slider does not cover it.
void TestSliderWidget::panelPaintsAShadowCard()
{
    EarsePanel panel;
    panel.setAttribute(Qt::WA_TranslucentBackground);
    BaseShadowWidget reference;
    reference.setAttribute(Qt::WA_TranslucentBackground);
    reference.setFixedSize(panel.size());
    reference.setBorderWidth(S(2));
    reference.setRadius(S(8), S(8), S(8), S(8));
    reference.setBackgroundColor(Qt::white);

    QImage actual(panel.size(), QImage::Format_ARGB32_Premultiplied);
    actual.fill(Qt::transparent);
    panel.render(&actual, QPoint(), QRegion(), QWidget::DrawChildren);
    QImage expected(panel.size(), QImage::Format_ARGB32_Premultiplied);
    expected.fill(Qt::transparent);
    reference.render(&expected, QPoint(), QRegion(), QWidget::DrawChildren);

    const QRect sliderArea = panel.findChild<SliderWidget*>()->geometry();
    int compared = 0;
    for (int y = 0; y < panel.height(); ++y) {
        for (int x = 0; x < panel.width(); ++x) {
            if (sliderArea.contains(x, y)) {
                continue;
            }
            ++compared;
            if (actual.pixel(x, y) != expected.pixel(x, y)) {
                QFAIL(qPrintable(QStringLiteral("pixel (%1, %2) differs: %3 instead of %4")
                                     .arg(x)
                                     .arg(y)
                                     .arg(actual.pixel(x, y), 8, 16)
                                     .arg(expected.pixel(x, y), 8, 16)));
            }
        }
    }
    QVERIFY(compared > panel.width() * 2);
    // The corner is transparent (rounded), the middle of the border white.
    QCOMPARE(qAlpha(actual.pixel(0, 0)), 0);
    QCOMPARE(actual.pixel(panel.width() / 2, S(2) + 1), qRgba(255, 255, 255, 255));
}

void TestSliderWidget::sliderDefaults()
{
    SliderWidget slider(nullptr);
    QCOMPARE(slider.findChildren<QLabel*>().size(), 1);
    QLabel* handle = slider.findChild<QLabel*>();
    QVERIFY(handle->hasScaledContents());
    // Margins 0 and a handle of the given size, vertically centred; odd
    // differences truncate.
    slider.resize(100, 41);
    slider.mSetHandleSize(QSize(30, 20));
    QCOMPARE(handle->geometry(), QRect(0, 10, 30, 20));
    slider.mSetMargin(7, 3);
    QCOMPARE(handle->geometry(), QRect(7, 10, 30, 20));
    // A handle taller than the slider sits above it: (41 - 60) / 2 = -9.
    slider.mSetHandleSize(QSize(30, 60));
    QCOMPARE(handle->geometry(), QRect(7, -9, 30, 60));

    MessageLog messages;
    slider.mSetRadius(13);
    QCOMPARE(messages.lines(), QStringList{QStringLiteral("qx====m_pRadius= 13")});
}

void TestSliderWidget::releaseAtTheEnd_data()
{
    QTest::addColumn<double>("scale");
    QTest::addColumn<int>("endX");
    QTest::addColumn<QPoint>("home");
    QTest::newRow("scale1") << 1.0 << 138 << QPoint(0, 5);
    QTest::newRow("scale2") << 2.0 << 276 << QPoint(0, 10);
}

void TestSliderWidget::releaseAtTheEnd()
{
    QFETCH(double, scale);
    QFETCH(int, endX);
    QFETCH(QPoint, home);
    if (Common::getInstance()->getScale() != scale) {
        QSKIP("written for another scale");
    }
    PanelWindow w;
    QVERIFY(w.exposed());
    QSignalSpy clears(w.slider, &SliderWidget::clearSignal);
    QCOMPARE(w.handle->pos(), home);

    // Grabbed in the middle of the handle's image; the drag moves the handle
    // by the pointer's travel.
    const QPoint grip(S(40), S(20));
    QTest::mousePress(w.slider, Qt::LeftButton, Qt::NoModifier, grip);
    QTest::mouseMove(w.slider, grip + QPoint(endX - 1, 0));
    QCOMPARE(w.handle->pos(), QPoint(endX - 1, home.y()));
    QTest::mouseRelease(w.slider, Qt::LeftButton, Qt::NoModifier, grip + QPoint(endX - 1, 0));
    QCOMPARE(clears.count(), 0);
    QCOMPARE(w.handle->pos(), home);

    QTest::mousePress(w.slider, Qt::LeftButton, Qt::NoModifier, grip);
    QTest::mouseMove(w.slider, grip + QPoint(endX / 2, 0));
    QCOMPARE(w.handle->pos(), QPoint(endX / 2, home.y()));
    QTest::mouseMove(w.slider, grip + QPoint(endX, 0));
    QCOMPARE(w.handle->pos(), QPoint(endX, home.y()));
    QTest::mouseRelease(w.slider, Qt::LeftButton, Qt::NoModifier, grip + QPoint(endX, 0));
    QCOMPARE(clears.count(), 1);
    QCOMPARE(w.handle->pos(), home);

    // Having been at the end does not count; only the release place does.
    QTest::mousePress(w.slider, Qt::LeftButton, Qt::NoModifier, grip);
    QTest::mouseMove(w.slider, grip + QPoint(endX, 0));
    QTest::mouseMove(w.slider, grip + QPoint(endX - 1, 0));
    QTest::mouseRelease(w.slider, Qt::LeftButton, Qt::NoModifier, grip + QPoint(endX - 1, 0));
    QCOMPARE(clears.count(), 1);
    QCOMPARE(w.handle->pos(), home);

    // After a release the slider is idle: moves carry nothing along.
    QTest::mouseMove(w.slider, grip + QPoint(endX, 0));
    QCOMPARE(w.handle->pos(), home);
}

void TestSliderWidget::pressBelowTheGripStartsNothing_data()
{
    QTest::addColumn<double>("scale");
    QTest::addColumn<QPoint>("press");
    QTest::addColumn<QPoint>("home");
    // Below the test box (handle height from y 0) though on the handle's
    // image, which reaches down to y 42 (84 at scale 2).
    QTest::newRow("scale1") << 1.0 << QPoint(10, 42) << QPoint(0, 5);
    QTest::newRow("scale2") << 2.0 << QPoint(20, 84) << QPoint(0, 10);
}

void TestSliderWidget::pressBelowTheGripStartsNothing()
{
    QFETCH(double, scale);
    QFETCH(QPoint, press);
    QFETCH(QPoint, home);
    if (Common::getInstance()->getScale() != scale) {
        QSKIP("written for another scale");
    }
    PanelWindow w;
    QVERIFY(w.exposed());
    QVERIFY(w.handle->geometry().contains(press));
    QSignalSpy clears(w.slider, &SliderWidget::clearSignal);

    QTest::mousePress(w.slider, Qt::LeftButton, Qt::NoModifier, press);
    QTest::mouseMove(w.slider, press + QPoint(60, 0));
    QCOMPARE(w.handle->pos(), home);
    QTest::mouseMove(w.slider, press + QPoint(w.slider->width(), 0));
    QCOMPARE(w.handle->pos(), home);
    QTest::mouseRelease(w.slider, Qt::LeftButton, Qt::NoModifier,
                        press + QPoint(w.slider->width(), 0));
    QCOMPARE(clears.count(), 0);
    QCOMPARE(w.handle->pos(), home);
}

// The test box sits at the slider's origin: a press above the handle's image
// but inside that box arms the slider.
void TestSliderWidget::pressAboveTheHandleImageArms()
{
    PanelWindow w;
    QVERIFY(w.exposed());
    const QPoint home = w.handle->pos();
    QVERIFY(home.y() > 0);
    QSignalSpy clears(w.slider, &SliderWidget::clearSignal);
    const QPoint press(S(10), 0);
    QVERIFY(!w.handle->geometry().contains(press));

    QTest::mousePress(w.slider, Qt::LeftButton, Qt::NoModifier, press);
    QTest::mouseMove(w.slider, press + QPoint(S(30), 0));
    QCOMPARE(w.handle->pos(), QPoint(S(30), home.y()));
    QTest::mouseRelease(w.slider, Qt::LeftButton, Qt::NoModifier, press + QPoint(S(30), 0));
    QCOMPARE(w.handle->pos(), home);
    QCOMPARE(clears.count(), 0);
}

void TestSliderWidget::dragIsClamped_data()
{
    QTest::addColumn<double>("scale");
    QTest::addColumn<int>("endX");
    QTest::addColumn<int>("homeY");
    QTest::newRow("scale1") << 1.0 << 138 << 5;
    QTest::newRow("scale2") << 2.0 << 276 << 10;
}

void TestSliderWidget::dragIsClamped()
{
    QFETCH(double, scale);
    QFETCH(int, endX);
    QFETCH(int, homeY);
    if (Common::getInstance()->getScale() != scale) {
        QSKIP("written for another scale");
    }
    PanelWindow w;
    QVERIFY(w.exposed());
    QSignalSpy clears(w.slider, &SliderWidget::clearSignal);
    const QPoint grip(S(40), S(20));

    QTest::mousePress(w.slider, Qt::LeftButton, Qt::NoModifier, grip);
    // Far past the right end, out of the slider and the panel.
    QTest::mouseMove(w.slider, grip + QPoint(endX + 1, 0));
    QCOMPARE(w.handle->pos(), QPoint(endX, homeY));
    QTest::mouseMove(w.slider, grip + QPoint(endX + 300, S(30)));
    QCOMPARE(w.handle->pos(), QPoint(endX, homeY));
    // Left of the start, out of the slider.
    QTest::mouseMove(w.slider, grip - QPoint(1, 0));
    QCOMPARE(w.handle->pos(), QPoint(0, homeY));
    QTest::mouseMove(w.slider, grip - QPoint(120, 0));
    QCOMPARE(w.handle->pos(), QPoint(0, homeY));
    // Back past the right end and released out there: the handle sat at the
    // end stop, so this clears.
    QTest::mouseMove(w.slider, grip + QPoint(endX + 200, -S(25)));
    QCOMPARE(w.handle->pos(), QPoint(endX, homeY));
    QTest::mouseRelease(w.slider, Qt::LeftButton, Qt::NoModifier,
                        grip + QPoint(endX + 200, -S(25)));
    QCOMPARE(clears.count(), 1);
    QCOMPARE(w.handle->pos(), QPoint(0, homeY));
}

void TestSliderWidget::rightButtonNeverArms()
{
    PanelWindow w;
    QVERIFY(w.exposed());
    const QPoint home = w.handle->pos();
    QSignalSpy clears(w.slider, &SliderWidget::clearSignal);
    const QPoint grip(S(40), S(20));
    const QPoint end = grip + QPoint(w.slider->width(), 0);

    QTest::mousePress(w.slider, Qt::RightButton, Qt::NoModifier, grip);
    QTest::mouseMove(w.slider, end);
    QCOMPARE(w.handle->pos(), home);
    QTest::mouseRelease(w.slider, Qt::RightButton, Qt::NoModifier, end);
    QCOMPARE(clears.count(), 0);
    // Nor does a left release afterwards, at the end, find anything armed.
    QTest::mouseRelease(w.slider, Qt::LeftButton, Qt::NoModifier, end);
    QCOMPARE(clears.count(), 0);
    QCOMPARE(w.handle->pos(), home);
}

void TestSliderWidget::rightReleaseKeepsTheDragGoing()
{
    PanelWindow w;
    QVERIFY(w.exposed());
    const QPoint home = w.handle->pos();
    const int endX = w.slider->width() - w.handle->width();
    QSignalSpy clears(w.slider, &SliderWidget::clearSignal);
    const QPoint grip(S(40), S(20));

    QTest::mousePress(w.slider, Qt::LeftButton, Qt::NoModifier, grip);
    const QPoint middle = grip + QPoint(S(50), 0);
    QTest::mouseMove(w.slider, middle);
    QCOMPARE(w.handle->pos(), QPoint(S(50), home.y()));
    // A right click in the middle of the drag: the right release neither
    // clears nor ends the drag. The right press, like any press, becomes the
    // point the handle's travel is measured from.
    QTest::mousePress(w.slider, Qt::RightButton, Qt::NoModifier, middle);
    QTest::mouseRelease(w.slider, Qt::RightButton, Qt::NoModifier, middle);
    QCOMPARE(clears.count(), 0);
    QCOMPARE(w.handle->pos(), QPoint(S(50), home.y()));
    QTest::mouseMove(w.slider, middle + QPoint(S(20), 0));
    QCOMPARE(w.handle->pos(), QPoint(S(20), home.y()));
    QTest::mouseMove(w.slider, middle + QPoint(endX, 0));
    QCOMPARE(w.handle->pos(), QPoint(endX, home.y()));
    // The next left release ends it, at the end stop.
    QTest::mouseRelease(w.slider, Qt::LeftButton, Qt::NoModifier, middle + QPoint(endX, 0));
    QCOMPARE(clears.count(), 1);
    QCOMPARE(w.handle->pos(), home);

    // The same straight to the slider, with a right release that carries
    // the left button as still held.
    sendMouse(w.slider, QEvent::MouseButtonPress, grip, Qt::LeftButton, Qt::LeftButton);
    sendMouse(w.slider, QEvent::MouseButtonRelease, grip, Qt::RightButton, Qt::LeftButton);
    sendMouse(w.slider, QEvent::MouseMove, grip + QPoint(endX, 0), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(w.handle->pos(), QPoint(endX, home.y()));
    sendMouse(w.slider, QEvent::MouseButtonRelease, grip + QPoint(endX, 0), Qt::LeftButton,
              Qt::NoButton);
    QCOMPARE(clears.count(), 2);
    QCOMPARE(w.handle->pos(), home);
    sendMouse(w.slider, QEvent::MouseMove, grip + QPoint(endX, 0), Qt::NoButton, Qt::NoButton);
    QCOMPARE(w.handle->pos(), home);
}

void TestSliderWidget::panelPassesClearSignalOn()
{
    PanelWindow w;
    QVERIFY(w.exposed());
    QSignalSpy sliderClears(w.slider, SIGNAL(clearSignal()));
    QSignalSpy panelClears(w.panel, SIGNAL(clearSignal()));
    const int endX = w.slider->width() - w.handle->width();
    const QPoint grip(S(40), S(20));
    for (int round = 1; round <= 3; ++round) {
        QTest::mousePress(w.slider, Qt::LeftButton, Qt::NoModifier, grip);
        QTest::mouseMove(w.slider, grip + QPoint(endX, 0));
        QTest::mouseRelease(w.slider, Qt::LeftButton, Qt::NoModifier, grip + QPoint(endX, 0));
        QCOMPARE(sliderClears.count(), round);
        QCOMPARE(panelClears.count(), round);
    }
    // The panel stays where it is after a clear.
    QVERIFY(w.panel->isVisible());
}

void TestSliderWidget::hoverShowsPointingHand()
{
    PanelWindow w;
    QVERIFY(w.exposed());
    const QPoint onHandle = w.handle->geometry().center();
    const QPoint offHandle(w.slider->width() - S(10), w.slider->height() / 2);
    QVERIFY(!w.handle->geometry().contains(offHandle));

    QTest::mouseMove(w.slider, offHandle);
    QVERIFY(w.slider->cursor().shape() != Qt::PointingHandCursor);
    QTest::mouseMove(w.slider, onHandle);
    QCOMPARE(w.slider->cursor().shape(), Qt::PointingHandCursor);
    // The handle has no cursor of its own: it shows the slider's.
    QVERIFY(!w.handle->testAttribute(Qt::WA_SetCursor));
    QCOMPARE(w.handle->cursor().shape(), Qt::PointingHandCursor);
    // Moving about on the handle keeps it.
    QTest::mouseMove(w.slider, onHandle + QPoint(S(20), S(5)));
    QCOMPARE(w.slider->cursor().shape(), Qt::PointingHandCursor);
    // Leaving the handle for the rest of the slider gives the arrow back.
    QTest::mouseMove(w.slider, offHandle);
    QCOMPARE(w.slider->cursor().shape(), Qt::ArrowCursor);
    QTest::mouseMove(w.slider, onHandle);
    QCOMPARE(w.slider->cursor().shape(), Qt::PointingHandCursor);
    // Leaving the slider altogether through the handle's edge also does.
    QTest::mouseMove(w.slider, QPoint(onHandle.x(), -S(20)));
    QCOMPARE(w.slider->cursor().shape(), Qt::ArrowCursor);
}

void TestSliderWidget::oddEventOrdersAreHarmless()
{
    PanelWindow w;
    QVERIFY(w.exposed());
    const QPoint home = w.handle->pos();
    const int endX = w.slider->width() - w.handle->width();
    QSignalSpy clears(w.slider, &SliderWidget::clearSignal);
    const QPoint grip(S(40), S(20));

    // Releases and moves without a press, straight to the slider and to the
    // handle, with and without buttons.
    sendMouse(w.slider, QEvent::MouseButtonRelease, grip + QPoint(endX, 0), Qt::LeftButton,
              Qt::NoButton);
    sendMouse(w.slider, QEvent::MouseMove, grip + QPoint(endX, 0), Qt::NoButton, Qt::LeftButton);
    sendMouse(w.slider, QEvent::MouseMove, grip + QPoint(endX, 0), Qt::NoButton, Qt::NoButton);
    sendMouse(w.handle, QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton);
    sendMouse(w.handle, QEvent::MouseMove, QPointF(endX, 5), Qt::NoButton, Qt::LeftButton);
    sendMouse(w.handle, QEvent::MouseButtonRelease, QPointF(endX, 5), Qt::LeftButton, Qt::NoButton);
    QCOMPARE(w.handle->pos(), home);
    QCOMPARE(clears.count(), 0);

    // The same through the window system.
    QTest::mouseRelease(w.slider, Qt::LeftButton, Qt::NoModifier, grip + QPoint(endX, 0));
    QTest::mouseMove(w.slider, grip);
    QTest::mouseRelease(w.slider, Qt::LeftButton, Qt::NoModifier, grip);
    QCOMPARE(w.handle->pos(), home);
    QCOMPARE(clears.count(), 0);

    // Two presses in a row (the second seen as a double click) and fractional
    // positions: the press point rounds half away from zero.
    sendMouse(w.slider, QEvent::MouseButtonPress, QPointF(10.5, 10.5), Qt::LeftButton,
              Qt::LeftButton);
    sendMouse(w.slider, QEvent::MouseMove, QPointF(40.4, 10), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(w.handle->pos(), QPoint(40 - 11, home.y()));
    sendMouse(w.slider, QEvent::MouseMove, QPointF(40.5, 10), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(w.handle->pos(), QPoint(41 - 11, home.y()));
    sendMouse(w.slider, QEvent::MouseButtonRelease, QPointF(40.5, 10), Qt::LeftButton,
              Qt::NoButton);
    QCOMPARE(w.handle->pos(), home);
    QTest::mouseDClick(w.slider, Qt::LeftButton, Qt::NoModifier, grip);
    QCOMPARE(w.handle->pos(), home);
    QCOMPARE(clears.count(), 0);

    // A slider that was never sized or given a handle picture.
    SliderWidget bare(nullptr);
    sendMouse(&bare, QEvent::MouseButtonPress, QPointF(0, 0), Qt::LeftButton, Qt::LeftButton);
    sendMouse(&bare, QEvent::MouseMove, QPointF(500, 0), Qt::NoButton, Qt::LeftButton);
    sendMouse(&bare, QEvent::MouseButtonRelease, QPointF(500, 0), Qt::LeftButton, Qt::NoButton);
    QVERIFY(!bare.grab().isNull());
}

void TestSliderWidget::marginsLimitTheTravel()
{
    SliderWidget slider(nullptr);
    slider.resize(200, 40);
    slider.mSetHandleSize(QSize(50, 30));
    slider.mSetMargin(10, 20);
    QLabel* handle = slider.findChild<QLabel*>();
    QCOMPARE(handle->pos(), QPoint(10, 5));
    QSignalSpy clears(&slider, &SliderWidget::clearSignal);

    // The grip stays at the slider's origin even with a left margin.
    sendMouse(&slider, QEvent::MouseButtonPress, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton);
    sendMouse(&slider, QEvent::MouseMove, QPointF(25, 5), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(handle->pos(), QPoint(30, 5));
    sendMouse(&slider, QEvent::MouseMove, QPointF(-50, 5), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(handle->pos(), QPoint(10, 5));
    // The end stop is 200 - 50 - 20 = 130.
    sendMouse(&slider, QEvent::MouseMove, QPointF(500, 5), Qt::NoButton, Qt::LeftButton);
    QCOMPARE(handle->pos(), QPoint(130, 5));
    sendMouse(&slider, QEvent::MouseButtonRelease, QPointF(500, 5), Qt::LeftButton, Qt::NoButton);
    QCOMPARE(clears.count(), 1);
    QCOMPARE(handle->pos(), QPoint(10, 5));
}

void TestSliderWidget::paintsTrackAndHint_data()
{
    QTest::addColumn<double>("scale");
    QTest::addColumn<int>("hintEnd");
    QTest::addColumn<QColor>("outline");
    // A one-pixel outline along the edge covers half of the edge pixel over
    // the fill: (224 + 238) / 2 = 231. Two pixels wide it covers it wholly.
    QTest::newRow("scale1") << 1.0 << 226 - 16 << QColor(231, 231, 231);
    QTest::newRow("scale2") << 2.0 << 452 - 32 << QColor(224, 224, 224);
}

void TestSliderWidget::paintsTrackAndHint()
{
    QFETCH(double, scale);
    QFETCH(int, hintEnd);
    QFETCH(QColor, outline);
    if (Common::getInstance()->getScale() != scale) {
        QSKIP("written for another scale");
    }
    PanelWindow w;
    QVERIFY(w.exposed());
    const QImage pixels = w.sliderPixels();
    QCOMPARE(pixels.size(), w.slider->size());
    const int width = pixels.width();
    const int height = pixels.height();

    // The fill, away from the edges, the hint and the handle.
    QCOMPARE(pixels.pixelColor(width - S(6), S(4)), kTrackFill);
    QCOMPARE(pixels.pixelColor(width - S(6), height - S(4)), kTrackFill);
    QCOMPARE(pixels.pixelColor(w.handle->width() + S(4), S(3)), kTrackFill);
    // The outline along the straight parts of the edges.
    for (const QPoint& p :
         {QPoint(width / 2, 0), QPoint(width / 2, height - 1), QPoint(width - 1, height / 2)}) {
        const QColor c = pixels.pixelColor(p);
        QVERIFY2(qAbs(c.red() - outline.red()) <= 1 && c.red() == c.green() &&
                     c.green() == c.blue(),
                 qPrintable(QStringLiteral("(%1, %2) is %3").arg(p.x()).arg(p.y()).arg(c.name())));
    }
    // Rounded corners: the panel's white shows in the very corner.
    QVERIFY(pixels.pixelColor(width - 1, 0).red() > 240);
    QVERIFY(pixels.pixelColor(width - 1, height - 1).red() > 240);

    // The hint: grey, right-aligned, ending 16 design pixels before the
    // right edge; vertically centred.
    int left = width;
    int right = -1;
    int top = height;
    int bottom = -1;
    int exactGrey = 0;
    // Clear of the outline and the rounded corners.
    const int edge = S(4) + 1;
    for (int y = edge; y < height - edge; ++y) {
        for (int x = w.handle->width() + 1; x < width - edge; ++x) {
            const QColor c = pixels.pixelColor(x, y);
            if (!isHint(c)) {
                continue;
            }
            QVERIFY2(c.red() >= kHint.red() && c.green() >= kHint.green() &&
                         c.blue() >= kHint.blue(),
                     qPrintable(QStringLiteral("(%1, %2) is %3").arg(x).arg(y).arg(c.name())));
            exactGrey += c == kHint ? 1 : 0;
            left = qMin(left, x);
            right = qMax(right, x);
            top = qMin(top, y);
            bottom = qMax(bottom, y);
        }
    }
    QVERIFY2(exactGrey > 10, qPrintable(QString::number(exactGrey)));
    QVERIFY2(right < hintEnd && right >= hintEnd - 3,
             qPrintable(QStringLiteral("hint ends at %1").arg(right)));
    QVERIFY2(qAbs((top + bottom) - (height - 1)) <= 3,
             qPrintable(QStringLiteral("hint rows %1 to %2").arg(top).arg(bottom)));
    // Right-aligned: the start follows from the text's own width.
    const int textWidth = QFontMetrics(Common::getInstance()->getFont())
                              .horizontalAdvance(QStringLiteral(u">>> 右滑清屏"));
    QVERIFY2(
        qAbs(left - (hintEnd - textWidth)) <= 3,
        qPrintable(QStringLiteral("hint starts at %1, text %2 wide").arg(left).arg(textWidth)));
}

void TestSliderWidget::wipesTheTrackUpToTheHandle()
{
    PanelWindow w;
    QVERIFY(w.exposed());
    const QImage before = w.sliderPixels();
    int hintLeft = before.width();
    for (int y = 0; y < before.height(); ++y) {
        for (int x = w.handle->width() + 1; x < before.width() - 1; ++x) {
            if (isHint(before.pixelColor(x, y))) {
                hintLeft = qMin(hintLeft, x);
            }
        }
    }
    QVERIFY(hintLeft < before.width());

    // Drag the handle so that its left edge passes ten pixels into the hint.
    const int target = hintLeft + 10;
    QVERIFY(target <= w.slider->width() - w.handle->width());
    const QPoint grip(S(40), S(20));
    QTest::mousePress(w.slider, Qt::LeftButton, Qt::NoModifier, grip);
    QTest::mouseMove(w.slider, grip + QPoint(target, 0));
    QCOMPARE(w.handle->x(), target);

    const QImage during = w.sliderPixels();
    int hintBefore = 0;
    for (int y = w.handle->y(); y < w.handle->y() + w.handle->height(); ++y) {
        for (int x = 0; x < target; ++x) {
            hintBefore += isHint(before.pixelColor(x, y)) ? 1 : 0;
            if (!isTrack(during.pixelColor(x, y))) {
                QFAIL(qPrintable(QStringLiteral("(%1, %2) left of the handle is %3")
                                     .arg(x)
                                     .arg(y)
                                     .arg(during.pixelColor(x, y).name())));
            }
        }
    }
    QVERIFY(hintBefore > 0);
    // Right of the handle the rest of the hint is still there.
    int hintAfter = 0;
    for (int y = 0; y < during.height(); ++y) {
        for (int x = target + w.handle->width(); x < during.width() - 1; ++x) {
            hintAfter += isHint(during.pixelColor(x, y)) ? 1 : 0;
        }
    }
    QVERIFY(hintAfter > 0);

    QTest::mouseRelease(w.slider, Qt::LeftButton, Qt::NoModifier, grip + QPoint(target, 0));
    const QImage after = w.sliderPixels();
    QCOMPARE(after, before);
}

QTEST_MAIN(TestSliderWidget)
#include "tst_sliderwidget.moc"
