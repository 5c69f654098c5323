#include "common/desktopsession.h"

#include <QGuiApplication>

bool DesktopSession::isWaylandFor(const QByteArray& sessionType, const QByteArray& waylandDisplay)
{
    if (!sessionType.isEmpty())
        return sessionType == "wayland";
    return !waylandDisplay.isEmpty();
}

bool DesktopSession::isWayland()
{
    return isWaylandFor(qgetenv("XDG_SESSION_TYPE"), qgetenv("WAYLAND_DISPLAY"));
}

bool DesktopSession::onWaylandPlatform()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

bool DesktopSession::canCaptureScreenOn(const QString& platform, bool waylandSession)
{
    if (platform.startsWith(QLatin1String("wayland")))
        return false;
    return !(platform == QLatin1String("xcb") && waylandSession);
}

bool DesktopSession::canCaptureScreen()
{
    return canCaptureScreenOn(QGuiApplication::platformName(), isWayland());
}
