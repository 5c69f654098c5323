// The stand-alone board: the `skeda` launcher has no code of its own and runs
// this main(), which libSkeda carries.

#include "shell/mainwindow.h"

#include <QApplication>
#include <QByteArray>

#include <X11/Xlib.h>

#include <cstdio>
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

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_LOGGING_RULES", "*.debug=true ; qt.*.debug=false");
    if (!displayReachable(argc, argv))
        return 1;

    QApplication app(argc, argv);
    MainWindow window(nullptr);
    window.initUI();
    window.show();
    return app.exec();
}
