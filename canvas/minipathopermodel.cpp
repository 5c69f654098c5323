#include "canvas/minipathopermodel.h"

MiniPathOpermodel::MiniPathOpermodel()
    : BaseOperation(PenOperation)
{
}

MiniPathOpermodel::~MiniPathOpermodel() = default;

void MiniPathOpermodel::mousePressEvent(QMouseEvent*) {}
void MiniPathOpermodel::mouseMoveEvent(QMouseEvent*) {}
void MiniPathOpermodel::mouseReleaseEvent(QMouseEvent*) {}
void MiniPathOpermodel::touchBegine(QTouchEvent*) {}
void MiniPathOpermodel::touchUpdate(QTouchEvent*) {}
void MiniPathOpermodel::touchEnd(QTouchEvent*) {}
