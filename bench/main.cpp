// skeda-bench: the cost of the board's hot paths, measured through the real
// event path on a shown board. Run it on a 1920x1080 X server:
//   scripts/bench.sh [pen] [eraser] [board] [history]

#include "bench/benches.h"

#include "canvas/boardhistory.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "shell/mainwindow.h"
#include "shell/x11sharedmemory.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace Bench {

Summary summarize(QVector<qint64> samples)
{
    Summary summary;
    if (samples.isEmpty())
        return summary;
    std::sort(samples.begin(), samples.end());
    const int n = samples.size();
    summary.samples = n;
    summary.medianUs =
        (n % 2 ? samples.at(n / 2) : (samples.at(n / 2 - 1) + samples.at(n / 2)) / 2.0) / 1000.0;
    summary.p99Us = samples.at(qBound(0, int(std::ceil(0.99 * n)) - 1, n - 1)) / 1000.0;
    return summary;
}

qint64 threadCpuNs()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
}

qint64 heapInUse()
{
    malloc_trim(0);
    const struct mallinfo2 info = mallinfo2();
    return qint64(info.uordblks) + qint64(info.hblkhd);
}

MainWindow* createBoard()
{
    auto* window = new MainWindow;
    window->initUI();
    window->show();
    if (!QTest::qWaitForWindowExposed(window))
        std::fprintf(stderr, "skeda-bench: the board was not exposed\n");
    return window;
}

void clearBoard(MainWindow* board)
{
    board->view()->clearAllItem();
    board->scene()->history()->clear();
}

} // namespace Bench

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    // Measured as the launcher runs the board.
    const bool sharedMemoryOff = X11SharedMemory::turnOff();
    QApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    const auto wanted = [&args](const char* name) {
        return args.isEmpty() || args.contains(QLatin1String(name));
    };
    std::printf("screen %dx%d\n", app.primaryScreen()->size().width(),
                app.primaryScreen()->size().height());
    std::printf("x11_shared_memory %s\n", sharedMemoryOff ? "off" : "on");
    if (wanted("pen"))
        runPenBench();
    if (wanted("eraser"))
        runEraserBench();
    if (wanted("board")) {
        // SKEDA_BENCH_BOARDS="0 100 1000" chooses the boards; the default
        // goes up to 5,000 strokes.
        QVector<int> sizes{0, 100, 1000, 5000};
        const QString chosen = qEnvironmentVariable("SKEDA_BENCH_BOARDS");
        if (!chosen.isEmpty()) {
            sizes.clear();
            for (const QString& word : chosen.split(QLatin1Char(' '), Qt::SkipEmptyParts))
                sizes.append(word.toInt());
        }
        runBoardBench(sizes);
    }
    if (wanted("history")) {
        // SKEDA_BENCH_HISTORY_STROKES sets the board (default 1,000 strokes).
        const int strokes = qEnvironmentVariableIntValue("SKEDA_BENCH_HISTORY_STROKES");
        runHistoryBench(strokes > 100 ? strokes : 1000);
    }
    return 0;
}
