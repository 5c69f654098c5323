#pragma once

#include "tests/support/x11desktop.h"

#include <QProcess>
#include <QString>
#include <QtTest>

// The `skeda` launcher as a user starts it, for the tests that watch it from
// outside (its windows, its pixels, its exit). The including test is built
// with SKEDA_LAUNCHER_FILE, the launcher's path.
namespace LauncherProcess {

// Starts the launcher with these arguments on the X display `displayName`
// (this process's DISPLAY when empty), on the platform it picks itself, with
// `extra` added to this process's environment.
inline bool start(QProcess& launcher, const QStringList& arguments = QStringList(),
                  const QString& displayName = QString(),
                  const QProcessEnvironment& extra = QProcessEnvironment())
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(extra);
    if (!displayName.isEmpty())
        env.insert(QStringLiteral("DISPLAY"), displayName);
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    launcher.setProcessEnvironment(env);
    launcher.start(QStringLiteral(SKEDA_LAUNCHER_FILE), arguments);
    return launcher.waitForStarted();
}

// Waits until the launcher's board (the 1920-wide window, not the toolbar,
// which may be mapped first) is mapped on the display: its window, or 0
// after 20 seconds.
inline unsigned long waitForBoard(Display* display, const QProcess& launcher)
{
    unsigned long board = 0;
    const bool mapped = QTest::qWaitFor(
        [&] {
            return (board = X11Desktop::windowOfProcess(display, launcher.processId(), 1920)) != 0;
        },
        20000);
    return mapped ? board : 0;
}

} // namespace LauncherProcess
