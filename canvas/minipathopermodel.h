#pragma once

#include "canvas/baseoperation.h"

class MiniPathOpermodel : public BaseOperation
{
    Q_OBJECT

public:
    MiniPathOpermodel();
    ~MiniPathOpermodel() override;

    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void touchBegine(QTouchEvent* e) override;
    void touchUpdate(QTouchEvent* e) override;
    void touchEnd(QTouchEvent* e) override;
};
