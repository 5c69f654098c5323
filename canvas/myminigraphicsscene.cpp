#include "canvas/myminigraphicsscene.h"

MyMiniGraphicsScene::MyMiniGraphicsScene(QObject* parent)
    : QGraphicsScene(parent)
{
    // Strokes are added and removed all the time; a BSP index would cost more
    // than it saves.
    setItemIndexMethod(QGraphicsScene::NoIndex);
}

qint64 MyMiniGraphicsScene::getNewZValue()
{
    return m_zValue++;
}
