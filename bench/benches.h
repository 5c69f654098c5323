#pragma once

#include <QPoint>
#include <QSize>
#include <QVector>

class MainWindow;
class QRandomGenerator;
class QWidget;

// Figures printed one per line as "name key=value ...", for people and
// scripts alike. Nothing here asserts a time.
namespace Bench {

// Median and 99th percentile of a list of nanosecond samples, in
// microseconds.
struct Summary
{
    double medianUs = 0;
    double p99Us = 0;
    int samples = 0;
};
Summary summarize(QVector<qint64> samples);

// Heap bytes in use (glibc's allocator statistics).
qint64 heapInUse();

// A shown, exposed board covering the primary screen.
MainWindow* createBoard();

// Clears the board and lets its history go, so that nothing that was on the
// board stays in memory.
void clearBoard(MainWindow* board);

// One stroke like a drawn one: 40 points, a walk of 6 to 10 pixel steps
// whose heading turns a little at each point, kept inside the board.
QVector<QPoint> strokePoints(const QSize& board, QRandomGenerator& random);
// Lets everything an event caused run to the end: the event, the work it
// queued, and the repaint it asked for.
void settle();
// The calling thread's CPU time in nanoseconds: what the board's own work
// costs, without the waits for the X server and for the CPU.
qint64 threadCpuNs();
// Draws one stroke with the mouse through the window system interface. With
// `samples`, each move is timed with everything it causes processed (the
// repaint included); with `cpuSamples`, the thread's CPU time for the same.
void drawStroke(QWidget* viewport, const QVector<QPoint>& points, QVector<qint64>* samples,
                QVector<qint64>* cpuSamples = nullptr);

} // namespace Bench

void runPenBench();
void runEraserBench();
// Boards of the given numbers of strokes, filled in turn (ascending).
void runBoardBench(const QVector<int>& sizes);
// Undo and redo on a board of this many strokes: what the steps keep and
// what undoing and redoing strokes, an erasure and a clear cost.
void runHistoryBench(int strokes);
