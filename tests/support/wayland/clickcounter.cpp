// A native Wayland window for the tests: it fills what the compositor gives
// it with one colour and prints on standard output "ready" once it is shown,
// "enter" and "leave" when the pointer comes over it and goes, and
// "click X Y" for every press of the left button it gets. A line "sync" on
// standard input is answered with "synced" once every event the compositor
// sent before has been handled: what it printed up to there is complete.
#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QSocketNotifier>
#include <QWidget>

#include <cstdio>
#include <unistd.h>

namespace {

class ClickCounter : public QWidget
{
protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), QColor(0x20, 0x90, 0x40));
    }

    void mousePressEvent(QMouseEvent* event) override
    {
        if (event->button() == Qt::LeftButton) {
            std::printf("click %d %d\n", event->x(), event->y());
            std::fflush(stdout);
        }
    }

    void showEvent(QShowEvent*) override { say("ready\n"); }
    void enterEvent(QEvent*) override { say("enter\n"); }
    void leaveEvent(QEvent*) override { say("leave\n"); }

private:
    static void say(const char* line)
    {
        std::fputs(line, stdout);
        std::fflush(stdout);
    }
};

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "wayland");
    QApplication app(argc, argv);
    ClickCounter window;
    window.setWindowTitle(QStringLiteral("skeda-click-counter"));
    window.show();
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&input] {
        char line[64];
        const ssize_t got = read(STDIN_FILENO, line, sizeof line);
        if (got <= 0) {
            input.setEnabled(false);
            return;
        }
        QGuiApplication::sync();
        QCoreApplication::sendPostedEvents();
        std::fputs("synced\n", stdout);
        std::fflush(stdout);
    });
    return app.exec();
}
