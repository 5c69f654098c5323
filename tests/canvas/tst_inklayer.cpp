// The board draws its finished ink from retained images and only what is
// still being drawn live. Whatever the order of pen, touch, eraser, clear,
// tool changes, closing and showing, what the board shows must be what its
// scene holds: the items painted one by one in stacking order.

#include "canvas/inklayer.h"
#include "canvas/minipathitem.h"
#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/uimanager.h"
#include "eraser/minieraseopermodel.h"
#include "shell/mainwindow.h"
#include "tests/support/heapusage.h"
#include "tests/support/inkreference.h"
#include "tests/support/mouseinput.h"

#include <QGraphicsPixmapItem>
#include <QGraphicsView>
#include <QRandomGenerator>
#include <QScreen>
#include <QWindow>
#include <QtTest>

namespace {

const QColor kInks[] = {QColor("#F73859"), QColor("#3A7BD5"), QColor("#2BB673"),
                        QColor(20, 20, 20, 160)};
const int kWidths[] = {2, 6, 10, 18};

} // namespace

// Collects the regions that a widget is asked to paint.
class PaintWatcher : public QObject
{
public:
    explicit PaintWatcher(QRegion* painted)
        : m_painted(painted)
    {
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            *m_painted += static_cast<QPaintEvent*>(event)->region();
        return QObject::eventFilter(watched, event);
    }

private:
    QRegion* m_painted;
};

class TestInkLayer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_device = QTest::createTouchDevice(); }

    void init()
    {
        UIManager::getInstance()->setPen(QPen(kInks[0], 6));
        m_window = new MainWindow;
        m_window->initUI();
        m_window->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
        m_view = m_window->view();
        m_viewport = m_view->viewport();
        m_scene = m_window->scene();
    }

    void cleanup()
    {
        delete m_window;
        m_window = nullptr;
    }

    // The stroke items no longer paint themselves in the board's scene, and
    // keep everything else the design gives them.
    void strokeItemsKeepTheirDesign()
    {
        drawMouseStroke({QPoint(100, 100), QPoint(140, 110), QPoint(180, 130), QPoint(220, 160),
                         QPoint(260, 200), QPoint(300, 240), QPoint(340, 280), QPoint(380, 330)});
        const QList<QGraphicsItem*> items = m_scene->items();
        QVERIFY(items.size() > 1);
        for (QGraphicsItem* item : items) {
            auto* stroke = dynamic_cast<MiniPathItem*>(item);
            QVERIFY(stroke);
            QCOMPARE(stroke->type(), 65537);
            QCOMPARE(stroke->cacheMode(), QGraphicsItem::DeviceCoordinateCache);
            QCOMPARE(stroke->parentItem(), nullptr);
            QCOMPARE(stroke->scene(), m_scene);
            QVERIFY(stroke->flags().testFlag(QGraphicsItem::ItemHasNoContents));
        }
        QCOMPARE(m_scene->inkLayer()->count(), items.size());
        QCOMPARE(m_scene->inkLayer()->wetCount(), 0);
        QVERIFY(sameAsScene());

        // Outside the board's scene the item paints itself again.
        auto* loose = dynamic_cast<MiniPathItem*>(items.first());
        m_scene->removeItem(loose);
        QVERIFY(!loose->flags().testFlag(QGraphicsItem::ItemHasNoContents));
        QGraphicsScene plain;
        plain.addItem(loose);
        QVERIFY(!loose->flags().testFlag(QGraphicsItem::ItemHasNoContents));
        QCOMPARE(m_scene->inkLayer()->count(), items.size() - 1);
        QVERIFY(sameAsScene());
    }

    // While the mouse is down the stroke is wet, painted over the images;
    // at the release it dries into them.
    void strokeDriesAtRelease()
    {
        drawMouseStroke({QPoint(300, 100), QPoint(300, 400)});
        const QVector<QPoint> points = MouseInput::wave(QPoint(100, 250), 30);
        MouseInput::pressAlong(m_viewport, points, points.size());
        const MiniPathOpermodel* pen = m_view->pathOperation();
        const int tracked = pen->itemMap().value(MiniPathOpermodel::MouseStrokeId).size() + 1;
        QCOMPARE(m_scene->inkLayer()->wetCount(), tracked);
        QVERIFY(sameAsScene());
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, points.last());
        QCOMPARE(m_scene->inkLayer()->wetCount(), 0);
        QVERIFY(sameAsScene());
        QCOMPARE(m_scene->inkLayer()->pendingCount(), 0);
        QCOMPARE(m_scene->inkLayer()->bakedCount(), m_scene->items().size());
    }

    // A tap's dot lies at z 0, beneath the strokes drawn before it.
    void dotBeneathOlderStrokes()
    {
        UIManager::getInstance()->setPen(QPen(kInks[1], 18));
        drawMouseStroke({QPoint(100, 200), QPoint(130, 200), QPoint(160, 200), QPoint(190, 200),
                         QPoint(220, 200), QPoint(250, 200), QPoint(280, 200), QPoint(310, 200),
                         QPoint(340, 200), QPoint(370, 200)});
        UIManager::getInstance()->setPen(QPen(kInks[0], 30));
        QTest::mouseClick(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(160, 200));
        QVERIFY(sameAsScene());
        // The dot's colour shows only around the stroke.
        const QImage board = onScreen();
        QCOMPARE(board.pixelColor(160, 200).rgb() & 0xffffff, kInks[1].rgb() & 0xffffff);
        QCOMPARE(board.pixelColor(160, 188).rgb() & 0xffffff, kInks[0].rgb() & 0xffffff);
    }

    // A finger lifts while another, whose stroke began earlier and crosses
    // it, still draws: the older stroke stays beneath the newer one.
    void strokeFinishedWhileAnotherFingerDraws()
    {
        UIManager::getInstance()->setPen(QPen(kInks[2], 14));
        QTest::touchEvent(m_window, m_device).press(1, QPoint(100, 300), m_viewport);
        QTest::touchEvent(m_window, m_device).move(1, QPoint(110, 300), m_viewport);
        UIManager::getInstance()->setPen(QPen(kInks[1], 14));
        QTest::touchEvent(m_window, m_device).stationary(1).press(2, QPoint(300, 100), m_viewport);
        // Both fingers cross each other's paths: finger 1 goes right along
        // y = 300, finger 2 down along x = 300.
        for (int step = 1; step <= 20; ++step) {
            QTest::touchEvent(m_window, m_device)
                .move(1, QPoint(110 + 20 * step, 300), m_viewport)
                .move(2, QPoint(300, 100 + 20 * step), m_viewport);
            QVERIFY2(sameAsScene(), qPrintable(QStringLiteral("step %1").arg(step)));
        }
        // Finger 2 lifts; finger 1 still draws over where finger 2 went.
        QTest::touchEvent(m_window, m_device)
            .move(1, QPoint(530, 300), m_viewport)
            .release(2, QPoint(300, 500), m_viewport);
        QVERIFY(sameAsScene());
        for (int step = 1; step <= 10; ++step) {
            QTest::touchEvent(m_window, m_device).move(1, QPoint(530 - 40 * step, 310), m_viewport);
            QVERIFY2(sameAsScene(),
                     qPrintable(QStringLiteral("after the lift, step %1").arg(step)));
        }
        QTest::touchEvent(m_window, m_device).release(1, QPoint(130, 310), m_viewport);
        QVERIFY(sameAsScene());
        QCOMPARE(m_scene->inkLayer()->wetCount(), 0);
        QCOMPARE(m_scene->inkLayer()->pendingCount(), 0);
    }

    // The pen's stroke is still being drawn (the mouse is down) when the
    // tool changes to the eraser, and a finger erases across it.
    void erasingAStrokeStillBeingDrawn()
    {
        const QVector<QPoint> points = MouseInput::wave(QPoint(100, 300), 40);
        MouseInput::pressAlong(m_viewport, points, points.size());
        QVERIFY(m_scene->inkLayer()->wetCount() > 0);
        m_view->setTool(MyMiniGraphicsView::EraseTool);
        QCOMPARE(m_scene->inkLayer()->wetCount(), 0);
        QTest::touchEvent(m_window, m_device).press(7, QPoint(200, 150), m_viewport);
        QVERIFY(sameAsScene());
        for (int step = 1; step <= 12; ++step) {
            QTest::touchEvent(m_window, m_device)
                .move(7, QPoint(200 + 5 * step, 150 + 30 * step), m_viewport);
            QVERIFY2(sameAsScene(), qPrintable(QStringLiteral("step %1").arg(step)));
        }
        QTest::touchEvent(m_window, m_device).release(7, QPoint(260, 510), m_viewport);
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, points.last());
        QVERIFY(sameAsScene());
    }

    void clearDuringAStroke()
    {
        drawMouseStroke(MouseInput::wave(QPoint(100, 100), 30));
        const QVector<QPoint> points = MouseInput::wave(QPoint(100, 300), 40);
        MouseInput::pressAlong(m_viewport, points, 20);
        m_view->clearAllItem();
        QCOMPARE(m_scene->items().size(), 0);
        QCOMPARE(m_scene->inkLayer()->count(), 0);
        QVERIFY(sameAsScene());
        QVERIFY(blank());
        for (int i = 20; i < points.size(); ++i)
            QTest::mouseMove(m_viewport, points.at(i));
        QVERIFY(sameAsScene());
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, points.last());
        QVERIFY(sameAsScene());
        QVERIFY(!blank());
    }

    // The stroke in progress has been painted when the board is cleared:
    // its ink, painted over the images, goes too.
    void clearWhileAStrokeIsShown()
    {
        const QVector<QPoint> points = MouseInput::wave(QPoint(100, 300), 40);
        MouseInput::pressAlong(m_viewport, points, 30);
        QVERIFY(sameAsScene());
        QVERIFY(!blank());
        QVERIFY(m_scene->inkLayer()->wetCount() > 0);
        m_view->clearAllItem();
        QCOMPARE(m_scene->items().size(), 0);
        QVERIFY(sameAsScene());
        QVERIFY(blank());
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, points.at(29));
    }

    // Pen, eraser and pen again while the mouse stays down.
    void toolSwitchMidStroke()
    {
        drawMouseStroke(MouseInput::wave(QPoint(100, 400), 30));
        const QVector<QPoint> points = MouseInput::wave(QPoint(100, 200), 40);
        MouseInput::pressAlong(m_viewport, points, 15);
        m_view->setTool(MyMiniGraphicsView::EraseTool);
        for (int i = 15; i < 25; ++i)
            QTest::mouseMove(m_viewport, points.at(i));
        QVERIFY(sameAsScene());
        m_view->setTool(MyMiniGraphicsView::PenTool);
        for (int i = 25; i < points.size(); ++i)
            QTest::mouseMove(m_viewport, points.at(i));
        QVERIFY(sameAsScene());
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, points.last());
        QVERIFY(sameAsScene());
    }

    void closeAndShow()
    {
        drawMouseStroke(MouseInput::wave(QPoint(100, 100), 30));
        const QVector<QPoint> points = MouseInput::wave(QPoint(100, 300), 30);
        MouseInput::pressAlong(m_viewport, points, points.size());
        const QImage before = InkReference::render(m_scene, m_viewport->size());
        m_window->close();
        QTRY_VERIFY(!m_window->isVisible());
        m_window->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
        QVERIFY(sameAsScene());
        QCOMPARE(InkReference::compare(onScreen(), InkReference::over(before, Qt::black)).pixels,
                 0);
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, points.last());
        QVERIFY(sameAsScene());
    }

    // The eraser's picture lies at z 9000: above the first strokes, beneath
    // the later ones (the z counter passes 9000 after a few hundred points).
    void eraserPictureBetweenOldAndNewInk()
    {
        drawMouseStroke(MouseInput::wave(QPoint(60, 200), 30));
        MyMiniGraphicsScene* scene = m_scene;
        while (scene->getNewZValue() < 9100) {
        }
        drawMouseStroke(MouseInput::wave(QPoint(60, 260), 30));
        m_view->setTool(MyMiniGraphicsView::EraseTool);
        QTest::mousePress(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(400, 580));
        QVERIFY(sameAsScene());
        for (int step = 1; step <= 15; ++step) {
            QTest::mouseMove(m_viewport, QPoint(400 - 20 * step, 580 - 22 * step));
            QVERIFY2(sameAsScene(), qPrintable(QStringLiteral("step %1").arg(step)));
        }
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(100, 250));
        QVERIFY(sameAsScene());
    }

    // Items that a host adds to the scene, and ink moved, hidden, faded or
    // restacked by hand, are shown as the scene says.
    void foreignItemsAndChangedInk()
    {
        drawMouseStroke(MouseInput::wave(QPoint(100, 200), 30));
        drawMouseStroke(MouseInput::wave(QPoint(100, 220), 30));
        QVERIFY(sameAsScene());
        // Qt paints items that are not ink from the first change of the
        // board on (a stroke drawn elsewhere).
        auto* rect = m_scene->addRect(QRectF(150, 180, 120, 80), QPen(Qt::NoPen), QBrush(Qt::blue));
        rect->setZValue(5);
        drawMouseStroke(MouseInput::wave(QPoint(100, 500), 10));
        QVERIFY(sameAsScene());
        rect->setBrush(Qt::darkGreen);
        QVERIFY(sameAsScene());
        rect->setPos(30, 10);
        QVERIFY(sameAsScene());
        delete rect;
        QVERIFY(sameAsScene());

        QList<MiniPathItem*> strokes;
        for (QGraphicsItem* item : m_scene->items())
            strokes.append(dynamic_cast<MiniPathItem*>(item));
        strokes.first()->setPos(40, 30);
        QVERIFY(sameAsScene());
        strokes.at(1)->setVisible(false);
        QVERIFY(sameAsScene());
        strokes.at(2)->setOpacity(0.4);
        QVERIFY(sameAsScene());
        strokes.at(3)->setZValue(-1);
        QVERIFY(sameAsScene());
        strokes.at(4)->setZValue(MiniEraseOperModel::EarseZValue);
        QVERIFY(sameAsScene());
        strokes.at(4)->setZValue(1e6);
        QVERIFY(sameAsScene());
    }

    // Strokes far larger than the screen, or with an enormous pen, are drawn
    // and erased like any other; the board does not stall over them.
    void oversizedStrokeItems()
    {
        drawMouseStroke(MouseInput::wave(QPoint(100, 300), 30));
        auto* far = new MiniPathItem();
        far->setPen(QPen(kInks[1], 8));
        QPainterPath line;
        line.moveTo(-5e6, -5e6);
        line.lineTo(5e6, 5e6);
        far->setPath(line);
        far->setZValue(m_scene->getNewZValue());
        m_scene->addItem(far);
        auto* wide = new MiniPathItem();
        wide->setPen(QPen(kInks[2], 3000));
        QPainterPath dash;
        dash.moveTo(2000, 2000);
        dash.lineTo(2010, 2000);
        wide->setPath(dash);
        wide->setZValue(m_scene->getNewZValue());
        m_scene->addItem(wide);
        QVERIFY(sameAsScene());
        m_view->setTool(MyMiniGraphicsView::EraseTool);
        QTest::mousePress(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(300, 100));
        for (int step = 1; step <= 10; ++step)
            QTest::mouseMove(m_viewport, QPoint(300, 100 + 40 * step));
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(300, 500));
        QVERIFY(sameAsScene());
        m_view->clearAllItem();
        QCOMPARE(m_scene->inkLayer()->count(), 0);
        QVERIFY(sameAsScene());
    }

    // Host strokes of every width with sharp turns, some nearly back on
    // themselves, whatever cap and join their pens ask for (a stroke item
    // draws with round ones): their ink is found wherever it lies when it is
    // baked, cut and erased.
    void widePensAndSharpTurns()
    {
        QRandomGenerator random(20261127);
        const Qt::PenCapStyle caps[] = {Qt::SquareCap, Qt::RoundCap, Qt::FlatCap};
        const Qt::PenJoinStyle joins[] = {Qt::MiterJoin, Qt::RoundJoin, Qt::BevelJoin};
        for (int n = 0; n < 24; ++n) {
            QPen pen(kInks[n % 3], n % 6 == 0 ? 1 : 2 + int(random.bounded(38)));
            pen.setCapStyle(caps[n % 3]);
            pen.setJoinStyle(joins[(n / 3) % 3]);
            // A zigzag of sharp turns, some nearly back on itself.
            const QPointF start(60 + random.bounded(600), 60 + random.bounded(400));
            QVector<QPointF> zigzag{start};
            for (int k = 1; k <= 6; ++k)
                zigzag.append(start + QPointF(12 * k, k % 2 ? 40 + random.bounded(20) : 0));
            addPolyline(zigzag, pen, m_scene->getNewZValue());
        }
        QVERIFY(sameAsScene());
        m_view->setTool(MyMiniGraphicsView::EraseTool);
        QTest::mousePress(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(60, 250));
        for (int step = 1; step <= 16; ++step)
            QTest::mouseMove(m_viewport, QPoint(60 + 45 * step, 250 + (step % 3) * 30));
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(780, 280));
        QVERIFY(sameAsScene());
    }

    // A stroke that runs back close beside itself is drawn once where its
    // two arms overlap. Cut at its bend, its two pieces are drawn one over
    // the other there, which translucent ink shows darker: the board must
    // show that too, all along the arms, far from the cut.
    void piecesLyingCloseTogether()
    {
        QPolygonF hairpin;
        for (int x = 100; x <= 300; x += 20)
            hairpin << QPointF(x, 300);
        for (int x = 300; x >= 100; x -= 20)
            hairpin << QPointF(x, 308);
        addPolyline(hairpin, QPen(kInks[3], 12), 5);
        QVERIFY(sameAsScene());
        QCOMPARE(m_scene->inkLayer()->bakedCount(), 1);
        m_view->setTool(MyMiniGraphicsView::EraseTool);
        QTest::mousePress(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(320, 304));
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(320, 304));
        const QList<QGraphicsItem*> pieces = m_scene->items();
        QCOMPARE(pieces.size(), 2);
        QVERIFY(sameAsScene());
        // Where the arms overlap, the pieces' ink lies twice.
        const QImage shown = InkReference::grab(m_viewport);
        QCOMPARE(qAlpha(shown.pixel(150, 296)), 160);
        QCOMPARE(qAlpha(shown.pixel(150, 304)), 160 + qRound(160 * (255 - 160) / 255.0));
    }

    // Qt draws a line at most a pixel wide segment by segment, one over the
    // other where the line runs back over itself (as a tail part cut by the
    // eraser does). Where the board draws ink again, such a line is drawn
    // whole: a part of it drawn alone shows differently.
    void thinLinesRunningBackOverThemselves()
    {
        addPolyline({{586.75, 525.83},
                     {587, 526},
                     {586.75, 525.83},
                     {587, 526},
                     {595, 532},
                     {587, 526},
                     {586.75, 525.83},
                     {595, 532},
                     {602.25, 536.53},
                     {595, 532}},
                    QPen(kInks[0], 1), 5);
        MiniPathItem* above = addPolyline({{599, 500}, {599, 560}}, QPen(kInks[1], 6), 6);
        QVERIFY(sameAsScene());
        QCOMPARE(m_scene->inkLayer()->bakedCount(), 2);
        // Its area is drawn again without it, and with the thin line there.
        delete above;
        QVERIFY(sameAsScene());
    }

    // A cut stroke's pieces keep its pixels: the board repaints where the
    // eraser is and nothing of the pieces beyond it, also once Qt has
    // polished the new piece (it reports it as having become visible).
    void aCutRepaintsOnlyWhereTheEraserWas()
    {
        QPolygonF line;
        for (int x = 60; x <= 740; x += 20)
            line << QPointF(x, 300);
        addPolyline(line, QPen(kInks[1], 6), 5);
        m_view->setTool(MyMiniGraphicsView::EraseTool);
        QVERIFY(sameAsScene());

        QRectF eraser;
        const QRegion painted = paintedBy([&] {
            QTest::mousePress(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(400, 300));
            eraser = m_view->eraseOperation()->earseItem()->sceneBoundingRect();
            QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(400, 300));
        });
        QCOMPARE(m_scene->items().size(), 2);
        QVERIFY(sameAsScene());

        // The cut segments reach one point (20 pixels) beyond the eraser on
        // each side, their ink half the pen's width and a pixel of
        // antialiasing more; the eraser's picture is placed under the
        // pointer's position before it is centred on it (two pixels of
        // antialiasing around it). The pieces' ink beyond all of that is not
        // painted again.
        QVERIFY(!painted.isEmpty());
        const QRect left(QPoint(40, 280), QPoint(int(eraser.left()) - 20 - 3 - 4, 320));
        const QRect right(QPoint(int(eraser.right() + eraser.width() / 2) + 3, 280),
                          QPoint(760, 320));
        QCOMPARE(left, QRect(40, 280, 284, 41));
        QCOMPARE(right, QRect(503, 280, 258, 41));
        QVERIFY2(!painted.intersects(left) && !painted.intersects(right), describe(painted));
    }

    // Changes far apart in one pass of the event loop repaint each where it
    // is, not the whole stretch of the board between them.
    void farChangesRepaintApart()
    {
        QVERIFY(sameAsScene());
        const QRegion painted = paintedBy([this] {
            addPolyline({{60, 60}, {100, 70}, {140, 60}}, QPen(kInks[0], 6), 1);
            addPolyline({{600, 500}, {650, 520}, {700, 500}}, QPen(kInks[2], 6), 2);
        });
        QVERIFY(sameAsScene());

        QVERIFY(painted.intersects(QRect(60, 60, 80, 10)));
        QVERIFY(painted.intersects(QRect(600, 500, 100, 20)));
        // The strokes reach half their width and the margins around their
        // rectangles beyond their points; the middle of the board is far
        // from both.
        QVERIFY2(!painted.intersects(QRect(200, 120, 350, 330)), describe(painted));
    }

    // A stroke being drawn changes near its end only: its body grows there
    // and its tail moves on. A point repaints that end, not the body's whole
    // length back to where the stroke began.
    void aGrowingStrokeRepaintsItsEnd()
    {
        QVector<QPoint> points;
        for (int i = 0; i < 21; ++i)
            points.append(QPoint(100 + 8 * i, 300));
        MouseInput::pressAlong(m_viewport, points, 20);
        QVERIFY(sameAsScene());
        const QRegion painted = paintedBy([&] { QTest::mouseMove(m_viewport, points.last()); });
        QVERIFY(sameAsScene());
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, points.last());
        QVERIFY(sameAsScene());

        // The stroke's new end (it ends halfway to the newest point) and the
        // old tail were repainted; the first 90 pixels of the stroke, all in
        // its body, were not.
        QVERIFY(painted.intersects(QRect(250, 299, 2, 2)));
        QVERIFY(painted.intersects(QRect(230, 299, 2, 2)));
        QVERIFY2(!painted.intersects(QRect(90, 280, 100, 40)), describe(painted));
    }

    // A wet stroke that goes on repaints only around what it added; the
    // rest of its ink must be exactly what it was, whatever the new lines
    // do: turn back over the stroke, cross it, stay on one pixel. A path
    // that does not go on from the stroke's (a point of it moved, a curve
    // added, points taken away) repaints the stroke's old and new areas.
    // Each case also dries the stroke, which paints it into the image.
    void wetStrokesThatGoOnMatchTheScene()
    {
        QRandomGenerator random(20261127);
        for (int round = 0; round < 24; ++round) {
            QVector<QPointF> points;
            QPointF p(150 + random.bounded(500), 150 + random.bounded(300));
            const int count = 3 + random.bounded(20);
            for (int i = 0; i < count; ++i) {
                points.append(p);
                p += QPointF(random.bounded(40.0) - 20, random.bounded(40.0) - 20);
            }
            const QPen pen(kInks[round % 4], kWidths[random.bounded(4)] + random.bounded(3));
            MiniPathItem* item = addPolyline(points, pen, 10 + round);
            m_scene->inkLayer()->setWet(item, true);
            QVERIFY(sameAsScene());
            for (int step = 0; step < 4; ++step) {
                QPainterPath path = item->path();
                switch (random.bounded(6)) {
                case 0: { // a point moved, and a line added
                    const int i = random.bounded(path.elementCount());
                    const QPainterPath::Element e = path.elementAt(i);
                    path.setElementPositionAt(i, e.x + 15, e.y - 10);
                    p += QPointF(5, 5);
                    path.lineTo(p);
                    break;
                }
                case 1: // a curve added
                    path.quadTo(p + QPointF(30, 0), p + QPointF(30, 30));
                    p += QPointF(30, 30);
                    break;
                case 2: { // the last points taken away
                    QPainterPath shorter;
                    shorter.moveTo(points.first());
                    for (int i = 1; i < points.size() - 1; ++i)
                        shorter.lineTo(points.at(i));
                    shorter.lineTo(points.first() + QPointF(3, 0));
                    path = shorter;
                    break;
                }
                default: { // lines added
                    const int more = 1 + random.bounded(4);
                    for (int i = 0; i < more; ++i) {
                        if (random.bounded(4) == 0)
                            p = points.at(random.bounded(points.size())); // back over the stroke
                        else if (random.bounded(6) > 0)
                            p += QPointF(random.bounded(40.0) - 20, random.bounded(40.0) - 20);
                        points.append(p);
                        path.lineTo(p);
                    }
                    break;
                }
                }
                item->setPath(path);
                QCOMPARE(item->path(), path);
                QVERIFY2(sameAsScene(),
                         qPrintable(QStringLiteral("round %1 step %2").arg(round).arg(step)));
                const QPainterPath now = item->path();
                points.clear();
                for (int i = 0; i < now.elementCount(); ++i)
                    points.append(QPointF(now.elementAt(i)));
            }
            m_scene->inkLayer()->setWet(item, false);
            QVERIFY(sameAsScene());
        }
    }

    // Finished ink keeps no record for Qt's pixmap cache: Qt makes one at an
    // item's first update() because of the cache mode, and the layer, not
    // Qt, draws the item. The cache mode stays; an update() makes a new
    // record (at least a rectangle, a size, a pixmap key, a hash and a list
    // of areas: 48 bytes or more), and Qt paints an item taken off the board
    // through it.
    void finishedInkKeepsNoCacheRecord()
    {
#ifndef SKEDA_QT_PRIVATE_HEADERS
        QSKIP("built without Qt's private widget headers: finished ink keeps Qt's record");
#endif
        if (qstrcmp(qVersion(), QT_VERSION_STR) != 0)
            QSKIP("running on another Qt than the one built against: the record stays");
        for (int row = 0; row < 6; ++row)
            drawMouseStroke(MouseInput::wave(QPoint(80, 100 + 60 * row), 30));
        const int drawn = m_scene->items().size();
        // Cut pieces and the strokes they were cut from are baked in place.
        m_view->setTool(MyMiniGraphicsView::EraseTool);
        drawMouseStroke({QPoint(180, 60), QPoint(180, 200), QPoint(180, 400), QPoint(180, 500)});
        m_view->setTool(MyMiniGraphicsView::PenTool);
        QVERIFY(sameAsScene());
        const QList<QGraphicsItem*> items = m_scene->items();
        QVERIFY2(
            items.size() > drawn,
            qPrintable(QStringLiteral("%1 items, %2 before erasing").arg(items.size()).arg(drawn)));
        QCOMPARE(m_scene->inkLayer()->bakedCount(), items.size());

        const qint64 before = HeapUsage::bytesInUse();
        for (QGraphicsItem* item : items)
            item->update();
        const qint64 grown = HeapUsage::bytesInUse() - before;
        const qint64 expected = qint64(items.size()) * 48;
        QVERIFY2(grown >= expected,
                 qPrintable(QStringLiteral("%1 bytes for %2 items, %3 expected at least")
                                .arg(grown)
                                .arg(items.size())
                                .arg(expected)));
        for (QGraphicsItem* item : items)
            QCOMPARE(item->cacheMode(), QGraphicsItem::DeviceCoordinateCache);
        QVERIFY(sameAsScene());

        auto* loose = dynamic_cast<MiniPathItem*>(items.first());
        QVERIFY(loose);
        m_scene->removeItem(loose);
        QGraphicsScene plain;
        plain.addItem(loose);
        QGraphicsView view(&plain);
        view.setFrameShape(QFrame::NoFrame);
        view.setSceneRect(loose->sceneBoundingRect());
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        // The plain scene holds the one item: any pixel of its ink shows it.
        const QImage shown = view.viewport()->grab().toImage();
        int inked = 0;
        for (int y = 0; y < shown.height(); ++y) {
            for (int x = 0; x < shown.width(); ++x) {
                if (shown.pixelColor(x, y) == kInks[0])
                    ++inked;
            }
        }
        QVERIFY2(inked > 0, "the item taken off the board is not painted");
    }

    // Qt stacks the items by z, then in the order they were added. Strokes
    // taken out from the middle of the board (erased, deleted) and strokes
    // added after them keep that order, whether or not Qt sorted its items
    // by z in between; a later change of z shows the order of addition.
    void stackingAfterRemovalsFromTheMiddle()
    {
        struct Entry
        {
            MiniPathItem* item;
            int added;
        };
        QVector<Entry> entries;
        auto add = [&](int x, qreal z) {
            MiniPathItem* item = addPolyline({QPointF(x, 300), QPointF(x + 2, 300)},
                                             QPen(kInks[entries.size() % 4], 6), z);
            entries.append({item, entries.size()});
            return item;
        };
        auto remove = [&](MiniPathItem* item) {
            for (int i = 0; i < entries.size(); ++i) {
                if (entries.at(i).item == item)
                    entries.remove(i);
            }
        };
        auto expected = [&] {
            QVector<Entry> sorted = entries;
            std::stable_sort(sorted.begin(), sorted.end(), [](const Entry& a, const Entry& b) {
                return a.item->zValue() < b.item->zValue() ||
                       (a.item->zValue() == b.item->zValue() && a.added < b.added);
            });
            QList<QGraphicsItem*> order;
            for (const Entry& entry : qAsConst(sorted))
                order.append(entry.item);
            return order;
        };
        auto stacked = [&] {
            return m_scene->items(QRectF(0, 0, 2000, 2000), Qt::IntersectsItemBoundingRect,
                                  Qt::AscendingOrder);
        };
        auto eraseAt = [&](int x) {
            m_view->setTool(MyMiniGraphicsView::EraseTool);
            QTest::mousePress(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(x + 1, 300));
            QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(x + 1, 300));
            m_view->setTool(MyMiniGraphicsView::PenTool);
        };

        const qreal zs[] = {5, 3, 5, 3, 7, 5, 3, 7};
        QVector<MiniPathItem*> first;
        for (int i = 0; i < 8; ++i)
            first.append(add(100 + 100 * i, zs[i]));

        // Taken out and added without Qt sorting by z in between.
        m_view->deleteItems({first.at(2)});
        remove(first.at(2));
        MiniPathItem* late = add(1000, 5);
        eraseAt(500);
        remove(first.at(4));
        QCOMPARE(m_scene->items().size(), entries.size());
        MiniPathItem* later = add(1100, 3);
        QCOMPARE(stacked(), expected());

        // Qt has sorted by z now: taken out and added again.
        m_view->deleteItems({first.at(6)});
        remove(first.at(6));
        add(1200, 1);
        QCOMPARE(stacked(), expected());
        eraseAt(100);
        remove(first.at(0));
        add(1300, 7);
        QCOMPARE(stacked(), expected());

        // Ties: the one added later lies on top.
        first.at(1)->setZValue(5);
        later->setZValue(5);
        first.at(3)->setZValue(9);
        late->setZValue(9);
        QCOMPARE(stacked(), expected());
        QCOMPARE(m_scene->items().size(), entries.size());
        QVERIFY(sameAsScene());
    }

    // The property: after any random sequence of board actions the board
    // shows exactly its scene.
    // SKEDA_INK_SESSIONS sets how many sessions run (6 by default).
    void randomSessions_data()
    {
        QTest::addColumn<quint32>("seed");
        const int sessions = qEnvironmentVariableIsSet("SKEDA_INK_SESSIONS")
                                 ? qEnvironmentVariableIntValue("SKEDA_INK_SESSIONS")
                                 : 6;
        for (int seed = 1; seed <= sessions; ++seed)
            QTest::newRow(qPrintable(QStringLiteral("seed %1").arg(seed))) << quint32(seed);
    }

    void randomSessions()
    {
        QFETCH(quint32, seed);
        QRandomGenerator random(seed);
        const QSize size = m_viewport->size();
        auto somewhere = [&] {
            return QPoint(20 + random.bounded(size.width() - 40),
                          20 + random.bounded(size.height() - 40));
        };
        for (int action = 0; action < 40; ++action) {
            const int kind = random.bounded(100);
            QString what;
            if (kind < 35) {
                what = QStringLiteral("pen stroke");
                m_view->setTool(MyMiniGraphicsView::PenTool);
                UIManager::getInstance()->setPen(
                    QPen(kInks[random.bounded(4)], kWidths[random.bounded(4)]));
                drawMouseStroke(
                    MouseInput::wave(somewhere(), 5 + random.bounded(40), random.bounded(2.0)));
            } else if (kind < 55) {
                what = QStringLiteral("fingers");
                m_view->setTool(MyMiniGraphicsView::PenTool);
                fingers(random, somewhere);
            } else if (kind < 75) {
                what = QStringLiteral("eraser");
                m_view->setTool(MyMiniGraphicsView::EraseTool);
                QPoint p = somewhere();
                QTest::mousePress(m_viewport, Qt::LeftButton, Qt::NoModifier, p);
                const int steps = random.bounded(25);
                for (int i = 0; i < steps; ++i) {
                    p += QPoint(random.bounded(61) - 30, random.bounded(61) - 30);
                    QTest::mouseMove(m_viewport, p);
                    if (i == steps / 2)
                        QVERIFY2(sameAsScene(),
                                 qPrintable(QStringLiteral("%1: mid-erase").arg(action)));
                }
                QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, p);
            } else if (kind < 80) {
                what = QStringLiteral("clear");
                m_view->clearAllItem();
            } else if (kind < 87) {
                what = QStringLiteral("close and show");
                m_window->close();
                m_window->showSkeda();
                QVERIFY(QTest::qWaitForWindowExposed(m_window));
            } else if (kind < 94) {
                what = QStringLiteral("tap");
                m_view->setTool(MyMiniGraphicsView::PenTool);
                UIManager::getInstance()->setPen(
                    QPen(kInks[random.bounded(4)], kWidths[random.bounded(4)]));
                QTest::mouseClick(m_viewport, Qt::LeftButton, Qt::NoModifier, somewhere());
            } else {
                what = QStringLiteral("tool switch mid-stroke");
                m_view->setTool(MyMiniGraphicsView::PenTool);
                const QVector<QPoint> points = MouseInput::wave(somewhere(), 20);
                MouseInput::pressAlong(m_viewport, points, 10);
                m_view->setTool(MyMiniGraphicsView::EraseTool);
                m_view->setTool(MyMiniGraphicsView::PenTool);
                for (int i = 10; i < points.size(); ++i)
                    QTest::mouseMove(m_viewport, points.at(i));
                QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, points.last());
            }
            QVERIFY2(sameAsScene(),
                     qPrintable(QStringLiteral("after action %1 (%2)").arg(action).arg(what)));
        }
    }

private:
    void drawMouseStroke(const QVector<QPoint>& points)
    {
        MouseInput::drag(m_viewport, points);
    }

    // A stroke item put into the scene directly: the polyline through the
    // points, drawn with this pen, at this z value.
    MiniPathItem* addPolyline(const QVector<QPointF>& points, const QPen& pen, qreal z)
    {
        auto* item = new MiniPathItem();
        item->setPen(pen);
        QPainterPath path;
        path.addPolygon(QPolygonF(points));
        item->setPath(path);
        item->setZValue(z);
        m_scene->addItem(item);
        return item;
    }

    // Two or three fingers that start and lift at different times.
    template<typename Somewhere> void fingers(QRandomGenerator& random, Somewhere somewhere)
    {
        const int count = 2 + random.bounded(2);
        QVector<QPoint> pos(count);
        QVector<int> startAt(count);
        QVector<int> liftAt(count);
        for (int f = 0; f < count; ++f) {
            pos[f] = somewhere();
            startAt[f] = random.bounded(8);
            liftAt[f] = startAt[f] + 3 + random.bounded(20);
        }
        bool began = false;
        for (int t = 0; t < 32; ++t) {
            QTest::QTouchEventSequence sequence = QTest::touchEvent(m_window, m_device);
            bool any = false;
            for (int f = 0; f < count; ++f) {
                const int id = 10 + f;
                if (t == startAt[f]) {
                    sequence.press(id, pos[f], m_viewport);
                    any = true;
                } else if (t > startAt[f] && t < liftAt[f]) {
                    pos[f] += QPoint(random.bounded(31) - 10, random.bounded(31) - 10);
                    pos[f].setX(qBound(5, pos[f].x(), m_viewport->width() - 5));
                    pos[f].setY(qBound(5, pos[f].y(), m_viewport->height() - 5));
                    sequence.move(id, pos[f], m_viewport);
                    any = true;
                } else if (t == liftAt[f]) {
                    sequence.release(id, pos[f], m_viewport);
                    any = true;
                }
            }
            if (!any)
                continue;
            began = true;
            sequence.commit();
            if (t % 7 == 3)
                QVERIFY(sameAsScene());
        }
        Q_UNUSED(began)
    }

    // What the board window shows on its screen: the offscreen platform's
    // screen hands out the window's backing store, which holds what the
    // repaints so far have drawn (a grab() would paint everything afresh).
    QImage onScreen() const
    {
        const QImage window = m_window->windowHandle()
                                  ->screen()
                                  ->grabWindow(m_window->winId())
                                  .toImage()
                                  .convertToFormat(QImage::Format_ARGB32_Premultiplied);
        return window.copy(QRect(m_viewport->mapTo(m_window, QPoint(0, 0)), m_viewport->size()));
    }

    // The board shows its scene: on its screen once the repaints it asked
    // for have run, and when painted afresh.
    // What the viewport paints while `change` runs and in the passes of the
    // event loop that follow (Qt polishes new items, the layer asks for its
    // repaints and the viewport paints, each in a later pass).
    template<typename Change> QRegion paintedBy(Change change)
    {
        QRegion painted;
        PaintWatcher watcher(&painted);
        m_viewport->installEventFilter(&watcher);
        change();
        for (int pass = 0; pass < 5; ++pass)
            QCoreApplication::processEvents();
        m_viewport->removeEventFilter(&watcher);
        return painted;
    }

    static QByteArray describe(const QRegion& painted)
    {
        const QRect bounds = painted.boundingRect();
        return QStringLiteral("painted %1 rectangles within %2,%3 %4x%5")
            .arg(painted.rectCount())
            .arg(bounds.x())
            .arg(bounds.y())
            .arg(bounds.width())
            .arg(bounds.height())
            .toUtf8();
    }

    bool sameAsScene()
    {
        const QImage expected = InkReference::render(m_scene, m_viewport->size());
        InkReference::Difference shown;
        QImage screen;
        // The offscreen screen keeps no alpha: the board lies over black.
        const QImage expectedOnScreen = InkReference::over(expected, Qt::black);
        // Repaints are queued; they have all run once the screen matches.
        // (A repaint that was never asked for leaves it differing.)
        for (int attempt = 0; attempt < 50; ++attempt) {
            QCoreApplication::processEvents();
            screen = onScreen();
            shown = InkReference::compare(screen, expectedOnScreen);
            if (shown.pixels == 0)
                break;
            QTest::qWait(10);
        }
        const QImage painted = InkReference::grab(m_viewport);
        const InkReference::Difference fresh = InkReference::compare(painted, expected);
        if (shown.pixels == 0 && fresh.pixels == 0)
            return true;
        qWarning("the board differs from its scene: on the screen %s; painted afresh %s",
                 qPrintable(shown.describe()), qPrintable(fresh.describe()));
        if (qEnvironmentVariableIsSet("SKEDA_TEST_PICTURES")) {
            screen.save(QStringLiteral("/tmp/ink-screen.png"));
            painted.save(QStringLiteral("/tmp/ink-board.png"));
            expected.save(QStringLiteral("/tmp/ink-expected.png"));
        }
        return false;
    }

    bool blank()
    {
        const QImage board = onScreen();
        for (int y = 0; y < board.height(); ++y) {
            for (int x = 0; x < board.width(); ++x) {
                if ((board.pixel(x, y) & 0xffffff) != 0)
                    return false;
            }
        }
        return true;
    }

    QTouchDevice* m_device = nullptr;
    MainWindow* m_window = nullptr;
    MyMiniGraphicsView* m_view = nullptr;
    QWidget* m_viewport = nullptr;
    MyMiniGraphicsScene* m_scene = nullptr;
};

QTEST_MAIN(TestInkLayer)
#include "tst_inklayer.moc"
