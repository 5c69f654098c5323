#pragma once

#include "canvas/useroperationtype.h"

#include <QGraphicsView>
#include <QList>
#include <QPixmap>

class BaseOperation;
class MiniEraseOperModel;
class MiniPathOpermodel;
class MyMiniGraphicsScene;

// The board's canvas. It owns the pen and eraser operations, keeps one of them
// active and feeds it the viewport's raw mouse and touch events.
class MyMiniGraphicsView : public QGraphicsView
{
    Q_OBJECT

public:
    enum ViewTool { PenTool = 0, EraseTool = 1 };

    explicit MyMiniGraphicsView(QWidget* parent = nullptr);
    ~MyMiniGraphicsView() override;

    // Stores the scene the operations draw into; the caller also calls
    // setScene(). Must come before the first toggleOperation().
    void setSceneData(MyMiniGraphicsScene* scene);
    void toggleOperation(UserOperationType type);
    void DrawPenPath();
    void StartErase();
    // 0 selects the pen, any other value the eraser.
    void setTool(ViewTool tool);
    // Removes every item of the scene: the strokes as one step of the
    // board's history (undo brings them back), the rest for good.
    void clearAllItem();
    // Removes these items from the scene and deletes them, after telling every
    // operation to forget them.
    void deleteItems(const QList<QGraphicsItem*>& items);
    // The primary screen with the drawing laid over it.
    QPixmap getViewToPixmap();
    // Takes back the last change of the drawing, or makes the last one taken
    // back again. Nothing happens while the mouse or a finger is down on the
    // board (a stroke or an erasure in progress); false then, or when there
    // is nothing to undo or redo.
    bool undo();
    bool redo();
    // Whether the mouse or a finger is down on the board.
    bool isPointerDown() const;
    // Tells both operations that these items are about to leave the scene.
    void forgetItems(const QList<QGraphicsItem*>& items);

    UserOperationType operationType() const { return m_operType; }
    BaseOperation* currentOperation() const { return m_curOperation; }
    MiniPathOpermodel* pathOperation() const { return m_pathOperation; }
    MiniEraseOperModel* eraseOperation() const { return m_eraseOperation; }
    MyMiniGraphicsScene* sceneData() const { return m_scene; }
    bool isTouching() const { return m_isTouching; }
    ViewTool tool() const { return m_tool; }

protected:
    bool viewportEvent(QEvent* event) override;
    // Composes the board from its ink layer: the finished ink in one blit,
    // what is still being drawn and the eraser's picture over it.
    void paintEvent(QPaintEvent* event) override;

private:
    void hideParentTool();
    // Before undo or redo: strokes whose release went elsewhere are finished.
    bool prepareHistory();

    UserOperationType m_operType = NoOperation;
    MyMiniGraphicsScene* m_scene = nullptr;
    BaseOperation* m_curOperation = nullptr;
    MiniPathOpermodel* m_pathOperation = nullptr;
    MiniEraseOperModel* m_eraseOperation = nullptr;
    bool m_isTouching = false;
    // The mouse's button and the fingers as the viewport saw them; unlike
    // m_isTouching, a cancelled touch sequence ends the fingers' part.
    bool m_mouseDown = false;
    bool m_fingersDown = false;
    ViewTool m_tool = PenTool;
    // Whether Qt tracks the scene's item updates again because it painted
    // the scene itself (render()); see paintEvent().
    bool m_itemUpdatesOn = false;
    QMetaObject::Connection m_sceneChanges;
};
