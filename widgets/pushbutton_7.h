#pragma once

#include "widgets/pushbutton_basic.h"

#include <QColor>
#include <QPixmap>
#include <QSize>

class QPaintEvent;

// A round icon button drawn from three pixmaps: the checked one while checked,
// the hover one while hovered, the normal one otherwise (a null pixmap falls
// through to the next choice). The face and its ring depend on the hover
// style: without it only a blue ring marks the hover; with it the face is
// filled dark, or blue when checked, and hovering an unchecked button adds a
// thin blue ring.
class PushButton_7 : public PushButton_Basic
{
    Q_OBJECT

public:
    PushButton_7(const QPixmap& normal, const QPixmap& checked, const QPixmap& hover,
                 QWidget* parent = nullptr);
    ~PushButton_7() override;

    // Neither setter schedules a repaint.
    void setHoverStyle(bool hoverStyle);
    // Kept for callers; the painting always fills the button.
    void mSetIconSize(QSize size);

    // Never consumes an event. A release inside the button is seen here before
    // the button toggles, which is how an already checked button being clicked
    // again is told apart.
    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    // The button was clicked while it was already checked.
    void checkedClicked();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap m_normalPixmap;
    QPixmap m_checkedPixmap;
    QPixmap m_hoverPixmap;
    QSize m_iconSize;
    // Reserved colours; the painting uses its fixed palette.
    QColor m_normalColor;
    QColor m_checkedColor;
    bool m_hovered = false;
    bool m_hoverStyle = false;
};
