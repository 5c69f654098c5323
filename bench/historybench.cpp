// Undo and redo on a board filled the way a user fills it (strokes of 40
// points drawn with the pen through the real event path). It prints:
//   history_steps    heap that 100 stroke steps keep beyond the strokes
//                    themselves (the steps dropped, the strokes left)
//   history_undo     undoing one stroke, repaint included (median, p99)
//   history_redo     redoing it
//   history_erasure  heap an erasure's step keeps (the strokes it took off
//                    the board) and undoing and redoing it
//   history_clear    clearing the board, undoing and redoing the clear
// Only figures are printed; nothing is asserted.

#include "bench/benches.h"

#include "canvas/boardhistory.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "shell/mainwindow.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

#include <cstdio>

namespace {

constexpr int kStepStrokes = 100;
constexpr int kTimedStrokes = 50;
constexpr int kEraserStep = 20;

double ms(qint64 ns)
{
    return ns / 1e6;
}

} // namespace

void runHistoryBench(int strokes)
{
    MainWindow* board = Bench::createBoard();
    MyMiniGraphicsView* view = board->view();
    MyMiniGraphicsScene* scene = board->scene();
    BoardHistory* history = scene->history();
    QWidget* viewport = view->viewport();
    const QSize size = viewport->size();
    QRandomGenerator random(2027);

    // What a hundred stroke steps keep, besides their strokes.
    for (int i = 0; i < kStepStrokes; ++i)
        Bench::drawStroke(viewport, Bench::strokePoints(size, random), nullptr);
    const qint64 withSteps = Bench::heapInUse();
    history->clear();
    const qint64 withoutSteps = Bench::heapInUse();
    std::printf("history_steps steps=%d bytes_per_step=%.0f\n", kStepStrokes,
                double(withSteps - withoutSteps) / kStepStrokes);

    for (int i = kStepStrokes; i < strokes; ++i)
        Bench::drawStroke(viewport, Bench::strokePoints(size, random), nullptr);
    history->clear();
    const int items = scene->items().size();
    std::printf("history_board strokes=%d items=%d\n", strokes, items);

    // Undo and redo of single strokes on the full board.
    for (int i = 0; i < kTimedStrokes; ++i)
        Bench::drawStroke(viewport, Bench::strokePoints(size, random), nullptr);
    QVector<qint64> undoSamples;
    QVector<qint64> redoSamples;
    QElapsedTimer timer;
    for (int i = 0; i < kTimedStrokes; ++i) {
        timer.start();
        board->undo();
        Bench::settle();
        undoSamples.append(timer.nsecsElapsed());
    }
    for (int i = 0; i < kTimedStrokes; ++i) {
        timer.start();
        board->redo();
        Bench::settle();
        redoSamples.append(timer.nsecsElapsed());
    }
    const Bench::Summary undo = Bench::summarize(undoSamples);
    const Bench::Summary redo = Bench::summarize(redoSamples);
    std::printf("history_undo strokes=%d median_us=%.1f p99_us=%.1f\n", strokes, undo.medianUs,
                undo.p99Us);
    std::printf("history_redo strokes=%d median_us=%.1f p99_us=%.1f\n", strokes, redo.medianUs,
                redo.p99Us);

    // One sweep of the eraser across the middle of the board.
    history->clear();
    view->setTool(MyMiniGraphicsView::EraseTool);
    QPoint pos(40, size.height() / 2);
    QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, pos);
    while (pos.x() + kEraserStep < size.width() - 40) {
        pos.rx() += kEraserStep;
        QTest::mouseMove(viewport, pos);
    }
    QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, pos);
    Bench::settle();
    view->setTool(MyMiniGraphicsView::PenTool);
    const qint64 erasedHeap = Bench::heapInUse();
    timer.start();
    board->undo();
    Bench::settle();
    const qint64 undoErase = timer.nsecsElapsed();
    timer.start();
    board->redo();
    Bench::settle();
    const qint64 redoErase = timer.nsecsElapsed();
    history->clear();
    std::printf("history_erasure strokes=%d kept_bytes=%lld undo_ms=%.1f redo_ms=%.1f\n", strokes,
                static_cast<long long>(erasedHeap - Bench::heapInUse()), ms(undoErase),
                ms(redoErase));

    // A clear of the whole board, its undo and its redo.
    const int before = scene->items().size();
    timer.start();
    view->clearAllItem();
    Bench::settle();
    const qint64 clearNs = timer.nsecsElapsed();
    timer.start();
    board->undo();
    Bench::settle();
    const qint64 undoClear = timer.nsecsElapsed();
    const int restored = scene->items().size();
    timer.start();
    board->redo();
    Bench::settle();
    const qint64 redoClear = timer.nsecsElapsed();
    std::printf("history_clear strokes=%d items=%d restored=%d clear_ms=%.1f undo_ms=%.1f "
                "redo_ms=%.1f\n",
                strokes, before, restored, ms(clearNs), ms(undoClear), ms(redoClear));
    delete board;
}
