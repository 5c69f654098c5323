#include "eraser/minieraseopermodel.h"

MiniEraseOperModel::MiniEraseOperModel()
    : BaseOperation(PenOperation)
{
}

MiniEraseOperModel::~MiniEraseOperModel() = default;

void MiniEraseOperModel::mousePressEvent(QMouseEvent*) {}
void MiniEraseOperModel::mouseMoveEvent(QMouseEvent*) {}
void MiniEraseOperModel::mouseReleaseEvent(QMouseEvent*) {}
void MiniEraseOperModel::touchBegine(QTouchEvent*) {}
void MiniEraseOperModel::touchUpdate(QTouchEvent*) {}
void MiniEraseOperModel::touchEnd(QTouchEvent*) {}
