#pragma once

#include <QGraphicsScene>

// The board's scene. Its only addition is a counter of z values that makes
// every new stroke item lie above all earlier ones.
class MyMiniGraphicsScene : public QGraphicsScene
{
public:
    explicit MyMiniGraphicsScene(QObject* parent = nullptr);

    // Returns the counter, then increments it: 0, 1, 2, ... It is never reset.
    qint64 getNewZValue();

private:
    qint64 m_zValue = 0;
};
