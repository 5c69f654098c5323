#pragma once

#include <QPainterPath>
#include <QPixmap>
#include <QPoint>
#include <QRect>
#include <QVector>
#include <QWidget>

class QEventLoop;
class QLabel;
class QMouseEvent;
class QPaintEvent;
class QTimer;
class mPushButton_1;

// A frameless, translucent, always-on-top tool window over the whole desktop
// in which the user picks a region of the screen. On confirm the region is
// grabbed from the desktop, written into the caller's pixmap, newPixmap() is
// emitted and the overlay deletes itself; cancel only deletes it.
//
// States: 0 rectangle mode, 1 free-hand drawing, 3 free-hand finished,
// 4 capturing. Hit regions: 1 to 8 the handles (top middle, top-left,
// top-right, left middle, right middle, bottom middle, bottom-left,
// bottom-right), 9 inside the selection, 10 anywhere else.
class ScreenShot : public QWidget
{
    Q_OBJECT

public:
    // result is where the captured pixmap goes; it stays owned by the caller.
    ScreenShot(QPixmap* result, QWidget* parent);
    ~ScreenShot() override;

    // Whether a picture of the screen can be taken in this session: from
    // the window system on X11, from the compositor's screencopy natively on
    // Wayland; never through XWayland, whose pictures are black.
    static bool canCaptureScreen();

    // 1 rectangle mode, 2 free-hand mode; any other value only resets the
    // selection and shows the overlay again over the whole desktop.
    void changeFreeShot(int mode);
    // Switches the button captions; the prompt follows on the next
    // changeFreeShot().
    void updateLanguage(bool chinese);
    // Sizes and places the children (not QWidget::resize, whose overloads
    // stay available).
    void resize();
    using QWidget::resize;
    void setShow(int);
    QPixmap getShotPixmap(QPixmap screen);
    // The region under pos; sets the matching cursor on the overlay.
    int getMousePos(QPoint pos);

    // Read-only views of the overlay's state.
    QRect selection() const { return m_selection; }
    int hitRegion() const { return m_hitRegion; }
    QPoint pressPoint() const { return m_pressPoint; }
    bool isPressed() const { return m_pressed; }
    int selectionPhase() const { return m_selectPhase; }
    int handleHitRadius() const { return m_handleRadius; }
    int activeHandleRadius() const { return m_activeRadius; }
    int state() const { return m_state; }
    int promptPhase() const { return m_promptPhase; }
    QRect savedGeometry() const { return m_savedGeometry; }
    bool isChinese() const { return m_chinese; }
    QVector<QPoint> freeHandPoints() const { return m_freePoints; }
    QPainterPath freeHandPath() const { return m_freePath; }
    // The free-hand bounds as the rectangle with corners (left, top) and
    // (right, bottom).
    QRect freeHandBounds() const
    {
        return QRect(QPoint(m_freeLeft, m_freeTop), QPoint(m_freeRight, m_freeBottom));
    }
    QLabel* promptLabel() const { return m_promptLabel; }
    QWidget* buttonBar() const { return m_buttonBar; }
    mPushButton_1* confirmButton() const { return m_confirmButton; }
    mPushButton_1* cancelButton() const { return m_cancelButton; }

signals:
    void newPixmap();
    // Declared for listeners; the overlay itself never emits it.
    void showDesktop(bool);

protected:
    // Esc cancels the overlay, Enter confirms the selection. While the
    // overlay is active every key is its own: the board's shortcuts (Esc
    // closes the board) do not reach past it.
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void initLayout();
    // The confirm button's sequence: stop painting, wait for the screen to
    // be repainted without the overlay, copy the selection, report it.
    void captureScreen();
    // The capture timer's step: grab the desktop, then leave the wait.
    void grabDesktop();
    QPoint handlePoint(int region) const;
    void placeButtonBar();

    QPixmap* m_result = nullptr;
    int m_hitRegion = 10;
    QRect m_selection;
    QPoint m_pressPoint;
    bool m_pressed = false;
    int m_selectPhase = 0;
    int m_handleRadius = 8;
    int m_activeRadius = 12;
    mPushButton_1* m_confirmButton = nullptr;
    mPushButton_1* m_cancelButton = nullptr;
    QWidget* m_buttonBar = nullptr;
    int m_state = 4;
    QLabel* m_promptLabel = nullptr;
    QVector<QPoint> m_freePoints;
    QPainterPath m_freePath;
    QPixmap m_screenPixmap;
    int m_freeLeft = 0;
    int m_freeRight = 0;
    int m_freeTop = 0;
    int m_freeBottom = 0;
    int m_promptPhase = 0;
    QRect m_savedGeometry;
    QTimer* m_captureTimer = nullptr;
    QEventLoop* m_captureLoop = nullptr;
    bool m_chinese = true;
};
