/* A pointer device for the tests on a Wayland compositor: one virtual
 * pointer (wlroots' virtual pointer protocol), kept open while the test runs,
 * driven by lines on standard input:
 *
 *   move X Y     the pointer to (X, Y) of the output (absolute)
 *   down / up    the left button pressed / released
 *   sync         answers "ok" once the compositor has handled everything
 *                sent before
 *
 * Usage: skeda-virtual-pointer WIDTH HEIGHT (the output's size in pixels).
 * Ends at the end of its input. */
#include "virtual-pointer-unstable-v1-client-protocol.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wayland-client.h>

#define LEFT_BUTTON 0x110 /* BTN_LEFT */

static struct wl_seat* seat;
static struct zwlr_virtual_pointer_manager_v1* manager;

static void global(void* data, struct wl_registry* registry, uint32_t name, const char* interface,
                   uint32_t version)
{
    (void)data;
    (void)version;
    if (strcmp(interface, wl_seat_interface.name) == 0 && !seat)
        seat = wl_registry_bind(registry, name, &wl_seat_interface, 1);
    else if (strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name) == 0)
        manager = wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1);
}

static void global_remove(void* data, struct wl_registry* registry, uint32_t name)
{
    (void)data;
    (void)registry;
    (void)name;
}

static const struct wl_registry_listener registry_listener = {global, global_remove};

static uint32_t now_ms(void)
{
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return (uint32_t)(ts.tv_sec * 1000 + ts.tv_nsec / 1000000);
}

int main(int argc, char** argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: %s WIDTH HEIGHT\n", argv[0]);
        return 2;
    }
    const long width = strtol(argv[1], NULL, 10);
    const long height = strtol(argv[2], NULL, 10);
    if (width <= 0 || height <= 0) {
        fprintf(stderr, "skeda-virtual-pointer: the output's size must be positive\n");
        return 2;
    }

    struct wl_display* display = wl_display_connect(NULL);
    if (!display) {
        fprintf(stderr, "skeda-virtual-pointer: cannot connect to the Wayland display\n");
        return 1;
    }
    struct wl_registry* registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registry_listener, NULL);
    wl_display_roundtrip(display);
    if (!manager) {
        fprintf(stderr, "skeda-virtual-pointer: the compositor offers no virtual pointers\n");
        return 1;
    }
    struct zwlr_virtual_pointer_v1* pointer =
        zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, seat);
    wl_display_roundtrip(display);

    char line[256];
    int status = 0;
    while (fgets(line, sizeof line, stdin)) {
        long x = 0;
        long y = 0;
        if (sscanf(line, "move %ld %ld", &x, &y) == 2) {
            if (x < 0 || y < 0 || x > width || y > height) {
                fprintf(stderr, "skeda-virtual-pointer: (%ld, %ld) is off the output\n", x, y);
                status = 1;
                continue;
            }
            zwlr_virtual_pointer_v1_motion_absolute(pointer, now_ms(), (uint32_t)x, (uint32_t)y,
                                                    (uint32_t)width, (uint32_t)height);
            zwlr_virtual_pointer_v1_frame(pointer);
        } else if (strncmp(line, "down", 4) == 0 || strncmp(line, "up", 2) == 0) {
            zwlr_virtual_pointer_v1_button(pointer, now_ms(), LEFT_BUTTON, line[0] == 'd' ? 1 : 0);
            zwlr_virtual_pointer_v1_frame(pointer);
        } else if (strncmp(line, "sync", 4) == 0) {
            if (wl_display_roundtrip(display) < 0) {
                fprintf(stderr, "skeda-virtual-pointer: the compositor closed the connection\n");
                return 1;
            }
            printf("ok\n");
            fflush(stdout);
            continue;
        } else {
            fprintf(stderr, "skeda-virtual-pointer: unknown command: %s", line);
            status = 1;
            continue;
        }
        if (wl_display_flush(display) < 0) {
            fprintf(stderr, "skeda-virtual-pointer: the compositor closed the connection\n");
            return 1;
        }
    }
    zwlr_virtual_pointer_v1_destroy(pointer);
    zwlr_virtual_pointer_manager_v1_destroy(manager);
    if (seat)
        wl_seat_destroy(seat);
    wl_registry_destroy(registry);
    wl_display_roundtrip(display);
    wl_display_disconnect(display);
    return status;
}
