#include "canvas/myminigraphicsscene.h"

#include "canvas/boardhistory.h"
#include "canvas/inklayer.h"
#include "canvas/minipathitem.h"
#include "eraser/minieraseopermodel.h"

#include <QGraphicsSceneMouseEvent>
#include <QPainter>
#include <QStyleOptionGraphicsItem>

#ifdef SKEDA_QT_PRIVATE_HEADERS
#include <QtWidgets/private/qgraphicsscene_p.h>
#endif

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

void MyMiniGraphicsScene::removeItemKeepingOrder(QGraphicsItem* item)
{
#ifdef SKEDA_QT_PRIVATE_HEADERS
    // The layout of Qt's private data is that of the Qt the library was
    // built against; with any other Qt the scene sorts as it always does.
    static const bool sameQt = qstrcmp(qVersion(), QT_VERSION_STR) == 0;
    if (sameQt) {
        auto* d = static_cast<QGraphicsScenePrivate*>(d_ptr.data());
        // Qt's mark says the list is in the order of addition. Sorting it by
        // z is the one thing that clears the request to sort it by z, which
        // every addition makes: if the request is still there afterwards,
        // nothing sorted the list while the item was taken out, and taking
        // an item out keeps the others in order.
        const bool inOrder = d->topLevelSequentialOrdering && d->needSortTopLevelItems;
        removeItem(item);
        if (inOrder && d->needSortTopLevelItems)
            d->topLevelSequentialOrdering = true;
        return;
    }
#endif
    removeItem(item);
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
