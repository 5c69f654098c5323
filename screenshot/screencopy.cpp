#include "screenshot/screencopy.h"

#include "common/desktopsession.h"
#include "common/logging.h"

#include <QScreen>

#ifdef SKEDA_SCREENCOPY
#include "wlr-screencopy-unstable-v1-client-protocol.h"

#include <QDeadlineTimer>
#include <QVector>

#include <cerrno>
#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#endif

namespace {

#ifdef SKEDA_SCREENCOPY

// How long the compositor may take over one step of a capture.
constexpr int kTimeoutMs = 2000;

struct Output
{
    wl_output* output = nullptr;
    QPoint position;
};

// A connection to the compositor of WAYLAND_DISPLAY with what a capture
// needs: the screencopy manager, shared memory and the outputs with their
// places in the compositor's layout.
class Connection
{
public:
    Connection()
    {
        m_display = wl_display_connect(nullptr);
        if (!m_display)
            return;
        m_registry = wl_display_get_registry(m_display);
        static const wl_registry_listener registryListener = {
            [](void* data, wl_registry* registry, uint32_t name, const char* interface,
               uint32_t version) {
                static_cast<Connection*>(data)->announce(registry, name, interface, version);
            },
            [](void*, wl_registry*, uint32_t) {
            }};
        wl_registry_add_listener(m_registry, &registryListener, this);
        // The globals, then the outputs' first events.
        wl_display_roundtrip(m_display);
        wl_display_roundtrip(m_display);
    }

    ~Connection()
    {
        for (const Output& output : qAsConst(m_outputs))
            wl_output_destroy(output.output);
        if (m_manager)
            zwlr_screencopy_manager_v1_destroy(m_manager);
        if (m_shm)
            wl_shm_destroy(m_shm);
        if (m_registry)
            wl_registry_destroy(m_registry);
        if (m_display)
            wl_display_disconnect(m_display);
    }

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool canCapture() const { return m_manager && m_shm && !m_outputs.isEmpty(); }

    // The output at `position` in the layout, else the first one.
    wl_output* outputAt(const QPoint& position) const
    {
        for (const Output& output : m_outputs) {
            if (output.position == position)
                return output.output;
        }
        return m_outputs.isEmpty() ? nullptr : m_outputs.first().output;
    }

    QImage capture(wl_output* output);

private:
    void announce(wl_registry* registry, uint32_t name, const char* interface, uint32_t version)
    {
        if (std::strcmp(interface, zwlr_screencopy_manager_v1_interface.name) == 0 && !m_manager) {
            m_manager = static_cast<zwlr_screencopy_manager_v1*>(
                wl_registry_bind(registry, name, &zwlr_screencopy_manager_v1_interface, 1));
        } else if (std::strcmp(interface, wl_shm_interface.name) == 0 && !m_shm) {
            m_shm = static_cast<wl_shm*>(wl_registry_bind(registry, name, &wl_shm_interface, 1));
        } else if (std::strcmp(interface, wl_output_interface.name) == 0) {
            auto* output = static_cast<wl_output*>(
                wl_registry_bind(registry, name, &wl_output_interface, qMin(version, 2u)));
            static const wl_output_listener outputListener = [] {
                wl_output_listener listener{};
                listener.geometry = [](void* data, wl_output* output, int32_t x, int32_t y, int32_t,
                                       int32_t, int32_t, const char*, const char*, int32_t) {
                    static_cast<Connection*>(data)->placeOutput(output, QPoint(x, y));
                };
                listener.mode = [](void*, wl_output*, uint32_t, int32_t, int32_t, int32_t) {
                };
                listener.done = [](void*, wl_output*) {
                };
                listener.scale = [](void*, wl_output*, int32_t) {
                };
                return listener;
            }();
            wl_output_add_listener(output, &outputListener, this);
            m_outputs.append(Output{output, QPoint()});
        }
    }

    void placeOutput(wl_output* output, const QPoint& position)
    {
        for (Output& known : m_outputs) {
            if (known.output == output)
                known.position = position;
        }
    }

    // Handles the compositor's events until `done` holds; false when the
    // connection breaks or the compositor stays silent for too long.
    bool dispatchUntil(const std::function<bool()>& done)
    {
        const QDeadlineTimer deadline(kTimeoutMs);
        for (;;) {
            if (wl_display_dispatch_pending(m_display) < 0)
                return false;
            if (done())
                return true;
            if (wl_display_prepare_read(m_display) != 0)
                continue;
            wl_display_flush(m_display);
            pollfd readable{wl_display_get_fd(m_display), POLLIN, 0};
            const int polled = poll(&readable, 1, int(deadline.remainingTime()));
            if (polled <= 0) {
                wl_display_cancel_read(m_display);
                if (polled < 0 && errno == EINTR)
                    continue;
                return false;
            }
            if (wl_display_read_events(m_display) < 0)
                return false;
        }
    }

    wl_display* m_display = nullptr;
    wl_registry* m_registry = nullptr;
    zwlr_screencopy_manager_v1* m_manager = nullptr;
    wl_shm* m_shm = nullptr;
    QVector<Output> m_outputs;
};

// What the compositor has said of one frame.
struct Frame
{
    bool offered = false;
    uint32_t format = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t stride = 0;
    uint32_t flags = 0;
    bool ready = false;
    bool failed = false;
};

// The image format of shared memory in `format`, where Qt reads it as it is.
std::optional<QImage::Format> imageFormatOf(uint32_t format)
{
    switch (format) {
    case WL_SHM_FORMAT_XRGB8888:
        return QImage::Format_RGB32;
    case WL_SHM_FORMAT_ARGB8888:
        return QImage::Format_ARGB32;
    case WL_SHM_FORMAT_XBGR8888:
        return QImage::Format_RGBX8888;
    case WL_SHM_FORMAT_ABGR8888:
        return QImage::Format_RGBA8888;
    default:
        return std::nullopt;
    }
}

QImage Connection::capture(wl_output* output)
{
    static const zwlr_screencopy_frame_v1_listener frameListener = {
        [](void* data, zwlr_screencopy_frame_v1*, uint32_t format, uint32_t width, uint32_t height,
           uint32_t stride) {
            auto* frame = static_cast<Frame*>(data);
            // The first layout offered that Qt can read is taken.
            if (!frame->offered && imageFormatOf(format)) {
                frame->offered = true;
                frame->format = format;
                frame->width = width;
                frame->height = height;
                frame->stride = stride;
            }
        },
        [](void* data, zwlr_screencopy_frame_v1*, uint32_t flags) {
            static_cast<Frame*>(data)->flags = flags;
        },
        [](void* data, zwlr_screencopy_frame_v1*, uint32_t, uint32_t, uint32_t) {
            static_cast<Frame*>(data)->ready = true;
        },
        [](void* data, zwlr_screencopy_frame_v1*) { static_cast<Frame*>(data)->failed = true; },
        [](void*, zwlr_screencopy_frame_v1*, uint32_t, uint32_t, uint32_t, uint32_t) {},
        [](void*, zwlr_screencopy_frame_v1*, uint32_t, uint32_t, uint32_t) {},
        [](void*, zwlr_screencopy_frame_v1*) {
        }};

    Frame frame;
    zwlr_screencopy_frame_v1* request =
        zwlr_screencopy_manager_v1_capture_output(m_manager, 0, output);
    zwlr_screencopy_frame_v1_add_listener(request, &frameListener, &frame);
    QImage image;
    // Version 1 of the protocol: the buffer events come first, then the
    // copy is asked for. The wait also ends at the first roundtrip's end,
    // by when every buffer event has come.
    bool answered = false;
    wl_callback* roundtrip = wl_display_sync(m_display);
    static const wl_callback_listener doneListener = {[](void* data, wl_callback*, uint32_t) {
        *static_cast<bool*>(data) = true;
    }};
    wl_callback_add_listener(roundtrip, &doneListener, &answered);
    const bool heard = dispatchUntil([&] { return frame.failed || answered; });
    wl_callback_destroy(roundtrip);
    if (!heard || frame.failed || !frame.offered) {
        qCWarning(lcSkedaScreenshot, "ScreenCopy: the compositor offers no picture of the output "
                                     "in a format that can be read");
        zwlr_screencopy_frame_v1_destroy(request);
        return image;
    }

    // Every format read here has four bytes a pixel; a layout that does not
    // fit them, or the 32-bit sizes of shared memory, is refused.
    const size_t size = size_t(frame.stride) * frame.height;
    if (frame.width == 0 || frame.height == 0 || frame.stride / 4 < frame.width ||
        size > size_t(std::numeric_limits<int32_t>::max())) {
        qCWarning(lcSkedaScreenshot,
                  "ScreenCopy: the compositor offers a picture of %ux%u pixels "
                  "in rows of %u bytes, which cannot be read",
                  frame.width, frame.height, frame.stride);
        zwlr_screencopy_frame_v1_destroy(request);
        return image;
    }
    const int fd = memfd_create("skeda-screencopy", MFD_CLOEXEC);
    if (fd < 0 || ftruncate(fd, off_t(size)) != 0) {
        qCWarning(lcSkedaScreenshot, "ScreenCopy: no shared memory for the picture: %s",
                  std::strerror(errno));
        if (fd >= 0)
            close(fd);
        zwlr_screencopy_frame_v1_destroy(request);
        return image;
    }
    void* data = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (data == MAP_FAILED) {
        qCWarning(lcSkedaScreenshot, "ScreenCopy: the picture's memory cannot be mapped: %s",
                  std::strerror(errno));
        close(fd);
        zwlr_screencopy_frame_v1_destroy(request);
        return image;
    }
    wl_shm_pool* pool = wl_shm_create_pool(m_shm, fd, int32_t(size));
    wl_buffer* buffer = wl_shm_pool_create_buffer(
        pool, 0, int32_t(frame.width), int32_t(frame.height), int32_t(frame.stride), frame.format);
    wl_shm_pool_destroy(pool);
    close(fd);

    zwlr_screencopy_frame_v1_copy(request, buffer);
    if (dispatchUntil([&] { return frame.ready || frame.failed; }) && frame.ready) {
        const QImage shared(static_cast<const uchar*>(data), int(frame.width), int(frame.height),
                            int(frame.stride), *imageFormatOf(frame.format));
        image = shared.copy();
        if (frame.flags & ZWLR_SCREENCOPY_FRAME_V1_FLAGS_Y_INVERT)
            image = image.mirrored(false, true);
    } else {
        qCWarning(lcSkedaScreenshot, "ScreenCopy: the compositor did not copy the output");
    }
    zwlr_screencopy_frame_v1_destroy(request);
    wl_buffer_destroy(buffer);
    // The compositor is done with the buffer once it has heard its end.
    wl_display_roundtrip(m_display);
    munmap(data, size);
    return image;
}

#endif

} // namespace

bool ScreenCopy::isOffered()
{
#ifdef SKEDA_SCREENCOPY
    if (!DesktopSession::onWaylandPlatform())
        return false;
    static const bool offered = Connection().canCapture();
    return offered;
#else
    return false;
#endif
}

QImage ScreenCopy::grab(QScreen* screen)
{
    if (!screen || !DesktopSession::onWaylandPlatform())
        return QImage();
#ifdef SKEDA_SCREENCOPY
    Connection connection;
    if (!connection.canCapture()) {
        qCWarning(lcSkedaScreenshot, "ScreenCopy: the compositor offers no screencopy");
        return QImage();
    }
    QImage image = connection.capture(connection.outputAt(screen->geometry().topLeft()));
    // On a scaled output the picture has the output's pixels; the board's
    // coordinates are the screen's.
    if (!image.isNull() && image.size() != screen->geometry().size())
        image = image.scaled(screen->geometry().size(), Qt::IgnoreAspectRatio,
                             Qt::SmoothTransformation);
    return image;
#else
    return QImage();
#endif
}
