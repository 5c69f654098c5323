#pragma once

#include <QColor>
#include <QImage>
#include <QJsonDocument>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSize>
#include <QString>
#include <QTemporaryDir>

// A Wayland desktop for the tests: sway on its headless back end, with one
// output of a solid colour and XWayland, in a runtime directory of its own.
// sway refuses to run as root; a root test runs it as the user "nobody" and
// lets its own user in to XWayland.
class HeadlessSway
{
public:
    explicit HeadlessSway(const QSize& size = QSize(1280, 720));
    ~HeadlessSway();

    HeadlessSway(const HeadlessSway&) = delete;
    HeadlessSway& operator=(const HeadlessSway&) = delete;

    // Whether sway, grim, swaymsg and xhost are installed.
    static bool available();
    // Starts the compositor and waits until clients can connect to it and to
    // its XWayland; false, with the reason in `error`, when it cannot.
    bool start(QString* error);
    void stop();

    QSize size() const { return m_size; }
    // The colour the output shows where no window covers it.
    static QColor background() { return QColor(0x33, 0x66, 0x99); }
    // What a program started in this session finds: WAYLAND_DISPLAY,
    // XDG_RUNTIME_DIR, DISPLAY (XWayland), XDG_SESSION_TYPE=wayland; added
    // to this process's environment without its QT_QPA_PLATFORM.
    QProcessEnvironment environment() const;
    // The output as the compositor shows it (grim); a null image on failure.
    QImage grab() const;
    // The compositor's tree of outputs and windows (swaymsg -t get_tree).
    QJsonDocument tree() const;

private:
    bool runAsCompositorUser(const QString& program, const QStringList& arguments) const;

    QSize m_size;
    QTemporaryDir m_dir;
    QString m_runtimeDir;
    QProcess m_sway;
    QProcessEnvironment m_session;
    bool m_dropRoot = false;
};
