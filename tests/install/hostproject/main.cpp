// A host built against the installed package: it loads the plugin by name
// from Qt's plugin path, casts it, makes the board and hears its signals.
// Prints one line per check and "ok" at the end; exits non-zero on the first
// failure.

#include <skeda/skedainterface.h>

#include <QApplication>
#include <QFileInfo>
#include <QPluginLoader>
#include <QWidget>

#include <cstdio>

namespace {

int fail(const QString& what)
{
    std::fprintf(stderr, "hostproject: %s\n", qUtf8Printable(what));
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);

    QPluginLoader loader(QStringLiteral(SKEDA_PLUGIN_NAME));
    if (!loader.load())
        return fail(QStringLiteral("cannot load %1: %2")
                        .arg(QStringLiteral(SKEDA_PLUGIN_NAME), loader.errorString()));
    const QString loaded = QFileInfo(loader.fileName()).canonicalFilePath();
    if (loaded != QFileInfo(QStringLiteral(SKEDA_PLUGIN_FILE)).canonicalFilePath())
        return fail(QStringLiteral("loaded %1 instead of %2")
                        .arg(loaded, QStringLiteral(SKEDA_PLUGIN_FILE)));
    std::printf("loaded %s\n", qUtf8Printable(loaded));

    auto* board = qobject_cast<SkedaInterFace*>(loader.instance());
    if (!board)
        return fail(QStringLiteral("the instance is not a SkedaInterFace"));
    std::printf("cast\n");

    QWidget* window = board->createWidget(nullptr);
    if (!window || window != board->createWidget(nullptr))
        return fail(QStringLiteral("createWidget() did not give one window"));
    std::printf("window %s\n", window->metaObject()->className());

    // The signals reach a host that compiled the interface header itself.
    int closed = 0;
    QSize shot;
    QObject::connect(board, &SkedaInterFace::sigSkedaClose, [&closed] { ++closed; });
    QObject::connect(board, &SkedaInterFace::sigScreenShotPixmap,
                     [&shot](const QPixmap& pix) { shot = pix.size(); });
    board->showSkeda();
    QPixmap pixmap(12, 34);
    pixmap.fill(Qt::red);
    QMetaObject::invokeMethod(window, "sigScreenShotPixmap", Q_ARG(QPixmap, pixmap));
    QMetaObject::invokeMethod(window, "sigSkedaClose");
    if (closed != 1 || shot != QSize(12, 34))
        return fail(QStringLiteral("signals: %1 close, screenshot %2x%3")
                        .arg(closed)
                        .arg(shot.width())
                        .arg(shot.height()));
    std::printf("signals\n");

    delete window;
    std::printf("ok\n");
    return 0;
}
