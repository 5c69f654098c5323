#pragma once

#include <QColor>
#include <QWidget>

class QPaintEvent;

// A rounded panel with a soft grey shadow ring. The panel is inset from the
// widget's edge by the border width; each pixel of that border carries one
// outline whose opacity falls off towards the outside. Everything outside the
// panel stays transparent, so the shadow only shows on a translucent window.
//
// Derived panels configure it in their constructor, before the first show:
// the setters only store their values and do not schedule a repaint.
class BaseShadowWidget : public QWidget
{
    Q_OBJECT

public:
    explicit BaseShadowWidget(QWidget* parent = nullptr);
    ~BaseShadowWidget() override;

    // Number of shadow rings in pixels; 0 or less paints nothing at all.
    void setBorderWidth(int width);
    // Corner radii of the panel, in the order the per-corner path takes them.
    void setRadius(int topLeft, int bottomLeft, int topRight, int bottomRight);
    void setBackgroundColor(const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_borderWidth = 0;
    QColor m_backgroundColor;
    int m_topLeftRadius = 0;
    int m_bottomLeftRadius = 0;
    int m_topRightRadius = 0;
    int m_bottomRightRadius = 0;
};
