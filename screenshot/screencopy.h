#pragma once

#include <QImage>

class QScreen;

// Pictures of the screen from the compositor on a Wayland desktop, where a
// program cannot read the screen itself: wlroots' screencopy protocol
// (sway and the other wlroots compositors offer it). Each call talks to the
// compositor on a connection of its own, so Qt's own connection and its
// event queue are never touched. Built only where wayland-client is found;
// elsewhere nothing is ever offered.
class ScreenCopy
{
public:
    // Whether the application runs natively on Wayland and its compositor
    // offers screencopy. Asked once, then remembered.
    static bool isOffered();
    // A picture of the output that shows `screen`, the size of the screen's
    // geometry, without the pointer where the compositor can leave it out.
    // A null image, with a warning, when the compositor gives none.
    static QImage grab(QScreen* screen);
};
