// The stand-alone board: the `skeda` launcher has no code of its own and runs
// this main(), which libSkeda carries.

#include "common/desktopsession.h"
#include "shell/commandserver.h"
#include "shell/mainwindow.h"
#include "shell/waylandboard.h"
#include "shell/x11sharedmemory.h"

#include <QApplication>
#include <QByteArray>
#include <QCommandLineParser>
#include <QLocalSocket>
#include <QX11Info>

#include <X11/Xlib.h>
#include <xcb/xcb.h>

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// The platform chosen on the command line ("-platform NAME") or in
// QT_QPA_PLATFORM; empty when none is.
QByteArray chosenPlatform(int argc, char** argv)
{
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "-platform") == 0)
            return QByteArray(argv[i + 1]);
    }
    return qgetenv("QT_QPA_PLATFORM");
}

// The platform the application will pick: the chosen one, else Qt's
// default (xcb on this desktop).
QByteArray requestedPlatform(int argc, char** argv)
{
    const QByteArray chosen = chosenPlatform(argc, argv);
    return chosen.isEmpty() ? QByteArray("xcb") : chosen;
}

// On a Wayland desktop whose compositor offers the layer shell the board runs
// natively, as layer surfaces (SKEDA_WAYLAND_BOARD=xwayland asks for XWayland
// instead). Elsewhere Qt would pick its wayland platform, where the board is
// an ordinary window: it runs through XWayland, and says what that leaves
// out. A platform chosen by the user is kept.
void choosePlatform(int argc, char** argv)
{
    if (!DesktopSession::isWayland())
        return;
    const QByteArray chosen = chosenPlatform(argc, argv);
    if (chosen.isEmpty()) {
        if (qgetenv("SKEDA_WAYLAND_BOARD") != "xwayland" && WaylandBoard::canRunNatively()) {
            WaylandBoard::use();
            return;
        }
        qputenv("QT_QPA_PLATFORM", "xcb");
        std::fprintf(stderr,
                     "skeda: this is a Wayland session; the board runs through XWayland, where "
                     "select desktop passes clicks only to X programs and screenshots cannot be "
                     "taken\n");
    } else if (chosen.startsWith("wayland")) {
        std::fprintf(stderr,
                     "skeda: on the wayland platform the board is an ordinary window, without "
                     "select desktop or staying on top; leave QT_QPA_PLATFORM unset to run it "
                     "as this desktop allows\n");
    }
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

// Qt's own options (-platform NAME, -display NAME, ...) go to the
// application object untouched; the launcher's own options are --word, -h
// and -v.
bool isQtOption(const char* argument)
{
    // Qt's are words; -h and -v are the launcher's own.
    return argument[0] == '-' && argument[1] != '-' && argument[1] != '\0' && argument[2] != '\0';
}

bool qtOptionTakesValue(const char* argument)
{
    static const char* const withValue[] = {"-platform",      "-display",     "-platformpluginpath",
                                            "-platformtheme", "-plugin",      "-qwindowgeometry",
                                            "-qwindowtitle",  "-qwindowicon", "-style",
                                            "-stylesheet",    "-geometry",    "-session",
                                            "-name",          "-title",       "-visual",
                                            "-ncols",         "-cmap"};
    for (const char* option : withValue) {
        if (std::strcmp(argument, option) == 0)
            return true;
    }
    return false;
}

// The X display the board is on, which names its command socket.
QString displayName(int argc, char** argv)
{
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "-display") == 0)
            return QString::fromLocal8Bit(argv[i + 1]);
    }
    return QString::fromLocal8Bit(qgetenv("DISPLAY"));
}

// Sends the command to the board running on this display and waits for its
// answer. -1: no board runs there; otherwise the exit status.
int sendToRunningBoard(const QString& server, const QString& command)
{
    int argc = 1;
    char name[] = "skeda";
    char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);
    QLocalSocket socket;
    socket.connectToServer(server);
    if (!socket.waitForConnected(2000))
        return -1;
    socket.write(command.toUtf8() + '\n');
    socket.flush();
    // A command such as a screenshot may take the board a moment.
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(30000)) {
            std::fprintf(stderr, "skeda: the running board did not answer \"%s\"\n",
                         qPrintable(command));
            return 1;
        }
    }
    const QByteArray answer = socket.readLine().trimmed();
    if (answer == "ok")
        return 0;
    std::fprintf(stderr, "skeda: %s\n", answer.constData());
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setApplicationName(QStringLiteral("skeda"));
    QCoreApplication::setApplicationVersion(QStringLiteral(SKEDA_VERSION));

    QStringList arguments{QString::fromLocal8Bit(argv[0])};
    for (int i = 1; i < argc; ++i) {
        if (isQtOption(argv[i])) {
            if (qtOptionTakesValue(argv[i]))
                ++i;
            continue;
        }
        arguments.append(QString::fromLocal8Bit(argv[i]));
    }

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("A transparent whiteboard over the whole desktop. Without a command it "
                       "opens the board, or shows the board already running on this display; "
                       "a command is carried out by the running board."));
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help and exit."));
    const QCommandLineOption version(QStringList{QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version and exit."));
    parser.addOption(help);
    parser.addOption(version);
    const QList<QPair<QString, QString>> commands{
        {QStringLiteral("show"), QStringLiteral("Show the board (start one if none runs).")},
        {QStringLiteral("close"), QStringLiteral("Close the board; its drawing is kept.")},
        {QStringLiteral("toggle"),
         QStringLiteral("Show the board when hidden, close it when shown (start one if none "
                        "runs).")},
        {QStringLiteral("pen"), QStringLiteral("Choose the pen.")},
        {QStringLiteral("eraser"), QStringLiteral("Choose the eraser.")},
        {QStringLiteral("desktop"), QStringLiteral("Select desktop: clicks go through the board.")},
        {QStringLiteral("undo"), QStringLiteral("Undo the last stroke, erasure or clear.")},
        {QStringLiteral("redo"), QStringLiteral("Redo what was undone last.")},
        {QStringLiteral("clear"), QStringLiteral("Clear the board.")},
        {QStringLiteral("screenshot"), QStringLiteral("Take a screenshot of a region.")},
        {QStringLiteral("quit"), QStringLiteral("End the running board.")}};
    for (const auto& command : commands)
        parser.addOption(QCommandLineOption(command.first, command.second));

    if (!parser.parse(arguments)) {
        std::fprintf(stderr, "skeda: %s\nTry \"skeda --help\".\n", qPrintable(parser.errorText()));
        return 1;
    }
    if (parser.isSet(help)) {
        // The help text names the program from the application object.
        int appArgc = 1;
        char programName[] = "skeda";
        char* appArgv[] = {programName, nullptr};
        QCoreApplication app(appArgc, appArgv);
        std::fputs(qPrintable(parser.helpText()), stdout);
        return 0;
    }
    if (parser.isSet(version)) {
        std::printf("skeda %s\n", SKEDA_VERSION);
        return 0;
    }
    if (!parser.positionalArguments().isEmpty()) {
        std::fprintf(stderr, "skeda: unexpected argument \"%s\"\nTry \"skeda --help\".\n",
                     qPrintable(parser.positionalArguments().first()));
        return 1;
    }
    QStringList chosen;
    for (const auto& command : commands) {
        if (parser.isSet(command.first))
            chosen.append(command.first);
    }
    if (chosen.size() > 1) {
        std::fprintf(stderr, "skeda: one command at a time (%s)\n",
                     qPrintable(chosen.join(QStringLiteral(", "))));
        return 1;
    }
    const QString command = chosen.isEmpty() ? QString() : chosen.first();

    const QString server = CommandServer::serverName(displayName(argc, argv));
    const int sent =
        sendToRunningBoard(server, command.isEmpty() ? QStringLiteral("show") : command);
    if (sent >= 0)
        return sent;
    if (!command.isEmpty() && command != QLatin1String("show") &&
        command != QLatin1String("toggle")) {
        std::fprintf(stderr, "skeda: no board is running on this display\n");
        return 1;
    }

    qputenv("QT_LOGGING_RULES", "*.debug=true ; qt.*.debug=false");
    choosePlatform(argc, argv);
    if (!displayReachable(argc, argv))
        return 1;
    X11SharedMemory::turnOff();

    QApplication app(argc, argv);
    // The board is closed and shown again by later commands (`skeda`,
    // --show, --toggle): closing it does not end it, --quit does.
    app.setQuitOnLastWindowClosed(false);
    if (QX11Info::isPlatformX11() && QX11Info::connection()) {
        XSetIOErrorHandler(onXlibIOError);
        s_connection = QX11Info::connection();
        std::atexit(endIfDisplayLost);
    }
    WaylandBoard::install(&app);
    MainWindow window(nullptr);
    window.initUI();
    auto* commandServer = new CommandServer(&window);
    commandServer->listen(server);
    window.show();
    const int status = app.exec();
    s_connection = nullptr;
    return status;
}
