// Undo and redo of the drawing: strokes (mouse and fingers), erasures and
// clears come back exactly, as the very items with their paths, pens and z
// values, and the board shows what its scene holds after every step.

#include "canvas/boardhistory.h"
#include "canvas/minipathitem.h"
#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/uimanager.h"
#include "shell/mainwindow.h"
#include "tests/support/inkreference.h"
#include "tests/support/mouseinput.h"

#include <QGraphicsRectItem>
#include <QPen>
#include <QTouchDevice>
#include <QUndoStack>
#include <QtTest>

#include <algorithm>
#include <cmath>

namespace {

// A stroke item as a host or a test sees it.
struct Seen
{
    MiniPathItem* item;
    QPainterPath path;
    QPen pen;
    qreal z;

    bool operator==(const Seen& other) const
    {
        return item == other.item && path == other.path && pen == other.pen && z == other.z;
    }
};

QVector<Seen> strokesOf(QGraphicsScene* scene)
{
    QVector<Seen> seen;
    const QList<QGraphicsItem*> items = scene->items();
    for (QGraphicsItem* item : items) {
        if (auto* stroke = dynamic_cast<MiniPathItem*>(item))
            seen.append({stroke, stroke->path(), stroke->pen(), stroke->zValue()});
    }
    std::sort(seen.begin(), seen.end(),
              [](const Seen& a, const Seen& b) { return a.item < b.item; });
    return seen;
}

} // namespace

class TestHistory : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_device = QTest::createTouchDevice(); }

    void init()
    {
        UIManager::getInstance()->setPen(QPen(QColor("#F73859"), 6));
        m_window = new MainWindow;
        m_window->initUI();
        m_window->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
        m_view = m_window->view();
        m_viewport = m_view->viewport();
        m_scene = m_window->scene();
        m_history = m_scene->history();
    }

    void cleanup()
    {
        delete m_window;
        m_window = nullptr;
    }

    void aStrokeIsOneStep()
    {
        QVERIFY(!m_history->canUndo());
        QVERIFY(!m_window->undo());
        drawMouseStroke(MouseInput::wave(QPoint(100, 200), 30));
        const QVector<Seen> drawn = strokesOf(m_scene);
        QVERIFY(drawn.size() > 1);
        QCOMPARE(m_history->count(), 1);

        QVERIFY(m_window->undo());
        QVERIFY(strokesOf(m_scene).isEmpty());
        QVERIFY(paintedAsScene());
        // The pen keeps no pointer to what undo took away.
        QVERIFY(penKeepsOnlySceneItems());
        QVERIFY(!m_window->undo());

        QVERIFY(m_window->redo());
        QCOMPARE(strokesOf(m_scene), drawn);
        QVERIFY(paintedAsScene());
        QVERIFY(!m_window->redo());
    }

    // The host's way: the window's slots by name.
    void slotsByName()
    {
        drawMouseStroke(MouseInput::wave(QPoint(100, 200), 20));
        bool done = false;
        QVERIFY(QMetaObject::invokeMethod(m_window, "undo", Q_RETURN_ARG(bool, done)));
        QVERIFY(done);
        QVERIFY(strokesOf(m_scene).isEmpty());
        QVERIFY(QMetaObject::invokeMethod(m_window, "redo", Q_RETURN_ARG(bool, done)));
        QVERIFY(done);
        QVERIFY(!strokesOf(m_scene).isEmpty());
    }

    // Two fingers drawing at once: one step each, in the order they lift.
    void twoFingersGiveTwoSteps()
    {
        const QVector<QPoint> upper = MouseInput::wave(QPoint(100, 150), 25);
        const QVector<QPoint> lower = MouseInput::wave(QPoint(100, 500), 25, 1.0);
        QTest::touchEvent(m_window, m_device)
            .press(1, upper.first(), m_viewport)
            .press(2, lower.first(), m_viewport);
        for (int i = 1; i < upper.size(); ++i) {
            QTest::touchEvent(m_window, m_device)
                .move(1, upper.at(i), m_viewport)
                .move(2, lower.at(i), m_viewport);
        }
        // The lower finger lifts first.
        QTest::touchEvent(m_window, m_device).stationary(1).release(2, lower.last(), m_viewport);
        QCOMPARE(m_history->count(), 1);
        QTest::touchEvent(m_window, m_device).release(1, upper.last(), m_viewport);
        QCOMPARE(m_history->count(), 2);

        const QVector<Seen> both = strokesOf(m_scene);
        QVERIFY(m_window->undo());
        // The upper stroke, lifted last, is gone; the lower one stays whole.
        const QVector<Seen> left = strokesOf(m_scene);
        QVERIFY(!left.isEmpty());
        for (const Seen& seen : left)
            QVERIFY2(seen.item->sceneBoundingRect().top() > 400, "an upper item is left");
        QVERIFY(paintedAsScene());
        QVERIFY(m_window->undo());
        QVERIFY(strokesOf(m_scene).isEmpty());
        QVERIFY(m_window->redo());
        QCOMPARE(strokesOf(m_scene), left);
        QVERIFY(m_window->redo());
        QCOMPARE(strokesOf(m_scene), both);
        QVERIFY(paintedAsScene());
    }

    // One erasure, press to release, is one step, whatever it cut.
    void anErasureIsOneStep()
    {
        drawMouseStroke(MouseInput::wave(QPoint(100, 200), 40));
        drawMouseStroke(MouseInput::wave(QPoint(100, 260), 40, 2.0));
        drawMouseStroke({QPoint(200, 100), QPoint(205, 200), QPoint(210, 300), QPoint(215, 400)});
        const QVector<Seen> before = strokesOf(m_scene);
        QCOMPARE(m_history->count(), 3);

        m_view->setTool(MyMiniGraphicsView::EraseTool);
        QTest::mousePress(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(150, 100));
        for (int step = 1; step <= 12; ++step)
            QTest::mouseMove(m_viewport, QPoint(150 + 25 * step, 100 + 25 * step));
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(450, 400));
        const QVector<Seen> after = strokesOf(m_scene);
        QVERIFY(after != before);
        QCOMPARE(m_history->count(), 4);

        QVERIFY(m_window->undo());
        QCOMPARE(strokesOf(m_scene), before);
        QVERIFY(paintedAsScene());
        QVERIFY(m_window->redo());
        QCOMPARE(strokesOf(m_scene), after);
        QVERIFY(paintedAsScene());
        // Back to before the erasure, and further back to nothing.
        for (int i = 0; i < 4; ++i)
            QVERIFY(m_window->undo());
        QVERIFY(strokesOf(m_scene).isEmpty());
        QVERIFY(paintedAsScene());
        for (int i = 0; i < 4; ++i)
            QVERIFY(m_window->redo());
        QCOMPARE(strokesOf(m_scene), after);
        QVERIFY(paintedAsScene());
    }

    // A stroke that one drag first cuts and then takes away whole comes
    // back with its path from before the drag.
    void aStrokeCutThenTakenAwayComesBackWhole()
    {
        drawMouseStroke({QPoint(300, 300), QPoint(308, 300), QPoint(316, 300), QPoint(324, 300),
                         QPoint(332, 300), QPoint(340, 300), QPoint(348, 300), QPoint(356, 300)});
        const QVector<Seen> before = strokesOf(m_scene);
        QVERIFY(!before.isEmpty());

        m_view->setTool(MyMiniGraphicsView::EraseTool);
        // Down across the stroke's right end first, then along it over the
        // rest.
        QTest::mousePress(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(356, 200));
        bool cutFirst = false;
        for (int y = 220; y <= 400; y += 20) {
            QTest::mouseMove(m_viewport, QPoint(356, y));
            const QVector<Seen> now = strokesOf(m_scene);
            cutFirst = cutFirst || (!now.isEmpty() && now != before);
        }
        QVERIFY(cutFirst);
        for (int x = 346; x >= 250; x -= 10)
            QTest::mouseMove(m_viewport, QPoint(x, 300));
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(250, 300));
        QVERIFY(strokesOf(m_scene).isEmpty());
        QCOMPARE(m_history->count(), 2);

        QVERIFY(m_window->undo());
        QCOMPARE(strokesOf(m_scene), before);
        QVERIFY(paintedAsScene());
        QVERIFY(m_window->redo());
        QVERIFY(strokesOf(m_scene).isEmpty());
        QVERIFY(paintedAsScene());
    }

    void aClearIsOneStep()
    {
        drawMouseStroke(MouseInput::wave(QPoint(100, 200), 30));
        drawMouseStroke(MouseInput::wave(QPoint(100, 300), 30, 1.0));
        const QVector<Seen> before = strokesOf(m_scene);
        m_view->clearAllItem();
        QVERIFY(m_scene->items().isEmpty());
        QCOMPARE(m_history->count(), 3);
        QVERIFY(paintedAsScene());
        QVERIFY(m_window->undo());
        QCOMPARE(strokesOf(m_scene), before);
        QVERIFY(paintedAsScene());
        QVERIFY(m_window->redo());
        QVERIFY(m_scene->items().isEmpty());
        QVERIFY(paintedAsScene());
        // Clearing an empty board is no step.
        m_view->clearAllItem();
        QCOMPARE(m_history->count(), 3);
    }

    void aNewChangeDiscardsWhatCouldBeRedone()
    {
        drawMouseStroke(MouseInput::wave(QPoint(100, 200), 20));
        drawMouseStroke(MouseInput::wave(QPoint(100, 300), 20));
        QVERIFY(m_window->undo());
        QVERIFY(m_history->canRedo());
        drawMouseStroke(MouseInput::wave(QPoint(100, 400), 20));
        QVERIFY(!m_history->canRedo());
        QVERIFY(!m_window->redo());
        QCOMPARE(m_history->count(), 2);
    }

    void atMostAHundredSteps()
    {
        QCOMPARE(BoardHistory::StepLimit, 100);
        // Ten strokes a row (the offscreen screen is 800 by 600).
        for (int i = 0; i < 105; ++i) {
            const QPoint start(20 + 70 * (i % 10), 60 + 45 * (i / 10));
            drawMouseStroke({start, start + QPoint(10, 30)});
        }
        QCOMPARE(m_history->count(), 100);
        int undone = 0;
        while (m_window->undo())
            ++undone;
        QCOMPARE(undone, 100);
        // The first five strokes are beyond the history and stay.
        const QVector<Seen> left = strokesOf(m_scene);
        QVERIFY(!left.isEmpty());
        for (const Seen& seen : left) {
            const QRectF bounds = seen.item->sceneBoundingRect();
            QVERIFY(bounds.bottom() < 100);
            QVERIFY(bounds.right() < 20 + 70 * 4 + 20);
        }
    }

    // Undo and redo do nothing while a stroke or an erasure is in progress,
    // and do not disturb it.
    void nothingWhileAPointerIsDown()
    {
        drawMouseStroke(MouseInput::wave(QPoint(100, 150), 20));
        const QVector<QPoint> points = MouseInput::wave(QPoint(100, 400), 30);
        QTest::touchEvent(m_window, m_device).press(4, points.first(), m_viewport);
        for (int i = 1; i < 15; ++i)
            QTest::touchEvent(m_window, m_device).move(4, points.at(i), m_viewport);
        const QVector<Seen> drawing = strokesOf(m_scene);
        QVERIFY(!m_window->undo());
        QVERIFY(!m_window->redo());
        QCOMPARE(strokesOf(m_scene), drawing);
        for (int i = 15; i < points.size(); ++i)
            QTest::touchEvent(m_window, m_device).move(4, points.at(i), m_viewport);
        QTest::touchEvent(m_window, m_device).release(4, points.last(), m_viewport);
        QCOMPARE(m_history->count(), 2);

        // The mouse's button down on the eraser.
        m_view->setTool(MyMiniGraphicsView::EraseTool);
        QTest::mousePress(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(130, 150));
        QTest::mouseMove(m_viewport, QPoint(160, 170));
        const QVector<Seen> erasing = strokesOf(m_scene);
        QVERIFY(!m_window->undo());
        QCOMPARE(strokesOf(m_scene), erasing);
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, QPoint(160, 170));
        QCOMPARE(m_history->count(), 3);
        QVERIFY(m_window->undo());
        QVERIFY(m_window->undo());
        QVERIFY(paintedAsScene());
    }

    // A stroke still drawn when the eraser cuts it (the tool switched under
    // the mouse): the stroke up to then is a step before the erasure's.
    void erasingAStrokeStillBeingDrawn()
    {
        const QVector<QPoint> points = MouseInput::wave(QPoint(100, 300), 40);
        MouseInput::pressAlong(m_viewport, points, 30);
        m_view->setTool(MyMiniGraphicsView::EraseTool);
        QTest::touchEvent(m_window, m_device).press(7, QPoint(200, 150), m_viewport);
        for (int step = 1; step <= 8; ++step)
            QTest::touchEvent(m_window, m_device)
                .move(7, QPoint(200 + 5 * step, 150 + 40 * step), m_viewport);
        QTest::touchEvent(m_window, m_device).release(7, QPoint(240, 470), m_viewport);
        QCOMPARE(m_history->count(), 2);
        QTest::mouseRelease(m_viewport, Qt::LeftButton, Qt::NoModifier, points.at(29));
        QVERIFY(m_window->undo());
        QVERIFY(m_window->undo());
        QVERIFY(strokesOf(m_scene).isEmpty());
        QVERIFY(paintedAsScene());
        QVERIFY(penKeepsOnlySceneItems());
    }

    // Items deleted behind the history's back (through the view, which
    // tells the pen and the eraser, but not the history) end the history,
    // never the board.
    void itemsDeletedBehindTheHistorysBack()
    {
        drawMouseStroke(MouseInput::wave(QPoint(100, 200), 20));
        QVERIFY(m_window->undo());
        drawMouseStroke(MouseInput::wave(QPoint(100, 300), 20));
        drawMouseStroke(MouseInput::wave(QPoint(100, 400), 20));
        QCOMPARE(m_history->count(), 2);
        QTest::ignoreMessage(QtWarningMsg,
                             "BoardHistory: a stroke item was deleted behind the board's "
                             "history; undo and redo start afresh");
        m_view->deleteItems({strokesOf(m_scene).first().item});
        QCOMPARE(m_history->count(), 0);
        QVERIFY(!m_window->undo());
        QVERIFY(!strokesOf(m_scene).isEmpty());
        QVERIFY(paintedAsScene());
        drawMouseStroke(MouseInput::wave(QPoint(100, 200), 20));
        QVERIFY(m_window->undo());
        QVERIFY(paintedAsScene());
    }

private:
    void drawMouseStroke(const QVector<QPoint>& points) { MouseInput::drag(m_viewport, points); }

    bool penKeepsOnlySceneItems() const
    {
        const MiniPathOpermodel* pen = m_view->pathOperation();
        for (MiniPathItem* item : pen->curItemMap()) {
            if (item && item->scene() != m_scene)
                return false;
        }
        for (const QList<MiniPathItem*>& tail : pen->itemMap()) {
            for (MiniPathItem* item : tail) {
                if (item->scene() != m_scene)
                    return false;
            }
        }
        return true;
    }

    // The board, painted afresh from its ink layer, shows its scene.
    bool paintedAsScene()
    {
        QCoreApplication::processEvents();
        const QImage expected = InkReference::render(m_scene, m_viewport->size());
        const InkReference::Difference painted =
            InkReference::compare(InkReference::grab(m_viewport), expected);
        if (painted.pixels == 0)
            return true;
        qWarning("the board differs from its scene: %s", qPrintable(painted.describe()));
        return false;
    }

    QTouchDevice* m_device = nullptr;
    MainWindow* m_window = nullptr;
    MyMiniGraphicsView* m_view = nullptr;
    QWidget* m_viewport = nullptr;
    MyMiniGraphicsScene* m_scene = nullptr;
    BoardHistory* m_history = nullptr;
};

QTEST_MAIN(TestHistory)
#include "tst_history.moc"
