// The example host skeda-host as a user runs it: which plugin it finds (build
// tree, explicit file, installed by name or next to an installed host), what
// it says when it finds none, and its window on a real X server.

#include "tests/support/x11desktop.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QLibraryInfo>
#include <QPluginLoader>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <X11/Xlib.h>

namespace {

struct Run
{
    bool finished = false;
    int exitCode = -1;
    QString out;
    QString err;
};

QProcessEnvironment cleanEnvironment()
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("QT_PLUGIN_PATH"));
    return env;
}

Run run(const QString& program, const QStringList& arguments,
        const QProcessEnvironment& env = cleanEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(program, arguments);
    Run result;
    result.finished = process.waitForFinished(60000);
    if (!result.finished) {
        process.kill();
        process.waitForFinished();
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    return result;
}

QString canonical(const QString& fileName)
{
    return QFileInfo(fileName).canonicalFilePath();
}

// What the loader says about a file, as the host passes it on.
QString loaderError(const QString& fileName)
{
    QPluginLoader loader(fileName);
    loader.load();
    return loader.errorString();
}

// The libSkeda a search by name would find in Qt's own plugin folder: there
// when the Debian package is installed on this machine.
bool systemPluginInstalled()
{
    return QFileInfo::exists(QLibraryInfo::location(QLibraryInfo::PluginsPath) +
                             QStringLiteral("/skeda/libSkeda.so"));
}

const QString kPrefix = QStringLiteral(SKEDA_TEST_PREFIX);

QString installed(const char* relative)
{
    return kPrefix + QLatin1Char('/') + QLatin1String(relative);
}

QString installedPlugin()
{
    return kPrefix + QStringLiteral("/" SKEDA_INSTALL_PLUGINDIR "/skeda/libSkeda.so");
}

} // namespace

class TestHostApp : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { X11Desktop::ignoreXErrors(); }

    void buildTreePlugin()
    {
        if (systemPluginInstalled())
            QSKIP("Qt's plugin folder holds a libSkeda, which the search finds first");
        const Run r = run(QStringLiteral(SKEDA_HOST_FILE), {QStringLiteral("--check")});
        QVERIFY2(r.finished, "skeda-host --check did not finish");
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, QStringLiteral("loaded %1\n").arg(QStringLiteral(SKEDA_PLUGIN_FILE)));
    }

    void explicitPlugin()
    {
        const Run r = run(QStringLiteral(SKEDA_HOST_FILE),
                          {QStringLiteral("--check"), QStringLiteral("--plugin"),
                           QStringLiteral(SKEDA_PLUGIN_FILE)});
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, QStringLiteral("loaded %1\n").arg(QStringLiteral(SKEDA_PLUGIN_FILE)));
    }

    // A relative file is taken from the working folder, not searched for.
    void relativeExplicitPlugin()
    {
        const QFileInfo plugin(QStringLiteral(SKEDA_PLUGIN_FILE));
        QProcess process;
        process.setProcessEnvironment(cleanEnvironment());
        process.setWorkingDirectory(plugin.absolutePath());
        process.start(QStringLiteral(SKEDA_HOST_FILE),
                      {QStringLiteral("--plugin=") + plugin.fileName(), QStringLiteral("--check")});
        QVERIFY(process.waitForFinished(60000));
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(QString::fromUtf8(process.readAllStandardOutput()),
                 QStringLiteral("loaded %1\n").arg(plugin.absoluteFilePath()));
    }

    void wrongPathIsReported()
    {
        QTemporaryDir dir;
        const QString missing = dir.filePath(QStringLiteral("nowhere/libSkeda.so"));
        const Run r = run(QStringLiteral(SKEDA_HOST_FILE),
                          {QStringLiteral("--plugin"), missing, QStringLiteral("--check")});
        QVERIFY2(r.finished, "skeda-host did not finish");
        QCOMPARE(r.exitCode, 1);
        QVERIFY(r.out.isEmpty());
        const QString expected =
            QStringLiteral("skeda-host: could not load the board plugin; tried:\n"
                           "  %1: no such file (%2)\n")
                .arg(missing, loaderError(missing));
        QVERIFY2(r.err.contains(expected), qPrintable(r.err));
    }

    void notAPluginIsReported()
    {
        QTemporaryDir dir;
        const QString text = dir.filePath(QStringLiteral("libSkeda.so"));
        QFile file(text);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("not a library\n");
        file.close();
        const Run r = run(QStringLiteral(SKEDA_HOST_FILE),
                          {QStringLiteral("--check"), QStringLiteral("--plugin"), text});
        QCOMPARE(r.exitCode, 1);
        const QString expected = QStringLiteral("skeda-host: could not load the board plugin; "
                                                "tried:\n  %1: %2\n")
                                     .arg(text, loaderError(text));
        QVERIFY2(r.err.contains(expected), qPrintable(r.err));
    }

    // A Qt plugin, but not the board.
    void otherPluginIsReported()
    {
        const QString gif = QLibraryInfo::location(QLibraryInfo::PluginsPath) +
                            QStringLiteral("/imageformats/libqgif.so");
        if (!QFileInfo::exists(gif))
            QSKIP("Qt's GIF plugin is not installed");
        const Run r = run(QStringLiteral(SKEDA_HOST_FILE),
                          {QStringLiteral("--check"), QStringLiteral("--plugin"), gif});
        QCOMPARE(r.exitCode, 1);
        const QString expected =
            QStringLiteral("  %1: the plugin (class \"QGifPlugin\") does not implement "
                           "SkedaInterFace (SkedaInterFace_IID)\n")
                .arg(canonical(gif));
        QVERIFY2(r.err.contains(expected), qPrintable(r.err));
    }

    void missingValueIsReported()
    {
        const Run r = run(QStringLiteral(SKEDA_HOST_FILE),
                          {QStringLiteral("--check"), QStringLiteral("--plugin")});
        QCOMPARE(r.exitCode, 1);
        QVERIFY2(r.err.contains(QStringLiteral("Missing value after '--plugin'")),
                 qPrintable(r.err));
    }

    // What `cmake --install` put into the prefix.
    void installedLayout()
    {
        for (const QString& program : {installed(SKEDA_INSTALL_BINDIR "/skeda"),
                                       installed(SKEDA_INSTALL_BINDIR "/skeda-host")}) {
            QVERIFY2(QFileInfo(program).isExecutable(), qPrintable(program));
        }
        QVERIFY(QFileInfo::exists(installedPlugin()));

        QFile header(installed(SKEDA_INSTALL_INCLUDEDIR "/skeda/skedainterface.h"));
        QFile source(QStringLiteral(SKEDA_SOURCE_DIR "/interface/skedainterface.h"));
        QVERIFY(header.open(QIODevice::ReadOnly));
        QVERIFY(source.open(QIODevice::ReadOnly));
        QCOMPARE(header.readAll(), source.readAll());

        for (const char* name :
             {"SkedaConfig.cmake", "SkedaConfigVersion.cmake", "SkedaTargets.cmake"}) {
            QVERIFY2(QFileInfo::exists(installed(SKEDA_INSTALL_CMAKEDIR "/") + QLatin1String(name)),
                     name);
        }

        QFile desktop(installed(SKEDA_INSTALL_DATADIR "/applications/skeda.desktop"));
        QVERIFY(desktop.open(QIODevice::ReadOnly | QIODevice::Text));
        const QStringList lines = QString::fromUtf8(desktop.readAll()).split(QLatin1Char('\n'));
        QCOMPARE(lines.first(), QStringLiteral("[Desktop Entry]"));
        for (const char* line : {"Type=Application", "Name=Skeda", "Exec=skeda", "Icon=skeda",
                                 "Categories=Education;Graphics;"}) {
            QVERIFY2(lines.contains(QLatin1String(line)), line);
        }
        QVERIFY(QFileInfo::exists(
            installed(SKEDA_INSTALL_DATADIR "/icons/hicolor/scalable/apps/skeda.svg")));
        const QString png =
            installed(SKEDA_INSTALL_DATADIR "/icons/hicolor/128x128/apps/skeda.png");
        if (QFileInfo::exists(png))
            QCOMPARE(QImage(png).size(), QSize(128, 128));

        // The launcher finds the library it links in the prefix's plugin
        // folder, through its run path.
        const Run ldd = run(QStringLiteral("ldd"), {installed(SKEDA_INSTALL_BINDIR "/skeda")});
        QCOMPARE(ldd.exitCode, 0);
        const QRegularExpressionMatch found =
            QRegularExpression(QStringLiteral("libSkeda\\.so => (\\S+) ")).match(ldd.out);
        QVERIFY2(found.hasMatch(), qPrintable(ldd.out));
        QCOMPARE(canonical(found.captured(1)), canonical(installedPlugin()));
    }

    // The name "skeda/libSkeda.so", found in a folder of QT_PLUGIN_PATH.
    void installedPluginByName()
    {
        QProcessEnvironment env = cleanEnvironment();
        env.insert(QStringLiteral("QT_PLUGIN_PATH"),
                   QStringLiteral(SKEDA_TEST_PREFIX "/" SKEDA_INSTALL_PLUGINDIR));
        const Run r = run(QStringLiteral(SKEDA_HOST_FILE), {QStringLiteral("--check")}, env);
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, QStringLiteral("loaded %1\n").arg(installedPlugin()));
    }

    // An installed host finds the plugin of its own installation.
    void installedPluginNextToTheHost()
    {
        if (systemPluginInstalled())
            QSKIP("Qt's plugin folder holds a libSkeda, which the search finds first");
        const Run r =
            run(installed(SKEDA_INSTALL_BINDIR "/skeda-host"), {QStringLiteral("--check")});
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, QStringLiteral("loaded %1\n").arg(installedPlugin()));
    }

    // Without a board the window says why; closing it ends the program with
    // status 1.
    void failedLoadShowsTheWindowAndExits()
    {
        Display* display = XOpenDisplay(nullptr);
        QVERIFY(display);
        QTemporaryDir dir;
        const QString missing = dir.filePath(QStringLiteral("libSkeda.so"));
        QProcess host;
        host.start(QStringLiteral(SKEDA_HOST_FILE), {QStringLiteral("--plugin"), missing});
        QVERIFY(host.waitForStarted());
        unsigned long window = 0;
        QTRY_VERIFY_WITH_TIMEOUT(
            (window = X11Desktop::windowOfProcess(display, host.processId())) != 0, 15000);
        QString err;
        QTRY_VERIFY((err += QString::fromUtf8(host.readAllStandardError()))
                        .contains(QStringLiteral("  %1: no such file").arg(missing)));
        QCOMPARE(host.state(), QProcess::Running);

        X11Desktop::closeWindow(display, window);
        QVERIFY(host.waitForFinished(15000));
        QCOMPARE(host.exitStatus(), QProcess::NormalExit);
        QCOMPARE(host.exitCode(), 1);
        XCloseDisplay(display);
    }

    // The window's big button opens the board.
    void windowOpensTheBoard()
    {
        Display* display = XOpenDisplay(nullptr);
        QVERIFY(display);
        QTemporaryDir dir;
        QProcess host;
        host.start(QStringLiteral(SKEDA_HOST_FILE),
                   {QStringLiteral("--plugin"), QStringLiteral(SKEDA_PLUGIN_FILE),
                    QStringLiteral("--save-dir"), dir.path()});
        QVERIFY(host.waitForStarted());
        unsigned long window = 0;
        QTRY_VERIFY_WITH_TIMEOUT(
            (window = X11Desktop::windowOfProcess(display, host.processId())) != 0, 15000);
        QString out;
        const auto output = [&host, &out] {
            return out += QString::fromUtf8(host.readAllStandardOutput());
        };
        QTRY_COMPARE(output(),
                     QStringLiteral("loaded %1\n").arg(QStringLiteral(SKEDA_PLUGIN_FILE)));
        XWindowAttributes attributes;
        QVERIFY(XGetWindowAttributes(display, window, &attributes));
        // The click once the host has painted its window.
        X11Desktop::grabSettled(
            display, QRect(attributes.x, attributes.y, attributes.width, attributes.height));
        QVERIFY(X11Desktop::click(
            QPoint(attributes.x + attributes.width / 2, attributes.y + attributes.height / 2)));
        QTRY_COMPARE(output(),
                     QStringLiteral("loaded %1\nopened\n").arg(QStringLiteral(SKEDA_PLUGIN_FILE)));
        QTRY_VERIFY_WITH_TIMEOUT(X11Desktop::windowOfProcess(display, host.processId(), 1920) != 0,
                                 15000);
        host.terminate();
        QVERIFY(host.waitForFinished(15000));
        XCloseDisplay(display);
    }
};

QTEST_GUILESS_MAIN(TestHostApp)
#include "tst_hostapp.moc"
