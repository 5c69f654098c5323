// The pen through the real event path: mouse events and touches sent to the
// view's viewport, strokes checked item by item.

#include "canvas/minipathitem.h"
#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/uimanager.h"
#include "shell/mainwindow.h"

#include <QtTest>

#include <algorithm>

namespace {

const QColor kDefaultInk(0xF7, 0x38, 0x59);

struct Touch
{
    int id;
    Qt::TouchPointState state;
    QPointF pos;
    QPointF lastPos;
};

QList<MiniPathItem*> strokeItems(QGraphicsScene* scene)
{
    QList<MiniPathItem*> items;
    for (QGraphicsItem* item : scene->items()) {
        if (auto* stroke = qgraphicsitem_cast<MiniPathItem*>(item))
            items.append(stroke);
    }
    // Creation order: the z counter hands out growing values.
    std::stable_sort(items.begin(), items.end(),
                     [](MiniPathItem* a, MiniPathItem* b) { return a->zValue() < b->zValue(); });
    return items;
}

QVector<QPointF> elementPoints(const QPainterPath& path)
{
    QVector<QPointF> points;
    for (int i = 0; i < path.elementCount(); ++i)
        points.append(QPointF(path.elementAt(i).x, path.elementAt(i).y));
    return points;
}

} // namespace

class TestPen : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_device = QTest::createTouchDevice(); }

    void init()
    {
        UIManager::getInstance()->setPen(QPen(kDefaultInk, 6));
        m_window = new MainWindow;
        m_window->initUI();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
        m_pen = m_window->view()->pathOperation();
        QVERIFY(m_pen);
    }

    void cleanup()
    {
        delete m_window;
        m_window = nullptr;
        UIManager::getInstance()->setPen(QPen(kDefaultInk, 6));
    }

    void moveWithoutPressDrawsNothing()
    {
        QTest::mouseMove(viewport(), QPoint(100, 100));
        QTest::mouseMove(viewport(), QPoint(200, 100));
        QTest::mouseMove(viewport(), QPoint(300, 150));
        QVERIFY(m_window->scene()->items().isEmpty());
        QVERIFY(m_pen->pointMap().isEmpty());
    }

    // A tap leaves one filled circle of diameter m_penWidth on the point, at
    // z 0.
    void tapLeavesADot()
    {
        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 120));
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 120));
        const QList<MiniPathItem*> items = strokeItems(m_window->scene());
        QCOMPARE(items.size(), 1);
        MiniPathItem* dot = items.first();
        QVERIFY(dot->isSinglePnt());
        QCOMPARE(dot->zValue(), 0.0);
        QCOMPARE(dot->pen().color(), kDefaultInk);
        QCOMPARE(m_pen->penWidth(), 6);
        QCOMPARE(dot->path().boundingRect(), QRectF(97, 117, 6, 6));
        // The ellipse's own start (its right end) replaces the leading move.
        QCOMPARE(dot->path().elementAt(0).type, QPainterPath::MoveToElement);
        QCOMPARE(QPointF(dot->path().elementAt(0)), QPointF(103, 120));
        QVERIFY(dot->path().contains(QPointF(100, 120)));
        QVERIFY(dot->path().contains(QPointF(102.9, 120)));
        QVERIFY(!dot->path().contains(QPointF(103.1, 120)));
        QCOMPARE(m_pen->curItemMap().value(101), dot);
        QVERIFY(m_pen->pathMap().value(101).isEmpty());
        QVERIFY(m_pen->itemMap().value(101).isEmpty());

        const QImage image = m_window->grab().toImage();
        QCOMPARE(image.pixelColor(100, 120), kDefaultInk);
        QCOMPARE(qAlpha(image.pixel(104, 120)), 0);
    }

    // The second point replaces the dot with a tail of one part: width
    // 6 x 1 / 5 = 1.2, tip 1.0, 0.5 steps, so the part is the whole piece and
    // its width 1.2 - 0.4 truncates to 0, a cosmetic one-pixel line.
    void secondPointMakesAOnePixelTail()
    {
        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
        QTest::mouseMove(viewport(), QPoint(110, 100));
        const QList<MiniPathItem*> items = strokeItems(m_window->scene());
        QCOMPARE(items.size(), 1);
        MiniPathItem* tail = items.first();
        QVERIFY(!tail->isSinglePnt());
        QCOMPARE(tail->pen().width(), 0);
        QCOMPARE(tail->pen().color(), kDefaultInk);
        QCOMPARE(tail->pen().capStyle(), Qt::RoundCap);
        QCOMPARE(tail->zValue(), 0.0);
        QCOMPARE(elementPoints(tail->path()),
                 (QVector<QPointF>{QPointF(100, 100), QPointF(105, 100)}));
        QCOMPARE(tail->path().elementAt(0).type, QPainterPath::MoveToElement);
        QCOMPARE(tail->path().elementAt(1).type, QPainterPath::LineToElement);
        QVERIFY(!m_pen->curItemMap().contains(101));
        QCOMPARE(m_pen->itemMap().value(101), QList<MiniPathItem*>{tail});
        QCOMPARE(m_pen->pathMap().value(101).size(), 1);
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(110, 100));
    }

    // Young strokes ramp up: with k pieces the tail starts at k x 6 / 5 and
    // its first part is 0.4 thinner, truncated: 0.8, 2.0 (2.4 - 0.4 rounds to
    // exactly 2 in double arithmetic), 3.2, 4.4, 5.6.
    void youngStrokeRampsUp()
    {
        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
        const QList<int> expectedFirstWidth{0, 2, 3, 4, 5};
        for (int k = 1; k <= 5; ++k) {
            QTest::mouseMove(viewport(), QPoint(100 + 20 * k, 100));
            const QList<MiniPathItem*> tail = m_pen->itemMap().value(101);
            QCOMPARE(m_pen->pathMap().value(101).size(), k);
            QVERIFY(!tail.isEmpty());
            QCOMPARE(tail.first()->pen().width(), expectedFirstWidth.at(k - 1));
            QVERIFY(!m_pen->curItemMap().value(101));
        }
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(200, 100));
    }

    // With a body at pen width 6: W = 6, t = 1.0, 12.5 steps, 13 parts.
    void tailWidthsWithABody()
    {
        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(50, 300));
        for (int x = 70; x <= 290; x += 20)
            QTest::mouseMove(viewport(), QPoint(x, 300));
        MiniPathItem* body = m_pen->curItemMap().value(101);
        QVERIFY(body);
        QCOMPARE(body->pen().width(), 6);
        const QList<MiniPathItem*> tail = m_pen->itemMap().value(101);
        QList<int> widths;
        for (MiniPathItem* item : tail)
            widths.append(item->pen().width());
        QCOMPARE(widths, (QList<int>{5, 5, 4, 4, 4, 3, 3, 2, 2, 2, 1, 1, 0}));

        // From the body towards the tip: the tail starts where the body ends
        // and ends at the midpoint of the last two points.
        const QPainterPath bodyPath = body->path();
        const QPointF bodyEnd = bodyPath.elementAt(bodyPath.elementCount() - 1);
        QCOMPARE(QPointF(tail.first()->path().elementAt(0)), bodyEnd);
        const QPainterPath tip = tail.last()->path();
        QCOMPARE(QPointF(tip.elementAt(tip.elementCount() - 1)), QPointF(280, 300));
        // Five pieces of 20 pixels: parts of 100 / 12.5 = 8 pixels.
        for (int j = 0; j < 12; ++j)
            QVERIFY(qAbs(tail.at(j)->path().length() - 8.0) < 1e-9);
        QVERIFY(qAbs(tail.last()->path().length() - 4.0) < 1e-9);

        // Tail items lie above the body, in creation order.
        for (int j = 0; j < tail.size(); ++j) {
            QVERIFY(tail.at(j)->zValue() > body->zValue());
            if (j > 0)
                QCOMPARE(tail.at(j)->zValue(), tail.at(j - 1)->zValue() + 1);
        }
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(290, 300));
    }

    // Body items end once their length would pass 200 pixels.
    void longStrokeSplitsItsBody()
    {
        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(10, 200));
        for (int x = 20; x <= 790; x += 10)
            QTest::mouseMove(viewport(), QPoint(x, 200));
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(790, 200));

        const QList<MiniPathItem*> tail = m_pen->itemMap().value(101);
        QList<MiniPathItem*> bodies;
        for (MiniPathItem* item : strokeItems(m_window->scene())) {
            if (!tail.contains(item))
                bodies.append(item);
        }
        // 79 points make 78 pieces: 10 to 15, then 10 pixels each up to 785.
        // The last five are the tail; the bodies take the other 73: the first
        // stops at 5 + 19 x 10 = 195 (one more piece would make 205), the next
        // two at 200, and the current one holds the last 13 pieces.
        const QList<qreal> expected{195, 200, 200, 130};
        QCOMPARE(bodies.size(), expected.size());
        for (int k = 0; k < bodies.size(); ++k) {
            QCOMPARE(bodies.at(k)->pen().width(), 6);
            const qreal length = bodies.at(k)->path().length();
            QVERIFY2(qAbs(length - expected.at(k)) < 1e-6, qPrintable(QString::number(length)));
        }
        QCOMPARE(m_pen->curItemMap().value(101), bodies.last());
        QVERIFY(tail.size() <= 14);
        QCOMPARE(tail.size(), 13);
        // z in creation order: every body below the tail, bodies in order.
        for (int k = 1; k < bodies.size(); ++k)
            QVERIFY(bodies.at(k)->zValue() > bodies.at(k - 1)->zValue());
        QVERIFY(tail.first()->zValue() > bodies.last()->zValue());
    }

    void smallMovesAreGated()
    {
        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
        QTest::mouseMove(viewport(), QPoint(101, 100));
        QTest::mouseMove(viewport(), QPoint(101, 101));
        QTest::mouseMove(viewport(), QPoint(100, 100));
        QCOMPARE(m_pen->pointMap().value(101).size(), 1);
        QCOMPARE(strokeItems(m_window->scene()).size(), 1); // still the dot
        // A slow drag draws once the pointer is 2 pixels from the last point.
        QTest::mouseMove(viewport(), QPoint(102, 100));
        QCOMPARE(m_pen->pointMap().value(101),
                 (QList<QPointF>{QPointF(100, 100), QPointF(102, 100)}));
        for (int x = 103; x <= 110; ++x)
            QTest::mouseMove(viewport(), QPoint(x, 100));
        QCOMPARE(m_pen->pointMap().value(101).size(), 6); // 102, 104, 106, 108, 110
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(110, 100));
    }

    void releaseLeavesTheItems()
    {
        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 400));
        for (int x = 120; x <= 400; x += 20)
            QTest::mouseMove(viewport(), QPoint(x, 400 + (x % 40)));
        QList<MiniPathItem*> before = strokeItems(m_window->scene());
        QList<QPainterPath> paths;
        for (MiniPathItem* item : before)
            paths.append(item->path());
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(400, 400));
        QCOMPARE(strokeItems(m_window->scene()), before);
        for (int i = 0; i < before.size(); ++i) {
            QCOMPARE(before.at(i)->path(), paths.at(i));
            // The finished stroke keeps no room for points it will not get.
            QCOMPARE(before.at(i)->path().capacity(), paths.at(i).elementCount());
            QCOMPARE(before.at(i)->pen().capStyle(), Qt::RoundCap);
            QCOMPARE(before.at(i)->pen().joinStyle(), Qt::RoundJoin);
        }
        QVERIFY(!m_pen->m_isPress);
        // Moves after the release draw nothing.
        QTest::mouseMove(viewport(), QPoint(500, 500));
        QCOMPARE(strokeItems(m_window->scene()), before);
    }

    // The pen in use when items are made: later strokes take a new colour
    // and width, earlier strokes keep theirs.
    void penChangeAppliesToLaterStrokes()
    {
        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
        for (int x = 120; x <= 300; x += 20)
            QTest::mouseMove(viewport(), QPoint(x, 100));
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(300, 100));
        const QList<MiniPathItem*> first = strokeItems(m_window->scene());

        UIManager::getInstance()->setPenColor(QColor(QStringLiteral("#00B8A9")));
        UIManager::getInstance()->setPenWidth(12);
        for (MiniPathItem* item : first) {
            QCOMPARE(item->pen().color(), kDefaultInk);
            QVERIFY(item->pen().width() <= 6);
        }

        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 300));
        QCOMPARE(m_pen->penWidth(), 12);
        MiniPathItem* dot = m_pen->curItemMap().value(101);
        QVERIFY(dot && dot->isSinglePnt());
        QCOMPARE(dot->pen().color(), QColor(0x00, 0xB8, 0xA9));
        QCOMPARE(dot->path().boundingRect(), QRectF(94, 294, 12, 12));
        for (int x = 120; x <= 300; x += 20)
            QTest::mouseMove(viewport(), QPoint(x, 300));
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(300, 300));
        QCOMPARE(m_pen->curItemMap().value(101)->pen().width(), 12);
        QCOMPARE(m_pen->curItemMap().value(101)->pen().color(), QColor(0x00, 0xB8, 0xA9));
        for (MiniPathItem* item : first)
            QCOMPARE(item->pen().color(), kDefaultInk);
    }

    // Two fingers in one event start two strokes with their own ids.
    void twoFingersDrawTwoStrokes()
    {
        QTest::touchEvent(m_window, m_device)
            .press(1, QPoint(100, 100), viewport())
            .press(2, QPoint(100, 300), viewport());
        QCOMPARE(m_pen->pointMap().size(), 2);
        const QList<int> ids = m_pen->pointMap().keys();
        QVERIFY(!ids.contains(101));
        QCOMPARE(strokeItems(m_window->scene()).size(), 2); // two dots

        for (int step = 1; step <= 10; ++step) {
            QTest::touchEvent(m_window, m_device)
                .move(1, QPoint(100 + 20 * step, 100), viewport())
                .move(2, QPoint(100 + 20 * step, 300), viewport());
        }
        QTest::touchEvent(m_window, m_device)
            .release(1, QPoint(300, 100), viewport())
            .release(2, QPoint(300, 300), viewport());

        int upper = 0;
        int lower = 0;
        for (MiniPathItem* item : strokeItems(m_window->scene())) {
            QVERIFY(!item->isSinglePnt());
            const QRectF bounds = item->path().boundingRect();
            if (bounds.top() == 100 && bounds.bottom() == 100)
                ++upper;
            else if (bounds.top() == 300 && bounds.bottom() == 300)
                ++lower;
            else
                QFAIL("an item lies off both strokes");
        }
        QVERIFY(upper > 1);
        QCOMPARE(upper, lower);
        // Lifted fingers leave their ink and no bookkeeping behind.
        QVERIFY(m_pen->pointMap().isEmpty());
        QVERIFY(m_pen->itemMap().isEmpty());
    }

    // A finger listed first that moved less than 2 pixels holds back the
    // other finger for that event.
    void barelyMovedFingerHoldsBackTheNext()
    {
        sendTouch(QEvent::TouchBegin, {{7, Qt::TouchPointPressed, {100, 100}, {100, 100}},
                                       {8, Qt::TouchPointPressed, {100, 300}, {100, 300}}});
        QCOMPARE(m_pen->pointMap().value(7), QList<QPointF>{QPointF(100, 100)});
        QCOMPARE(m_pen->pointMap().value(8), QList<QPointF>{QPointF(100, 300)});

        sendTouch(QEvent::TouchUpdate, {{7, Qt::TouchPointMoved, {101, 100}, {100, 100}},
                                        {8, Qt::TouchPointMoved, {140, 300}, {100, 300}}});
        QCOMPARE(m_pen->pointMap().value(7).size(), 1);
        QCOMPARE(m_pen->pointMap().value(8).size(), 1);

        // Listed the other way round, the moved finger is taken.
        sendTouch(QEvent::TouchUpdate, {{8, Qt::TouchPointMoved, {140, 300}, {100, 300}},
                                        {7, Qt::TouchPointMoved, {101, 100}, {101, 100}}});
        QCOMPARE(m_pen->pointMap().value(8),
                 (QList<QPointF>{QPointF(100, 300), QPointF(140, 300)}));
        QCOMPARE(m_pen->pointMap().value(7).size(), 1);

        // Touch positions are truncated, not rounded: 1.9 pixels from the
        // platform's last position counts as 1.
        sendTouch(QEvent::TouchUpdate, {{8, Qt::TouchPointMoved, {160.9, 300.9}, {159, 300}}});
        QCOMPARE(m_pen->pointMap().value(8).size(), 2);
        sendTouch(QEvent::TouchUpdate, {{8, Qt::TouchPointMoved, {160.9, 300.9}, {158.9, 300}}});
        QCOMPARE(m_pen->pointMap().value(8).last(), QPointF(160, 300));

        sendTouch(QEvent::TouchEnd, {{7, Qt::TouchPointReleased, {101, 100}, {101, 100}},
                                     {8, Qt::TouchPointReleased, {160, 300}, {160, 300}}});
        QVERIFY(!m_pen->isTouch());
    }

    // The mouse's stroke id is 101; a finger that the platform numbers 101
    // writes to the same entries.
    void touchId101SharesTheMouseStroke()
    {
        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
        QCOMPARE(m_pen->pointMap().value(101), QList<QPointF>{QPointF(100, 100)});

        sendTouch(QEvent::TouchBegin, {{101, Qt::TouchPointPressed, {300, 300}, {300, 300}}});
        QCOMPARE(m_pen->pointMap().value(101), QList<QPointF>{QPointF(300, 300)});
        sendTouch(QEvent::TouchUpdate, {{101, Qt::TouchPointMoved, {320, 300}, {300, 300}}});
        QCOMPARE(m_pen->pointMap().value(101),
                 (QList<QPointF>{QPointF(300, 300), QPointF(320, 300)}));
        sendTouch(QEvent::TouchEnd, {{101, Qt::TouchPointReleased, {320, 300}, {320, 300}}});

        // The mouse button is still down: its next move extends that stroke.
        QTest::mouseMove(viewport(), QPoint(340, 300));
        QCOMPARE(m_pen->pointMap().value(101),
                 (QList<QPointF>{QPointF(300, 300), QPointF(320, 300), QPointF(340, 300)}));
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(340, 300));
    }

    void touchWithoutBeginIsIgnored()
    {
        sendTouch(QEvent::TouchUpdate, {{4, Qt::TouchPointMoved, {200, 200}, {100, 100}}});
        sendTouch(QEvent::TouchUpdate, {{4, Qt::TouchPointPressed, {200, 200}, {200, 200}}});
        QVERIFY(m_pen->pointMap().isEmpty());
        QVERIFY(m_window->scene()->items().isEmpty());
        sendTouch(QEvent::TouchEnd, {{4, Qt::TouchPointReleased, {200, 200}, {200, 200}}});
        QVERIFY(!m_window->view()->isTouching());
    }

    // Clearing while a finger is still down: the pen forgets the deleted
    // items, and the stroke goes on from where the finger is.
    void clearWhileAFingerIsDown()
    {
        sendTouch(QEvent::TouchBegin, {{3, Qt::TouchPointPressed, {100, 100}, {100, 100}}});
        for (int x = 120; x <= 400; x += 20)
            sendTouch(QEvent::TouchUpdate,
                      {{3, Qt::TouchPointMoved, {qreal(x), 100}, {x - 20.0, 100}}});
        QVERIFY(m_pen->curItemMap().value(3));
        m_window->view()->clearAllItem();
        QVERIFY(m_window->scene()->items().isEmpty());
        QVERIFY(!m_pen->curItemMap().contains(3));
        QVERIFY(m_pen->itemMap().value(3).isEmpty());
        QCOMPARE(m_pen->pointMap().value(3), QList<QPointF>{QPointF(400, 100)});

        sendTouch(QEvent::TouchUpdate, {{3, Qt::TouchPointMoved, {420, 100}, {400, 100}}});
        const QList<MiniPathItem*> items = strokeItems(m_window->scene());
        QCOMPARE(items.size(), 1);
        QCOMPARE(elementPoints(items.first()->path()),
                 (QVector<QPointF>{QPointF(400, 100), QPointF(410, 100)}));
        sendTouch(QEvent::TouchEnd, {{3, Qt::TouchPointReleased, {420, 100}, {420, 100}}});
    }

    // Found by the soak test (tests/soak): a finger lifted while the eraser
    // was the active tool never reached the pen, which kept its entries for
    // as long as the board lived, one more for every such finger. The next
    // touch sequence drops them; the mouse's stroke and all ink stay.
    void fingerLiftedUnderAnotherToolIsForgotten()
    {
        sendTouch(QEvent::TouchBegin, {{5, Qt::TouchPointPressed, {100, 100}, {100, 100}}});
        sendTouch(QEvent::TouchUpdate, {{5, Qt::TouchPointMoved, {140, 100}, {100, 100}}});
        m_window->view()->setTool(MyMiniGraphicsView::EraseTool);
        sendTouch(QEvent::TouchEnd, {{5, Qt::TouchPointReleased, {140, 100}, {140, 100}}});
        m_window->view()->setTool(MyMiniGraphicsView::PenTool);
        QVERIFY(m_pen->pointMap().contains(5));
        QVERIFY(m_pen->itemMap().contains(5));
        const int ink = strokeItems(m_window->scene()).size();
        QVERIFY(ink > 0);

        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(500, 500));
        sendTouch(QEvent::TouchBegin, {{6, Qt::TouchPointPressed, {300, 300}, {300, 300}}});
        QCOMPARE(m_pen->pointMap().keys(), (QList<int>{6, 101}));
        QCOMPARE(m_pen->pathMap().keys(), (QList<int>{6, 101}));
        QCOMPARE(m_pen->curItemMap().keys(), (QList<int>{6, 101}));
        QCOMPARE(m_pen->itemMap().keys(), (QList<int>{6, 101}));
        sendTouch(QEvent::TouchEnd, {{6, Qt::TouchPointReleased, {300, 300}, {300, 300}}});
        QCOMPARE(m_pen->pointMap().keys(), QList<int>{101});
        QCOMPARE(strokeItems(m_window->scene()).size(), ink + 2); // two dots

        // The mouse stroke goes on.
        QTest::mouseMove(viewport(), QPoint(540, 500));
        QCOMPARE(m_pen->pointMap().value(101).size(), 2);
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(540, 500));
    }

    void mergeAndFlatten()
    {
        QPainterPath base;
        base.moveTo(0, 0);
        base.lineTo(10, 0);
        QPainterPath add;
        add.moveTo(10, 0);
        add.cubicTo(15, 0, 20, 5, 20, 10); // both controls and the end become line ends
        add.lineTo(30, 10);
        const QPainterPath merged = MiniPathOpermodel::mergePath(base, add);
        QCOMPARE(elementPoints(merged),
                 (QVector<QPointF>{QPointF(0, 0), QPointF(10, 0), QPointF(15, 0), QPointF(20, 5),
                                   QPointF(20, 10), QPointF(30, 10)}));
        for (int i = 1; i < merged.elementCount(); ++i)
            QCOMPARE(merged.elementAt(i).type, QPainterPath::LineToElement);
        const QPainterPath copy = MiniPathOpermodel::mergePath(QPainterPath(), add);
        QCOMPARE(copy, add);

        QPainterPath curve;
        curve.moveTo(0, 0);
        curve.quadTo(50, 50, 100, 0);
        const QPainterPath line = MiniPathOpermodel::cubToLine(curve);
        // A polyline through the curve (100 t, 100 t (1 - t)), left to
        // right, from one end to the other, without the closing point.
        QVERIFY(line.elementCount() > 3);
        QCOMPARE(QPointF(line.elementAt(0)), QPointF(0, 0));
        QCOMPARE(QPointF(line.elementAt(line.elementCount() - 1)), QPointF(100, 0));
        for (int i = 0; i < line.elementCount(); ++i) {
            const QPointF p = line.elementAt(i);
            const qreal t = p.x() / 100.0;
            QVERIFY(qAbs(p.y() - 100.0 * t * (1.0 - t)) < 1e-6);
            if (i > 0)
                QVERIFY(p.x() > QPointF(line.elementAt(i - 1)).x());
            QCOMPARE(line.elementAt(i).type,
                     i == 0 ? QPainterPath::MoveToElement : QPainterPath::LineToElement);
        }
    }

    // Each edge becomes its own move-and-line subpath; an edge longer than
    // what the part still needs is cut and the rest starts the next part.
    void tailCutting()
    {
        const QPolygonF polyline(QVector<QPointF>{{0, 0}, {6, 0}, {6, 8}});
        const QList<QPainterPath> parts = MiniPathOpermodel::cutTail(polyline, 5.0);
        QCOMPARE(parts.size(), 3);
        QCOMPARE(elementPoints(parts.at(0)), (QVector<QPointF>{{0, 0}, {5, 0}}));
        QCOMPARE(elementPoints(parts.at(1)), (QVector<QPointF>{{5, 0}, {6, 0}, {6, 0}, {6, 4}}));
        QCOMPARE(parts.at(1).elementAt(2).type, QPainterPath::MoveToElement);
        QCOMPARE(elementPoints(parts.at(2)), (QVector<QPointF>{{6, 4}, {6, 8}}));

        // An edge that ends exactly on the length closes the part.
        const QList<QPainterPath> exact = MiniPathOpermodel::cutTail(polyline, 6.0);
        QCOMPARE(exact.size(), 3);
        QCOMPARE(elementPoints(exact.at(0)), (QVector<QPointF>{{0, 0}, {6, 0}}));
        QCOMPARE(elementPoints(exact.at(1)), (QVector<QPointF>{{6, 0}, {6, 6}}));
        QCOMPARE(elementPoints(exact.at(2)), (QVector<QPointF>{{6, 6}, {6, 8}}));
    }

    // Lengths that are not positive finite numbers leave the tail whole, and
    // tiny lengths stop at the cap instead of cutting for ever.
    void tailCuttingDegenerateLengths()
    {
        const QPolygonF polyline(QVector<QPointF>{{0, 0}, {6, 0}, {6, 8}});
        for (qreal length : {0.0, -3.0, qInf(), -qInf(), qQNaN()}) {
            const QList<QPainterPath> parts = MiniPathOpermodel::cutTail(polyline, length);
            QCOMPARE(parts.size(), 1);
            QCOMPARE(elementPoints(parts.first()),
                     (QVector<QPointF>{{0, 0}, {6, 0}, {6, 0}, {6, 8}}));
        }
        const QList<QPainterPath> capped = MiniPathOpermodel::cutTail(polyline, 1e-9);
        QCOMPARE(capped.size(), MiniPathOpermodel::MaxTailParts);
        // So far out that a cut point equals its start: no progress per cut.
        const QPolygonF far(QVector<QPointF>{{1e100, 0}, {-1e100, 0}});
        QCOMPARE(MiniPathOpermodel::cutTail(far, 1e-100).size(), MiniPathOpermodel::MaxTailParts);
        // Beyond what QPainterPath takes at all.
        const QPolygonF huge(QVector<QPointF>{{1e300, 0}, {-1e300, 0}});
        QVERIFY(MiniPathOpermodel::cutTail(huge, 1e-300).size() <= MiniPathOpermodel::MaxTailParts);
        const QPolygonF withNan(QVector<QPointF>{{0, 0}, {qQNaN(), 0}, {5, 5}});
        QVERIFY(MiniPathOpermodel::cutTail(withNan, 1.0).size() <= MiniPathOpermodel::MaxTailParts);
    }

    // Pens too thin for a taper: a width of 0 gives non-positive steps, a
    // width of 1 zero steps; both draw their tail whole.
    void thinPens()
    {
        for (int width : {0, 1}) {
            m_window->view()->clearAllItem();
            UIManager::getInstance()->setPenWidth(width);
            QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 100));
            for (int x = 120; x <= 300; x += 20)
                QTest::mouseMove(viewport(), QPoint(x, 100));
            QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(300, 100));
            const QList<MiniPathItem*> tail = m_pen->itemMap().value(101);
            QCOMPARE(tail.size(), 1);
            QCOMPARE(tail.first()->pen().width(), 0);
        }
    }

private:
    QWidget* viewport() const { return m_window->view()->viewport(); }

    // A touch event as the platform would deliver it to the viewport.
    void sendTouch(QEvent::Type type, const QList<Touch>& touches)
    {
        QList<QTouchEvent::TouchPoint> points;
        Qt::TouchPointStates states;
        for (const Touch& t : touches) {
            QTouchEvent::TouchPoint point(t.id);
            point.setState(t.state);
            point.setPos(t.pos);
            point.setLastPos(t.lastPos);
            point.setScreenPos(viewport()->mapToGlobal(QPoint(0, 0)) + t.pos);
            point.setLastScreenPos(viewport()->mapToGlobal(QPoint(0, 0)) + t.lastPos);
            point.setStartScreenPos(point.screenPos());
            points.append(point);
            states |= t.state;
        }
        QTouchEvent event(type, m_device, Qt::NoModifier, states, points);
        event.setWindow(m_window->windowHandle());
        QCoreApplication::sendEvent(viewport(), &event);
    }

    QTouchDevice* m_device = nullptr;
    MainWindow* m_window = nullptr;
    MiniPathOpermodel* m_pen = nullptr;
};

QTEST_MAIN(TestPen)
#include "tst_pen.moc"
