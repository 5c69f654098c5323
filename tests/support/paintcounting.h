#pragma once

#include <QPaintEvent>

// A widget of class Widget that counts the paint events it gets, for tests
// that show a change repaints (or does not).
template<typename Widget> class PaintCounting : public Widget
{
public:
    using Widget::Widget;

    int paints = 0;

protected:
    void paintEvent(QPaintEvent* event) override
    {
        ++paints;
        Widget::paintEvent(event);
    }
};
