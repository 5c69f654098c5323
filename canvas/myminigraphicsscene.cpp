#include "canvas/myminigraphicsscene.h"

#include "canvas/boardhistory.h"
#include "canvas/inklayer.h"
#include "canvas/minipathitem.h"
#include "eraser/minieraseopermodel.h"

#include <QGraphicsSceneMouseEvent>
#include <QPainter>
#include <QStyleOptionGraphicsItem>

MyMiniGraphicsScene::MyMiniGraphicsScene(QObject* parent)
    : QGraphicsScene(parent)
    , m_ink(new InkLayer(this, MiniEraseOperModel::EarseZValue))
    , m_history(new BoardHistory(this))
{
    // Strokes are added and removed all the time; a BSP index would cost more
    // than it saves.
    setItemIndexMethod(QGraphicsScene::NoIndex);
}

MyMiniGraphicsScene::~MyMiniGraphicsScene()
{
    // The steps let go of the items on the board and delete those they kept
    // off it; then the items go while the layer that draws them is still
    // here.
    delete m_history;
    m_history = nullptr;
    m_ink->clear();
    clear();
    delete m_ink;
}

qint64 MyMiniGraphicsScene::getNewZValue()
{
    return m_zValue++;
}

void MyMiniGraphicsScene::mousePressEvent(QGraphicsSceneMouseEvent* event)
{
    if (!mouseGrabberItem() && !focusItem() && m_ink->holdsOnlyBoardItems()) {
        event->ignore();
        return;
    }
    QGraphicsScene::mousePressEvent(event);
}

void MyMiniGraphicsScene::mouseDoubleClickEvent(QGraphicsSceneMouseEvent* event)
{
    if (!mouseGrabberItem() && !focusItem() && m_ink->holdsOnlyBoardItems()) {
        event->ignore();
        return;
    }
    QGraphicsScene::mouseDoubleClickEvent(event);
}

void MyMiniGraphicsScene::drawItems(QPainter* painter, int numItems, QGraphicsItem* items[],
                                    const QStyleOptionGraphicsItem options[], QWidget* widget)
{
    const QTransform viewTransform = painter->worldTransform();
    int run = 0;
    for (int i = 0; i <= numItems; ++i) {
        auto* ink = i < numItems ? dynamic_cast<MiniPathItem*>(items[i]) : nullptr;
        const bool drawnByLayer =
            ink && ink->flags().testFlag(QGraphicsItem::ItemHasNoContents) && !ink->parentItem();
        if (i < numItems && !drawnByLayer)
            continue;
        // Without the widget Qt draws every item it is given: with it, Qt
        // would clip them to what the view last exposed through its own
        // paint event, which the board's view does not go through.
        if (i > run)
            QGraphicsScene::drawItems(painter, i - run, items + run, options + run, nullptr);
        run = i + 1;
        if (drawnByLayer) {
            painter->setWorldTransform(viewTransform);
            InkLayer::paintItem(ink, painter);
        }
    }
    painter->setWorldTransform(viewTransform);
    // Tell Qt that a view has painted: it then tracks item updates again,
    // which the items that are not ink need while they are in the scene.
    if (widget)
        QGraphicsScene::drawItems(painter, 0, items, options, widget);
}
