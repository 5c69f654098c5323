#pragma once

#include "canvas/useroperationtype.h"

#include <QList>
#include <QObject>

class QGraphicsItem;
class QMouseEvent;
class QTouchEvent;
class MyMiniGraphicsScene;
class MyMiniGraphicsView;

// An input operation of the canvas: the view hands it the viewport's mouse and
// touch events while it is the active one.
class BaseOperation : public QObject
{
    Q_OBJECT

public:
    // The type is accepted for symmetry with the view's selector and not kept:
    // nothing reads an operation's type.
    explicit BaseOperation(UserOperationType type);
    ~BaseOperation() override;

    virtual void mousePressEvent(QMouseEvent* e) = 0;
    virtual void mouseMoveEvent(QMouseEvent* e) = 0;
    virtual void mouseReleaseEvent(QMouseEvent* e) = 0;
    virtual void touchBegine(QTouchEvent* e) = 0;
    virtual void touchUpdate(QTouchEvent* e) = 0;
    virtual void touchEnd(QTouchEvent* e) = 0;

    // Called by the view just before it deletes these scene items (clearing
    // the board, or the eraser removing strokes). An operation must drop every
    // pointer it keeps to them; the default keeps none.
    virtual void forgetItems(const QList<QGraphicsItem*>& items);

    // Mouse button held down on the canvas (used by the pen).
    bool m_isPress = false;
    // Filled by the view right after it creates the operation.
    MyMiniGraphicsScene* m_scene = nullptr;
    MyMiniGraphicsView* m_view = nullptr;
};
