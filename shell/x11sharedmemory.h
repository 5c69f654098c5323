#pragma once

// How Qt's xcb platform hands window updates to the X server in the board's
// process: through shared memory (MIT-SHM, Qt's default) or over the X
// connection itself. The board's updates are small and frequent (a pen point
// repaints a few thousand pixels), and with shared memory every update that
// meets the previous one waits for a round trip to the X server first, which
// costs a pen point nearly as much as its own work. Over the connection a small
// update costs nothing extra; a repaint of the whole screen (showing the
// board, clearing it) then copies its 8 MB through the socket, a few
// milliseconds instead of one.
class X11SharedMemory
{
public:
    // The variable that keeps Qt's shared memory when set to "1".
    static constexpr const char* KeepVariable = "SKEDA_MITSHM";

    // Called before the application object exists (Qt decides when it
    // connects to the X server): turns shared memory off by setting
    // QT_XCB_NO_MITSHM, unless the environment has decided already
    // (QT_XCB_NO_MITSHM set in any way, or SKEDA_MITSHM=1). Returns whether
    // updates will go over the connection.
    static bool turnOff();
};
