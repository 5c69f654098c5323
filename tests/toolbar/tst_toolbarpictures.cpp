// Pictures of the toolbar and its pop-ups as a user sees them: on a private
// X server with a compositor, over a light and a dark desktop. Each state is
// checked on the screen's pixels; with SKEDA_DOCS_DIR set the pictures are
// also saved there as toolbar-*.png.

#include "toolbartestutil.h"

#include "tests/support/x11desktop.h"

#include <QDir>

#include <X11/Xlib.h>

using namespace ToolbarTest;

namespace {

// The part of a 1920 x 1080 screen that holds the toolbar at (80, 932) and
// the pop-ups above it, with some desktop around.
const QRect kCrop(56, 702, 420, 322);

int distance(const QColor& a, const QColor& b)
{
    return qAbs(a.red() - b.red()) + qAbs(a.green() - b.green()) + qAbs(a.blue() - b.blue());
}

} // namespace

class TestToolbarPictures : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void pictures_data();
    void pictures();

private:
    QImage screen();
    void keep(const QImage& image, const QString& state, const QString& theme);

    Display* m_display = nullptr;
};

void TestToolbarPictures::initTestCase()
{
    if (!onX11()) {
        QSKIP("needs an X server with a compositor");
    }
    SKIP_UNLESS_SCREEN_WIDTH(1920);
    initScaleFromScreen();
    m_display = XOpenDisplay(nullptr);
    QVERIFY(m_display);
}

void TestToolbarPictures::cleanupTestCase()
{
    if (m_display) {
        XCloseDisplay(m_display);
    }
}

QImage TestToolbarPictures::screen()
{
    // The toolbar repaints and the compositor shows it: the screen once it
    // has stopped changing.
    return X11Desktop::grabSettled(m_display);
}

void TestToolbarPictures::keep(const QImage& image, const QString& state, const QString& theme)
{
    const QString dir = qEnvironmentVariable("SKEDA_DOCS_DIR");
    if (dir.isEmpty()) {
        return;
    }
    const QString file = QDir(dir).filePath(QStringLiteral("toolbar-%1-%2.png").arg(state, theme));
    QVERIFY2(image.copy(kCrop).save(file), qPrintable(file));
}

void TestToolbarPictures::pictures_data()
{
    QTest::addColumn<QString>("theme");
    QTest::addColumn<QColor>("desktop");
    QTest::newRow("light") << "light" << QColor(0xE4, 0xE9, 0xEE);
    QTest::newRow("dark") << "dark" << QColor(0x23, 0x29, 0x33);
}

void TestToolbarPictures::pictures()
{
    QFETCH(QString, theme);
    QFETCH(QColor, desktop);
    X11Desktop::paintDesktop(m_display, desktop.rgb() & 0xFFFFFF);

    Rig rig;
    QVERIFY(rig.exposed());
    QCOMPARE(rig.tool->pos(), QPoint(80, 932));
    const QPoint away(1500, 300);
    QTest::mouseMove(&rig.board, away);

    // Expanded: the desktop shows between and below the buttons.
    QImage shot = screen();
    QCOMPARE(shot.pixelColor(80 + 68 + 3, 932 + 34), desktop);
    QCOMPARE(shot.pixelColor(80 + 200, 932 + 66), desktop);
    QCOMPARE(shot.pixelColor(80 + 369, 932 + 34), desktop);
    // The chosen pen button has its blue face; the select button its dark
    // one, the desktop showing through it.
    const QPoint penTop = rig.pen()->mapToGlobal(QPoint(rig.pen()->width() / 2, S(5)));
    QVERIFY(distance(shot.pixelColor(penTop), QColor(0x0D, 0x83, 0xFB)) < 30);
    const QPoint selectTop = rig.select()->mapToGlobal(QPoint(rig.select()->width() / 2, S(5)));
    const QColor dimmed(desktop.red() * 0.4, desktop.green() * 0.4, desktop.blue() * 0.4);
    QVERIFY2(distance(shot.pixelColor(selectTop), dimmed) < 15,
             qPrintable(shot.pixelColor(selectTop).name()));
    keep(shot, QStringLiteral("expanded"), theme);

    // Collapsed: only the logo is left.
    rig.click(rig.logo());
    QTest::mouseMove(&rig.board, away);
    QTRY_COMPARE(rig.frame()->width(), rig.logo()->width());
    shot = screen();
    QCOMPARE(shot.pixelColor(penTop), desktop);
    QCOMPARE(shot.pixelColor(selectTop), desktop);
    QVERIFY(distance(shot.pixelColor(80 + 34, 932 + 34), desktop) > 60);
    keep(shot, QStringLiteral("collapsed"), theme);
    rig.click(rig.logo());
    QTRY_COMPARE(rig.frame()->width(), 448);

    // The pen popup: a white card with rounded corners over the pen button.
    rig.click(rig.pen());
    QTest::mouseMove(&rig.board, away);
    QVERIFY(rig.popup()->isVisible());
    const QRect card = rig.popup()->geometry();
    QCOMPARE(card, QRect(126, 726, 230, 203));
    shot = screen();
    QCOMPARE(shot.pixelColor(card.right() - 6, card.center().y()), QColor(Qt::white));
    QCOMPARE(shot.pixelColor(card.topLeft()), desktop);
    QCOMPARE(shot.pixelColor(card.bottomRight()), desktop);
    // The chosen colour's swatch, in the grid's third cell.
    QCOMPARE(shot.pixelColor(card.left() + 16 + 2 * 50 + 24, card.top() + 14 + 24 + 2),
             QColor(QStringLiteral("#F73859")));
    keep(shot, QStringLiteral("penpopup"), theme);

    // The clear panel: a white card with a shadow and the slider.
    rig.click(rig.eraser());
    rig.click(rig.eraser());
    QTest::mouseMove(&rig.board, away);
    QVERIFY(rig.panel()->isVisible());
    const QRect panel = rig.panel()->geometry();
    QCOMPARE(panel, QRect(177, 857, 248, 72));
    shot = screen();
    QCOMPARE(shot.pixelColor(panel.left() + 5, panel.center().y()), QColor(Qt::white));
    // The shadow ring at the edge, faint but there.
    const int shadow = distance(shot.pixelColor(panel.left(), panel.center().y()), desktop);
    QVERIFY2(shadow > 3 && shadow < 120, qPrintable(QString::number(shadow)));
    QCOMPARE(shot.pixelColor(panel.topLeft()), desktop);
    const QRect track(rig.slider()->mapToGlobal(QPoint(0, 0)), rig.slider()->size());
    QCOMPARE(shot.pixelColor(track.right() - 4, track.top() + 4), QColor(238, 238, 238));
    keep(shot, QStringLiteral("clearpanel"), theme);

    // Half way through a slide: the track is wiped up to the handle.
    SliderWidget* slider = rig.slider();
    QLabel* handle = slider->findChild<QLabel*>();
    const QPoint grip(handle->width() / 2, handle->height() / 2);
    QTest::mousePress(slider, Qt::LeftButton, Qt::NoModifier, grip);
    QTest::mouseMove(slider, grip + QPoint(100, 0));
    QCOMPARE(handle->x(), 100);
    shot = screen();
    for (int x = track.left() + 1; x < track.left() + 100; x += 7) {
        QCOMPARE(shot.pixelColor(x, track.center().y()), QColor(238, 238, 238));
    }
    keep(shot, QStringLiteral("clearpanel-sliding"), theme);
    QTest::mouseRelease(slider, Qt::LeftButton, Qt::NoModifier, grip + QPoint(100, 0));
    QCOMPARE(handle->x(), 0);
}

QTEST_MAIN(TestToolbarPictures)
#include "tst_toolbarpictures.moc"
