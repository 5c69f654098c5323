#include "canvas/myminigraphicsscene.h"

#include "canvas/boardhistory.h"
#include "canvas/inklayer.h"
#include "canvas/minipathitem.h"
#include "eraser/minieraseopermodel.h"

#include <QGraphicsSceneMouseEvent>
#include <QPainter>
#include <QStyleOptionGraphicsItem>

#include <algorithm>

#ifdef SKEDA_QT_PRIVATE_HEADERS
#include <QtWidgets/private/qgraphicsitem_p.h>
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

void MyMiniGraphicsScene::removeItemsKeepingOrder(const QList<QGraphicsItem*>& items)
{
#ifdef SKEDA_QT_PRIVATE_HEADERS
    static const bool sameQt = qstrcmp(qVersion(), QT_VERSION_STR) == 0;
    auto* d = static_cast<QGraphicsScenePrivate*>(d_ptr.data());
    // While the list is in the order of addition, the items' numbers rise
    // along it (they are its indexes unless items left since the last
    // numbering), so each leaving item is found by its number.
    if (sameQt && items.size() > 1 && d->topLevelSequentialOrdering) {
        QList<QGraphicsItem*>& list = d->topLevelItems;
        const bool numbered = !d->holesInTopLevelSiblingIndex;
        auto indexOf = [&](QGraphicsItem* item) -> int {
            const int number = QGraphicsItemPrivate::get(item)->siblingIndex;
            if (numbered)
                return number >= 0 && number < list.size() && list.at(number) == item ? number : -1;
            const auto it = std::lower_bound(
                list.cbegin(), list.cend(), number, [](const QGraphicsItem* a, int n) {
                    return QGraphicsItemPrivate::get(a)->siblingIndex < n;
                });
            return it != list.cend() && *it == item ? int(it - list.cbegin()) : -1;
        };
        QVector<int> leaving;
        leaving.reserve(items.size());
        QList<QGraphicsItem*> others;
        for (QGraphicsItem* item : items) {
            const int index =
                item && item->scene() == this && !item->parentItem() ? indexOf(item) : -1;
            if (index >= 0)
                leaving.append(index);
            else if (item)
                others.append(item);
        }
        std::sort(leaving.begin(), leaving.end());
        leaving.erase(std::unique(leaving.begin(), leaving.end()), leaving.end());
        if (!leaving.isEmpty()) {
            // One pass: the staying items move up over the gaps, the leaving
            // ones go to the end in their order; all are numbered by place
            // (from the first gap on when the numbers were places already).
            QVector<QGraphicsItem*> gone;
            gone.reserve(leaving.size());
            const int from = numbered ? leaving.first() : 0;
            const int size = list.size();
            QGraphicsItem** const entries = &list[0];
            // Each number lies in the item's own private data, one memory
            // access away from the item: both are fetched ahead, so that the
            // pass runs at the memory's speed instead of waiting on each.
            constexpr int kAhead = 16;
            for (int read = from; read < from + 2 * kAhead && read < size; ++read)
                __builtin_prefetch(entries[read]);
            int write = from;
            int next = 0;
            for (int read = from; read < size; ++read) {
                if (read + 2 * kAhead < size)
                    __builtin_prefetch(entries[read + 2 * kAhead]);
                if (read + kAhead < size)
                    __builtin_prefetch(
                        &QGraphicsItemPrivate::get(entries[read + kAhead])->siblingIndex, 1);
                QGraphicsItem* item = entries[read];
                if (next < leaving.size() && leaving.at(next) == read) {
                    gone.append(item);
                    ++next;
                    continue;
                }
                entries[write] = item;
                QGraphicsItemPrivate::get(item)->siblingIndex = write;
                ++write;
            }
            for (QGraphicsItem* item : qAsConst(gone)) {
                entries[write] = item;
                QGraphicsItemPrivate::get(item)->siblingIndex = write;
                ++write;
            }
            d->holesInTopLevelSiblingIndex = 0;
            // Newest first, each from the end of the list.
            for (int i = gone.size() - 1; i >= 0; --i) {
                if (gone.at(i)->scene() == this)
                    removeItemKeepingOrder(gone.at(i));
            }
        }
        for (QGraphicsItem* item : qAsConst(others)) {
            if (item->scene() == this)
                removeItemKeepingOrder(item);
        }
        return;
    }
#endif
    for (int i = items.size() - 1; i >= 0; --i) {
        if (items.at(i) && items.at(i)->scene() == this)
            removeItemKeepingOrder(items.at(i));
    }
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
