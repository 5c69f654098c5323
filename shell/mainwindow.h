#pragma once

#include <QPixmap>
#include <QWidget>

class MyMiniGraphicsScene;
class MyMiniGraphicsView;
class QHBoxLayout;
class SkedaTool;

// The board: a frameless, translucent top-level window as large as the
// primary screen, whose whole area is the drawing canvas.
class MainWindow : public QWidget
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    // Sizes the window to the screen, creates the scene and selects the pen.
    // Called once, right after construction.
    void initUI();
    // Shows the window, then the toolbar.
    void showSkeda();
    // Folds the toolbar's pop-ups away; called on every press on the canvas.
    void hideTool();
    // Desktop mode: on, every click and touch over the board falls through to
    // the windows below while the drawing stays visible; off, the board takes
    // input over its whole area again.
    void selectDesktop(bool on);

    MyMiniGraphicsView* view() const { return m_view; }
    MyMiniGraphicsScene* scene() const { return m_scene; }
    SkedaTool* tool() const { return m_tool; }

public slots:
    // Takes back the last change of the drawing (a stroke, an erasure, a
    // clear), or makes the last one taken back again. Nothing happens while
    // the mouse or a finger is down on the board; false then, or when there
    // is nothing to undo or redo. Hosts that hold only the QWidget* call
    // them by name (QMetaObject::invokeMethod).
    bool undo();
    bool redo();

signals:
    void sigSkedaClose();
    void sigScreenShotPixmap(QPixmap pix);

private:
    // Creates the floating toolbar near the lower-left corner of the screen
    // and turns its commands into actions on the board.
    void createTool(int deskHeight);
    void startScreenShot();
    // The keyboard's commands, on the board and on its toolbar.
    void createShortcuts();

    MyMiniGraphicsView* m_view = nullptr;
    MyMiniGraphicsScene* m_scene = nullptr;
    QHBoxLayout* m_layout = nullptr;
    SkedaTool* m_tool = nullptr;
    QPixmap m_pixmap;
};
