// A board filled the way a user fills it, and what each action costs as it
// fills: boards of 0, 100, 1,000 and 5,000 strokes drawn with the pen through
// the real event path (mouse events through the window system interface to
// the board's viewport), each stroke about 40 points, 6 to 10 pixels apart,
// gently curving.
//
// For each board it prints:
//   board_pen    one pen point, the event and the repaint it causes (the
//                events are processed to the end before the clock stops),
//                and the CPU time of it (the board's own work, without the
//                waits for the X server)
//   board_eraser one 20-pixel eraser step through the event path, repaint
//                included
//   board_repaint a repaint of the whole board, as when it is shown again
//   board_heap   heap per finished stroke, from the strokes added to reach
//                this board
// and, at the end, the growth of each figure against the empty board.
// Only figures are printed; nothing is asserted.

#include "bench/benches.h"

#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "shell/mainwindow.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>
#include <QtMath>

#include <cstdio>

namespace {

constexpr int kPointsPerStroke = 40;
constexpr int kMeasureStrokes = 25;
constexpr int kEraserStep = 20;
constexpr int kRepaints = 30;
// Strokes stay clear of the toolbar's corner and of the screen's edges.
constexpr int kMargin = 40;

} // namespace

namespace Bench {

QVector<QPoint> strokePoints(const QSize& board, QRandomGenerator& random)
{
    const QRect area(kMargin, kMargin, board.width() - 2 * kMargin,
                     board.height() - 2 * kMargin - 200);
    QPointF p(area.left() + random.bounded(area.width()),
              area.top() + random.bounded(area.height()));
    double heading = random.bounded(2 * M_PI);
    const double turn = random.bounded(0.3) - 0.15;
    QVector<QPoint> points;
    points.reserve(kPointsPerStroke);
    for (int i = 0; i < kPointsPerStroke; ++i) {
        points.append(p.toPoint());
        heading += turn + random.bounded(0.2) - 0.1;
        QPointF next =
            p + QPointF(std::cos(heading), std::sin(heading)) * (6 + random.bounded(4.0));
        if (!area.contains(next.toPoint())) {
            heading += M_PI;
            next = p + QPointF(std::cos(heading), std::sin(heading)) * (6 + random.bounded(4.0));
        }
        p = next;
    }
    return points;
}

void settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

void drawStroke(QWidget* viewport, const QVector<QPoint>& points, QVector<qint64>* samples,
                QVector<qint64>* cpuSamples)
{
    QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, points.first());
    QCoreApplication::processEvents();
    QElapsedTimer timer;
    for (int i = 1; i < points.size(); ++i) {
        const qint64 cpuStart = cpuSamples ? threadCpuNs() : 0;
        timer.start();
        QTest::mouseMove(viewport, points.at(i));
        settle();
        if (samples)
            samples->append(timer.nsecsElapsed());
        if (cpuSamples)
            cpuSamples->append(threadCpuNs() - cpuStart);
    }
    QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, points.last());
    QCoreApplication::processEvents();
}

} // namespace Bench

namespace {

using Bench::drawStroke;
using Bench::settle;
using Bench::strokePoints;

struct Figures
{
    int strokes = 0;
    int items = 0;
    Bench::Summary pen;
    Bench::Summary penCpu;
    Bench::Summary eraser;
    Bench::Summary repaint;
    double heapPerStroke = 0;
};

} // namespace

void runBoardBench(const QVector<int>& sizes)
{
    MainWindow* board = Bench::createBoard();
    MyMiniGraphicsView* view = board->view();
    MyMiniGraphicsScene* scene = board->scene();
    QWidget* viewport = view->viewport();
    const QSize size = viewport->size();
    QRandomGenerator random(2026);
    std::printf("board screen=%dx%d points_per_stroke=%d\n", size.width(), size.height(),
                kPointsPerStroke);

    QVector<Figures> all;
    int drawn = 0;
    for (int target : sizes) {
        Figures f;
        // Fill up to the target, measuring the heap the new strokes keep.
        view->setTool(MyMiniGraphicsView::PenTool);
        const int adding = target - drawn;
        const qint64 heapBefore = Bench::heapInUse();
        QElapsedTimer fillTimer;
        fillTimer.start();
        for (; drawn < target; ++drawn)
            drawStroke(viewport, strokePoints(size, random), nullptr);
        if (adding > 0)
            f.heapPerStroke = double(Bench::heapInUse() - heapBefore) / adding;
        f.strokes = drawn;
        f.items = scene->items().size();
        std::printf("board_fill strokes=%d items=%d fill_s=%.1f\n", drawn, f.items,
                    fillTimer.nsecsElapsed() / 1e9);

        // Pen points on this board; the measuring strokes are undone again
        // so that every figure sees the same board.
        QVector<qint64> penSamples;
        QVector<qint64> penCpuSamples;
        for (int s = 0; s < kMeasureStrokes; ++s)
            drawStroke(viewport, strokePoints(size, random), &penSamples, &penCpuSamples);
        for (int s = 0; s < kMeasureStrokes; ++s)
            board->undo();
        QCoreApplication::processEvents();
        f.pen = Bench::summarize(penSamples);
        f.penCpu = Bench::summarize(penCpuSamples);

        // A full repaint, as when the board is exposed again.
        QVector<qint64> repaintSamples;
        QElapsedTimer timer;
        for (int i = 0; i < kRepaints; ++i) {
            QCoreApplication::processEvents();
            timer.start();
            viewport->repaint();
            repaintSamples.append(timer.nsecsElapsed());
        }
        f.repaint = Bench::summarize(repaintSamples);

        // One sweep of the eraser along a row in the middle of the board.
        view->setTool(MyMiniGraphicsView::EraseTool);
        QVector<qint64> eraserSamples;
        const int y = size.height() / 2 - 150 + (all.size() * 97) % 300;
        QPoint pos(kMargin, y);
        QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, pos);
        QCoreApplication::processEvents();
        while (pos.x() + kEraserStep < size.width() - kMargin) {
            pos.rx() += kEraserStep;
            timer.start();
            QTest::mouseMove(viewport, pos);
            settle();
            eraserSamples.append(timer.nsecsElapsed());
        }
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, pos);
        QCoreApplication::processEvents();
        view->setTool(MyMiniGraphicsView::PenTool);
        f.eraser = Bench::summarize(eraserSamples);

        std::printf("board_pen strokes=%d median_us=%.1f p99_us=%.1f samples=%d "
                    "cpu_median_us=%.1f\n",
                    f.strokes, f.pen.medianUs, f.pen.p99Us, f.pen.samples, f.penCpu.medianUs);
        std::printf("board_eraser strokes=%d median_us=%.1f p99_us=%.1f samples=%d\n", f.strokes,
                    f.eraser.medianUs, f.eraser.p99Us, f.eraser.samples);
        std::printf("board_repaint strokes=%d median_us=%.1f p99_us=%.1f\n", f.strokes,
                    f.repaint.medianUs, f.repaint.p99Us);
        if (adding > 0)
            std::printf("board_heap strokes=%d bytes_per_stroke=%.0f\n", f.strokes,
                        f.heapPerStroke);
        all.append(f);
    }

    const Figures& empty = all.first();
    for (const Figures& f : qAsConst(all)) {
        if (&f == &empty)
            continue;
        std::printf("board_growth strokes=%d pen_median=%.2fx pen_cpu_median=%.2fx "
                    "eraser_median=%.2fx repaint_median=%.2fx\n",
                    f.strokes, f.pen.medianUs / empty.pen.medianUs,
                    f.penCpu.medianUs / empty.penCpu.medianUs,
                    f.eraser.medianUs / empty.eraser.medianUs,
                    f.repaint.medianUs / empty.repaint.medianUs);
    }
    delete board;
}
