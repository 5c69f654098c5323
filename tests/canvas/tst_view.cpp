// The canvas view: construction, the operation switch, clearing, the z
// counter and the routing of real mouse and touch events sent to the viewport.

#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "eraser/minieraseopermodel.h"
#include "shell/mainwindow.h"

#include <QGraphicsRectItem>
#include <QGraphicsSceneMouseEvent>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QtTest>

#include <algorithm>
#include <functional>

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

    // A host may name an item twice, or name nothing: each item is deleted
    // once, the others stay.
    void deleteItemsTakesEachItemOnce()
    {
        MyMiniGraphicsScene* scene = m_window->scene();
        int deleted = 0;
        QList<QGraphicsItem*> items;
        for (int i = 0; i < 4; ++i) {
            items.append(new CountedItem(&deleted));
            scene->addItem(items.last());
        }
        m_window->view()->deleteItems(
            {items.at(2), nullptr, items.at(0), items.at(2), items.at(0)});
        QCOMPARE(deleted, 2);
        QCOMPARE(scene->items().size(), 2);
        QVERIFY(scene->items().contains(items.at(1)));
        QVERIFY(scene->items().contains(items.at(3)));
        // The others count into this test's counter: they go with it.
        delete items.at(1);
        delete items.at(3);
        QCOMPARE(deleted, 4);
    }

    // Taking many items out at once leaves the others stacked exactly as
    // Qt's own removal, one by one, leaves them: among equal z values the
    // order of addition holds, also for the items added afterwards. Rounds
    // start with Qt's numbering of its items intact and with gaps in it.
    void removingManyItemsKeepsTheStacking()
    {
        MyMiniGraphicsScene board;
        QGraphicsScene plain;
        plain.setItemIndexMethod(QGraphicsScene::NoIndex);
        QGraphicsScene elsewhere;
        auto* foreign = new QGraphicsRectItem(0, 0, 5, 5);
        elsewhere.addItem(foreign);

        QRandomGenerator random(20261127);
        QVector<QGraphicsItem*> onBoard; // the same item on both, index by index
        QVector<QGraphicsItem*> onPlain;
        QList<QGraphicsItem*> taken;
        int nextId = 0;
        auto make = [&](int id, qreal z) {
            auto* item = new QGraphicsRectItem(0, 0, 10, 10);
            item->setData(0, id);
            item->setZValue(z);
            if (id % 7 == 0) {
                auto* child = new QGraphicsRectItem(2, 2, 3, 3, item);
                child->setData(0, -id - 1);
            }
            return item;
        };
        auto add = [&](int count) {
            for (int i = 0; i < count; ++i) {
                // Four z values for hundreds of items: the order of addition
                // decides most of the stacking.
                const qreal z = random.bounded(4);
                QGraphicsItem* a = make(nextId, z);
                QGraphicsItem* b = make(nextId, z);
                ++nextId;
                board.addItem(a);
                plain.addItem(b);
                onBoard.append(a);
                onPlain.append(b);
            }
        };
        auto ids = [](const QList<QGraphicsItem*>& items) {
            QVector<int> result;
            for (QGraphicsItem* item : items)
                result.append(item->data(0).toInt());
            return result;
        };

        add(300);
        int batched = 0;
        for (int round = 0; round < 60; ++round) {
            // An addition puts Qt's list back in the order of addition,
            // which the queries below leave sorted by z.
            add(int(random.bounded(1, 25)));
            if (round % 3 == 1) {
                // A few items one at a time, from the front half: gaps in
                // Qt's numbers, which no longer match the places.
                for (int k = 5; k >= 1 && onBoard.size() > 12; --k) {
                    const int i = k * onBoard.size() / 12;
                    board.removeItemKeepingOrder(onBoard.at(i));
                    plain.removeItem(onPlain.at(i));
                    taken << onBoard.takeAt(i) << onPlain.takeAt(i);
                }
            }
            QList<QGraphicsItem*> batch;
            QVector<int> chosen;
            const int count = int(random.bounded(1, 30));
            for (int k = 0; k < count && !onBoard.isEmpty(); ++k) {
                const int i = int(random.bounded(onBoard.size()));
                batch.append(onBoard.at(i));
                if (!chosen.contains(i))
                    chosen.append(i);
                if (k == 0)
                    batch.append(onBoard.at(i)); // named twice
            }
            batch.append(foreign);
            batch.append(nullptr);
            board.removeItemsKeepingOrder(batch);
            std::sort(chosen.begin(), chosen.end(), std::greater<int>());
            for (int i : qAsConst(chosen)) {
                QCOMPARE(onBoard.at(i)->scene(), nullptr);
                plain.removeItem(onPlain.at(i));
                taken << onBoard.takeAt(i) << onPlain.takeAt(i);
            }
            batched += chosen.size();
            QCOMPARE(foreign->scene(), &elsewhere);

            // Every item covers this area: the lists are the whole scenes in
            // stacking order (items() alone is in no order without an index).
            const QRectF all(-1, -1, 20, 20);
            QCOMPARE(board.items().size(), plain.items().size());
            for (Qt::SortOrder order : {Qt::DescendingOrder, Qt::AscendingOrder}) {
                const QVector<int> expected = ids(plain.items(all, Qt::IntersectsItemShape, order));
                QCOMPARE(expected.size(), plain.items().size());
                QCOMPARE(ids(board.items(all, Qt::IntersectsItemShape, order)), expected);
            }
            QCOMPARE(ids(board.items(QPointF(3, 3))), ids(plain.items(QPointF(3, 3))));
        }
        QVERIFY2(batched > 500, qPrintable(QString::number(batched)));
        qDeleteAll(taken);
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
