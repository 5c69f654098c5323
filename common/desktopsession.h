#pragma once

#include <QByteArray>
#include <QString>

// The kind of desktop session the board runs in. The board is an X11 board:
// on a Wayland desktop it runs through XWayland, where the compositor gives
// X programs a black picture of the screen and select-desktop can pass
// clicks only to other X programs.
class DesktopSession
{
public:
    // Whether a session with these environment values is a Wayland one:
    // XDG_SESSION_TYPE decides when it is set ("wayland"), else a
    // WAYLAND_DISPLAY does.
    static bool isWaylandFor(const QByteArray& sessionType, const QByteArray& waylandDisplay);
    // This process's session, from its environment.
    static bool isWayland();
    // Whether the application runs on Qt's wayland platform ("wayland",
    // "wayland-egl", ...): a Wayland client itself, not through XWayland.
    // Needs the application object.
    static bool onWaylandPlatform();

    // Whether the window system gives a picture of the screen
    // (QScreen::grabWindow) on this platform ("xcb", "wayland",
    // "offscreen", ...) in this kind of session: not on Wayland itself, nor
    // through XWayland. On Wayland only the compositor has the picture
    // (ScreenCopy).
    static bool canCaptureScreenOn(const QString& platform, bool waylandSession);
    // The same for the running application; needs the application object.
    static bool canCaptureScreen();
};
