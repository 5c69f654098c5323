// Thousands of mouse and touch events in any order, with clears and pen
// changes in between: the pen must never crash, hang, or keep a pointer to
// an item that is no longer in the scene.

#include "canvas/minipathitem.h"
#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/uimanager.h"
#include "shell/mainwindow.h"

#include <QRandomGenerator>
#include <QtTest>

class TestPenRandom : public QObject
{
    Q_OBJECT

private slots:
    void randomSession()
    {
        const quint32 seed = qEnvironmentVariableIsSet("SKEDA_SEED")
                                 ? quint32(qEnvironmentVariableIntValue("SKEDA_SEED"))
                                 : 20261121u;
        const int events = qEnvironmentVariableIsSet("SKEDA_EVENTS")
                               ? qEnvironmentVariableIntValue("SKEDA_EVENTS")
                               : 6000;
        qInfo("seed %u, %d events", seed, events);
        QRandomGenerator random(seed);
        QTouchDevice* device = QTest::createTouchDevice();

        MainWindow window;
        window.initUI();
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QWidget* viewport = window.view()->viewport();
        MiniPathOpermodel* pen = window.view()->pathOperation();
        const QSize size = viewport->size();
        const auto randomPoint = [&] {
            // Mostly on the board, sometimes off it.
            return QPointF(random.bounded(-50, size.width() + 50) + random.generateDouble(),
                           random.bounded(-50, size.height() + 50) + random.generateDouble());
        };

        QMap<int, QPointF> fingers; // id -> last position
        bool mouseDown = false;
        int clears = 0;
        int mostItems = 0;
        for (int i = 0; i < events; ++i) {
            const int kind = int(random.bounded(100));
            if (kind < 30) {
                QPoint p = randomPoint().toPoint();
                if (mouseDown && random.bounded(4) != 0)
                    p = QPoint(qBound(0, p.x(), size.width() - 1),
                               qBound(0, p.y(), size.height() - 1));
                QTest::mouseMove(viewport, p);
            } else if (kind < 36) {
                QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier,
                                  randomPoint().toPoint());
                mouseDown = true;
            } else if (kind < 41) {
                QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier,
                                    randomPoint().toPoint());
                mouseDown = false;
            } else if (kind < 90) {
                sendRandomTouch(random, device, &window, viewport, fingers, randomPoint);
            } else if (kind < 93) {
                window.view()->clearAllItem();
                ++clears;
            } else if (kind < 97) {
                UIManager::getInstance()->setPenWidth(int(random.bounded(101)));
            } else {
                UIManager::getInstance()->setPenColor(QColor::fromRgb(random.generate()));
            }

            mostItems = qMax(mostItems, window.scene()->items().size());
            if (i % 250 == 0 || i == events - 1)
                QVERIFY2(pointersAreLive(window.scene(), pen), qPrintable(QString::number(i)));
        }
        qInfo("%d clears, at most %d items", clears, mostItems);
        QVERIFY(mostItems > 100); // the session did draw
        for (QGraphicsItem* item : window.scene()->items())
            QVERIFY(qgraphicsitem_cast<MiniPathItem*>(item));
        UIManager::getInstance()->setPen(QPen(QColor(0xF7, 0x38, 0x59), 6));
    }

private:
    // Every item the pen keeps a pointer to is still in the scene.
    static bool pointersAreLive(QGraphicsScene* scene, MiniPathOpermodel* pen)
    {
        const QList<QGraphicsItem*> items = scene->items();
        const QSet<QGraphicsItem*> live(items.cbegin(), items.cend());
        for (MiniPathItem* item : pen->curItemMap()) {
            if (item && !live.contains(item))
                return false;
        }
        for (const QList<MiniPathItem*>& tail : pen->itemMap()) {
            for (MiniPathItem* item : tail) {
                if (!live.contains(item))
                    return false;
            }
        }
        return true;
    }

    template<typename PointFn>
    static void sendRandomTouch(QRandomGenerator& random, QTouchDevice* device, QWidget* window,
                                QWidget* viewport, QMap<int, QPointF>& fingers,
                                const PointFn& randomPoint)
    {
        static const QEvent::Type types[] = {QEvent::TouchBegin, QEvent::TouchUpdate,
                                             QEvent::TouchUpdate, QEvent::TouchUpdate,
                                             QEvent::TouchEnd};
        static const Qt::TouchPointState states[] = {Qt::TouchPointPressed, Qt::TouchPointMoved,
                                                     Qt::TouchPointMoved, Qt::TouchPointStationary,
                                                     Qt::TouchPointReleased};
        const QEvent::Type type = types[random.bounded(5)];
        const int count = int(random.bounded(1, 4));
        QList<QTouchEvent::TouchPoint> points;
        Qt::TouchPointStates all;
        for (int k = 0; k < count; ++k) {
            // A few small ids (101 among them) reused, and now and then a
            // fresh large one, as platforms hand them out.
            const int id = random.bounded(4) == 0 ? int(random.bounded(100000, 200000))
                                                  : int(random.bounded(99, 104));
            QTouchEvent::TouchPoint point(id);
            const Qt::TouchPointState state = states[random.bounded(5)];
            const QPointF last = fingers.value(id, randomPoint());
            QPointF pos = last + QPointF(random.bounded(-40, 41), random.bounded(-40, 41));
            if (random.bounded(10) == 0)
                pos = randomPoint();
            point.setState(state);
            point.setPos(pos);
            point.setLastPos(last);
            const QPointF origin = viewport->mapToGlobal(QPoint(0, 0));
            point.setScreenPos(origin + pos);
            point.setLastScreenPos(origin + last);
            points.append(point);
            all |= state;
            if (state == Qt::TouchPointReleased)
                fingers.remove(id);
            else
                fingers.insert(id, pos);
        }
        QTouchEvent event(type, device, Qt::NoModifier, all, points);
        event.setWindow(window->windowHandle());
        QCoreApplication::sendEvent(viewport, &event);
        if (type == QEvent::TouchEnd)
            fingers.clear();
    }
};

QTEST_MAIN(TestPenRandom)
#include "tst_penrandom.moc"
