// skeda-bench: the cost of the board's hot paths, measured through the real
// event path on a shown board. Run it on a 1920x1080 X server:
//   scripts/bench.sh [pen]

#include "bench/benches.h"

#include "shell/mainwindow.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

#include <malloc.h>

#include <algorithm>
#include <cstdio>

namespace Bench {

Summary summarize(QVector<qint64> samples)
{
    Summary summary;
    if (samples.isEmpty())
        return summary;
    std::sort(samples.begin(), samples.end());
    summary.medianUs = samples.at(samples.size() / 2) / 1000.0;
    summary.p99Us = samples.at(qMin(samples.size() - 1, int(samples.size() * 0.99))) / 1000.0;
    return summary;
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

} // namespace Bench

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    const auto wanted = [&args](const char* name) {
        return args.isEmpty() || args.contains(QLatin1String(name));
    };
    std::printf("screen %dx%d\n", app.primaryScreen()->size().width(),
                app.primaryScreen()->size().height());
    if (wanted("pen"))
        runPenBench();
    return 0;
}
