#include "shell/waylandboard.h"

#include "common/desktopsession.h"
#include "screenshot/screenshot.h"
#include "shell/mainwindow.h"

#include <QApplication>
#include <QEvent>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QRegion>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#ifdef SKEDA_LAYER_SHELL
#include <LayerShellQt/Shell>
#include <LayerShellQt/Window>
#include <wayland-client.h>

#include <cstring>
#endif

namespace {

#ifdef SKEDA_LAYER_SHELL

bool s_used = false;
// Where a window of the board was last moved to by the board itself.
constexpr char kPlace[] = "skedaLayerPlace";

// Whether the compositor behind WAYLAND_DISPLAY announces the layer shell.
bool compositorHasLayerShell()
{
    // Only a socket that is there is tried: libwayland complains on standard
    // error about every other case.
    QString socket = qEnvironmentVariable("WAYLAND_DISPLAY", QStringLiteral("wayland-0"));
    if (!socket.startsWith(QLatin1Char('/'))) {
        const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
        if (runtime.isEmpty())
            return false;
        socket = runtime + QLatin1Char('/') + socket;
    }
    if (!QFileInfo::exists(socket))
        return false;
    wl_display* display = wl_display_connect(nullptr);
    if (!display)
        return false;
    bool found = false;
    static const wl_registry_listener listener = {
        [](void* data, wl_registry*, uint32_t, const char* interface, uint32_t) {
            if (std::strcmp(interface, "zwlr_layer_shell_v1") == 0)
                *static_cast<bool*>(data) = true;
        },
        [](void*, wl_registry*, uint32_t) {
        }};
    wl_registry* registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &listener, &found);
    wl_display_roundtrip(display);
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
    return found;
}

bool pluginInstalled(const char* relativePath)
{
    return QFileInfo::exists(QLibraryInfo::location(QLibraryInfo::PluginsPath) + QLatin1Char('/') +
                             QLatin1String(relativePath));
}

// Sets up the windows of the application as they are shown, and keeps the
// places of those that move.
class LayerPlacer : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const QEvent::Type type = event->type();
        if (type != QEvent::Show && type != QEvent::Move)
            return false;
        auto* widget = qobject_cast<QWidget*>(watched);
        if (!widget || !widget->isWindow())
            return false;
        auto* board = qobject_cast<MainWindow*>(widget);
        // The screenshot overlay covers the output as the board does. A
        // layer surface keeps the size its window had when first shown, and
        // the overlay grows to the output's only after that: anchored to
        // every edge, it is given the whole output by the compositor.
        const bool coversOutput = board || qobject_cast<ScreenShot*>(widget);
        if (type == QEvent::Show) {
            // The layer surface is made when the window is shown, after
            // this event, with what is set here.
            widget->winId();
            if (!widget->windowHandle())
                return false;
            LayerShellQt::Window* layer = LayerShellQt::Window::get(widget->windowHandle());
            if (!layer)
                return false;
            // Within one layer the protocol leaves the order of surfaces
            // open: the board lies on the top layer, its other windows on
            // the overlay layer above it.
            layer->setLayer(board ? LayerShellQt::Window::LayerTop
                                  : LayerShellQt::Window::LayerOverlay);
            layer->setExclusiveZone(-1);
            layer->setKeyboardInteractivity(LayerShellQt::Window::KeyboardInteractivityNone);
            layer->setScope(board ? QStringLiteral("skeda-board") : QStringLiteral("skeda"));
            if (coversOutput) {
                layer->setAnchors(LayerShellQt::Window::Anchors(
                    LayerShellQt::Window::AnchorTop | LayerShellQt::Window::AnchorBottom |
                    LayerShellQt::Window::AnchorLeft | LayerShellQt::Window::AnchorRight));
            } else {
                const QVariant kept = widget->property(kPlace);
                if (kept.isValid() && widget->pos() != kept.toPoint())
                    widget->move(kept.toPoint());
                place(widget);
            }
            return false;
        }
        if (coversOutput)
            return false;
        if (event->spontaneous()) {
            // The compositor places a layer surface by its margins and
            // tells Qt it lies at the output's corner: the window keeps the
            // place it was moved to, for its own and its children's
            // positions on the screen.
            const QVariant kept = widget->property(kPlace);
            if (kept.isValid() && kept.toPoint() != widget->pos()) {
                QTimer::singleShot(0, widget, [widget, at = kept.toPoint()] {
                    if (widget->pos() != at)
                        widget->move(at);
                });
            }
            return false;
        }
        place(widget);
        return false;
    }

private:
    static void place(QWidget* window)
    {
        if (!window->windowHandle())
            return;
        LayerShellQt::Window* layer = LayerShellQt::Window::get(window->windowHandle());
        if (!layer)
            return;
        const QPoint at = window->pos();
        window->setProperty(kPlace, at);
        layer->setAnchors(LayerShellQt::Window::Anchors(LayerShellQt::Window::AnchorTop |
                                                        LayerShellQt::Window::AnchorLeft));
        layer->setMargins(QMargins(qMax(0, at.x()), qMax(0, at.y()), 0, 0));
        // The margins are state of the surface's next commit: a repaint of
        // a pixel brings it now.
        window->update(QRect(0, 0, 1, 1));
    }
};

#endif

} // namespace

bool WaylandBoard::canRunNatively()
{
#ifdef SKEDA_LAYER_SHELL
    return DesktopSession::isWayland() && pluginInstalled("platforms/libqwayland-generic.so") &&
           pluginInstalled("wayland-shell-integration/liblayer-shell.so") &&
           compositorHasLayerShell();
#else
    return false;
#endif
}

void WaylandBoard::use()
{
#ifdef SKEDA_LAYER_SHELL
    LayerShellQt::Shell::useLayerShell();
    qputenv("QT_QPA_PLATFORM", "wayland");
    s_used = true;
#endif
}

bool WaylandBoard::isActive()
{
#ifdef SKEDA_LAYER_SHELL
    return s_used && DesktopSession::onWaylandPlatform();
#else
    return false;
#endif
}

void WaylandBoard::install(QApplication* app)
{
#ifdef SKEDA_LAYER_SHELL
    if (app && isActive())
        app->installEventFilter(new LayerPlacer(app));
#else
    Q_UNUSED(app)
#endif
}

void WaylandBoard::passInputThrough(QWidget* board, bool on)
{
    if (!board)
        return;
    board->winId();
    QWindow* window = board->windowHandle();
    if (!window)
        return;
    // On Wayland a window's mask is its input region. One pixel outside the
    // window leaves nothing of it; an empty mask is the whole window again.
    window->setMask(on ? QRegion(-1, -1, 1, 1) : QRegion());
    // The region is the surface's state of its next commit: a repaint of a
    // pixel brings that commit now, not at the next stroke.
    board->update(QRect(0, 0, 1, 1));
}
