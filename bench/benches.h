#pragma once

#include <QVector>

class MainWindow;

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

} // namespace Bench

void runPenBench();
void runEraserBench();
// Boards of the given numbers of strokes, filled in turn (ascending).
void runBoardBench(const QVector<int>& sizes);
