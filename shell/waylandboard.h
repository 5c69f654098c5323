#pragma once

class QApplication;
class QWidget;

// The board as a native Wayland client, where the compositor offers wlroots'
// layer shell (sway and other wlroots compositors, KWin): every window of the
// process is a layer surface on the overlay layer. The board covers the
// output whole and takes no room from other windows; the toolbar and the
// other windows of the board keep the places they are moved to (anchored at
// the output's top left, with margins) and lie above the board. Desktop mode
// empties the board's input region.
//
// Only the launcher turns this on, before its application exists: layer
// shell applies to all of a process's windows, and a host keeps its own.
// Built only where LayerShellQt and wayland-client are found; elsewhere
// nothing here is ever active.
class WaylandBoard
{
public:
    // Whether the board can run natively here: built with layer shell, a
    // Wayland session whose compositor offers it, and Qt's wayland platform
    // and LayerShellQt's shell integration installed. Asks the compositor.
    static bool canRunNatively();
    // Makes the windows of the application about to be created layer
    // surfaces on Qt's wayland platform.
    static void use();
    // Whether use() was called and the application runs on the wayland
    // platform.
    static bool isActive();
    // Sets up every window of the application as it is shown (the board
    // over the output, the others where they are moved), from now on.
    static void install(QApplication* app);
    // Empties (on) or restores (off) the board window's input region.
    static void passInputThrough(QWidget* board, bool on);
};
