// Thousands of random eraser events on a shown board: mouse and touch in any
// order, any touch ids, presses without releases, events the window system
// would never send, clears and deletions in between, on random boards of
// strokes. The board must never crash or hang, and after every event the
// scene must hold only stroke items and the eraser's own two items.
//
// The seed can be fixed with SKEDA_ERASER_FUZZ_SEED, the number of events
// with SKEDA_ERASER_FUZZ_EVENTS.

#include "canvas/minipathitem.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "eraser/minieraseopermodel.h"
#include "shell/mainwindow.h"

#include <QElapsedTimer>
#include <QGraphicsPathItem>
#include <QGraphicsPixmapItem>
#include <QPainterPath>
#include <QRandomGenerator>
#include <QTouchDevice>
#include <QtTest>

#include <limits>
#include <memory>

namespace {

#if defined(__SANITIZE_ADDRESS__)
// Every allocation records a full stack in the sanitizer build.
constexpr int kDefaultEvents = 2000;
#else
constexpr int kDefaultEvents = 8000;
#endif

int s_messages = 0;

// The board warns about every odd event it ignores; thousands of those lines
// would bury the test's own output, so they are only counted.
void countMessage(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type == QtFatalMsg) {
        fprintf(stderr, "%s\n", qPrintable(text));
        abort();
    }
    if (type == QtInfoMsg) {
        fprintf(stderr, "%s\n", qPrintable(text));
        return;
    }
    ++s_messages;
}

} // namespace

class TestEraserFuzz : public QObject
{
    Q_OBJECT

private:
    MainWindow* m_window = nullptr;
    QRandomGenerator m_random;
    QTouchDevice* m_device = nullptr;
    std::unique_ptr<QTest::QTouchEventSequence> m_touch;
    QList<int> m_fingersDown;
    bool m_buttonDown = false;

    MyMiniGraphicsView* view() const { return m_window->view(); }
    MyMiniGraphicsScene* scene() const { return m_window->scene(); }
    MiniEraseOperModel* op() const { return view()->eraseOperation(); }
    QWidget* viewport() const { return view()->viewport(); }

    int between(int low, int high) { return m_random.bounded(low, high + 1); }
    bool chance(int percent) { return m_random.bounded(100) < percent; }

    // Inside the window, never (0,0), which QTest reads as "the centre".
    QPoint insidePoint()
    {
        return QPoint(between(1, viewport()->width() - 1), between(1, viewport()->height() - 1));
    }

    double oddCoordinate()
    {
        switch (m_random.bounded(8)) {
        case 0:
            return std::numeric_limits<double>::quiet_NaN();
        case 1:
            return std::numeric_limits<double>::infinity();
        case 2:
            return -1e300;
        case 3:
            return 1e12;
        case 4:
            return -5000;
        default:
            return m_random.bounded(2000.0) - 500;
        }
    }

    void addRandomStrokes(int count)
    {
        for (int i = 0; i < count; ++i) {
            auto* item = new MiniPathItem();
            QPainterPath path;
            const int kind = m_random.bounded(10);
            QPointF p = insidePoint();
            if (kind == 0) {
                // A dot as the pen draws it.
                path.moveTo(p);
                path.addEllipse(QRectF(p, QSizeF(6, 6)));
                path.closeSubpath();
                item->setSinglePnt(true);
            } else if (kind == 1) {
                path.moveTo(p);
            } else if (kind != 2) {
                path.moveTo(p);
                const int points = between(1, 40);
                for (int k = 0; k < points; ++k) {
                    p += QPointF(m_random.bounded(120.0) - 60, m_random.bounded(120.0) - 60);
                    if (chance(5))
                        p += QPointF(m_random.bounded(1.0), m_random.bounded(1.0));
                    path.lineTo(p);
                }
            }
            item->setPen(QPen(QColor::fromRgb(m_random.generate()), between(0, 12)));
            item->setPath(path);
            item->setZValue(m_random.bounded(200.0) - 50);
            scene()->addItem(item);
        }
    }

    void realMouse()
    {
        const QPoint pos = insidePoint();
        switch (m_random.bounded(4)) {
        case 0:
            QTest::mousePress(viewport(), chance(85) ? Qt::LeftButton : Qt::RightButton,
                              Qt::NoModifier, pos);
            m_buttonDown = true;
            break;
        case 1:
            QTest::mouseRelease(viewport(), chance(85) ? Qt::LeftButton : Qt::MiddleButton,
                                Qt::NoModifier, pos);
            m_buttonDown = false;
            break;
        default:
            QTest::mouseMove(viewport(), pos);
            break;
        }
    }

    void realTouch()
    {
        const int id = between(0, 3);
        const QPoint pos = insidePoint();
        const bool down = m_fingersDown.contains(id);
        const int action = m_random.bounded(10);
        if (!down && action < 4) {
            m_touch->press(id, pos, viewport());
            m_fingersDown.append(id);
        } else if (down && action < 8) {
            m_touch->move(id, pos, viewport());
        } else if (down) {
            m_touch->release(id, pos, viewport());
            m_fingersDown.removeAll(id);
        } else {
            return;
        }
        for (int other : qAsConst(m_fingersDown)) {
            if (other != id && chance(50))
                m_touch->stationary(other);
        }
        m_touch->commit();
    }

    // Events no window system sends in this order or with these values,
    // straight to the viewport (and so through the view's router).
    void oddTouch()
    {
        static const QEvent::Type types[] = {QEvent::TouchBegin, QEvent::TouchUpdate,
                                             QEvent::TouchEnd};
        static const Qt::TouchPointState states[] = {Qt::TouchPointPressed, Qt::TouchPointMoved,
                                                     Qt::TouchPointStationary,
                                                     Qt::TouchPointReleased};
        QList<QTouchEvent::TouchPoint> points;
        const int count = between(0, 3);
        Qt::TouchPointStates all;
        for (int i = 0; i < count; ++i) {
            QTouchEvent::TouchPoint point(chance(50) ? op()->touchId() : between(-2, 5));
            const Qt::TouchPointState state = states[m_random.bounded(4)];
            point.setState(state);
            all |= state;
            if (chance(20))
                point.setPos(QPointF(oddCoordinate(), oddCoordinate()));
            else
                point.setPos(insidePoint());
            points.append(point);
        }
        QTouchEvent event(types[m_random.bounded(3)], m_device, Qt::NoModifier, all, points);
        if (points.isEmpty()) {
            // Qt's own touch handling in QApplication does not survive a touch
            // event without points; such an event goes to the operation alone.
            if (event.type() == QEvent::TouchBegin)
                op()->touchBegine(&event);
            else if (event.type() == QEvent::TouchUpdate)
                op()->touchUpdate(&event);
            else
                op()->touchEnd(&event);
            return;
        }
        QCoreApplication::sendEvent(viewport(), &event);
    }

    void oddMouse()
    {
        static const QEvent::Type types[] = {QEvent::MouseButtonPress, QEvent::MouseMove,
                                             QEvent::MouseButtonRelease};
        static const Qt::MouseButton buttons[] = {Qt::LeftButton, Qt::RightButton, Qt::NoButton,
                                                  Qt::BackButton};
        const QPointF pos(between(-100000, 100000), between(-100000, 100000));
        const Qt::MouseButton button = buttons[m_random.bounded(4)];
        QMouseEvent event(types[m_random.bounded(3)], pos, button, button, Qt::NoModifier);
        QCoreApplication::sendEvent(viewport(), &event);
    }

    void deleteSome()
    {
        const QList<QGraphicsItem*> items = scene()->items();
        QList<QGraphicsItem*> chosen;
        for (QGraphicsItem* item : items) {
            if (chance(20))
                chosen.append(item);
        }
        view()->deleteItems(chosen);
    }

    QString checkScene() const
    {
        const QList<QGraphicsItem*> items = scene()->items();
        for (QGraphicsItem* item : items) {
            if (dynamic_cast<MiniPathItem*>(item))
                continue;
            if (item == op()->earseItem() || item == op()->earsePathItem())
                continue;
            return QStringLiteral("a foreign item of type %1").arg(item->type());
        }
        if (op()->earsePathItem() && op()->earsePathItem()->isVisible())
            return QStringLiteral("the probe is visible between steps");
        return QString();
    }

private slots:
    void initTestCase() { qInstallMessageHandler(countMessage); }

    void cleanupTestCase()
    {
        qInstallMessageHandler(nullptr);
        qInfo("%d log messages counted", s_messages);
    }

    void randomEvents()
    {
        const quint32 seed = qEnvironmentVariableIsSet("SKEDA_ERASER_FUZZ_SEED")
                                 ? quint32(qEnvironmentVariableIntValue("SKEDA_ERASER_FUZZ_SEED"))
                                 : 20240611u;
        const int events = qEnvironmentVariableIsSet("SKEDA_ERASER_FUZZ_EVENTS")
                               ? qEnvironmentVariableIntValue("SKEDA_ERASER_FUZZ_EVENTS")
                               : kDefaultEvents;
        m_random.seed(seed);
        qInfo("seed %u, %d events", seed, events);

        m_window = new MainWindow();
        m_window->initUI();
        m_window->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
        view()->setTool(MyMiniGraphicsView::EraseTool);
        m_device = QTest::createTouchDevice();
        m_touch.reset(new QTest::QTouchEventSequence(QTest::touchEvent(m_window, m_device, false)));
        addRandomStrokes(40);

        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < events; ++i) {
            // Painting after every step dominates the run time (in the
            // sanitizer build above all); the board is painted in about a
            // third of the blocks of 100 events, starting with the first.
            if (i % 100 == 0)
                viewport()->setUpdatesEnabled(i == 0 || chance(33));
            const int action = m_random.bounded(100);
            if (action < 35)
                realMouse();
            else if (action < 60)
                realTouch();
            else if (action < 70)
                oddTouch();
            else if (action < 78)
                oddMouse();
            else if (action < 80)
                view()->clearAllItem();
            else if (action < 86)
                addRandomStrokes(between(1, 10));
            else if (action < 88)
                deleteSome();
            else if (action < 91)
                op()->initEarse(QPointF(oddCoordinate(), oddCoordinate()));
            else if (action < 94)
                op()->earse();
            else if (action < 96)
                view()->setTool(MyMiniGraphicsView::EraseTool);
            else if (action < 98)
                m_window->undo();
            else if (action < 99)
                m_window->redo();
            else
                QTest::qWait(0);

            if (scene()->items().size() > 600)
                view()->clearAllItem();

            const QString problem = checkScene();
            QVERIFY2(problem.isEmpty(),
                     qPrintable(QStringLiteral("after event %1: %2").arg(i).arg(problem)));
        }
        qInfo("%d events in %lld ms, %d items left", events, timer.elapsed(),
              scene()->items().size());
        viewport()->setUpdatesEnabled(true);

        // The eraser still works afterwards, once every finger and button is
        // up.
        QTouchEvent end(QEvent::TouchEnd, m_device);
        QCoreApplication::sendEvent(viewport(), &end);
        for (int id : qAsConst(m_fingersDown))
            m_touch->release(id, QPoint(5, 5), viewport());
        m_touch->commit();
        m_fingersDown.clear();
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        view()->clearAllItem();
        auto* stroke = new MiniPathItem();
        QPainterPath path;
        path.moveTo(280, 300);
        path.lineTo(320, 300);
        stroke->setPath(path);
        scene()->addItem(stroke);
        QTest::mousePress(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(300, 300));
        QTest::mouseRelease(viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(300, 300));
        QVERIFY(scene()->items().isEmpty());

        m_touch.reset();
        delete m_window;
        m_window = nullptr;
    }
};

QTEST_MAIN(TestEraserFuzz)
#include "tst_eraserfuzz.moc"
