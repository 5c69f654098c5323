#include "tests/support/headlesssway.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTest>

#include <pwd.h>
#include <unistd.h>

namespace {

// The user "nobody", whom sway accepts where it refuses root.
constexpr uid_t kNobody = 65534;
constexpr int kStartTimeoutMs = 30000;

bool runQuietly(QProcess& process, int timeoutMs = 20000)
{
    if (!process.waitForStarted(timeoutMs) || !process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return false;
    }
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

} // namespace

HeadlessSway::HeadlessSway(const QSize& size)
    : m_size(size)
{
}

HeadlessSway::~HeadlessSway()
{
    stop();
}

bool HeadlessSway::available()
{
    for (const char* tool : {"sway", "swaymsg", "grim", "xhost", "setpriv"}) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
            return false;
    }
    return true;
}

bool HeadlessSway::start(QString* error)
{
    auto fail = [&](const QString& reason) {
        if (error)
            *error = reason;
        stop();
        return false;
    };
    if (!m_dir.isValid())
        return fail(QStringLiteral("no temporary directory"));
    m_dropRoot = geteuid() == 0;
    // The runtime directory must belong to the compositor's user, and be
    // reachable by it.
    QFile::setPermissions(m_dir.path(), QFile::permissions(m_dir.path()) | QFile::ExeOther);
    m_runtimeDir = m_dir.filePath(QStringLiteral("runtime"));
    if (!QDir().mkpath(m_runtimeDir))
        return fail(QStringLiteral("cannot make the runtime directory"));
    QFile::setPermissions(m_runtimeDir, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    if (m_dropRoot && chown(QFile::encodeName(m_runtimeDir).constData(), kNobody, kNobody) != 0)
        return fail(QStringLiteral("cannot give the runtime directory to nobody"));

    const QString envFile = m_runtimeDir + QStringLiteral("/session.env");
    const QString configFile = m_dir.filePath(QStringLiteral("config"));
    QFile config(configFile);
    if (!config.open(QIODevice::WriteOnly | QIODevice::Text))
        return fail(QStringLiteral("cannot write the compositor's configuration"));
    config.write(
        QStringLiteral("output HEADLESS-1 resolution %1x%2 position 0 0 bg %3 solid_color\n"
                       "xwayland enable\n"
                       "exec env > %4\n")
            .arg(m_size.width())
            .arg(m_size.height())
            .arg(background().name(), envFile)
            .toUtf8());
    config.close();
    config.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther);

    QProcessEnvironment env;
    env.insert(QStringLiteral("PATH"),
               qEnvironmentVariable("PATH", QStringLiteral("/usr/bin:/bin")));
    env.insert(QStringLiteral("HOME"), m_runtimeDir);
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtimeDir);
    env.insert(QStringLiteral("WLR_BACKENDS"), QStringLiteral("headless"));
    env.insert(QStringLiteral("WLR_RENDERER"), QStringLiteral("pixman"));
    env.insert(QStringLiteral("WLR_LIBINPUT_NO_DEVICES"), QStringLiteral("1"));
    env.insert(QStringLiteral("WLR_HEADLESS_OUTPUTS"), QStringLiteral("1"));
    m_sway.setProcessEnvironment(env);
    m_sway.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_sway.setStandardOutputFile(QProcess::nullDevice());
    const QStringList swayArguments{QStringLiteral("-c"), configFile};
    if (m_dropRoot) {
        m_sway.start(QStringLiteral("setpriv"),
                     QStringList{QStringLiteral("--reuid=%1").arg(kNobody),
                                 QStringLiteral("--regid=%1").arg(kNobody),
                                 QStringLiteral("--clear-groups"), QStringLiteral("sway")} +
                         swayArguments);
    } else {
        m_sway.start(QStringLiteral("sway"), swayArguments);
    }
    if (!m_sway.waitForStarted())
        return fail(QStringLiteral("sway did not start"));

    // The configuration's last line writes the session's environment once
    // the compositor runs its clients.
    QProcessEnvironment session;
    const bool ready = QTest::qWaitFor(
        [&] {
            if (m_sway.state() != QProcess::Running)
                return true;
            QFile file(envFile);
            if (!file.open(QIODevice::ReadOnly))
                return false;
            const QList<QByteArray> lines = file.readAll().split('\n');
            for (const QByteArray& line : lines) {
                const int eq = line.indexOf('=');
                if (eq > 0)
                    session.insert(QString::fromUtf8(line.left(eq)),
                                   QString::fromUtf8(line.mid(eq + 1)));
            }
            return session.contains(QStringLiteral("DISPLAY")) &&
                   session.contains(QStringLiteral("SWAYSOCK"));
        },
        kStartTimeoutMs);
    if (!ready || m_sway.state() != QProcess::Running)
        return fail(QStringLiteral("sway ended or did not get ready"));
    m_session = session;

    // XWayland starts at its first client. Started by the compositor's user,
    // it lets in that user only: this process's user is let in too.
    const passwd* user = getpwuid(geteuid());
    const QString self = QStringLiteral("+si:localuser:%1")
                             .arg(QString::fromLocal8Bit(user ? user->pw_name : "root"));
    if (m_dropRoot && !runAsCompositorUser(QStringLiteral("xhost"), {self}))
        return fail(QStringLiteral("XWayland did not let this user in"));
    return true;
}

bool HeadlessSway::runAsCompositorUser(const QString& program, const QStringList& arguments) const
{
    QProcess process;
    QProcessEnvironment env;
    env.insert(QStringLiteral("PATH"),
               qEnvironmentVariable("PATH", QStringLiteral("/usr/bin:/bin")));
    env.insert(QStringLiteral("DISPLAY"), m_session.value(QStringLiteral("DISPLAY")));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtimeDir);
    process.setProcessEnvironment(env);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.start(QStringLiteral("setpriv"),
                  QStringList{QStringLiteral("--reuid=%1").arg(kNobody),
                              QStringLiteral("--regid=%1").arg(kNobody),
                              QStringLiteral("--clear-groups"), program} +
                      arguments);
    return runQuietly(process);
}

void HeadlessSway::stop()
{
    if (m_sway.state() != QProcess::NotRunning) {
        // Asked to exit, sway ends its own clients (XWayland, the
        // background) and waits for them.
        QProcess exit;
        exit.setProcessEnvironment(environment());
        exit.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        exit.start(QStringLiteral("swaymsg"), {QStringLiteral("exit")});
        runQuietly(exit);
        if (!m_sway.waitForFinished(5000))
            m_sway.terminate();
        if (!m_sway.waitForFinished(5000)) {
            m_sway.kill();
            m_sway.waitForFinished();
        }
    }
}

QProcessEnvironment HeadlessSway::environment() const
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    env.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland"));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtimeDir);
    for (const char* name : {"WAYLAND_DISPLAY", "DISPLAY", "SWAYSOCK"})
        env.insert(QString::fromLatin1(name), m_session.value(QString::fromLatin1(name)));
    return env;
}

QImage HeadlessSway::grab() const
{
    const QString file = m_dir.filePath(QStringLiteral("grab.png"));
    QFile::remove(file);
    QProcess grim;
    grim.setProcessEnvironment(environment());
    grim.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    grim.start(QStringLiteral("grim"), {file});
    if (!runQuietly(grim))
        return QImage();
    return QImage(file).convertToFormat(QImage::Format_RGB32);
}

QJsonDocument HeadlessSway::tree() const
{
    QProcess swaymsg;
    swaymsg.setProcessEnvironment(environment());
    swaymsg.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    swaymsg.start(QStringLiteral("swaymsg"),
                  {QStringLiteral("-r"), QStringLiteral("-t"), QStringLiteral("get_tree")});
    if (!runQuietly(swaymsg))
        return QJsonDocument();
    return QJsonDocument::fromJson(swaymsg.readAllStandardOutput());
}
