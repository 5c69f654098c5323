// The cost of one eraser step on a shown full-HD board holding 100, 1,000 and
// 5,000 finished strokes of 50 points spread over the screen.
//
// eraser_step: a mouse move of 20 pixels with the button down, sent through
// the real event path (the window system interface, the board window, the
// canvas viewport and its router) and processed to the end, repaint
// included, as the user would wait for it.
// eraser_op: the operation's own share, the move handler called directly
// (collision look-up, cutting and replacing the strokes) with painting
// switched off.
//
// The board is filled again before every sweep, so that the strokes that the
// previous sweep cut do not thin it out. Only figures are printed; nothing
// is asserted.

#include "bench/benches.h"

#include "canvas/boardhistory.h"
#include "canvas/minipathitem.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "eraser/minieraseopermodel.h"
#include "shell/mainwindow.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QPainterPath>
#include <QRandomGenerator>
#include <QtMath>
#include <QtTest>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int kPointsPerStroke = 50;
constexpr int kStepPixels = 20;
// Per board size and measurement: at least kMinSteps steps, more while the
// time budget lasts, at most kMaxSteps. On the big boards a step through the
// event path costs about a second (the whole board is repainted), hence the
// modest minimum.
constexpr int kMinSteps = 60;
constexpr int kMaxSteps = 2000;
constexpr qint64 kBudgetNs = 10'000'000'000;

// Strokes like drawn ones: a smooth random walk of short steps that turns a
// little at each point, kept on the screen.
void populate(MyMiniGraphicsView* view, MyMiniGraphicsScene* scene, int strokes,
              QRandomGenerator& random)
{
    view->clearAllItem();
    scene->history()->clear();
    const QRectF screen = scene->sceneRect();
    const QColor colours[] = {QColor("#F73859"), QColor("#3A7BD5"), QColor("#2BB673"),
                              QColor("#F5A623")};
    for (int s = 0; s < strokes; ++s) {
        QPointF p(random.bounded(screen.width()), random.bounded(screen.height()));
        double heading = random.bounded(2 * M_PI);
        QPainterPath path;
        path.moveTo(p);
        for (int i = 1; i < kPointsPerStroke; ++i) {
            heading += random.bounded(0.6) - 0.3;
            p += QPointF(std::cos(heading), std::sin(heading)) * (4 + random.bounded(6.0));
            p.setX(qBound(screen.left(), p.x(), screen.right()));
            p.setY(qBound(screen.top(), p.y(), screen.bottom()));
            path.lineTo(p);
        }
        auto* item = new MiniPathItem();
        item->setPen(QPen(colours[s % 4], 6));
        item->setPath(path);
        item->setZValue(qreal(scene->getNewZValue()));
        scene->addItem(item);
    }
    QCoreApplication::processEvents();
}

// Sweeps of 20-pixel steps along rows of the board, each on a freshly
// filled board: press at the left end of a row, step right, release at the
// right end. measure(position) times one step; the samples are collected
// until the minimum count is reached and the budget is spent.
template<typename Measure>
QVector<qint64> sweeps(MyMiniGraphicsView* view, MyMiniGraphicsScene* scene, int strokes,
                       QRandomGenerator& random, int& row, Measure measure)
{
    QWidget* viewport = view->viewport();
    QVector<qint64> samples;
    QElapsedTimer budget;
    budget.start();
    auto enough = [&] {
        return samples.size() >= kMaxSteps ||
               (samples.size() >= kMinSteps && budget.nsecsElapsed() >= kBudgetNs);
    };
    while (!enough()) {
        populate(view, scene, strokes, random);
        const int y = 90 + (row++ * 130) % qMax(1, viewport->height() - 180);
        QPoint pos(40, y);
        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, pos);
        while (!enough() && pos.x() + kStepPixels <= viewport->width() - 40) {
            pos.rx() += kStepPixels;
            samples.append(measure(pos));
        }
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, pos);
    }
    return samples;
}

} // namespace

void runEraserBench()
{
    MainWindow window;
    window.initUI();
    window.showSkeda();
    if (!QTest::qWaitForWindowExposed(&window)) {
        std::printf("eraser_step error=the board window was not exposed\n");
        return;
    }
    MyMiniGraphicsView* view = window.view();
    MyMiniGraphicsScene* scene = window.scene();
    QWidget* viewport = view->viewport();
    view->setTool(MyMiniGraphicsView::EraseTool);
    MiniEraseOperModel* eraser = view->eraseOperation();
    std::printf("eraser_board width=%d height=%d points_per_stroke=%d step_px=%d\n",
                viewport->width(), viewport->height(), kPointsPerStroke, kStepPixels);

    QRandomGenerator random(1920);
    const int sizes[] = {100, 1000, 5000};
    Bench::Summary stepFigures[3];
    Bench::Summary opFigures[3];
    int row = 0;

    for (int k = 0; k < 3; ++k) {
        const int strokes = sizes[k];

        // Through the real event path, repaint included.
        stepFigures[k] =
            Bench::summarize(sweeps(view, scene, strokes, random, row, [&](const QPoint& pos) {
                QElapsedTimer timer;
                timer.start();
                QTest::mouseMove(viewport, pos);
                return timer.nsecsElapsed();
            }));
        std::printf("eraser_step strokes=%d median_us=%.1f p99_us=%.1f samples=%d\n", strokes,
                    stepFigures[k].medianUs, stepFigures[k].p99Us, stepFigures[k].samples);
        std::fflush(stdout);

        // The move handler alone, with painting switched off.
        viewport->setUpdatesEnabled(false);
        opFigures[k] =
            Bench::summarize(sweeps(view, scene, strokes, random, row, [&](const QPoint& pos) {
                QMouseEvent move(QEvent::MouseMove, QPointF(pos), Qt::NoButton, Qt::LeftButton,
                                 Qt::NoModifier);
                QElapsedTimer timer;
                timer.start();
                eraser->mouseMoveEvent(&move);
                const qint64 elapsed = timer.nsecsElapsed();
                QCoreApplication::processEvents();
                return elapsed;
            }));
        viewport->setUpdatesEnabled(true);
        std::printf("eraser_op strokes=%d median_us=%.1f p99_us=%.1f samples=%d\n", strokes,
                    opFigures[k].medianUs, opFigures[k].p99Us, opFigures[k].samples);
        std::fflush(stdout);
    }

    if (stepFigures[0].medianUs > 0 && opFigures[0].medianUs > 0) {
        std::printf("eraser_step growth_5000_vs_100 median=%.1fx p99=%.1fx\n",
                    stepFigures[2].medianUs / stepFigures[0].medianUs,
                    stepFigures[2].p99Us / stepFigures[0].p99Us);
        std::printf("eraser_op growth_5000_vs_100 median=%.1fx p99=%.1fx\n",
                    opFigures[2].medianUs / opFigures[0].medianUs,
                    opFigures[2].p99Us / opFigures[0].p99Us);
    }
    view->clearAllItem();
    scene->history()->clear();
}
