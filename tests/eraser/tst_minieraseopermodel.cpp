// The eraser operation on a shown board, driven through the real event path:
// mouse and touch events go to the board window and reach the canvas
// viewport, which routes them to the operation. Strokes are placed directly
// as stroke items with known points; the expected pieces were worked out by
// hand from the eraser rectangle (100 x 150, centred on the pointer) and the
// area it sweeps.

#include "canvas/boardhistory.h"
#include "canvas/minipathitem.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/common.h"
#include "eraser/erasergeometry.h"
#include "eraser/minieraseopermodel.h"
#include "shell/mainwindow.h"
#include "tests/eraser/polygontestutil.h"

#include <QGraphicsPathItem>
#include <QGraphicsPixmapItem>
#include <QPainterPath>
#include <QRandomGenerator>
#include <QTouchDevice>
#include <QtTest>

#include <algorithm>
#include <limits>

namespace {

using PolygonTest::describe;
using PolygonTest::poly;

#define COMPARE_POLY(actual, expected)                                                             \
    do {                                                                                           \
        const QPolygonF a_ = (actual);                                                             \
        const QPolygonF e_ = (expected);                                                           \
        QVERIFY2(                                                                                  \
            a_ == e_,                                                                              \
            qPrintable(QStringLiteral("actual %1, expected %2").arg(describe(a_), describe(e_)))); \
    } while (false)

// A stroke item that counts the live instances, to tell a deleted stroke from
// one that was only taken out of the scene.
class CountedItem : public MiniPathItem
{
public:
    CountedItem() { ++s_alive; }
    ~CountedItem() override { --s_alive; }
    static int s_alive;
};
int CountedItem::s_alive = 0;

// A stroke of a single point: drawn as a small disc, but its point list
// holds that one point, so it has no segment at all.
class SinglePointItem : public CountedItem
{
public:
    explicit SinglePointItem(const QPointF& centre)
        : m_centre(centre)
    {
        QPainterPath disc;
        disc.addEllipse(centre, 3, 3);
        setSinglePnt(true);
        setPath(disc);
    }
    QPolygonF getPolygon() const override { return poly({m_centre}); }

private:
    QPointF m_centre;
};

MiniPathItem* addStroke(QGraphicsScene* scene, const QPolygonF& points, qreal z = 0,
                        const QPen& pen = QPen(Qt::red, 6), MiniPathItem* item = nullptr)
{
    if (!item)
        item = new MiniPathItem();
    QPainterPath path;
    path.moveTo(points.first());
    for (int i = 1; i < points.size(); ++i)
        path.lineTo(points.at(i));
    item->setPen(pen);
    item->setPath(path);
    item->setZValue(z);
    scene->addItem(item);
    return item;
}

QList<MiniPathItem*> strokesOf(QGraphicsScene* scene)
{
    QList<MiniPathItem*> strokes;
    const QList<QGraphicsItem*> items = scene->items();
    for (QGraphicsItem* item : items) {
        if (auto* stroke = dynamic_cast<MiniPathItem*>(item))
            strokes.append(stroke);
    }
    return strokes;
}

// The strokes of the scene that are not among the known ones.
QList<MiniPathItem*> newStrokes(QGraphicsScene* scene, const QList<MiniPathItem*>& known)
{
    QList<MiniPathItem*> result;
    const QList<MiniPathItem*> all = strokesOf(scene);
    for (MiniPathItem* stroke : all) {
        if (!known.contains(stroke))
            result.append(stroke);
    }
    return result;
}

QTouchDevice* touchDevice()
{
    static QTouchDevice* device = QTest::createTouchDevice();
    return device;
}

// The outline a path holds, without the closing point.
QPolygonF outlineOf(const QPainterPath& path)
{
    QPolygonF polygon;
    for (int i = 0; i < path.elementCount(); ++i)
        polygon << QPointF(path.elementAt(i).x, path.elementAt(i).y);
    if (polygon.size() > 1 && polygon.first() == polygon.last())
        polygon.removeLast();
    return polygon;
}

} // namespace

class TestMiniEraseOperModel : public QObject
{
    Q_OBJECT

private:
    MainWindow* m_window = nullptr;

    MyMiniGraphicsView* view() const { return m_window->view(); }
    MyMiniGraphicsScene* scene() const { return m_window->scene(); }
    MiniEraseOperModel* op() const { return view()->eraseOperation(); }
    QWidget* viewport() const { return view()->viewport(); }

    void press(const QPoint& pos, Qt::MouseButton button = Qt::LeftButton)
    {
        QTest::mousePress(viewport(), button, Qt::NoModifier, pos);
    }
    void move(const QPoint& pos) { QTest::mouseMove(viewport(), pos); }
    void release(const QPoint& pos, Qt::MouseButton button = Qt::LeftButton)
    {
        QTest::mouseRelease(viewport(), button, Qt::NoModifier, pos);
    }

    // The picture and the probe are in the board's scene.
    bool eraserShown() const
    {
        return op()->earseItem() && op()->earsePathItem() &&
               op()->earseItem()->scene() == scene() && op()->earsePathItem()->scene() == scene();
    }

private slots:
    void init()
    {
        CountedItem::s_alive = 0;
        m_window = new MainWindow();
        m_window->initUI();
        m_window->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
        view()->setTool(MyMiniGraphicsView::EraseTool);
        QVERIFY(op());
        QCOMPARE(view()->currentOperation(), static_cast<BaseOperation*>(op()));
        QCOMPARE(op()->m_scene, scene());
        QCOMPARE(op()->m_view, view());
        // The viewport shows the scene from (0,0) at scale 1, so viewport
        // positions are scene positions.
        QCOMPARE(view()->mapToScene(QPoint(123, 45)), QPointF(123, 45));
    }

    void cleanup()
    {
        delete m_window;
        m_window = nullptr;
        QCOMPARE(CountedItem::s_alive, 0);
    }

    void constructorState()
    {
        MiniEraseOperModel fresh;
        QCOMPARE(fresh.earseSize(), QSize(100, 150));
        QVERIFY(!fresh.earseItem());
        QVERIFY(!fresh.earsePathItem());
        QCOMPARE(fresh.halfWidth(), -1);
        QCOMPARE(fresh.halfHeight(), -1);
        QCOMPARE(fresh.lastPnt(), QPointF(0, 0));
        QCOMPARE(fresh.curPnt(), QPointF(0, 0));
        QCOMPARE(fresh.touchId(), -1);
        QVERIFY(!fresh.isTouch());
        QVERIFY(!fresh.m_scene);
        QVERIFY(!fresh.m_view);
        // No meta-object of its own.
        QCOMPARE(fresh.metaObject(), &BaseOperation::staticMetaObject);
    }

    void itemsCreatedOnce()
    {
        MyMiniGraphicsScene ownScene;
        MiniEraseOperModel model;
        model.m_scene = &ownScene;
        model.initEarse(QPointF(10, 20));
        QGraphicsPixmapItem* picture = model.earseItem();
        QGraphicsPathItem* probe = model.earsePathItem();
        QVERIFY(picture);
        QVERIFY(probe);
        QCOMPARE(picture->pixmap().size(), QSize(100, 150));
        QCOMPARE(picture->offset(), QPointF(10, 20));
        QCOMPARE(picture->zValue(), 9000.0);
        QCOMPARE(model.halfWidth(), 50);
        QCOMPARE(model.halfHeight(), 75);
        QCOMPARE(probe->pen(), QPen(QBrush(Qt::white, Qt::SolidPattern), 2.0, Qt::SolidLine,
                                    Qt::SquareCap, Qt::BevelJoin));
        QCOMPARE(probe->zValue(), 0.0);
        QCOMPARE(probe->brush(), QBrush());
        QVERIFY(!probe->isVisible());
        // Not added to the scene here.
        QVERIFY(!picture->scene());
        QVERIFY(!probe->scene());
        // A second call changes nothing.
        model.initEarse(QPointF(300, 300));
        QCOMPARE(model.earseItem(), picture);
        QCOMPARE(model.earsePathItem(), probe);
        QCOMPARE(picture->offset(), QPointF(10, 20));
    }

    void scaledScreenDoublesTheEraser()
    {
        Common* common = Common::getInstance();
        const QSize saved = common->getDeskSize();
        common->InitSize(QSize(3840, 2160));
        {
            MyMiniGraphicsScene ownScene;
            MiniEraseOperModel big;
            QCOMPARE(big.earseSize(), QSize(200, 300));
            big.m_scene = &ownScene;
            big.initEarse(QPointF(0, 0));
            QCOMPARE(big.earseItem()->pixmap().size(), QSize(200, 300));
            QCOMPARE(big.earseItem()->boundingRect(), QRectF(0, 0, 200, 300));
            QCOMPARE(big.halfWidth(), 100);
            QCOMPARE(big.halfHeight(), 150);
        }
        // The size is taken at construction: a later change of the scale
        // does not resize an existing eraser.
        common->InitSize(saved);
        MiniEraseOperModel small;
        common->InitSize(QSize(3840, 2160));
        MyMiniGraphicsScene ownScene;
        small.m_scene = &ownScene;
        small.initEarse(QPointF(0, 0));
        QCOMPARE(small.earseItem()->pixmap().size(), QSize(100, 150));
        common->InitSize(saved);
        QCOMPARE(common->getNewSize(100), 100);
    }

    void pressErasesUnderTheRectangle()
    {
        // Rectangle at (300,300): (250,225)-(350,375).
        MiniPathItem* across = addStroke(
            scene(), poly({{100, 300}, {200, 300}, {300, 300}, {400, 300}, {500, 300}}), 3);
        MiniPathItem* far = addStroke(scene(), poly({{600, 100}, {700, 120}}), 4);
        addStroke(scene(), poly({{280, 280}, {320, 320}}), 5, QPen(Qt::red, 6), new CountedItem());
        QCOMPARE(CountedItem::s_alive, 1);

        press(QPoint(300, 300));

        QVERIFY(eraserShown());
        // (100,300)-(200,300) is kept whole; (200,300)-(300,300) is cut at
        // the left edge; (300,300)-(400,300) at the right edge starts a new
        // piece; (400,300)-(500,300) is kept and joined to it.
        COMPARE_POLY(across->getPolygon(), poly({{100, 300}, {200, 300}, {250, 300}}));
        const QList<MiniPathItem*> added = newStrokes(scene(), {across, far});
        QCOMPARE(added.size(), 1);
        COMPARE_POLY(added.first()->getPolygon(), poly({{350, 300}, {400, 300}, {500, 300}}));
        COMPARE_POLY(far->getPolygon(), poly({{600, 100}, {700, 120}}));
        // The stroke under the rectangle has left the scene; the erasure
        // keeps it, for undo, until its step leaves the history.
        QCOMPARE(CountedItem::s_alive, 1);
        QCOMPARE(strokesOf(scene()).size(), 3);
        QCOMPARE(scene()->items().size(), 5);

        release(QPoint(300, 300));
        QCOMPARE(scene()->history()->count(), 1);
        scene()->history()->clear();
        QCOMPARE(CountedItem::s_alive, 0);
    }

    void fastMoveErasesTheHexagonalBand()
    {
        // Press at (200,200): A = (150,125)-(250,275). One move to (500,500):
        // B = (450,425)-(550,575). Right and down: the hull A.TL, A.TR,
        // B.TR, B.BR, B.BL, A.BL, whose long sides are y = x - 125 (top) and
        // y = x + 125 (bottom).
        MiniPathItem* vertical = addStroke(scene(), poly({{350, 100}, {350, 590}}), 1);
        addStroke(scene(), poly({{340, 340}, {360, 360}}), 2, QPen(Qt::red, 6), new CountedItem());
        MiniPathItem* below = addStroke(scene(), poly({{150, 500}, {250, 560}}), 3);
        MiniPathItem* above = addStroke(scene(), poly({{300, 120}, {400, 130}}), 4);
        QCOMPARE(CountedItem::s_alive, 1);

        press(QPoint(200, 200));
        // Nothing of these lies in A.
        QCOMPARE(strokesOf(scene()).size(), 4);
        move(QPoint(500, 500));

        QCOMPARE(op()->earseItem()->offset(), QPointF(450, 425));
        QCOMPARE(op()->curPnt(), QPointF(500, 500));
        QCOMPARE(op()->lastPnt(), QPointF(500, 500));
        // x = 350 lies between the two rectangles; the band spans
        // y 225..475 there.
        COMPARE_POLY(vertical->getPolygon(), poly({{350, 100}, {350, 225}}));
        const QList<MiniPathItem*> added = newStrokes(scene(), {vertical, below, above});
        QCOMPARE(added.size(), 1);
        COMPARE_POLY(added.first()->getPolygon(), poly({{350, 475}, {350, 590}}));
        // The short stroke inside the band (outside both rectangles) is gone
        // from the scene, kept by the erasure for undo.
        QCOMPARE(strokesOf(scene()).size(), 4);
        QCOMPARE(CountedItem::s_alive, 1);
        COMPARE_POLY(below->getPolygon(), poly({{150, 500}, {250, 560}}));
        COMPARE_POLY(above->getPolygon(), poly({{300, 120}, {400, 130}}));

        release(QPoint(500, 500));
        scene()->history()->clear();
        QCOMPARE(CountedItem::s_alive, 0);
    }

    void cutStrokeKeepsZAndNewPieceTruncatesIt()
    {
        const QPen pen(QBrush(QColor("#123456")), 8, Qt::DashLine, Qt::SquareCap, Qt::MiterJoin);
        MiniPathItem* upper = addStroke(
            scene(), poly({{100, 300}, {200, 300}, {300, 300}, {400, 300}, {500, 300}}), 7.6, pen);
        MiniPathItem* lower =
            addStroke(scene(), poly({{150, 340}, {450, 340}}), -2.7, QPen(Qt::green, 3));
        const QPen upperPen = upper->pen();
        QCOMPARE(upperPen.capStyle(), Qt::RoundCap);

        press(QPoint(300, 300));

        COMPARE_POLY(upper->getPolygon(), poly({{100, 300}, {200, 300}, {250, 300}}));
        QCOMPARE(upper->zValue(), 7.6);
        QCOMPARE(upper->pen(), upperPen);
        COMPARE_POLY(lower->getPolygon(), poly({{150, 340}, {250, 340}}));
        QCOMPARE(lower->zValue(), -2.7);

        const QList<MiniPathItem*> added = newStrokes(scene(), {upper, lower});
        QCOMPARE(added.size(), 2);
        MiniPathItem* upperRest = added.at(0)->pen() == upperPen ? added.at(0) : added.at(1);
        MiniPathItem* lowerRest = upperRest == added.at(0) ? added.at(1) : added.at(0);
        COMPARE_POLY(upperRest->getPolygon(), poly({{350, 300}, {400, 300}, {500, 300}}));
        QCOMPARE(upperRest->pen(), upperPen);
        QCOMPARE(upperRest->zValue(), 7.0);
        QVERIFY(!upperRest->isSinglePnt());
        QVERIFY(!upperRest->parentItem());
        COMPARE_POLY(lowerRest->getPolygon(), poly({{350, 340}, {450, 340}}));
        QCOMPARE(lowerRest->pen(), lower->pen());
        QCOMPARE(lowerRest->zValue(), -2.0);
        // No fresh value was taken from the scene's counter.
        QCOMPARE(scene()->getNewZValue(), qint64(0));

        release(QPoint(300, 300));
    }

    // A second press where the first one was finds the pieces it left,
    // ending on the eraser's edges and reaching into it with their round
    // caps. Cut again, they would be exactly what they are: they are left
    // alone, and a press that changed nothing is no step of the history.
    void piecesEndingOnTheEdgeAreLeftAlone()
    {
        MiniPathItem* stroke = addStroke(
            scene(), poly({{100, 300}, {200, 300}, {300, 300}, {400, 300}, {500, 300}}), 3);
        press(QPoint(300, 300));
        release(QPoint(300, 300));
        QCOMPARE(scene()->history()->count(), 1);
        const QList<MiniPathItem*> rest = newStrokes(scene(), {stroke});
        QCOMPARE(rest.size(), 1);
        const QPainterPath left = stroke->path();
        const QPainterPath right = rest.first()->path();
        COMPARE_POLY(outlineOf(left), poly({{100, 300}, {200, 300}, {250, 300}}));
        COMPARE_POLY(outlineOf(right), poly({{350, 300}, {400, 300}, {500, 300}}));

        press(QPoint(300, 300));
        QVERIFY(op()->earsePathItem()->collidesWithItem(stroke));
        QVERIFY(op()->earsePathItem()->collidesWithItem(rest.first()));
        release(QPoint(300, 300));

        QCOMPARE(strokesOf(scene()).size(), 2);
        QCOMPARE(stroke->path(), left);
        QCOMPARE(rest.first()->path(), right);
        QCOMPARE(scene()->history()->count(), 1);
        scene()->history()->clear();
    }

    void wholeStrokesAreDeleted()
    {
        addStroke(scene(), poly({{260, 240}, {300, 300}, {340, 360}}), 0, QPen(Qt::red, 6),
                  new CountedItem());
        addStroke(scene(), poly({{251, 226}, {349, 226}}), 1, QPen(Qt::red, 6), new CountedItem());
        MiniPathItem* survivor = addStroke(scene(), poly({{600, 500}, {700, 500}}));
        QCOMPARE(CountedItem::s_alive, 2);

        press(QPoint(300, 300));

        // Out of the scene; alive while the erasure's step can bring them back.
        QCOMPARE(CountedItem::s_alive, 2);
        const QList<MiniPathItem*> left = strokesOf(scene());
        QCOMPARE(left.size(), 1);
        QCOMPARE(left.first(), survivor);
        QCOMPARE(scene()->items().size(), 3);
        release(QPoint(300, 300));
        QCOMPARE(scene()->items().size(), 1);
        QCOMPARE(scene()->history()->count(), 1);
        scene()->history()->clear();
        QCOMPARE(CountedItem::s_alive, 0);
    }

    void singlePointStrokeIsRemoved()
    {
        auto* dot = new SinglePointItem(QPointF(300, 300));
        scene()->addItem(dot);
        // A dot as the pen draws it: a filled circle, flattened to a ring of
        // points that all lie under the eraser.
        auto* penDot = new CountedItem();
        QPainterPath disc;
        disc.moveTo(317, 317);
        disc.addEllipse(QRectF(317, 317, 6, 6));
        disc.closeSubpath();
        penDot->setSinglePnt(true);
        penDot->setPath(disc);
        scene()->addItem(penDot);
        auto* farDot = new SinglePointItem(QPointF(600, 300));
        scene()->addItem(farDot);
        QCOMPARE(CountedItem::s_alive, 3);

        press(QPoint(300, 320));

        QCOMPARE(strokesOf(scene()), QList<MiniPathItem*>{farDot});
        release(QPoint(300, 320));
        // The erased dots are kept by the erasure's step until it goes.
        QCOMPARE(CountedItem::s_alive, 3);
        scene()->history()->clear();
        QCOMPARE(CountedItem::s_alive, 1);
    }

    void onePointPiecesMakeNoItem()
    {
        MiniPathItem* item = addStroke(scene(), poly({{10, 10}, {500, 10}}), 4.5);
        op()->applyPieces(item, {poly({{10, 10}}), poly({{20, 10}, {30, 10}}), poly({{40, 10}}),
                                 poly({{50, 10}, {60, 10}, {70, 10}})});
        // The first piece is taken even with one point: a path that only
        // moves there.
        QCOMPARE(item->path().elementCount(), 1);
        QCOMPARE(QPointF(item->path().elementAt(0)), QPointF(10, 10));
        const QList<MiniPathItem*> added = newStrokes(scene(), {item});
        QCOMPARE(added.size(), 2);
        QList<QPolygonF> polygons;
        for (MiniPathItem* stroke : added)
            polygons.append(stroke->getPolygon());
        std::sort(polygons.begin(), polygons.end(), [](const QPolygonF& a, const QPolygonF& b) {
            return a.first().x() < b.first().x();
        });
        COMPARE_POLY(polygons.at(0), poly({{20, 10}, {30, 10}}));
        COMPARE_POLY(polygons.at(1), poly({{50, 10}, {60, 10}, {70, 10}}));
        for (MiniPathItem* stroke : added)
            QCOMPARE(stroke->zValue(), 4.0);

        MiniPathItem* other = addStroke(scene(), poly({{10, 100}, {500, 100}}));
        op()->applyPieces(other, {poly({{10, 100}, {20, 100}}), poly({{30, 100}})});
        COMPARE_POLY(other->getPolygon(), poly({{10, 100}, {20, 100}}));
        QCOMPARE(strokesOf(scene()).size(), 4);
    }

    void onlyTheFirstFingerMovesTheEraser()
    {
        MiniPathItem* underSecond = addStroke(scene(), poly({{450, 300}, {550, 300}}));
        MiniPathItem* secondPath = addStroke(scene(), poly({{450, 400}, {550, 400}}));
        MiniPathItem* underFirst = addStroke(scene(), poly({{100, 200}, {300, 200}}));

        // One sequence object throughout, so that stationary points keep
        // their positions.
        QTest::QTouchEventSequence touch = QTest::touchEvent(m_window, touchDevice(), false);
        touch.press(0, QPoint(200, 200), viewport()).press(1, QPoint(500, 300), viewport());
        touch.commit();
        QVERIFY(op()->isTouch());
        QVERIFY(view()->isTouching());
        QVERIFY(eraserShown());
        QCOMPARE(op()->earseItem()->offset(), QPointF(150, 125));
        QCOMPARE(op()->curPnt(), QPointF(200, 200));
        const int firstId = op()->touchId();
        // Cut by the rectangle (150,125)-(250,275) at the touch begin.
        COMPARE_POLY(underFirst->getPolygon(), poly({{100, 200}, {150, 200}}));
        QList<MiniPathItem*> added = newStrokes(scene(), {underFirst, underSecond, secondPath});
        QCOMPARE(added.size(), 1);
        COMPARE_POLY(added.first()->getPolygon(), poly({{250, 200}, {300, 200}}));
        COMPARE_POLY(underSecond->getPolygon(), poly({{450, 300}, {550, 300}}));

        // The second finger moves: the eraser stays.
        touch.stationary(0).move(1, QPoint(500, 400), viewport());
        touch.commit();
        QCOMPARE(op()->earseItem()->offset(), QPointF(150, 125));
        QCOMPARE(op()->touchId(), firstId);
        COMPARE_POLY(secondPath->getPolygon(), poly({{450, 400}, {550, 400}}));
        QCOMPARE(strokesOf(scene()).size(), 4);

        // The first finger moves: the eraser follows it. The step sweeps
        // (150,125)-(310,275), where the piece (250,200)-(300,200) lies.
        touch.move(0, QPoint(260, 200), viewport()).stationary(1);
        touch.commit();
        QCOMPARE(op()->earseItem()->offset(), QPointF(210, 125));
        QCOMPARE(op()->lastPnt(), QPointF(260, 200));
        added = newStrokes(scene(), {underFirst, underSecond, secondPath});
        QVERIFY(added.isEmpty());
        COMPARE_POLY(underFirst->getPolygon(), poly({{100, 200}, {150, 200}}));
        COMPARE_POLY(secondPath->getPolygon(), poly({{450, 400}, {550, 400}}));

        touch.release(0, QPoint(260, 200), viewport()).release(1, QPoint(500, 400), viewport());
        touch.commit();
        QVERIFY(!op()->isTouch());
        QVERIFY(!view()->isTouching());
        QVERIFY(op()->earseItem());
        QVERIFY(!op()->earseItem()->scene());
        QVERIFY(!op()->earsePathItem()->scene());
    }

    void touchMovesErase()
    {
        MiniPathItem* vertical = addStroke(scene(), poly({{400, 50}, {400, 550}}));
        QTest::QTouchEventSequence touch = QTest::touchEvent(m_window, touchDevice(), false);
        touch.press(3, QPoint(200, 300), viewport());
        touch.commit();
        QVERIFY(eraserShown());
        QCOMPARE(op()->earseItem()->zValue(), 9000.0);
        QCOMPARE(strokesOf(scene()).size(), 1);
        // Straight right to (600,300): the band covers y 225..375.
        touch.move(3, QPoint(600, 300), viewport());
        touch.commit();
        COMPARE_POLY(vertical->getPolygon(), poly({{400, 50}, {400, 225}}));
        const QList<MiniPathItem*> added = newStrokes(scene(), {vertical});
        QCOMPARE(added.size(), 1);
        COMPARE_POLY(added.first()->getPolygon(), poly({{400, 375}, {400, 550}}));
        touch.release(3, QPoint(600, 300), viewport());
        touch.commit();
        QVERIFY(!op()->earseItem()->scene());
        QVERIFY(!op()->earsePathItem()->isVisible());
    }

    void releaseHidesAndPressShowsAgain()
    {
        press(QPoint(300, 300));
        QGraphicsPixmapItem* picture = op()->earseItem();
        QGraphicsPathItem* probe = op()->earsePathItem();
        QVERIFY(eraserShown());
        QCOMPARE(picture->offset(), QPointF(250, 225));
        QCOMPARE(picture->zValue(), 9000.0);
        QCOMPARE(picture->boundingRect(), QRectF(250, 225, 100, 150));

        release(QPoint(300, 300));
        QCOMPARE(op()->earseItem(), picture);
        QCOMPARE(op()->earsePathItem(), probe);
        QVERIFY(!picture->scene());
        QVERIFY(!probe->scene());
        QVERIFY(scene()->items().isEmpty());

        // A move after the release shifts the detached picture and erases
        // nothing.
        MiniPathItem* stroke = addStroke(scene(), poly({{400, 400}, {600, 400}}));
        move(QPoint(500, 400));
        COMPARE_POLY(stroke->getPolygon(), poly({{400, 400}, {600, 400}}));
        QVERIFY(!picture->scene());

        press(QPoint(150, 100));
        QCOMPARE(op()->earseItem(), picture);
        QCOMPARE(op()->earsePathItem(), probe);
        QVERIFY(eraserShown());
        QCOMPARE(picture->offset(), QPointF(100, 25));
        QCOMPARE(op()->lastPnt(), QPointF(150, 100));
        release(QPoint(150, 100));
    }

    void probeIsHiddenBetweenSteps()
    {
        press(QPoint(300, 300));
        QGraphicsPathItem* probe = op()->earsePathItem();
        QVERIFY(!probe->isVisible());
        COMPARE_POLY(outlineOf(probe->path()),
                     poly({{250, 225}, {350, 225}, {350, 375}, {250, 375}}));

        move(QPoint(400, 300));
        QVERIFY(!probe->isVisible());
        // Straight right: B.TR, B.BR, A.BL, A.TL.
        COMPARE_POLY(outlineOf(probe->path()),
                     poly({{450, 225}, {450, 375}, {250, 375}, {250, 225}}));
        release(QPoint(400, 300));
    }

    void moveBeforePressIsHarmless()
    {
        MiniPathItem* stroke = addStroke(scene(), poly({{200, 300}, {400, 300}}));
        move(QPoint(300, 300));
        move(QPoint(310, 300));
        QVERIFY(!op()->earseItem());
        QVERIFY(!op()->earsePathItem());
        release(QPoint(310, 300));
        // Touch updates without a touch begin, sent to the viewport as they
        // are.
        QList<QTouchEvent::TouchPoint> points;
        QTouchEvent::TouchPoint point(9);
        point.setState(Qt::TouchPointMoved);
        point.setPos(QPointF(300, 300));
        points.append(point);
        QTouchEvent update(QEvent::TouchUpdate, touchDevice(), Qt::NoModifier, Qt::TouchPointMoved,
                           points);
        QCoreApplication::sendEvent(viewport(), &update);
        QTouchEvent end(QEvent::TouchEnd, touchDevice(), Qt::NoModifier, Qt::TouchPointReleased,
                        points);
        QCoreApplication::sendEvent(viewport(), &end);
        op()->touchUpdate(&update);
        op()->touchEnd(&end);
        COMPARE_POLY(stroke->getPolygon(), poly({{200, 300}, {400, 300}}));
        QCOMPARE(scene()->items().size(), 1);
        QVERIFY(!op()->earseItem());
    }

    void otherButtonsDoNotPress()
    {
        MiniPathItem* stroke = addStroke(scene(), poly({{200, 300}, {400, 300}}));
        press(QPoint(300, 300), Qt::RightButton);
        QVERIFY(!op()->earseItem());
        release(QPoint(300, 300), Qt::RightButton);
        COMPARE_POLY(stroke->getPolygon(), poly({{200, 300}, {400, 300}}));
    }

    void clearWhilePressed()
    {
        addStroke(scene(), poly({{200, 100}, {400, 100}}));
        press(QPoint(300, 300));
        QVERIFY(eraserShown());

        view()->clearAllItem();
        QVERIFY(scene()->items().isEmpty());
        QVERIFY(!op()->earseItem());
        QVERIFY(!op()->earsePathItem());

        // Further moves find no eraser; nothing is erased until the next
        // press.
        MiniPathItem* stroke = addStroke(scene(), poly({{420, 300}, {480, 300}}));
        move(QPoint(420, 300));
        move(QPoint(450, 300));
        COMPARE_POLY(stroke->getPolygon(), poly({{420, 300}, {480, 300}}));
        release(QPoint(450, 300));

        press(QPoint(450, 300));
        QVERIFY(eraserShown());
        QCOMPARE(op()->earseItem()->offset(), QPointF(400, 225));
        QVERIFY(strokesOf(scene()).isEmpty());
        release(QPoint(450, 300));

        // Cleared while a finger is down, too.
        QTest::QTouchEventSequence touch = QTest::touchEvent(m_window, touchDevice(), false);
        touch.press(1, QPoint(300, 300), viewport());
        touch.commit();
        QVERIFY(eraserShown());
        view()->clearAllItem();
        touch.move(1, QPoint(350, 300), viewport());
        touch.commit();
        touch.release(1, QPoint(350, 300), viewport());
        touch.commit();
        QVERIFY(!op()->earseItem());
        QVERIFY(scene()->items().isEmpty());
    }

    void partOfTheEraserDeleted()
    {
        press(QPoint(300, 300));
        QGraphicsPixmapItem* picture = op()->earseItem();
        view()->deleteItems({op()->earsePathItem()});
        QVERIFY(!op()->earsePathItem());
        QCOMPARE(op()->earseItem(), picture);

        MiniPathItem* stroke = addStroke(scene(), poly({{370, 250}, {430, 250}}));
        move(QPoint(400, 300));
        // The picture follows; without its probe the step erases nothing.
        QCOMPARE(picture->offset(), QPointF(350, 225));
        COMPARE_POLY(stroke->getPolygon(), poly({{370, 250}, {430, 250}}));
        release(QPoint(400, 300));

        press(QPoint(400, 300));
        QVERIFY(op()->earsePathItem());
        QCOMPARE(op()->earseItem(), picture);
        QVERIFY(eraserShown());
        QVERIFY(strokesOf(scene()).isEmpty());
        release(QPoint(400, 300));
    }

    void operationWithoutScene()
    {
        MiniEraseOperModel model;
        QMouseEvent pressEvent(QEvent::MouseButtonPress, QPointF(300, 300), Qt::LeftButton,
                               Qt::LeftButton, Qt::NoModifier);
        QMouseEvent moveEvent(QEvent::MouseMove, QPointF(310, 300), Qt::LeftButton, Qt::LeftButton,
                              Qt::NoModifier);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no scene to erase in"));
        model.mousePressEvent(&pressEvent);
        model.mouseMoveEvent(&moveEvent);
        model.mouseReleaseEvent(&moveEvent);
        QTouchEvent::TouchPoint point(4);
        point.setState(Qt::TouchPointPressed);
        point.setPos(QPointF(300, 300));
        QTouchEvent begin(QEvent::TouchBegin, touchDevice(), Qt::NoModifier, Qt::TouchPointPressed,
                          {point});
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no scene to erase in"));
        model.touchBegine(&begin);
        model.touchUpdate(&begin);
        model.touchEnd(&begin);
        QTouchEvent empty(QEvent::TouchBegin, touchDevice());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("without touch points"));
        model.touchBegine(&empty);
        model.mousePressEvent(nullptr);
        model.mouseMoveEvent(nullptr);
        model.touchBegine(nullptr);
        model.touchUpdate(nullptr);
        model.earse();
        QVERIFY(!model.earseItem());
        QVERIFY(!model.earsePathItem());
        QVERIFY(!model.isTouch());
    }

    void nonFiniteTouchPositionsAreIgnored()
    {
        MiniPathItem* stroke = addStroke(scene(), poly({{200, 300}, {400, 300}}));
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const double inf = std::numeric_limits<double>::infinity();
        auto event = [](QEvent::Type type, Qt::TouchPointState state, const QPointF& pos) {
            QTouchEvent::TouchPoint point(2);
            point.setState(state);
            point.setPos(pos);
            return QTouchEvent(type, touchDevice(), Qt::NoModifier, state, {point});
        };

        QTouchEvent badBegin = event(QEvent::TouchBegin, Qt::TouchPointPressed, {nan, 300});
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("not a finite number"));
        op()->touchBegine(&badBegin);
        QVERIFY(!op()->earseItem());
        QVERIFY(!op()->isTouch());

        QTouchEvent begin = event(QEvent::TouchBegin, Qt::TouchPointPressed, {300, 300});
        op()->touchBegine(&begin);
        QVERIFY(eraserShown());
        COMPARE_POLY(stroke->getPolygon(), poly({{200, 300}, {250, 300}}));

        QTouchEvent badMove = event(QEvent::TouchUpdate, Qt::TouchPointMoved, {inf, 300});
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("not a finite number"));
        op()->touchUpdate(&badMove);
        QCOMPARE(op()->earseItem()->offset(), QPointF(250, 225));
        QCOMPARE(op()->lastPnt(), QPointF(300, 300));

        QTouchEvent end = event(QEvent::TouchEnd, Qt::TouchPointReleased, {300, 300});
        op()->touchEnd(&end);
        QVERIFY(!op()->earseItem()->scene());
    }

    void sceneDestroyedWhileItemsInIt()
    {
        MyMiniGraphicsView ownView;
        auto* ownScene = new MyMiniGraphicsScene();
        ownScene->setSceneRect(0, 0, 800, 600);
        ownView.setSceneData(ownScene);
        ownView.setScene(ownScene);
        ownView.setTool(MyMiniGraphicsView::EraseTool);
        MiniEraseOperModel* model = ownView.eraseOperation();
        QMouseEvent pressEvent(QEvent::MouseButtonPress, QPointF(300, 300), Qt::LeftButton,
                               Qt::LeftButton, Qt::NoModifier);
        model->mousePressEvent(&pressEvent);
        QCOMPARE(model->earseItem()->scene(), ownScene);

        delete ownScene;
        QVERIFY(!model->earseItem());
        QVERIFY(!model->earsePathItem());
        QVERIFY(!model->m_scene);

        QMouseEvent moveEvent(QEvent::MouseMove, QPointF(320, 300), Qt::NoButton, Qt::NoButton,
                              Qt::NoModifier);
        model->mouseMoveEvent(&moveEvent);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no scene to erase in"));
        model->mousePressEvent(&pressEvent);
        model->mouseReleaseEvent(&pressEvent);
        QVERIFY(!model->earseItem());
    }

    void sceneDestroyedWhileItemsDetached()
    {
        MyMiniGraphicsView ownView;
        auto* ownScene = new MyMiniGraphicsScene();
        ownView.setSceneData(ownScene);
        ownView.setScene(ownScene);
        ownView.setTool(MyMiniGraphicsView::EraseTool);
        MiniEraseOperModel* model = ownView.eraseOperation();
        QMouseEvent pressEvent(QEvent::MouseButtonPress, QPointF(300, 300), Qt::LeftButton,
                               Qt::LeftButton, Qt::NoModifier);
        model->mousePressEvent(&pressEvent);
        model->mouseReleaseEvent(&pressEvent);
        QGraphicsPixmapItem* picture = model->earseItem();
        QVERIFY(!picture->scene());

        delete ownScene;
        // Detached items did not go with the scene; the operation still owns
        // them and deletes them when it goes (the sanitizer build checks).
        QCOMPARE(model->earseItem(), picture);
        QVERIFY(model->earsePathItem());
        QVERIFY(!model->m_scene);
        QMouseEvent moveEvent(QEvent::MouseMove, QPointF(320, 300), Qt::NoButton, Qt::NoButton,
                              Qt::NoModifier);
        model->mouseMoveEvent(&moveEvent);
        QCOMPARE(picture->offset(), QPointF(270, 225));
    }

    // The quick answer to "does the probe touch this stroke" is never yes
    // where Qt's shape test says no, and it answers for most of the strokes
    // that the test finds touching: random sweeps of the probe with the
    // eraser's own pen, random strokes in and around them (pen widths from
    // 1 to 30, points from 0 to 12 apart, some repeated).
    void surelyCollidesNeverDisagreesWithQt()
    {
        op()->initEarse(QPointF(200, 200));
        QGraphicsPathItem* probe = op()->earsePathItem();
        QVERIFY(probe);
        QVERIFY(!probe->scene());
        const int widths[] = {1, 2, 3, 4, 6, 10, 20, 30};
        QRandomGenerator random(20261127);
        int sure = 0;
        int touching = 0;
        for (int run = 0; run < 4000; ++run) {
            const QSizeF size(10 + random.bounded(110), 10 + random.bounded(110));
            const QPointF from(100 + random.bounded(200.0), 100 + random.bounded(200.0));
            QPointF to = from;
            if (run % 5 != 0)
                to += QPointF(random.bounded(120.0) - 60, random.bounded(120.0) - 60);
            else if (run % 10 != 0)
                to += QPointF(random.bounded(1.0), random.bounded(1.0));
            QPainterPath swept;
            getEarsePath(swept, QRectF(to - QPointF(size.width(), size.height()) / 2, size), from,
                         to);
            probe->setPath(swept);
            const QPolygonF area = swept.toFillPolygon(QTransform());

            QPolygonF points;
            QPointF at = to + QPointF(random.bounded(200.0) - 100, random.bounded(200.0) - 100);
            const int count = 2 + int(random.bounded(39));
            for (int i = 0; i < count; ++i) {
                points << at;
                if (random.bounded(8) != 0)
                    at += QPointF(random.bounded(24.0) - 12, random.bounded(24.0) - 12);
            }
            MiniPathItem stroke;
            QPainterPath path;
            path.moveTo(points.first());
            for (int i = 1; i < points.size(); ++i)
                path.lineTo(points.at(i));
            stroke.setPen(QPen(Qt::red, widths[random.bounded(8)]));
            stroke.setPath(path);
            if (run % 3 == 0)
                stroke.squeezePath();

            const bool quick =
                MiniEraseOperModel::surelyCollides(probe, area, &stroke, stroke.getPolygon());
            const bool qt = probe->collidesWithItem(&stroke, Qt::IntersectsItemShape);
            QVERIFY2(!quick || qt, qPrintable(QStringLiteral("run %1: stroke %2, area %3")
                                                  .arg(run)
                                                  .arg(describe(points), describe(area))));
            sure += quick ? 1 : 0;
            touching += qt ? 1 : 0;
        }
        // Both answers occur often enough for the comparison to mean
        // something, and the quick one covers most of the touching strokes.
        QVERIFY2(touching > 1000, qPrintable(QString::number(touching)));
        QVERIFY2(sure * 2 > touching,
                 qPrintable(QStringLiteral("%1 of %2").arg(sure).arg(touching)));
    }

    void operationDestroyedBeforeScene()
    {
        MyMiniGraphicsScene ownScene;
        QMouseEvent pressEvent(QEvent::MouseButtonPress, QPointF(300, 300), Qt::LeftButton,
                               Qt::LeftButton, Qt::NoModifier);
        {
            // Items in the scene stay with it.
            MiniEraseOperModel model;
            model.m_scene = &ownScene;
            model.mousePressEvent(&pressEvent);
            QCOMPARE(ownScene.items().size(), 2);
        }
        QCOMPARE(ownScene.items().size(), 2);
        {
            // Detached items go with the operation.
            MiniEraseOperModel model;
            model.m_scene = &ownScene;
            model.mousePressEvent(&pressEvent);
            model.mouseReleaseEvent(&pressEvent);
            QCOMPARE(ownScene.items().size(), 2);
        }
        QCOMPARE(ownScene.items().size(), 2);
    }
};

QTEST_MAIN(TestMiniEraseOperModel)
#include "tst_minieraseopermodel.moc"
