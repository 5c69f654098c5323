// The canvas view: construction, the operation switch, clearing, the z
// counter and the routing of real mouse and touch events sent to the viewport.

#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "eraser/minieraseopermodel.h"
#include "shell/mainwindow.h"

#include <QGraphicsRectItem>
#include <QGraphicsSceneMouseEvent>
#include <QScrollBar>
#include <QtTest>

namespace {

// Counts what the scene receives from QGraphicsView.
class SceneEvents : public QObject
{
public:
    int count(QEvent::Type type) const { return m_counts.value(type); }
    void clear() { m_counts.clear(); }

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        ++m_counts[event->type()];
        return false;
    }

private:
    QHash<QEvent::Type, int> m_counts;
};

class CountedItem : public QGraphicsRectItem
{
public:
    explicit CountedItem(int* deleted)
        : QGraphicsRectItem(0, 0, 10, 10)
        , m_deleted(deleted)
    {
    }
    ~CountedItem() override { ++*m_deleted; }

private:
    int* m_deleted;
};

} // namespace

class TestView : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_device = QTest::createTouchDevice(); }

    void init()
    {
        m_window = new MainWindow;
        m_window->initUI();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
        m_events.clear();
        m_window->scene()->installEventFilter(&m_events);
    }

    void cleanup()
    {
        delete m_window;
        m_window = nullptr;
    }

    void construction()
    {
        MyMiniGraphicsView view;
        QCOMPARE(view.alignment(), Qt::AlignLeft | Qt::AlignTop);
        QCOMPARE(view.horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        QCOMPARE(view.verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        QVERIFY(view.renderHints().testFlag(QPainter::Antialiasing));
        QVERIFY(view.renderHints().testFlag(QPainter::SmoothPixmapTransform));
        QVERIFY(view.viewport()->testAttribute(Qt::WA_AcceptTouchEvents));
        QCOMPARE(view.scene(), nullptr);
        QCOMPARE(view.sceneData(), nullptr);
        QCOMPARE(view.operationType(), NoOperation);
        QCOMPARE(int(view.operationType()), 1);
        QCOMPARE(view.currentOperation(), nullptr);
        QCOMPARE(view.pathOperation(), nullptr);
        QCOMPARE(view.eraseOperation(), nullptr);
        QCOMPARE(view.isTouching(), false);
        QCOMPARE(view.tool(), MyMiniGraphicsView::PenTool);
        QCOMPARE(int(MyMiniGraphicsView::PenTool), 0);
        QCOMPARE(int(MyMiniGraphicsView::EraseTool), 1);
        QCOMPARE(int(PenOperation), 2);
        QCOMPARE(int(EraseOperation), 3);
    }

    void sceneCounterAndIndex()
    {
        MyMiniGraphicsScene scene;
        QCOMPARE(scene.itemIndexMethod(), QGraphicsScene::NoIndex);
        QCOMPARE(scene.getNewZValue(), qint64(0));
        QCOMPARE(scene.getNewZValue(), qint64(1));
        QCOMPARE(scene.getNewZValue(), qint64(2));
        QCOMPARE(scene.getNewZValue(), qint64(3));
    }

    void operationsAreCreatedOnceAndKept()
    {
        MyMiniGraphicsView* view = m_window->view();
        MiniPathOpermodel* pen = view->pathOperation();
        QVERIFY(pen);
        QCOMPARE(pen->m_scene, m_window->scene());
        QCOMPARE(pen->m_view, view);

        // Leave some state in the pen: a stroke of the mouse.
        QTest::mousePress(view->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
        QTest::mouseMove(view->viewport(), QPoint(80, 50));
        QTest::mouseRelease(view->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(80, 50));
        QCOMPARE(pen->pointMap().value(101).size(), 2);

        view->setTool(MyMiniGraphicsView::EraseTool);
        QCOMPARE(view->tool(), MyMiniGraphicsView::EraseTool);
        QCOMPARE(view->operationType(), EraseOperation);
        MiniEraseOperModel* eraser = view->eraseOperation();
        QVERIFY(eraser);
        QCOMPARE(view->currentOperation(), static_cast<BaseOperation*>(eraser));
        QCOMPARE(eraser->m_scene, m_window->scene());
        QCOMPARE(eraser->m_view, view);

        view->setTool(MyMiniGraphicsView::PenTool);
        QCOMPARE(view->operationType(), PenOperation);
        QCOMPARE(view->pathOperation(), pen);
        QCOMPARE(view->currentOperation(), static_cast<BaseOperation*>(pen));
        QCOMPARE(pen->pointMap().value(101).size(), 2);

        // Any tool number other than 0 is the eraser.
        view->setTool(static_cast<MyMiniGraphicsView::ViewTool>(7));
        QCOMPARE(view->currentOperation(), static_cast<BaseOperation*>(eraser));
        QCOMPARE(view->eraseOperation(), eraser);
        view->StartErase();
        QCOMPARE(view->eraseOperation(), eraser);
        view->DrawPenPath();
        QCOMPARE(view->currentOperation(), static_cast<BaseOperation*>(pen));
    }

    void otherOperationTypesOnlyAreStored()
    {
        MyMiniGraphicsView* view = m_window->view();
        BaseOperation* pen = view->currentOperation();
        view->toggleOperation(NoOperation);
        QCOMPARE(view->operationType(), NoOperation);
        QCOMPARE(view->currentOperation(), pen);
        view->toggleOperation(static_cast<UserOperationType>(0));
        QCOMPARE(int(view->operationType()), 0);
        QCOMPARE(view->currentOperation(), pen);
        view->toggleOperation(static_cast<UserOperationType>(42));
        QCOMPARE(int(view->operationType()), 42);
        QCOMPARE(view->currentOperation(), pen);
        QCOMPARE(view->eraseOperation(), nullptr);
    }

    void mouseRows()
    {
        MyMiniGraphicsView* view = m_window->view();
        MiniPathOpermodel* pen = view->pathOperation();
        QWidget* viewport = view->viewport();

        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
        QCOMPARE(pen->pointMap().value(101), QList<QPointF>{QPointF(100, 100)});
        QVERIFY(pen->m_isPress);
        QVERIFY(!view->isTouching());
        QCOMPARE(m_events.count(QEvent::GraphicsSceneMousePress), 1);

        QTest::mouseMove(viewport, QPoint(120, 100));
        QCOMPARE(pen->pointMap().value(101).size(), 2);
        QCOMPARE(pen->pointMap().value(101).last(), QPointF(120, 100));
        QCOMPARE(m_events.count(QEvent::GraphicsSceneMouseMove), 1);

        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(120, 100));
        QVERIFY(!pen->m_isPress);
        QCOMPARE(m_events.count(QEvent::GraphicsSceneMouseRelease), 1);
    }

    void touchRows()
    {
        MyMiniGraphicsView* view = m_window->view();
        MiniPathOpermodel* pen = view->pathOperation();
        QWidget* viewport = view->viewport();

        QTest::touchEvent(m_window, m_device).press(3, QPoint(200, 200), viewport);
        QVERIFY(view->isTouching());
        QVERIFY(pen->isTouch());
        // The stroke is keyed by the id the platform gave the finger.
        QCOMPARE(pen->pointMap().size(), 1);
        const int id = pen->pointMap().firstKey();
        QCOMPARE(pen->pointMap().value(id), QList<QPointF>{QPointF(200, 200)});

        QTest::touchEvent(m_window, m_device).move(3, QPoint(230, 200), viewport);
        QCOMPARE(pen->pointMap().value(id).size(), 2);
        QVERIFY(view->isTouching());

        QTest::touchEvent(m_window, m_device).release(3, QPoint(230, 200), viewport);
        QVERIFY(!view->isTouching());
        QVERIFY(!pen->isTouch());

        // Touch events are consumed by the view: the scene sees none of them.
        QCOMPARE(m_events.count(QEvent::TouchBegin), 0);
        QCOMPARE(m_events.count(QEvent::TouchUpdate), 0);
        QCOMPARE(m_events.count(QEvent::TouchEnd), 0);
    }

    // While a finger is down the mouse (the events a window system makes up
    // from touches) reaches QGraphicsView but not the operation.
    void mouseIsIgnoredWhileTouching()
    {
        MyMiniGraphicsView* view = m_window->view();
        MiniPathOpermodel* pen = view->pathOperation();
        QWidget* viewport = view->viewport();

        QTest::touchEvent(m_window, m_device).press(5, QPoint(300, 300), viewport);
        QVERIFY(view->isTouching());

        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(400, 400));
        QTest::mouseMove(viewport, QPoint(450, 400));
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(450, 400));
        QVERIFY(!pen->pointMap().contains(101));
        QVERIFY(!pen->m_isPress);
        QVERIFY(view->isTouching());
        QCOMPARE(m_events.count(QEvent::GraphicsSceneMousePress), 1);
        QCOMPARE(m_events.count(QEvent::GraphicsSceneMouseRelease), 1);

        QTest::touchEvent(m_window, m_device).release(5, QPoint(300, 300), viewport);
        QVERIFY(!view->isTouching());
        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(400, 400));
        QCOMPARE(pen->pointMap().value(101), QList<QPointF>{QPointF(400, 400)});
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(400, 400));
    }

    // A cancelled touch is left to QGraphicsView; the view keeps treating the
    // finger as down until the next touch end.
    void touchCancelLeavesTouching()
    {
        MyMiniGraphicsView* view = m_window->view();
        QWidget* viewport = view->viewport();
        QTest::touchEvent(m_window, m_device).press(9, QPoint(300, 300), viewport);
        QVERIFY(view->isTouching());
        QTouchEvent cancel(QEvent::TouchCancel, m_device);
        QCoreApplication::sendEvent(viewport, &cancel);
        QVERIFY(view->isTouching());
        QTest::touchEvent(m_window, m_device).press(10, QPoint(310, 300), viewport);
        QTest::touchEvent(m_window, m_device).release(10, QPoint(310, 300), viewport);
        QVERIFY(!view->isTouching());
    }

    // Without an operation every event goes straight to QGraphicsView.
    void noOperationYet()
    {
        MyMiniGraphicsView view;
        MyMiniGraphicsScene scene;
        scene.setSceneRect(0, 0, 400, 300);
        view.setSceneData(&scene);
        view.setScene(&scene);
        view.resize(400, 300);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        SceneEvents events;
        scene.installEventFilter(&events);

        QTest::mousePress(view.viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
        QTest::mouseRelease(view.viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
        QCOMPARE(events.count(QEvent::GraphicsSceneMousePress), 1);
        QCOMPARE(events.count(QEvent::GraphicsSceneMouseRelease), 1);
        QTest::touchEvent(&view, m_device).press(1, QPoint(20, 20), view.viewport());
        QTest::touchEvent(&view, m_device).release(1, QPoint(20, 20), view.viewport());
        QVERIFY(!view.isTouching());
        QCOMPARE(view.currentOperation(), nullptr);
        QCOMPARE(scene.items().size(), 0);
    }

    // Operations chosen before any scene exists ignore input instead of
    // drawing into nothing.
    void operationWithoutScene()
    {
        MyMiniGraphicsView view;
        view.toggleOperation(PenOperation);
        view.resize(200, 200);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        QTest::mousePress(view.viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
        QTest::mouseMove(view.viewport(), QPoint(40, 10));
        QTest::mouseRelease(view.viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(40, 10));
        QTest::touchEvent(&view, m_device).press(1, QPoint(20, 20), view.viewport());
        QTest::touchEvent(&view, m_device).move(1, QPoint(60, 20), view.viewport());
        QTest::touchEvent(&view, m_device).release(1, QPoint(60, 20), view.viewport());
        QVERIFY(view.pathOperation()->pointMap().isEmpty());
        view.clearAllItem();
    }

    void clearEmptyScene()
    {
        MyMiniGraphicsView* view = m_window->view();
        QCOMPARE(m_window->scene()->items().size(), 0);
        view->clearAllItem();
        QCOMPARE(m_window->scene()->items().size(), 0);
    }

    void clearDeletesEveryItemAndKeepsTheCounter()
    {
        MyMiniGraphicsScene* scene = m_window->scene();
        int deleted = 0;
        for (int i = 0; i < 5; ++i)
            scene->addItem(new CountedItem(&deleted));
        auto* parent = new CountedItem(&deleted);
        CountedItem outside(&deleted); // not in the scene: must not be touched
        auto* child = new CountedItem(&deleted);
        child->setParentItem(parent);
        scene->addItem(parent);
        QCOMPARE(scene->items().size(), 7);
        QCOMPARE(scene->getNewZValue(), qint64(0));
        QCOMPARE(scene->getNewZValue(), qint64(1));

        m_window->view()->clearAllItem();
        QCOMPARE(scene->items().size(), 0);
        QCOMPARE(deleted, 7);
        QCOMPARE(scene->getNewZValue(), qint64(2));
    }

    // The next stroke after a clear carries on from the counter.
    void zValuesContinueAfterClear()
    {
        QWidget* viewport = m_window->view()->viewport();
        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
        QTest::mouseMove(viewport, QPoint(110, 100));
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(110, 100));
        // The second point made one tail item: z 0.
        QCOMPARE(m_window->scene()->items().size(), 1);
        QCOMPARE(m_window->scene()->items().first()->zValue(), 0.0);

        m_window->view()->clearAllItem();
        QCOMPARE(m_window->scene()->items().size(), 0);

        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(100, 200));
        QTest::mouseMove(viewport, QPoint(110, 200));
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, QPoint(110, 200));
        QCOMPARE(m_window->scene()->items().size(), 1);
        QCOMPARE(m_window->scene()->items().first()->zValue(), 1.0);
    }

private:
    QTouchDevice* m_device = nullptr;
    MainWindow* m_window = nullptr;
    SceneEvents m_events;
};

QTEST_MAIN(TestView)
#include "tst_view.moc"
