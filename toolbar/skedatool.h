#pragma once

#include <QPoint>
#include <QPointer>
#include <QVariant>
#include <QWidget>

class EarsePanel;
class PushButton_7;
class QButtonGroup;
class QFrame;
class QPropertyAnimation;
class QQuickWidget;

// The floating toolbar: a logo that expands and collapses the bar and serves
// as its drag handle, then select desktop, pen, eraser, screenshot and close.
// It is a frameless tool window of its own that stays above the board. It
// never touches the canvas; it only emits commands.
//
// It hosts two pop-ups that open above their buttons: the pen settings (QML,
// in a QQuickWidget) over the pen button and the slide-to-clear panel over
// the eraser button. Both start without a parent and become hidden children
// of the board window once setMainWidget() is called; until then the toolbar
// owns them.
class SkedaTool : public QWidget
{
    Q_OBJECT

public:
    // The command buttons, as the keyboard names them.
    enum Button { SelectButton, PenButton, EraserButton, ScreenShotButton, CloseButton };

    explicit SkedaTool(QWidget* parent = nullptr);
    ~SkedaTool() override;

    // Sizes and places the buttons and the frame for the current scale; the
    // board window calls it once after placing the toolbar.
    void resizeWidget();
    // The window the pop-ups live in, covering the screen from its origin.
    void setMainWidget(QWidget* w);
    QWidget* getMainWidget() const;
    // Folds both pop-ups away.
    void hideTool();
    // Clicks the button as the mouse does (a press and a release on it), so
    // that its checked state, the pop-ups and the signals follow exactly as
    // for a click: the keyboard's way to the toolbar's commands.
    void clickButton(Button button);
    bool isButtonChecked(Button button) const;
    // The 20 ms fold and unfold of the bar (of its frame's geometry).
    QPropertyAnimation* geometryAnimation() const { return m_animation; }

    // Drags the bar by its logo button. Never consumes an event.
    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    void sigClose();
    void sigPen();
    void sigEraseBtn();
    void sigSelectDesktop();
    void sigClear();
    void sigScreenShot();

public slots:
    // Values chosen in the pen popup; they go straight to the shared pen.
    void onPenColor(QVariant color);
    void onPenSize(QVariant size);

private:
    void initUI();
    void createPenPopup();
    void expandOrCollapse();
    // Hides the pop-up when it is shown, otherwise opens it centred above
    // the button.
    void togglePopup(QWidget* popup, QWidget* button);
    PushButton_7* buttonOf(Button button) const;

    QFrame* m_frame = nullptr;
    PushButton_7* m_logoBtn = nullptr;
    PushButton_7* m_selectBtn = nullptr;
    PushButton_7* m_penBtn = nullptr;
    PushButton_7* m_eraserBtn = nullptr;
    PushButton_7* m_screenShotBtn = nullptr;
    PushButton_7* m_closeBtn = nullptr;
    QButtonGroup* m_buttonGroup = nullptr;
    int m_expandedWidth = 0;
    QPropertyAnimation* m_animation = nullptr;
    // The board window and the pop-ups it owns may go away before the
    // toolbar does; guarded pointers turn that into "not there".
    QPointer<QWidget> m_mainWidget;
    bool m_dragging = false;
    QPoint m_pressPos;
    // On Wayland, where the bar's drag takes it at the release.
    QPoint m_dropPos;
    QPointer<QQuickWidget> m_penPopup;
    QPointer<EarsePanel> m_earsePanel;
};
