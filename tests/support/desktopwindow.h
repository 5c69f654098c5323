#pragma once

#include <QImage>
#include <QPoint>
#include <QVector>
#include <QWidget>

// A window standing for the desktop below the board: it records every press
// that reaches it (global positions), so that a test shows whether a click
// went through the board, and it paints pattern(), in which neighbouring
// pixels differ, so that a picture of it off by one pixel shows.
class DesktopWindow : public QWidget
{
public:
    // Frameless, at this place on the screen.
    explicit DesktopWindow(const QRect& geometry = QRect(0, 0, 1920, 1080));

    // Where the presses that reached the window were, oldest first.
    QVector<QPoint> presses;

    // The picture over the whole 1920 x 1080 screen; the window shows its
    // own part of it.
    static QImage pattern();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
};
