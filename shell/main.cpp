// The stand-alone board: the `skeda` launcher has no code of its own and runs
// this main(), which libSkeda carries.

#include "shell/mainwindow.h"

#include <QApplication>
#include <QByteArray>
#include <QX11Info>

#include <X11/Xlib.h>
#include <xcb/xcb.h>

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// The platform the application will pick: "-platform NAME" on the command
// line, else QT_QPA_PLATFORM, else Qt's default (xcb on this desktop).
QByteArray requestedPlatform(int argc, char** argv)
{
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "-platform") == 0)
            return QByteArray(argv[i + 1]);
    }
    const QByteArray fromEnv = qgetenv("QT_QPA_PLATFORM");
    return fromEnv.isEmpty() ? QByteArray("xcb") : fromEnv;
}

// Qt aborts with a core dump when the X display cannot be opened; say so in
// one line and let main() return an error instead.
bool displayReachable(int argc, char** argv)
{
    if (!requestedPlatform(argc, argv).startsWith("xcb"))
        return true;
    const char* name = nullptr;
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "-display") == 0)
            name = argv[i + 1];
    }
    Display* display = XOpenDisplay(name);
    if (!display) {
        const char* shown = name ? name : std::getenv("DISPLAY");
        std::fprintf(stderr,
                     "skeda: cannot open the X display \"%s\"; run it in an X11 session "
                     "(or set DISPLAY)\n",
                     shown ? shown : "");
        return false;
    }
    XCloseDisplay(display);
    return true;
}

// The X connection of the running board; null before the application exists
// and once its event loop has returned.
std::atomic<xcb_connection_t*> s_connection{nullptr};

[[noreturn]] void lostDisplay()
{
    static const char message[] = "skeda: lost the connection to the X display\n";
    const ssize_t written = write(STDERR_FILENO, message, sizeof message - 1);
    static_cast<void>(written);
    _exit(1);
}

// Xlib's report of a broken connection (the board's own SHAPE calls and GLX
// go through Xlib). Its default handler calls exit(), as below.
int onXlibIOError(Display*)
{
    lostDisplay();
}

// Qt's xcb platform notices a broken connection on its own, warns and calls
// exit(1) from inside the event loop, with the board still on main()'s stack:
// the library's static objects would then be destroyed under live windows.
// End here instead, at once and with one clear line.
void endIfDisplayLost()
{
    xcb_connection_t* connection = s_connection.load();
    if (connection && xcb_connection_has_error(connection))
        lostDisplay();
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_LOGGING_RULES", "*.debug=true ; qt.*.debug=false");
    if (!displayReachable(argc, argv))
        return 1;

    QApplication app(argc, argv);
    if (QX11Info::isPlatformX11() && QX11Info::connection()) {
        XSetIOErrorHandler(onXlibIOError);
        s_connection = QX11Info::connection();
        std::atexit(endIfDisplayLost);
    }
    MainWindow window(nullptr);
    window.initUI();
    window.show();
    const int status = app.exec();
    s_connection = nullptr;
    return status;
}
