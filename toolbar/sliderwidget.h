#pragma once

#include <QFont>
#include <QPoint>
#include <QRect>
#include <QString>
#include <QWidget>

class QLabel;
class QPaintEvent;
class QPixmap;
class QSize;

// Slide-to-confirm control: a grey rounded track with a right-aligned hint
// and a handle image at its left end. Dragging the handle all the way to the
// right end and releasing it there emits clearSignal(); on every release the
// handle springs back to its resting place.
//
// The slider watches its own events and those of the handle through event
// filters; it never consumes an event.
class SliderWidget : public QWidget
{
    Q_OBJECT

public:
    explicit SliderWidget(QWidget* parent = nullptr);
    ~SliderWidget() override;

    // Stores the hint and repaints.
    void mSetText(const QString& text);
    // Stores the hint's font; the next repaint uses it.
    void mSetFont(const QFont& font);
    void mSetHandleIcon(const QPixmap& pixmap);
    // Gives the handle its size and puts it back at its resting place.
    void mSetHandleSize(const QSize& size);
    // The handle travels between left and width - handle width - right.
    void mSetMargin(int left, int right);
    void mSetRadius(int radius);

    bool eventFilter(QObject* watched, QEvent* event) override;

    QString text() const { return m_text; }
    QFont hintFont() const { return m_font; }
    // Where the hint is drawn, right-aligned.
    QRect hintRect() const;
    QLabel* handle() const { return m_handle; }

signals:
    void clearSignal();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void initWidget();
    // The handle's x at the far right end of its travel.
    int rightEnd() const;
    void moveHandleHome();

    QString m_text;
    QLabel* m_handle = nullptr;
    QFont m_font;
    int m_leftMargin = 0;
    int m_rightMargin = 0;
    int m_pRadius = 0;
    bool m_pressed = false;
    QPoint m_pressPos;
};
