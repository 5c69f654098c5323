#pragma once

#include "canvas/baseoperation.h"

class MiniEraseOperModel : public BaseOperation
{
    Q_OBJECT

public:
    MiniEraseOperModel();
    ~MiniEraseOperModel() override;

    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void touchBegine(QTouchEvent* e) override;
    void touchUpdate(QTouchEvent* e) override;
    void touchEnd(QTouchEvent* e) override;
};
