// The Debian package as a user gets it: cpack builds it from this build,
// apt-get installs it, the launcher /usr/bin/skeda opens its board on the X
// server, the example host finds the plugin by name in Qt's plugin folder,
// and apt-get removes it again. Needs root; skipped otherwise.

#include "tests/support/x11desktop.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

#include <X11/Xlib.h>

#include <unistd.h>

namespace {

struct Run
{
    int exitCode = -1;
    QString out;
    QString err;
};

Run run(const QString& program, const QStringList& arguments, int timeoutMs = 120000,
        const QString& workingDirectory = QString())
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DEBIAN_FRONTEND"), QStringLiteral("noninteractive"));
    process.setProcessEnvironment(env);
    if (!workingDirectory.isEmpty())
        process.setWorkingDirectory(workingDirectory);
    process.start(program, arguments);
    Run result;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        result.err = QStringLiteral("%1 did not finish in time").arg(program);
        return result;
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err += QString::fromUtf8(process.readAllStandardError());
    return result;
}

bool packageInstalled()
{
    const Run r =
        run(QStringLiteral("dpkg-query"),
            {QStringLiteral("-W"), QStringLiteral("-f=${Status}"), QStringLiteral("skeda")});
    return r.exitCode == 0 && r.out == QStringLiteral("install ok installed");
}

const QString kPlugin = QStringLiteral("/usr/" SKEDA_INSTALL_PLUGINDIR "/skeda/libSkeda.so");

} // namespace

class TestDebPackage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        X11Desktop::ignoreXErrors();
        if (geteuid() != 0)
            QSKIP("installing the Debian package needs root; run the suite as root to test it");
        for (const char* tool : {"cpack", "apt-get", "dpkg-deb", "dpkg-query"}) {
            if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty())
                QSKIP(qPrintable(QStringLiteral("%1 is not installed").arg(QLatin1String(tool))));
        }
        if (packageInstalled())
            QSKIP("the package skeda is installed on this machine already; leaving it alone");
        m_timer.start();
    }

    void cleanupTestCase()
    {
        if (m_installed) {
            const Run r =
                run(QStringLiteral("apt-get"),
                    {QStringLiteral("remove"), QStringLiteral("-y"), QStringLiteral("skeda")});
            QVERIFY2(r.exitCode == 0, qPrintable(r.err));
            QVERIFY(!packageInstalled());
            QVERIFY(!QFileInfo::exists(QStringLiteral("/usr/bin/skeda")));
            QVERIFY(!QFileInfo::exists(kPlugin));
        }
        if (m_timer.isValid())
            qInfo("package test took %.1f s", m_timer.elapsed() / 1000.0);
    }

    void buildThePackage()
    {
        QDir work(QStringLiteral(SKEDA_PACKAGE_WORK));
        QVERIFY(work.removeRecursively());
        QVERIFY(QDir().mkpath(work.path()));
        // The packages and cpack's staging folder go to the work folder; the
        // build itself is only read.
        const Run r = run(QStringLiteral("cpack"),
                          {QStringLiteral("-G"), QStringLiteral("DEB"), QStringLiteral("--config"),
                           QStringLiteral(SKEDA_BUILD_DIR "/CPackConfig.cmake"),
                           QStringLiteral("-B"), work.path()},
                          240000);
        QVERIFY2(r.exitCode == 0, qPrintable(r.out + r.err));
        const QStringList debs =
            work.entryList({QStringLiteral("skeda_*.deb")}, QDir::Files, QDir::Name);
        QCOMPARE(debs.size(), 1);
        m_deb = work.filePath(debs.first());
        qInfo("%s: %lld bytes", qPrintable(debs.first()), QFileInfo(m_deb).size());

        const Run fields = run(QStringLiteral("dpkg-deb"),
                               {QStringLiteral("-f"), m_deb, QStringLiteral("Package"),
                                QStringLiteral("Architecture"), QStringLiteral("Depends")});
        QCOMPARE(fields.exitCode, 0);
        QVERIFY2(fields.out.startsWith(QStringLiteral("Package: skeda\n")), qPrintable(fields.out));
        for (const char* dependency :
             {"libqt5widgets5", "libqt5quickwidgets5", "libqt5x11extras5", "qml-module-qtquick2",
              "qml-module-qtquick-layouts", "qml-module-qtquick-window2", "libx11-6", "libxext6",
              "fonts-wqy-microhei"}) {
            QVERIFY2(fields.out.contains(QLatin1String(dependency)), dependency);
        }

        const Run contents = run(QStringLiteral("dpkg-deb"), {QStringLiteral("-c"), m_deb});
        QCOMPARE(contents.exitCode, 0);
        for (const QString& file :
             {QStringLiteral("./usr/bin/skeda"), QStringLiteral("./usr/bin/skeda-host"),
              QStringLiteral(".") + kPlugin, QStringLiteral("./usr/include/skeda/skedainterface.h"),
              QStringLiteral("./usr/share/applications/skeda.desktop"),
              QStringLiteral("./usr/share/icons/hicolor/scalable/apps/skeda.svg")}) {
            QVERIFY2(contents.out.contains(file + QLatin1Char('\n')), qPrintable(file));
        }
    }

    void installThePackage()
    {
        QVERIFY(!m_deb.isEmpty());
        const QFileInfo deb(m_deb);
        const Run r =
            run(QStringLiteral("apt-get"),
                {QStringLiteral("install"), QStringLiteral("-y"),
                 QStringLiteral("--no-install-recommends"), QStringLiteral("./") + deb.fileName()},
                240000, deb.absolutePath());
        m_installed = packageInstalled();
        QVERIFY2(r.exitCode == 0, qPrintable(r.out + r.err));
        QVERIFY(m_installed);
        QVERIFY(QFileInfo(QStringLiteral("/usr/bin/skeda")).isExecutable());
        QVERIFY(QFileInfo::exists(kPlugin));
    }

    // The launcher opens its board: a window of its process covering the
    // screen.
    void launcherOpensTheBoard()
    {
        QVERIFY(m_installed);
        Display* display = XOpenDisplay(nullptr);
        QVERIFY(display);
        QProcess launcher;
        launcher.start(QStringLiteral("/usr/bin/skeda"), QStringList());
        QVERIFY(launcher.waitForStarted());
        unsigned long board = 0;
        QTRY_VERIFY_WITH_TIMEOUT(
            (board = X11Desktop::windowOfProcess(display, launcher.processId(), 1920)) != 0, 20000);
        XWindowAttributes attributes;
        QVERIFY(XGetWindowAttributes(display, board, &attributes));
        QCOMPARE(QSize(attributes.width, attributes.height), QSize(1920, 1080));
        QCOMPARE(launcher.state(), QProcess::Running);
        launcher.terminate();
        QVERIFY(launcher.waitForFinished(15000));
        XCloseDisplay(display);
    }

    // Under the prefix /usr, Qt's loader finds the plugin by its name.
    void hostFindsThePluginByName()
    {
        QVERIFY(m_installed);
        QProcess host;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove(QStringLiteral("QT_PLUGIN_PATH"));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        host.setProcessEnvironment(env);
        host.start(QStringLiteral("/usr/bin/skeda-host"), {QStringLiteral("--check")});
        QVERIFY(host.waitForFinished(60000));
        QCOMPARE(host.exitCode(), 0);
        QCOMPARE(QString::fromUtf8(host.readAllStandardOutput()),
                 QStringLiteral("loaded %1\n").arg(kPlugin));
    }

private:
    QString m_deb;
    bool m_installed = false;
    QElapsedTimer m_timer;
};

QTEST_GUILESS_MAIN(TestDebPackage)
#include "tst_debpackage.moc"
