// The pen settings popup as the toolbar hosts it: the QML document in a real
// QQuickWidget, clicked and hovered with mouse input through the window
// system, changing the shared pen.

#include "toolbartestutil.h"

#include <QJSValue>
#include <QQuickWindow>

using namespace ToolbarTest;

namespace {

// The popup's own scale, as the document computes it from the screen.
double popupRatio()
{
    return screenSize().width() / 1920.0;
}

double vw(double px)
{
    return qMax(px * popupRatio(), 1.0);
}

const QStringList kColours = {"#FFFFFF", "#000000", "#F73859", "#FFA800",
                              "#00B8A9", "#AC73FF", "#64B5F6", "#44D55C"};
const QList<int> kRingSizes = {24, 32, 40, 48};

// Centre of colour cell i in the popup, from the layout's numbers: the grid
// starts 16 in and 14 down, cells of 48 with a spacing of 2, four a row.
QPoint cellCentre(int i)
{
    const int column = i % 4;
    const int row = i / 4;
    return QPointF(vw(16) + column * (vw(48) + vw(2)) + vw(48) / 2,
                   vw(14) + row * (vw(48) + vw(2)) + vw(48) / 2)
        .toPoint();
}

// Centre of width dot i: the row starts 16 in, below the grid (14 + 98),
// the divider's margin and line (12 + 1) and the row's own top margin (0,
// which the one-pixel floor makes 1); rings spaced 16 apart, vertically
// centred in the 72 high row.
QPoint dotCentre(int i)
{
    double x = vw(16);
    for (int j = 0; j < i; ++j) {
        x += vw(kRingSizes[j]) + vw(16);
    }
    x += vw(kRingSizes[i]) / 2;
    const double y = vw(14) + vw(98) + vw(12) + vw(1) + vw(0) + vw(72) / 2;
    return QPointF(x, y).toPoint();
}

QColor colorOf(QObject* object, const char* property = "color")
{
    return object->property(property).value<QColor>();
}

QColor borderColor(QObject* item)
{
    QObject* border = qvariant_cast<QObject*>(item->property("border"));
    return border ? colorOf(border) : QColor();
}

double borderWidth(QObject* item)
{
    QObject* border = qvariant_cast<QObject*>(item->property("border"));
    return border ? border->property("width").toDouble() : -1;
}

QVariantList listProperty(QObject* object, const char* name)
{
    QVariant value = object->property(name);
    if (value.userType() == qMetaTypeId<QJSValue>()) {
        value = value.value<QJSValue>().toVariant();
    }
    return value.toList();
}

QQuickItem* findItem(QQuickItem* parent, const QString& name)
{
    if (!parent) {
        return nullptr;
    }
    const QList<QQuickItem*> children = parent->childItems();
    for (QQuickItem* child : children) {
        if (child->objectName() == name) {
            return child;
        }
        if (QQuickItem* found = findItem(child, name)) {
            return found;
        }
    }
    return nullptr;
}

// The toolbar on its board with the pen popup opened by a click on the
// already chosen pen button.
class PopupRig : public Rig
{
public:
    bool open()
    {
        if (!exposed() || !popup()) {
            return false;
        }
        click(pen());
        return popup()->isVisible() && QTest::qWaitForWindowExposed(&board);
    }

    QQuickItem* root() const { return popup()->rootObject(); }
    // Searched in the visual tree: the items a Repeater makes have no
    // QObject parent.
    QQuickItem* item(const QString& name) const { return findItem(root(), name); }
    QQuickItem* cell(int i) const { return item(QStringLiteral("colorCell%1").arg(i)); }
    QQuickItem* swatch(int i) const { return item(QStringLiteral("swatch%1").arg(i)); }
    QQuickItem* ring(int i) const { return item(QStringLiteral("widthRing%1").arg(i)); }
    QQuickItem* dot(int i) const { return item(QStringLiteral("widthDot%1").arg(i)); }

    // The point lies on the item it is meant for.
    bool hits(QQuickItem* target, const QPoint& point) const
    {
        return target && target->contains(target->mapFromItem(root(), QPointF(point)));
    }

    void clickAt(const QPoint& point)
    {
        QTest::mouseClick(popup(), Qt::LeftButton, Qt::NoModifier, point);
    }
};

} // namespace

class TestPenSetPopup : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    // Must be the first to make a popup: the renderer is chosen once.
    void rendererChoice();

    void documentProperties();
    void initialSelectionIsTheDefaultPen();
    void colourCellsSetThePenColour();
    void whiteSwatchHasAGreyBorder();
    void sameEntryEmitsAgain();
    void hoverGreysAndRestores();
    void selectionKeptWhenHiddenAndShown();
    void logLinesInTheirOrder();

    // Values of one screen size each; the data tags name the screen width.
    void popupSize_data();
    void popupSize();
    void itemSizes_data();
    void itemSizes();
    void dotsSetThePenWidth_data();
    void dotsSetThePenWidth();
};

void TestPenSetPopup::rendererChoice()
{
    MessageLog messages;
    PopupRig rig;
    QVERIFY(rig.popup());
    QCOMPARE(rig.popup()->status(), QQuickWidget::Ready);
    const QString line =
        QStringLiteral("SkedaTool: no OpenGL context can be created; the pen popup "
                       "uses Qt Quick's software renderer");
    if (QGuiApplication::platformName() == QLatin1String("offscreen")) {
        // No OpenGL here: the software renderer is chosen, said once.
        QCOMPARE(messages.lines().count(line), 1);
        QCOMPARE(QQuickWindow::sceneGraphBackend(), QStringLiteral("software"));
    } else {
        QCOMPARE(messages.lines().count(line), 0);
    }

    // Either way the card is drawn: white inside, transparent in the rounded
    // corner.
    QVERIFY(rig.open());
    const QImage image = rig.popup()->grabFramebuffer();
    QVERIFY(!image.isNull());
    const QPoint inside(image.width() - qRound(vw(6)), image.height() / 2);
    QCOMPARE(image.pixelColor(inside), QColor(Qt::white));
    // (A small popup's corner pixel is touched by the curve's antialiasing.)
    QVERIFY2(image.pixelColor(0, 0).alpha() < 32,
             qPrintable(QString::number(image.pixelColor(0, 0).alpha())));

    // A second toolbar does not decide again.
    messages.clear();
    PopupRig second;
    QVERIFY(second.popup());
    QCOMPARE(messages.lines().count(line), 0);
}

void TestPenSetPopup::initTestCase()
{
    initScaleFromScreen();
    restoreDefaultPen();
}

void TestPenSetPopup::cleanup()
{
    restoreDefaultPen();
}

void TestPenSetPopup::documentProperties()
{
    PopupRig rig;
    QVERIFY(rig.open());
    QQuickItem* root = rig.root();
    QCOMPARE(root->property("curColorIndex").toInt(), 2);
    QCOMPARE(root->property("curPenSize").toInt(), 1);
    QStringList colours;
    for (const QVariant& v : listProperty(root, "corlors")) {
        colours << v.toString();
    }
    QCOMPARE(colours, kColours);
    QList<int> rings;
    for (const QVariant& v : listProperty(root, "radiusSize")) {
        rings << v.toInt();
    }
    QCOMPARE(rings, kRingSizes);
    QList<int> widths;
    for (const QVariant& v : listProperty(root, "penSize")) {
        widths << v.toInt();
    }
    QCOMPARE(widths, (QList<int>{3, 6, 8, 12}));
    QCOMPARE(root->property("ratio").toDouble(), popupRatio());

    QQuickItem* card = rig.item(QStringLiteral("card"));
    QVERIFY(card);
    QCOMPARE(colorOf(card), QColor(QStringLiteral("#FFFFFF")));
    QCOMPARE(borderColor(card), QColor(QStringLiteral("#EEEEEE")));
    QCOMPARE(card->property("radius").toDouble(), vw(8));
    QCOMPARE(borderWidth(card), vw(1));
    // Centred in the root, which is as large as the card.
    QCOMPARE(card->position(), QPointF(0, 0));
    QCOMPARE(QSizeF(card->width(), card->height()), QSizeF(root->width(), root->height()));

    QQuickItem* divider = rig.item(QStringLiteral("divider"));
    QVERIFY(divider);
    QCOMPARE(colorOf(divider), QColor(QStringLiteral("#EEEEEE")));
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(colorOf(rig.dot(i)), QColor(QStringLiteral("#888888")));
    }
    for (int i = 0; i < 8; ++i) {
        QCOMPARE(colorOf(rig.swatch(i)), QColor(kColours[i]));
        QCOMPARE(rig.swatch(i)->property("radius").toDouble(), 0.0);
        QCOMPARE(rig.cell(i)->property("radius").toDouble(), vw(6));
        QCOMPARE(borderWidth(rig.cell(i)), vw(2));
    }
}

void TestPenSetPopup::initialSelectionIsTheDefaultPen()
{
    PopupRig rig;
    QVERIFY(rig.open());
    QCOMPARE(UIManager::getInstance()->pen().color(), QColor(QStringLiteral("#F73859")));
    QCOMPARE(UIManager::getInstance()->pen().width(), 6);
    QCOMPARE(kColours[rig.root()->property("curColorIndex").toInt()], QStringLiteral("#F73859"));
    for (int i = 0; i < 8; ++i) {
        QCOMPARE(borderColor(rig.cell(i)), QColor(i == 2 ? "#1486FA" : "#00000000"));
        QCOMPARE(colorOf(rig.cell(i)), QColor(QStringLiteral("#FFFFFFFF")));
    }
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(borderColor(rig.ring(i)), QColor(i == 1 ? "#1486FA" : "#00000000"));
        QCOMPARE(colorOf(rig.ring(i)), QColor(QStringLiteral("#00000000")));
    }
}

void TestPenSetPopup::colourCellsSetThePenColour()
{
    PopupRig rig;
    QVERIFY(rig.open());
    QSignalSpy chosen(rig.root(), SIGNAL(signalPenColor(QVariant)));
    // In an order that leaves no cell where it was.
    for (int i : {5, 0, 7, 1, 3, 6, 4, 2}) {
        const QPoint centre = cellCentre(i);
        QVERIFY2(
            rig.hits(rig.cell(i), centre),
            qPrintable(QStringLiteral("cell %1 at %2, %3").arg(i).arg(centre.x()).arg(centre.y())));
        rig.clickAt(centre);
        QCOMPARE(chosen.count(), 1);
        QCOMPARE(chosen.takeFirst().at(0).toString(), kColours[i]);
        QCOMPARE(UIManager::getInstance()->pen().color(), QColor(kColours[i]));
        QCOMPARE(rig.root()->property("curColorIndex").toInt(), i);
        for (int j = 0; j < 8; ++j) {
            QCOMPARE(borderColor(rig.cell(j)), QColor(j == i ? "#1486FA" : "#00000000"));
        }
        // The width is not touched, nor the width's ring.
        QCOMPARE(UIManager::getInstance()->pen().width(), 6);
        QCOMPARE(borderColor(rig.ring(1)), QColor(QStringLiteral("#1486FA")));
        QVERIFY(rig.popup()->isVisible());
    }
}

void TestPenSetPopup::whiteSwatchHasAGreyBorder()
{
    PopupRig rig;
    QVERIFY(rig.open());
    QCOMPARE(borderColor(rig.swatch(0)), QColor(QStringLiteral("#EEEEEE")));
    QCOMPARE(borderWidth(rig.swatch(0)), vw(1));
    for (int i = 1; i < 8; ++i) {
        QCOMPARE(borderColor(rig.swatch(i)), QColor(QStringLiteral("#00000000")));
    }
    rig.clickAt(cellCentre(0));
    QCOMPARE(UIManager::getInstance()->pen().color(), QColor(QStringLiteral("#FFFFFF")));
    QCOMPARE(UIManager::getInstance()->pen().color().name(), QStringLiteral("#ffffff"));
}

void TestPenSetPopup::sameEntryEmitsAgain()
{
    PopupRig rig;
    QVERIFY(rig.open());
    QSignalSpy colours(rig.root(), SIGNAL(signalPenColor(QVariant)));
    QSignalSpy sizes(rig.root(), SIGNAL(signalPenSize(QVariant)));
    // The entries already chosen at start, then one chosen twice.
    rig.clickAt(cellCentre(2));
    rig.clickAt(dotCentre(1));
    QCOMPARE(colours.count(), 1);
    QCOMPARE(sizes.count(), 1);
    rig.clickAt(cellCentre(4));
    rig.clickAt(cellCentre(4));
    rig.clickAt(dotCentre(2));
    rig.clickAt(dotCentre(2));
    QCOMPARE(colours.count(), 3);
    QCOMPARE(sizes.count(), 3);
    QCOMPARE(colours.at(1).at(0).toString(), kColours[4]);
    QCOMPARE(colours.at(2).at(0).toString(), kColours[4]);
    QCOMPARE(sizes.at(1).at(0), sizes.at(2).at(0));
    QCOMPARE(sizes.at(1).at(0).toDouble(), vw(8));
    QCOMPARE(UIManager::getInstance()->pen().color(), QColor(kColours[4]));
}

void TestPenSetPopup::hoverGreysAndRestores()
{
    PopupRig rig;
    QVERIFY(rig.open());
    const QColor grey(QStringLiteral("#E3E4E5"));
    const QColor white(QStringLiteral("#FFFFFFFF"));
    const QColor clear(QStringLiteral("#00000000"));

    QTest::mouseMove(rig.popup(), cellCentre(3));
    QTRY_COMPARE(colorOf(rig.cell(3)), grey);
    for (int i = 0; i < 8; ++i) {
        if (i != 3) {
            QCOMPARE(colorOf(rig.cell(i)), white);
        }
    }
    // Hover does not choose: the blue ring stays on the chosen cell.
    QCOMPARE(borderColor(rig.cell(3)), clear);
    QCOMPARE(borderColor(rig.cell(2)), QColor(QStringLiteral("#1486FA")));

    QTest::mouseMove(rig.popup(), cellCentre(7));
    QTRY_COMPARE(colorOf(rig.cell(7)), grey);
    QCOMPARE(colorOf(rig.cell(3)), white);

    QTest::mouseMove(rig.popup(), dotCentre(2));
    QTRY_COMPARE(colorOf(rig.ring(2)), grey);
    QCOMPARE(colorOf(rig.cell(7)), white);
    QTest::mouseMove(rig.popup(), dotCentre(3));
    QTRY_COMPARE(colorOf(rig.ring(3)), grey);
    QCOMPARE(colorOf(rig.ring(2)), clear);

    // Out of the popup onto the board: nothing stays grey.
    QTest::mouseMove(&rig.board, rig.popup()->geometry().bottomRight() + QPoint(40, 40));
    QTRY_COMPARE(colorOf(rig.ring(3)), clear);
    for (int i = 0; i < 8; ++i) {
        QCOMPARE(colorOf(rig.cell(i)), white);
    }
    QCOMPARE(UIManager::getInstance()->pen().color(), QColor(QStringLiteral("#F73859")));
}

void TestPenSetPopup::selectionKeptWhenHiddenAndShown()
{
    PopupRig rig;
    QVERIFY(rig.open());
    rig.clickAt(cellCentre(6));
    rig.clickAt(dotCentre(3));

    // Closed and opened again by the pen button...
    rig.click(rig.pen());
    QVERIFY(!rig.popup()->isVisible());
    rig.click(rig.pen());
    QVERIFY(rig.popup()->isVisible());
    QCOMPARE(rig.root()->property("curColorIndex").toInt(), 6);
    QCOMPARE(rig.root()->property("curPenSize").toInt(), 3);
    QCOMPARE(borderColor(rig.cell(6)), QColor(QStringLiteral("#1486FA")));
    QCOMPARE(borderColor(rig.cell(2)), QColor(QStringLiteral("#00000000")));
    QCOMPARE(borderColor(rig.ring(3)), QColor(QStringLiteral("#1486FA")));
    QCOMPARE(borderColor(rig.ring(1)), QColor(QStringLiteral("#00000000")));

    // ...and by the eraser's round trip.
    rig.click(rig.eraser());
    QVERIFY(!rig.popup()->isVisible());
    rig.click(rig.pen());
    rig.click(rig.pen());
    QVERIFY(rig.popup()->isVisible());
    QCOMPARE(rig.root()->property("curColorIndex").toInt(), 6);
    QCOMPARE(rig.root()->property("curPenSize").toInt(), 3);
    QCOMPARE(UIManager::getInstance()->pen().color(), QColor(kColours[6]));
}

void TestPenSetPopup::logLinesInTheirOrder()
{
    PopupRig rig;
    QVERIFY(rig.open());
    MessageLog messages;
    rig.clickAt(cellCentre(0));
    // The colour: the console line first, then the toolbar's line.
    QStringList lines = messages.lines();
    const int consoleColour = lines.indexOf(QStringLiteral(u"边框样式： 0"));
    const int colourLine = lines.indexOf(QStringLiteral("color \"#FFFFFF\""));
    QVERIFY2(consoleColour >= 0 && colourLine > consoleColour, qPrintable(lines.join(" | ")));

    messages.clear();
    rig.clickAt(dotCentre(3));
    lines = messages.lines();
    // The width: the toolbar's line (the scaled width) first, then the
    // console line.
    const int sizeLine =
        lines.indexOf(QStringLiteral("size %1").arg(UIManager::getInstance()->pen().width()));
    const int consoleSize = lines.indexOf(QStringLiteral(u"边框样式： 3"));
    QVERIFY2(sizeLine >= 0 && consoleSize > sizeLine, qPrintable(lines.join(" | ")));
}

void TestPenSetPopup::popupSize_data()
{
    QTest::addColumn<int>("screenWidth");
    QTest::addColumn<QSizeF>("rootSize");
    QTest::addColumn<QSize>("widgetSize");
    QTest::newRow("1920") << 1920 << QSizeF(230, 203) << QSize(230, 203);
    QTest::newRow("3840") << 3840 << QSizeF(460, 406) << QSize(460, 406);
    // Narrow screens shrink the popup (not the toolbar): 230 x 1366 / 1920.
    QTest::newRow("1366") << 1366 << QSizeF(163.635416, 144.426041) << QSize(163, 144);
    QTest::newRow("800") << 800 << QSizeF(95.833333, 84.583333) << QSize(95, 84);
}

void TestPenSetPopup::popupSize()
{
    QFETCH(int, screenWidth);
    QFETCH(QSizeF, rootSize);
    QFETCH(QSize, widgetSize);
    SKIP_UNLESS_SCREEN_WIDTH(screenWidth);
    PopupRig rig;
    QVERIFY(rig.open());
    QVERIFY(qAbs(rig.root()->width() - rootSize.width()) < 1e-4);
    QVERIFY(qAbs(rig.root()->height() - rootSize.height()) < 1e-4);
    QCOMPARE(rig.popup()->size(), widgetSize);
    // The toolbar keeps the design size on narrow screens.
    if (screenWidth < 1920) {
        QCOMPARE(rig.tool->size(), QSize(370, 68));
    }
}

void TestPenSetPopup::itemSizes_data()
{
    QTest::addColumn<int>("screenWidth");
    QTest::addColumn<int>("cell");
    QTest::addColumn<int>("swatch");
    QTest::addColumn<QList<int>>("rings");
    QTest::addColumn<QList<int>>("dots");
    QTest::newRow("1920") << 1920 << 48 << 36 << QList<int>{24, 32, 40, 48}
                          << QList<int>{6, 14, 22, 30};
    QTest::newRow("3840") << 3840 << 96 << 72 << QList<int>{48, 64, 80, 96}
                          << QList<int>{12, 28, 44, 60};
}

void TestPenSetPopup::itemSizes()
{
    QFETCH(int, screenWidth);
    QFETCH(int, cell);
    QFETCH(int, swatch);
    QFETCH(QList<int>, rings);
    QFETCH(QList<int>, dots);
    SKIP_UNLESS_SCREEN_WIDTH(screenWidth);
    PopupRig rig;
    QVERIFY(rig.open());
    for (int i = 0; i < 8; ++i) {
        QCOMPARE(QSizeF(rig.cell(i)->width(), rig.cell(i)->height()), QSizeF(cell, cell));
        QCOMPARE(QSizeF(rig.swatch(i)->width(), rig.swatch(i)->height()), QSizeF(swatch, swatch));
    }
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(QSizeF(rig.ring(i)->width(), rig.ring(i)->height()), QSizeF(rings[i], rings[i]));
        QCOMPARE(rig.ring(i)->property("radius").toDouble(), double(rings[i]));
        QCOMPARE(QSizeF(rig.dot(i)->width(), rig.dot(i)->height()), QSizeF(dots[i], dots[i]));
        QCOMPARE(rig.dot(i)->property("radius").toDouble(), double(dots[i]));
    }
}

void TestPenSetPopup::dotsSetThePenWidth_data()
{
    QTest::addColumn<int>("screenWidth");
    QTest::addColumn<int>("dot");
    QTest::addColumn<int>("width");
    QTest::newRow("1920 smallest") << 1920 << 0 << 3;
    QTest::newRow("1920 second") << 1920 << 1 << 6;
    QTest::newRow("1920 third") << 1920 << 2 << 8;
    QTest::newRow("1920 largest") << 1920 << 3 << 12;
    QTest::newRow("3840 smallest") << 3840 << 0 << 6;
    QTest::newRow("3840 second") << 3840 << 1 << 12;
    QTest::newRow("3840 third") << 3840 << 2 << 16;
    QTest::newRow("3840 largest") << 3840 << 3 << 24;
    // ratio 1366 / 1920: 2.13, 4.27, 5.69 and 8.54 round to the nearest.
    QTest::newRow("1366 smallest") << 1366 << 0 << 2;
    QTest::newRow("1366 second") << 1366 << 1 << 4;
    QTest::newRow("1366 third") << 1366 << 2 << 6;
    QTest::newRow("1366 largest") << 1366 << 3 << 9;
    // ratio 800 / 1920: 1.25, 2.5 (half rounds up), 3.33 and 5.
    QTest::newRow("800 smallest") << 800 << 0 << 1;
    QTest::newRow("800 second") << 800 << 1 << 3;
    QTest::newRow("800 third") << 800 << 2 << 3;
    QTest::newRow("800 largest") << 800 << 3 << 5;
}

void TestPenSetPopup::dotsSetThePenWidth()
{
    QFETCH(int, screenWidth);
    QFETCH(int, dot);
    QFETCH(int, width);
    SKIP_UNLESS_SCREEN_WIDTH(screenWidth);
    PopupRig rig;
    QVERIFY(rig.open());
    QSignalSpy sizes(rig.root(), SIGNAL(signalPenSize(QVariant)));
    // Start from another dot, so that the ring has to move.
    const int other = dot == 0 ? 3 : 0;
    rig.clickAt(dotCentre(other));
    QCOMPARE(sizes.count(), 1);

    const QPoint centre = dotCentre(dot);
    QVERIFY2(
        rig.hits(rig.ring(dot), centre),
        qPrintable(QStringLiteral("dot %1 at %2, %3").arg(dot).arg(centre.x()).arg(centre.y())));
    rig.clickAt(centre);
    QCOMPARE(sizes.count(), 2);
    QCOMPARE(sizes.at(1).at(0).toInt(), width);
    QCOMPARE(UIManager::getInstance()->pen().width(), width);
    QCOMPARE(rig.root()->property("curPenSize").toInt(), dot);
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(borderColor(rig.ring(i)), QColor(i == dot ? "#1486FA" : "#00000000"));
    }
    // The colour is not touched.
    QCOMPARE(UIManager::getInstance()->pen().color(), QColor(QStringLiteral("#F73859")));
    QCOMPARE(borderColor(rig.cell(2)), QColor(QStringLiteral("#1486FA")));
}

QTEST_MAIN(TestPenSetPopup)
#include "tst_pensetpopup.moc"
