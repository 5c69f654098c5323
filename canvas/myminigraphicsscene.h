#pragma once

#include <QGraphicsScene>

class BoardHistory;
class InkLayer;

// The board's scene. It adds a counter of z values that makes every new
// stroke item lie above all earlier ones, and the ink layer that draws the
// stroke items.
class MyMiniGraphicsScene : public QGraphicsScene
{
public:
    explicit MyMiniGraphicsScene(QObject* parent = nullptr);
    ~MyMiniGraphicsScene() override;

    // Returns the counter, then increments it: 0, 1, 2, ... It is never reset.
    qint64 getNewZValue();

    // Draws the stroke items of this scene (they do not paint themselves).
    InkLayer* inkLayer() const { return m_ink; }
    // The undo history of the drawing.
    BoardHistory* history() const { return m_history; }

    // QGraphicsScene::removeItem(), without the sort it leaves for the next
    // addition. Qt marks its list of top-level items out of order whenever
    // one leaves from anywhere but the end, although taking one out keeps
    // the others in order, and then sorts all of them again when the next
    // item comes: on a full board the eraser, which takes strokes out and
    // adds pieces at every step, spent a quarter of its time there. The mark
    // is put back as it was when nothing sorted the list meanwhile.
    void removeItemKeepingOrder(QGraphicsItem* item);
    // The same for many items at once. Qt finds an item that leaves from
    // anywhere but the end of its top-level list by searching the list from
    // the front, and numbers every item again at the next addition; on a full
    // board the eraser takes dozens of strokes out at every step. Here the
    // leaving items are first gathered at the end of the list in one pass,
    // the others keeping their order and numbered to their new places, so
    // that each then leaves from the end.
    void removeItemsKeepingOrder(const QList<QGraphicsItem*>& items);

protected:
    // No item of the board takes mouse input: while the scene holds nothing
    // else, a press is ignored at once instead of after looking up every item
    // under the pointer, which costs in proportion to the strokes on the
    // board. Anything else present gets Qt's usual handling.
    void mousePressEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseDoubleClickEvent(QGraphicsSceneMouseEvent* event) override;

    // Where Qt paints item by item (QGraphicsView::render(),
    // QGraphicsScene::render(), a view painting indirectly), the stroke items
    // are drawn here in their place among the others.
    void drawItems(QPainter* painter, int numItems, QGraphicsItem* items[],
                   const QStyleOptionGraphicsItem options[], QWidget* widget = nullptr) override;

private:
    qint64 m_zValue = 0;
    InkLayer* m_ink;
    BoardHistory* m_history;
};
