// The pen: the cost of one accepted point for strokes of growing length, what
// a finished stroke leaves behind, and a full repaint of a busy board.

#include "bench/benches.h"

#include "canvas/minipathopermodel.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "shell/mainwindow.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

#include <cstdio>

namespace {

// A zig-zag of rows across the board, one point every `step` pixels, so that
// even 10,000 points stay on a 1920x1080 screen.
QVector<QPoint> zigzag(int count, int step, const QSize& board)
{
    QVector<QPoint> points;
    points.reserve(count);
    const int left = 60;
    const int right = board.width() - 60;
    int x = left;
    int y = 40;
    int direction = 1;
    for (int i = 0; i < count; ++i) {
        points.append(QPoint(x, y));
        x += direction * step;
        if (x > right || x < left) {
            x -= direction * step;
            y += 6;
            direction = -direction;
            if (y > board.height() - 40)
                y = 40;
        }
    }
    return points;
}

// Draws one mouse stroke; returns the time of each move in nanoseconds. The
// pending repaints are let through every 16 points, as the 60 Hz frames of a
// 1000 Hz mouse would, outside the timed part.
QVector<qint64> drawStroke(QWidget* viewport, const QVector<QPoint>& points)
{
    QVector<qint64> samples;
    samples.reserve(points.size());
    QElapsedTimer timer;
    QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, points.first());
    for (int i = 1; i < points.size(); ++i) {
        timer.start();
        QTest::mouseMove(viewport, points.at(i));
        samples.append(timer.nsecsElapsed());
        if (i % 16 == 0)
            QCoreApplication::processEvents();
    }
    QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, points.last());
    QCoreApplication::processEvents();
    return samples;
}

void pointCost(MainWindow* board)
{
    QWidget* viewport = board->view()->viewport();
    double median100 = 0;
    double median10000 = 0;
    for (int count : {100, 1000, 10000}) {
        QVector<qint64> all;
        const int repeats = count == 10000 ? 3 : (count == 1000 ? 10 : 60);
        for (int r = 0; r < repeats; ++r) {
            Bench::clearBoard(board);
            all += drawStroke(viewport, zigzag(count, 3, viewport->size()));
        }
        const Bench::Summary s = Bench::summarize(all);
        std::printf("pen_point points=%d strokes=%d median_us=%.2f p99_us=%.2f\n", count, repeats,
                    s.medianUs, s.p99Us);
        if (count == 100)
            median100 = s.medianUs;
        if (count == 10000)
            median10000 = s.medianUs;
    }
    std::printf("pen_point ratio_10000_to_100=%.2f\n", median10000 / median100);
}

void finishedStrokeFootprint(MainWindow* board)
{
    QWidget* viewport = board->view()->viewport();
    for (int count : {100, 1000}) {
        Bench::clearBoard(board);
        QCoreApplication::processEvents();
        const qint64 before = Bench::heapInUse();
        drawStroke(viewport, zigzag(count, 3, viewport->size()));
        const qint64 after = Bench::heapInUse();
        std::printf("pen_stroke points=%d scene_items=%d heap_bytes=%lld\n", count,
                    board->scene()->items().size(), static_cast<long long>(after - before));
    }
}

void repaintCost(MainWindow* board)
{
    QWidget* viewport = board->view()->viewport();
    Bench::clearBoard(board);
    QRandomGenerator random(1);
    const QSize size = viewport->size();
    for (int s = 0; s < 1000; ++s) {
        QVector<QPoint> points;
        QPoint p(random.bounded(100, size.width() - 100), random.bounded(100, size.height() - 100));
        for (int i = 0; i < 50; ++i) {
            points.append(p);
            p += QPoint(random.bounded(-6, 7), random.bounded(-6, 7));
        }
        drawStroke(viewport, points);
    }
    const int items = board->scene()->items().size();
    QElapsedTimer timer;
    timer.start();
    viewport->repaint();
    const qint64 first = timer.nsecsElapsed();
    QVector<qint64> samples;
    for (int i = 0; i < 30; ++i) {
        board->scene()->update();
        QCoreApplication::processEvents();
        timer.start();
        viewport->repaint();
        samples.append(timer.nsecsElapsed());
    }
    const Bench::Summary s = Bench::summarize(samples);
    std::printf("pen_repaint strokes=1000 scene_items=%d first_ms=%.2f median_ms=%.2f "
                "p99_ms=%.2f\n",
                items, first / 1e6, s.medianUs / 1000.0, s.p99Us / 1000.0);
}

} // namespace

void runPenBench()
{
    MainWindow* board = Bench::createBoard();
    pointCost(board);
    finishedStrokeFootprint(board);
    repaintCost(board);
    delete board;
}
