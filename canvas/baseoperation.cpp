#include "canvas/baseoperation.h"

BaseOperation::BaseOperation(UserOperationType type)
    : QObject(nullptr)
{
    Q_UNUSED(type)
}

BaseOperation::~BaseOperation() = default;

void BaseOperation::forgetItems(const QList<QGraphicsItem*>& items)
{
    Q_UNUSED(items)
}
