// skeda-host: an example host application. It loads the board plugin with
// QPluginLoader, opens the board on request and saves the screenshots the
// board hands over.

#include "boardloader.h"
#include "hostwindow.h"

#include <skeda/skedainterface.h>

#include <QApplication>
#include <QByteArray>
#include <QCommandLineParser>

#include <cstdio>
#include <cstring>

namespace {

// Qt aborts when it cannot reach the X display; catch the common case of no
// display at all and say so instead.
bool displayMissing(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "-platform") == 0 || std::strcmp(argv[i], "-display") == 0)
            return false;
    }
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith("xcb"))
        return false;
    return qEnvironmentVariableIsEmpty("DISPLAY");
}

// Qt takes "-plugin" and "--plugin" for its own generic plugins. Ours are
// taken out of the arguments before Qt sees them and given back to the
// parser afterwards as "--plugin=<file>".
QStringList takePluginOptions(int& argc, char** argv)
{
    QStringList taken;
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--plugin") == 0) {
            // Without a value the parser reports the missing file.
            taken << (i + 1 < argc ? QStringLiteral("--plugin=") + QString::fromLocal8Bit(argv[++i])
                                   : QStringLiteral("--plugin"));
        } else if (std::strncmp(argv[i], "--plugin=", 9) == 0) {
            taken << QString::fromLocal8Bit(argv[i]);
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    argv[argc] = nullptr;
    return taken;
}

} // namespace

int main(int argc, char** argv)
{
    if (displayMissing(argc, argv)) {
        std::fprintf(stderr, "skeda-host: there is no X display (DISPLAY is not set); run it in "
                             "an X11 session\n");
        return 1;
    }

    const QStringList pluginOptions = takePluginOptions(argc, argv);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("skeda-host"));
    QApplication::setApplicationVersion(QStringLiteral(SKEDA_HOST_VERSION));
    // The board window comes and goes; the host decides when to end.
    QApplication::setQuitOnLastWindowClosed(false);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Opens the Skeda whiteboard and saves its screenshots as PNG files."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption pluginOption(
        QStringLiteral("plugin"),
        QStringLiteral("Load the board from this file instead of searching for %1.")
            .arg(BoardLoader::pluginName()),
        QStringLiteral("file"));
    const QCommandLineOption saveDirOption(
        QStringLiteral("save-dir"),
        QStringLiteral("Save screenshots in this folder (default: %1).")
            .arg(HostWindow::defaultSaveDir()),
        QStringLiteral("folder"));
    const QCommandLineOption openOption(QStringLiteral("open"),
                                        QStringLiteral("Open the board at once."));
    const QCommandLineOption checkOption(
        QStringLiteral("check"),
        QStringLiteral("Load the plugin, create the board without showing it, and exit: status "
                       "0 when that worked."));
    parser.addOptions({pluginOption, saveDirOption, openOption, checkOption});
    parser.process(QCoreApplication::arguments() + pluginOptions);

    BoardLoader loader;
    loader.setExplicitFile(parser.value(pluginOption));
    const bool loaded = loader.load();
    if (loaded) {
        std::fprintf(stdout, "loaded %s\n", qUtf8Printable(loader.fileName()));
        std::fflush(stdout);
    } else {
        std::fprintf(stderr, "skeda-host: %s\n", qUtf8Printable(loader.errorMessage()));
    }

    if (parser.isSet(checkOption)) {
        if (!loaded)
            return 1;
        QWidget* board = loader.board()->createWidget(nullptr);
        const bool made = board != nullptr;
        delete board;
        return made ? 0 : 1;
    }

    HostWindow window(loader.board(), loader.fileName(), loader.errorMessage());
    if (parser.isSet(saveDirOption))
        window.setSaveDir(parser.value(saveDirOption));
    if (loaded && parser.isSet(openOption))
        window.openBoard();
    else
        window.show();
    return app.exec();
}
