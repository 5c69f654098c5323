// A host of the board for the tests on a Wayland desktop: the board runs
// natively as the launcher's does (layer surfaces), and every screenshot it
// hands out is saved as a PNG, which the launcher does not do.
//
// Usage: skeda-shot-host FILE. Prints "ready" once the board is on the
// screen and "shot W H" once a screenshot of W x H pixels is saved as FILE;
// answers a line "sync" with "synced" once it has caught up with the
// compositor, and ends at a line "quit".
#include "shell/mainwindow.h"
#include "shell/waylandboard.h"

#include <QApplication>
#include <QPixmap>
#include <QSocketNotifier>
#include <QTimer>
#include <QWindow>

#include <cstdio>
#include <cstring>
#include <unistd.h>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    if (!WaylandBoard::canRunNatively()) {
        std::fprintf(stderr, "skeda-shot-host: no Wayland compositor with the layer shell\n");
        return 1;
    }
    WaylandBoard::use();
    QApplication app(argc, argv);
    // As the launcher's: the board closing after a screenshot does not end
    // the host, "quit" does.
    app.setQuitOnLastWindowClosed(false);
    WaylandBoard::install(&app);
    const QString file = QString::fromLocal8Bit(argv[1]);

    MainWindow board(nullptr);
    board.initUI();
    QObject::connect(&board, &MainWindow::sigScreenShotPixmap, &app, [file](const QPixmap& pix) {
        if (!pix.save(file, "PNG")) {
            std::fprintf(stderr, "skeda-shot-host: cannot save %s\n", qPrintable(file));
            return;
        }
        std::printf("shot %d %d\n", pix.width(), pix.height());
        std::fflush(stdout);
    });
    board.showSkeda();
    // Ready once the compositor has the board's first frame: its surface is
    // then mapped, and the pointer's input goes to it.
    QTimer exposed;
    exposed.setInterval(10);
    QObject::connect(&exposed, &QTimer::timeout, &app, [&exposed, &board] {
        const QWindow* window = board.windowHandle();
        if (!window || !window->isExposed())
            return;
        exposed.stop();
        QGuiApplication::sync();
        std::puts("ready");
        std::fflush(stdout);
    });
    exposed.start();
    // "sync" on standard input: answered "synced" once every event the
    // compositor sent before is handled and what it changed is on the
    // screen. "quit" ends the host.
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&input] {
        char line[64] = {};
        if (read(STDIN_FILENO, line, sizeof line - 1) <= 0) {
            input.setEnabled(false);
            return;
        }
        if (std::strncmp(line, "quit", 4) == 0) {
            QCoreApplication::quit();
            return;
        }
        QGuiApplication::sync();
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents();
        QGuiApplication::sync();
        std::puts("synced");
        std::fflush(stdout);
    });
    return app.exec();
}
