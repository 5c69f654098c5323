// A long, seeded, randomised session on the whole board, through the paths
// real input takes: QTest's mouse functions and touch sequences go through the
// window system interface, hand-built touch events go to the viewport, a few
// drags come from the X server's own pointer (XTEST), and every command is a
// toolbar signal or a click on a toolbar button. In between: pen and eraser,
// tool switches and clears while fingers are down, desktop mode, pen colours
// and widths (also invalid ones), screenshot overlays (two at once, dragged,
// cancelled, confirmed), closing and showing the board.
//
// The session runs in phases. Every 200 events and after every phase the
// board is checked: only stroke items and the eraser's own two items in the
// scene, no pointer of the pen or the eraser to an item outside it, and what
// the board draws equal to its scene's items painted one by one in stacking
// order. After every phase it is cleared, and the heap must be back within a
// stated bound of where it was after the first phase.
//
//   SKEDA_SOAK_EVENTS  number of events (default 20000; 10000 in the sanitizer
//                      build, where every allocation records a stack)
//   SKEDA_SOAK_SEED    seed of the random generator (default 20261122)
//   SKEDA_SOAK_PHASE   events per phase (default 2500)

#include "canvas/boardhistory.h"
#include "canvas/minipathitem.h"
#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/uimanager.h"
#include "eraser/minieraseopermodel.h"
#include "screenshot/screenshot.h"
#include "shell/mainwindow.h"
#include "tests/support/heapusage.h"
#include "tests/support/inkreference.h"
#include "tests/support/x11desktop.h"
#include "toolbar/skedatool.h"
#include "widgets/mpushbutton_1.h"

#include <QAbstractButton>
#include <QElapsedTimer>
#include <QGraphicsPathItem>
#include <QGraphicsPixmapItem>
#include <QPointer>
#include <QQuickWidget>
#include <QQuickWindow>
#include <QRandomGenerator>
#include <QTouchDevice>
#include <QX11Info>
#include <QtTest>

#include <X11/Xlib.h>
#include <X11/extensions/shape.h>

#include <cstdio>
#include <memory>

namespace {

constexpr int kDefaultEvents = 20000;
constexpr int kDefaultSanitizedEvents = 10000;
constexpr int kDefaultPhase = 2500;
constexpr quint32 kDefaultSeed = 20261122u;

// What the heap may hold after a phase beyond what it held after the first
// one, and beyond what it held before the session: the last screenshot (at most a full 1920x1080
// ARGB picture, 7.9 MiB) stays in the board as its result, and Qt's caches (glyphs, pixmaps, the
// stroker's buffers) grow a little while new sizes and colours come up.
constexpr qint64 kHeapBound = 12ll * 1024 * 1024;
// The pen's per-stroke bookkeeping: at most five QTest fingers, three
// hand-built ones and the mouse are down at once.
constexpr int kMaxPenEntries = 32;

int envInt(const char* name, int fallback)
{
    bool ok = false;
    const int value = qEnvironmentVariableIntValue(name, &ok);
    return ok && value > 0 ? value : fallback;
}

qint64 residentBytes()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields.at(1).toLongLong() * 4096 : -1;
}

QString mib(qint64 bytes)
{
    return QString::number(double(bytes) / (1024.0 * 1024.0), 'f', 1) + QStringLiteral(" MiB");
}

// The board reports every odd input it ignores; the session would drown in
// those lines, so each distinct text is printed once and then only counted.
QHash<QString, int> s_messages;
void collectMessage(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "FATAL: %s\n", qPrintable(text));
        std::abort();
    }
    if (type == QtInfoMsg || text.startsWith(QLatin1String("FAIL")) ||
        text.startsWith(QLatin1String("soak"))) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
        return;
    }
    if (type == QtDebugMsg)
        return;
    if (s_messages[text]++ == 0)
        std::fprintf(stderr, "(first of its kind) %s\n", qPrintable(text));
}

} // namespace

class TestSoak : public QObject
{
    Q_OBJECT

private:
    // Counters for the report.
    struct Stats
    {
        int events = 0;
        int mouse = 0;
        int touchCommits = 0;
        int rawTouch = 0;
        int commands = 0;
        int commandsWhileDown = 0;
        int clearsWhileDown = 0;
        int toolSwitchesWhileFingers = 0;
        int buttonClicks = 0;
        int shotsOpened = 0;
        int shotsTwoAtOnce = 0;
        int shotsCancelled = 0;
        int shotsConfirmed = 0;
        int pixmaps = 0;
        int closes = 0;
        int realDrags = 0;
        int realDragsInDesktopMode = 0;
        int mostItems = 0;
    };

    MainWindow* m_board = nullptr;
    QTouchDevice* m_device = nullptr;
    QRandomGenerator m_random;
    std::unique_ptr<QTest::QTouchEventSequence> m_touch;
    QMap<int, QPoint> m_fingers; // QTest fingers: id -> position on the board
    int m_nextFinger = 1;
    QMap<int, QPointF> m_rawFingers; // fingers of the hand-built events
    QPointer<QWidget> m_mouseTarget; // where the QTest button is down, if anywhere
    QPoint m_mousePos{100, 100};
    QList<QPointer<ScreenShot>> m_shots;
    QPixmap m_lastPixmap;
    Stats m_stats;
    bool m_canShape = false;
    int m_events = 0;
    int m_phaseLength = 0;
    bool m_failed = false;
    QElapsedTimer m_clock;
    qint64 m_startHeap = 0;
    qint64 m_warmHeap = 0;
    qint64 m_startRss = 0;
    qint64 m_baseline = -1;
    qint64 m_highest = 0;

    MyMiniGraphicsView* view() const { return m_board->view(); }
    MyMiniGraphicsScene* scene() const { return m_board->scene(); }
    QWidget* viewport() const { return view()->viewport(); }
    SkedaTool* tool() const { return m_board->tool(); }

    int between(int low, int high) { return int(m_random.bounded(low, high + 1)); }
    bool chance(int percent) { return int(m_random.bounded(100)) < percent; }

    // Inside the board, never (0, 0), which QTest reads as "the centre".
    QPoint boardPoint()
    {
        return QPoint(between(1, m_board->width() - 2), between(1, m_board->height() - 2));
    }

    QPoint near(const QPoint& from, int reach)
    {
        const QPoint p = from + QPoint(between(-reach, reach), between(-reach, reach));
        return QPoint(qBound(1, p.x(), m_board->width() - 2),
                      qBound(1, p.y(), m_board->height() - 2));
    }

    bool fingersDown() const { return !m_fingers.isEmpty() || view()->isTouching(); }
    bool anythingDown() const { return fingersDown() || m_mouseTarget; }

    void pruneShots()
    {
        m_shots.erase(std::remove_if(m_shots.begin(), m_shots.end(),
                                     [](const QPointer<ScreenShot>& s) { return s.isNull(); }),
                      m_shots.end());
    }

    bool inDesktopMode() const
    {
        if (!m_canShape)
            return m_board->windowFlags().testFlag(Qt::WindowTransparentForInput);
        return X11Desktop::inputShape(QX11Info::display(), m_board->winId()).isEmpty();
    }

    // ---- the invariants ----------------------------------------------------

    bool checkBoard(const char* where)
    {
        const QList<QGraphicsItem*> items = scene()->items();
        const QSet<QGraphicsItem*> live(items.cbegin(), items.cend());
        m_stats.mostItems = qMax(m_stats.mostItems, items.size());
        MiniEraseOperModel* eraser = view()->eraseOperation();
        QGraphicsItem* earseItem = eraser ? eraser->earseItem() : nullptr;
        QGraphicsItem* earsePathItem = eraser ? eraser->earsePathItem() : nullptr;
        for (QGraphicsItem* item : items) {
            if (item == earseItem || item == earsePathItem)
                continue;
            if (!qgraphicsitem_cast<MiniPathItem*>(item)) {
                qWarning("FAIL %s: a scene item of type %d is neither a stroke nor the eraser's",
                         where, item->type());
                return false;
            }
        }
        // The eraser's items are in the board's scene or in none (then the
        // eraser owns them).
        for (QGraphicsItem* own : {earseItem, earsePathItem}) {
            if (own && own->scene() && own->scene() != scene()) {
                qWarning("FAIL %s: an eraser item is in a foreign scene", where);
                return false;
            }
        }
        if (MiniPathOpermodel* pen = view()->pathOperation()) {
            // Strokes of fingers that are down, and of the few that lifted
            // under another tool since the last touch began; not one per
            // stroke ever drawn.
            if (pen->pointMap().size() > kMaxPenEntries || pen->itemMap().size() > kMaxPenEntries) {
                qWarning("FAIL %s: the pen keeps %d point lists and %d tail lists", where,
                         int(pen->pointMap().size()), int(pen->itemMap().size()));
                return false;
            }
            for (MiniPathItem* item : pen->curItemMap()) {
                if (item && !live.contains(item)) {
                    qWarning("FAIL %s: the pen keeps a body or dot item that is not in the scene",
                             where);
                    return false;
                }
            }
            for (const QList<MiniPathItem*>& tail : pen->itemMap()) {
                for (MiniPathItem* item : tail) {
                    if (!live.contains(item)) {
                        qWarning("FAIL %s: the pen keeps a tail item that is not in the scene",
                                 where);
                        return false;
                    }
                }
            }
        }
        if (m_board->size() != QSize(1920, 1080)) {
            qWarning("FAIL %s: the board is %dx%d", where, m_board->width(), m_board->height());
            return false;
        }
        // What the board draws (from its retained ink, as far as it goes) is
        // what its scene holds: the items painted one by one in order.
        QWidget* viewport = view()->viewport();
        const InkReference::Difference difference = InkReference::compare(
            InkReference::grab(viewport), InkReference::render(scene(), viewport->size()));
        if (difference.pixels != 0) {
            qWarning("FAIL %s: the board differs from its scene: %s", where,
                     qPrintable(difference.describe()));
            return false;
        }
        return true;
    }

    // ---- the actions -------------------------------------------------------

    void mouseOnBoard()
    {
        ++m_stats.mouse;
        QWidget* target = viewport();
        if (m_mouseTarget == target) {
            const int roll = int(m_random.bounded(100));
            if (roll < 88) {
                m_mousePos = near(m_mousePos, 40);
                QTest::mouseMove(target, m_mousePos);
            } else if (roll < 97) {
                m_mousePos = near(m_mousePos, 10);
                QTest::mouseRelease(target, Qt::LeftButton, Qt::NoModifier, m_mousePos);
                m_mouseTarget = nullptr;
            } else {
                // A second press without a release in between.
                QTest::mousePress(target, Qt::LeftButton, Qt::NoModifier, m_mousePos);
            }
            return;
        }
        if (m_mouseTarget)
            releaseMouse();
        if (chance(45)) {
            m_mousePos = chance(20) ? boardPoint() : near(m_mousePos, 60);
            QTest::mouseMove(target, m_mousePos);
        } else {
            m_mousePos = boardPoint();
            const Qt::MouseButton button = chance(95) ? Qt::LeftButton : Qt::RightButton;
            QTest::mousePress(target, button, Qt::NoModifier, m_mousePos);
            if (button == Qt::LeftButton)
                m_mouseTarget = target;
            else
                QTest::mouseRelease(target, button, Qt::NoModifier, m_mousePos);
        }
    }

    void releaseMouse()
    {
        if (!m_mouseTarget)
            return;
        QTest::mouseRelease(m_mouseTarget, Qt::LeftButton, Qt::NoModifier, m_mousePos);
        m_mouseTarget = nullptr;
    }

    // Fingers through QTest's touch sequence: the window system interface,
    // QGuiApplication's touch bookkeeping, then the board window.
    void touchOnBoard()
    {
        ++m_stats.touchCommits;
        const int roll = int(m_random.bounded(100));
        if (m_fingers.isEmpty() || (roll < 12 && m_fingers.size() < 5)) {
            const int id = m_nextFinger++;
            const QPoint p = boardPoint();
            m_touch->press(id, p, m_board);
            for (auto it = m_fingers.cbegin(); it != m_fingers.cend(); ++it)
                m_touch->stationary(it.key());
            m_fingers.insert(id, p);
        } else if (roll < 85) {
            for (auto it = m_fingers.begin(); it != m_fingers.end(); ++it) {
                if (chance(75)) {
                    it.value() = near(it.value(), 30);
                    m_touch->move(it.key(), it.value(), m_board);
                } else {
                    m_touch->stationary(it.key());
                }
            }
        } else if (roll < 95 && m_fingers.size() > 1) {
            const int id = m_fingers.keys().at(int(m_random.bounded(m_fingers.size())));
            m_touch->release(id, m_fingers.value(id), m_board);
            m_fingers.remove(id);
            for (auto it = m_fingers.cbegin(); it != m_fingers.cend(); ++it)
                m_touch->stationary(it.key());
        } else {
            for (auto it = m_fingers.cbegin(); it != m_fingers.cend(); ++it)
                m_touch->release(it.key(), it.value(), m_board);
            m_fingers.clear();
        }
        m_touch->commit();
    }

    void liftAllFingers()
    {
        if (m_fingers.isEmpty())
            return;
        for (auto it = m_fingers.cbegin(); it != m_fingers.cend(); ++it)
            m_touch->release(it.key(), it.value(), m_board);
        m_fingers.clear();
        m_touch->commit();
    }

    // Touch events built by hand and sent to the viewport, as a platform might
    // deliver them: mostly well formed, now and then out of order.
    void rawTouch()
    {
        ++m_stats.rawTouch;
        QEvent::Type type;
        QList<QTouchEvent::TouchPoint> points;
        Qt::TouchPointStates states;
        const QPointF origin = viewport()->mapToGlobal(QPoint(0, 0));
        const auto addPoint = [&](int id, Qt::TouchPointState state, const QPointF& pos,
                                  const QPointF& last) {
            QTouchEvent::TouchPoint point(id);
            point.setState(state);
            point.setPos(pos);
            point.setLastPos(last);
            point.setScreenPos(origin + pos);
            point.setLastScreenPos(origin + last);
            points.append(point);
            states |= state;
        };
        if (chance(5)) {
            // Out of order: an update or an end for fingers nobody pressed.
            type = chance(50) ? QEvent::TouchUpdate : QEvent::TouchEnd;
            const QPointF p = boardPoint();
            addPoint(between(500, 520), chance(50) ? Qt::TouchPointMoved : Qt::TouchPointReleased,
                     p, p + QPointF(3, 3));
        } else if (m_rawFingers.isEmpty()) {
            type = QEvent::TouchBegin;
            const int count = between(1, 3);
            for (int k = 0; k < count; ++k) {
                // From a pool of 64 ids: QApplication files every id of a
                // touch begin it delivers in QGuiApplication's table of active
                // points, which only the platform's own events empty again;
                // fresh ids sent by hand would grow it for the whole session.
                int id = between(1000, 1063);
                while (m_rawFingers.contains(id))
                    id = between(1000, 1063);
                const QPointF p = boardPoint();
                addPoint(id, Qt::TouchPointPressed, p, p);
                m_rawFingers.insert(id, p);
            }
        } else {
            const bool end = chance(10);
            type = end ? QEvent::TouchEnd : QEvent::TouchUpdate;
            for (auto it = m_rawFingers.begin(); it != m_rawFingers.end(); ++it) {
                const QPointF last = it.value();
                if (end) {
                    addPoint(it.key(), Qt::TouchPointReleased, last, last);
                } else if (chance(80)) {
                    it.value() =
                        last + QPointF(m_random.bounded(40.0) - 20, m_random.bounded(40.0) - 20);
                    addPoint(it.key(), Qt::TouchPointMoved, it.value(), last);
                } else {
                    addPoint(it.key(), Qt::TouchPointStationary, last, last);
                }
            }
            if (end)
                m_rawFingers.clear();
        }
        QTouchEvent event(type, m_device, Qt::NoModifier, states, points);
        event.setWindow(m_board->windowHandle());
        QCoreApplication::sendEvent(viewport(), &event);
    }

    void endRawTouch()
    {
        if (m_rawFingers.isEmpty())
            return;
        QList<QTouchEvent::TouchPoint> points;
        for (auto it = m_rawFingers.cbegin(); it != m_rawFingers.cend(); ++it) {
            QTouchEvent::TouchPoint point(it.key());
            point.setState(Qt::TouchPointReleased);
            point.setPos(it.value());
            point.setLastPos(it.value());
            points.append(point);
        }
        m_rawFingers.clear();
        QTouchEvent event(QEvent::TouchEnd, m_device, Qt::NoModifier, Qt::TouchPointReleased,
                          points);
        event.setWindow(m_board->windowHandle());
        QCoreApplication::sendEvent(viewport(), &event);
    }

    void command(const char* signal)
    {
        ++m_stats.commands;
        if (anythingDown())
            ++m_stats.commandsWhileDown;
        QVERIFY(QMetaObject::invokeMethod(tool(), signal));
    }

    void randomCommand()
    {
        static const char* const colours[] = {"#F73859", "#FFFFFF", "#000000", "#FFC300",
                                              "#2ECC71", "#3498DB", "#9B59B6", "#E67E22"};
        static const int widths[] = {3, 6, 9, 12};
        const int roll = int(m_random.bounded(100));
        if (roll < 30) {
            if (fingersDown())
                ++m_stats.toolSwitchesWhileFingers;
            command("sigPen");
        } else if (roll < 60) {
            if (fingersDown())
                ++m_stats.toolSwitchesWhileFingers;
            command("sigEraseBtn");
        } else if (roll < 68) {
            command("sigSelectDesktop");
        } else if (roll < 75) {
            if (fingersDown())
                ++m_stats.clearsWhileDown;
            command("sigClear");
        } else if (roll < 80) {
            // Also while fingers are down, where it must do nothing.
            ++m_stats.commands;
            QVERIFY(QMetaObject::invokeMethod(m_board, "undo"));
        } else if (roll < 83) {
            ++m_stats.commands;
            QVERIFY(QMetaObject::invokeMethod(m_board, "redo"));
        } else if (roll < 91) {
            ++m_stats.commands;
            QVariant colour = QString::fromLatin1(colours[m_random.bounded(8)]);
            if (chance(5))
                colour = QStringLiteral("not a colour");
            QVERIFY(QMetaObject::invokeMethod(tool(), "onPenColor", Q_ARG(QVariant, colour)));
        } else {
            ++m_stats.commands;
            QVariant width = widths[m_random.bounded(4)];
            if (chance(5))
                width = chance(50) ? QVariant(-3) : QVariant(QStringLiteral("wide"));
            else if (chance(3))
                width = 100;
            QVERIFY(QMetaObject::invokeMethod(tool(), "onPenSize", Q_ARG(QVariant, width)));
        }
    }

    // A click on one of the toolbar's own buttons: the same commands, with
    // the pop-ups that a second click on the checked pen or eraser opens.
    void clickToolbarButton()
    {
        static const char* const names[] = {"penButton", "eraserButton", "selectButton"};
        if (!tool()->isVisible())
            return;
        auto* button =
            tool()->findChild<QAbstractButton*>(QLatin1String(names[m_random.bounded(3)]));
        QVERIFY(button);
        if (m_mouseTarget)
            releaseMouse();
        ++m_stats.buttonClicks;
        if (fingersDown())
            ++m_stats.commandsWhileDown;
        QTest::mouseClick(button, Qt::LeftButton);
    }

    void openShot()
    {
        pruneShots();
        if (m_shots.size() >= 2)
            return;
        if (m_mouseTarget)
            releaseMouse();
        const int before = m_board->findChildren<ScreenShot*>().size();
        command("sigScreenShot");
        const QList<ScreenShot*> shots = m_board->findChildren<ScreenShot*>();
        QCOMPARE(shots.size(), before + 1);
        for (ScreenShot* shot : shots) {
            if (!m_shots.contains(shot))
                m_shots.append(shot);
        }
        ++m_stats.shotsOpened;
        if (m_shots.size() == 2)
            ++m_stats.shotsTwoAtOnce;
    }

    ScreenShot* someShot()
    {
        pruneShots();
        return m_shots.isEmpty() ? nullptr
                                 : m_shots.at(int(m_random.bounded(m_shots.size()))).data();
    }

    // A drag on an overlay: a new selection, a handle, or the inside.
    void dragOnShot()
    {
        ScreenShot* shot = someShot();
        if (!shot)
            return;
        if (m_mouseTarget)
            releaseMouse();
        ++m_stats.mouse;
        QPoint from = boardPoint();
        const QRect selection = shot->selection();
        if (selection.isValid() && chance(60)) {
            const QPoint handles[] = {selection.topLeft(), selection.bottomRight(),
                                      selection.center(), selection.topRight(),
                                      selection.bottomLeft()};
            from = handles[m_random.bounded(5)];
            if (from.x() < 1 || from.y() < 1)
                from = boardPoint();
        }
        QTest::mousePress(shot, Qt::LeftButton, Qt::NoModifier, from);
        QPoint p = from;
        const int steps = between(1, 6);
        for (int i = 0; i < steps; ++i) {
            p = near(p, 150);
            QTest::mouseMove(shot, p);
        }
        QTest::mouseRelease(shot, Qt::LeftButton, Qt::NoModifier, p);
    }

    // Clicks the overlay's cancel or confirm button where it is shown; true
    // when the button was there to be clicked.
    bool clickShotButton(ScreenShot* shot, bool confirm)
    {
        QWidget* bar = shot->buttonBar();
        QAbstractButton* button = confirm ? static_cast<QAbstractButton*>(shot->confirmButton())
                                          : static_cast<QAbstractButton*>(shot->cancelButton());
        if (!bar->isVisible() ||
            !shot->rect().contains(button->mapTo(shot, button->rect().center())))
            return false;
        QTest::mouseClick(button, Qt::LeftButton);
        return true;
    }

    void cancelShot()
    {
        QPointer<ScreenShot> shot = someShot();
        if (!shot || !clickShotButton(shot, false))
            return;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!shot);
        ++m_stats.shotsCancelled;
    }

    void confirmShot()
    {
        QPointer<ScreenShot> shot = someShot();
        if (!shot || !shot->selection().isValid())
            return;
        const int before = m_stats.pixmaps;
        const QSize expected = shot->selection().size();
        if (!clickShotButton(shot, true))
            return;
        QCOMPARE(m_stats.pixmaps, before + 1);
        QCOMPARE(m_lastPixmap.size(), expected);
        QVERIFY(!m_board->isVisible());
        QVERIFY(!tool()->isVisible());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!shot);
        ++m_stats.shotsConfirmed;
        m_board->showSkeda();
    }

    void closeAndShow()
    {
        ++m_stats.closes;
        if (m_mouseTarget)
            releaseMouse();
        command("sigClose");
        QVERIFY(!m_board->isVisible());
        m_board->showSkeda();
        QVERIFY(m_board->isVisible());
    }

    // A drag with the X server's pointer (XTEST). In desktop mode it must
    // fall through the board; with the pen it draws.
    void realDrag()
    {
        pruneShots();
        if (!m_shots.isEmpty() || !m_board->isVisible())
            return;
        releaseMouse();
        liftAllFingers();
        endRawTouch();
        QVERIFY(X11Desktop::syncEvents());
        const bool desktop = inDesktopMode();
        const bool pen = view()->currentOperation() == view()->pathOperation();
        const int before = scene()->items().size();
        QVector<QPoint> points;
        QPoint p(between(300, 1600), between(120, 560));
        points.append(p);
        for (int i = 0; i < 4; ++i) {
            p += QPoint(between(20, 60), between(-20, 20));
            points.append(p);
        }
        QVERIFY(X11Desktop::drag(points));
        // The drag's events are all handled (none reached the board in
        // desktop mode).
        QVERIFY(X11Desktop::syncEvents());
        ++m_stats.realDrags;
        if (desktop) {
            ++m_stats.realDragsInDesktopMode;
            QCOMPARE(scene()->items().size(), before);
        } else if (pen) {
            QTRY_VERIFY(scene()->items().size() > before);
        }
    }

    void step()
    {
        ++m_stats.events;
        pruneShots();
        const int roll = int(m_random.bounded(1000));
        if (!m_shots.isEmpty() && roll < 60) {
            dragOnShot();
        } else if (!m_shots.isEmpty() && roll < 75) {
            cancelShot();
        } else if (!m_shots.isEmpty() && roll < 90) {
            confirmShot();
        } else if (roll < 400) {
            mouseOnBoard();
        } else if (roll < 700) {
            touchOnBoard();
        } else if (roll < 800) {
            rawTouch();
        } else if (roll < 860) {
            randomCommand();
        } else if (roll < 870) {
            clickToolbarButton();
        } else if (roll < 880) {
            openShot();
        } else if (roll < 884) {
            closeAndShow();
        } else if (roll < 888) {
            ++m_stats.commands;
            m_board->showSkeda();
        } else if (roll < 892) {
            realDrag();
        } else if (roll < 895) {
            QTest::qWait(5);
        } else {
            mouseOnBoard();
        }
    }

    // Every finger up, every overlay gone, the board shown, then cleared.
    void settle()
    {
        releaseMouse();
        liftAllFingers();
        endRawTouch();
        pruneShots();
        for (const QPointer<ScreenShot>& shot : qAsConst(m_shots)) {
            if (shot && !clickShotButton(shot, false))
                shot->cancelButton()->click();
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        pruneShots();
        QVERIFY(m_shots.isEmpty());
        QVERIFY(m_board->findChildren<ScreenShot*>().isEmpty());
        m_board->showSkeda();
        m_board->hideTool();
        QVERIFY(QMetaObject::invokeMethod(tool(), "sigClear"));
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        // The history keeps at most its hundred steps; a phase ends with
        // none, so that the heap shows what the board itself keeps.
        QVERIFY(scene()->history()->count() <= BoardHistory::StepLimit);
        scene()->history()->clear();
    }

private slots:
    void initTestCase()
    {
        qInstallMessageHandler(collectMessage);
        int eventBase = 0;
        int errorBase = 0;
        m_canShape = QX11Info::isPlatformX11() &&
                     XShapeQueryExtension(QX11Info::display(), &eventBase, &errorBase);
        m_device = QTest::createTouchDevice();
        m_board = new MainWindow(nullptr);
        m_board->initUI();
        m_board->showSkeda();
        QVERIFY(QTest::qWaitForWindowExposed(m_board));
        QVERIFY(tool());
        m_touch.reset(new QTest::QTouchEventSequence(QTest::touchEvent(m_board, m_device, false)));
        connect(m_board, &MainWindow::sigScreenShotPixmap, this, [this](const QPixmap& pix) {
            ++m_stats.pixmaps;
            m_lastPixmap = pix;
        });

        // Warm-up before anything is measured: the first pen popup makes the
        // board's window composite through OpenGL, whose software renderer
        // (Mesa's softpipe on Xvfb) takes some hundred MiB once.
        auto* pen = tool()->findChild<QAbstractButton*>(QStringLiteral("penButton"));
        QVERIFY(pen && pen->isChecked());
        auto* popup = m_board->findChild<QQuickWidget*>(QStringLiteral("penPopup"));
        QVERIFY(popup);
        QSignalSpy rendered(popup->quickWindow(), &QQuickWindow::afterRendering);
        QTest::mouseClick(pen, Qt::LeftButton);
        QVERIFY(popup->isVisible());
        QVERIFY(rendered.count() > 0 || rendered.wait(10000));
        QCoreApplication::processEvents();
        QTest::mouseClick(pen, Qt::LeftButton);
        QVERIFY(!popup->isVisible());
        m_warmHeap = HeapUsage::bytesInUse();
        qInfo("soak: heap after the board was built and its pen popup opened once: %s",
              qPrintable(mib(m_warmHeap)));
    }

    void cleanupTestCase()
    {
        m_touch.reset();
        delete m_board;
        m_board = nullptr;
        UIManager::getInstance()->setPen(QPen(QColor(0xF7, 0x38, 0x59), 6));
    }

    // One data row per phase, so that QtTest's time limit (five minutes per
    // function call) applies to each phase and not to the whole session.
    void phase_data()
    {
        QTest::addColumn<int>("end");
        m_events = envInt("SKEDA_SOAK_EVENTS",
                          HeapUsage::sanitized() ? kDefaultSanitizedEvents : kDefaultEvents);
        m_phaseLength = envInt("SKEDA_SOAK_PHASE", kDefaultPhase);
        const quint32 seed = quint32(envInt("SKEDA_SOAK_SEED", int(kDefaultSeed)));
        m_random.seed(seed);
        qInfo("soak: seed %u, %d events in phases of %d, SHAPE %s", seed, m_events, m_phaseLength,
              m_canShape ? "available" : "missing");
        int phase = 0;
        for (int end = 0; end < m_events;) {
            end = qMin(m_events, end + m_phaseLength);
            QTest::addRow("phase %d", ++phase) << end;
        }
        m_startHeap = HeapUsage::bytesInUse();
        m_startRss = residentBytes();
        m_clock.start();
    }

    void phase()
    {
        QFETCH(int, end);
        // A failed phase leaves the board in an unknown state.
        QVERIFY(!m_failed);
        m_failed = true;
        while (m_stats.events < end) {
            step();
            if (QTest::currentTestFailed())
                return;
            if (m_stats.events % 200 == 0)
                QVERIFY2(checkBoard("during a phase"), qPrintable(QString::number(m_stats.events)));
        }
        QVERIFY(checkBoard("at the end of a phase"));
        settle();
        if (QTest::currentTestFailed())
            return;
        QVERIFY(checkBoard("after clearing"));
        // Cleared: only the eraser's own items may be left in the scene.
        for (QGraphicsItem* item : scene()->items())
            QVERIFY(!qgraphicsitem_cast<MiniPathItem*>(item));

        const qint64 heap = HeapUsage::bytesInUse();
        if (m_baseline < 0)
            m_baseline = heap;
        m_highest = qMax(m_highest, heap - m_baseline);
        qInfo("soak: %s, %d events, %.1f s, heap %s (%+.1f MiB from phase 1), rss %s, "
              "%d items at most",
              QTest::currentDataTag(), m_stats.events, m_clock.elapsed() / 1000.0,
              qPrintable(mib(heap)), double(heap - m_baseline) / (1024.0 * 1024.0),
              qPrintable(mib(residentBytes())), m_stats.mostItems);
        QVERIFY2(
            heap - m_baseline <= kHeapBound,
            qPrintable(
                QStringLiteral("the heap grew by %1 since phase 1").arg(mib(heap - m_baseline))));
        QVERIFY2(heap - m_startHeap <= kHeapBound,
                 qPrintable(QStringLiteral("the heap grew by %1 since the session began")
                                .arg(mib(heap - m_startHeap))));
        m_failed = false;
    }

    void summary()
    {
        QVERIFY(!m_failed);
        const Stats& s = m_stats;
        qInfo("soak: done: %d events in %.1f s; heap before %s, after the first phase %s, at the "
              "end %s (largest growth %s, bound %s); rss before %s, at the end %s",
              s.events, m_clock.elapsed() / 1000.0, qPrintable(mib(m_startHeap)),
              qPrintable(mib(m_baseline)), qPrintable(mib(HeapUsage::bytesInUse())),
              qPrintable(mib(m_highest)), qPrintable(mib(kHeapBound)), qPrintable(mib(m_startRss)),
              qPrintable(mib(residentBytes())));
        qInfo("soak: mouse %d, touch commits %d, hand-built touch %d, commands %d (%d with "
              "something down, %d tool switches with fingers down, %d clears with fingers "
              "down), toolbar clicks %d, screenshots opened %d (two at once %d), cancelled %d, "
              "confirmed %d, pixmaps %d, close/show %d, real drags %d (%d in desktop mode), at "
              "most %d items",
              s.mouse, s.touchCommits, s.rawTouch, s.commands, s.commandsWhileDown,
              s.toolSwitchesWhileFingers, s.clearsWhileDown, s.buttonClicks, s.shotsOpened,
              s.shotsTwoAtOnce, s.shotsCancelled, s.shotsConfirmed, s.pixmaps, s.closes,
              s.realDrags, s.realDragsInDesktopMode, s.mostItems);
        if (MiniPathOpermodel* pen = view()->pathOperation())
            qInfo("soak: the pen keeps %d point lists, %d piece lists, %d body entries, %d tail "
                  "lists",
                  int(pen->pointMap().size()), int(pen->pathMap().size()),
                  int(pen->curItemMap().size()), int(pen->itemMap().size()));
        int ignored = 0;
        for (int n : qAsConst(s_messages))
            ignored += n;
        qInfo("soak: %d warnings of %d kinds", ignored, s_messages.size());

        // The session did what it is meant to do.
        QCOMPARE(s.events, m_events);
        QVERIFY(s.mostItems > 100);
        if (m_events >= 10000) {
            QVERIFY(s.toolSwitchesWhileFingers > 0);
            QVERIFY(s.clearsWhileDown > 0);
            QVERIFY(s.shotsTwoAtOnce > 0);
            QVERIFY(s.shotsCancelled > 0);
            QVERIFY(s.shotsConfirmed > 0);
            QVERIFY(s.realDrags > 0);
        }
    }
};

QTEST_MAIN(TestSoak)
#include "tst_soak.moc"
