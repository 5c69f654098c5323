#include "canvas/boardhistory.h"

#include "canvas/inkchangecommand.h"
#include "canvas/inklayer.h"
#include "canvas/minipathitem.h"
#include "canvas/myminigraphicsscene.h"
#include "canvas/myminigraphicsview.h"
#include "common/logging.h"

#include <QSet>
#include <QUndoStack>

#include <algorithm>
#include <utility>

namespace {

// Every board's history, to find the one that refers to an item deleted
// behind its back.
QSet<BoardHistory*>& histories()
{
    static QSet<BoardHistory*> all;
    return all;
}

} // namespace

BoardHistory::BoardHistory(MyMiniGraphicsScene* scene)
    : QObject(scene)
    , m_scene(scene)
    , m_stack(new QUndoStack(this))
{
    histories().insert(this);
    m_stack->setUndoLimit(StepLimit);
    connect(m_stack, &QUndoStack::indexChanged, this, &BoardHistory::changed);
    connect(m_stack, &QUndoStack::cleanChanged, this, &BoardHistory::changed);
}

BoardHistory::~BoardHistory()
{
    histories().remove(this);
    clear();
}

bool BoardHistory::canUndo() const
{
    return m_stack->canUndo();
}

bool BoardHistory::canRedo() const
{
    return m_stack->canRedo();
}

int BoardHistory::count() const
{
    return m_stack->count();
}

bool BoardHistory::undo()
{
    endErase();
    if (!m_stack->canUndo())
        return false;
    m_stack->undo();
    return true;
}

bool BoardHistory::redo()
{
    endErase();
    if (!m_stack->canRedo())
        return false;
    m_stack->redo();
    return true;
}

void BoardHistory::clear()
{
    const bool hadSteps = m_stack->count() > 0;
    // QUndoStack deletes the oldest step first, while newer ones may still
    // count an item that an older one deletes: every count goes first, then
    // the steps delete what they keep off the board.
    for (int i = 0; i < m_stack->count(); ++i) {
        static_cast<const InkChangeCommand*>(m_stack->command(i))
            ->forEachReferred([](MiniPathItem* item) { item->m_historyRefs = 0; });
    }
    m_clearing = true;
    m_stack->clear();
    m_clearing = false;
    // An erasure in progress lets go of its record; the strokes it took off
    // the board are its own.
    for (const auto& entry : qAsConst(m_cut))
        dropReference(entry.first);
    for (MiniPathItem* item : qAsConst(m_eraseAddedLive))
        dropReference(item);
    m_erasing = false;
    m_cut.clear();
    m_cutIndex.clear();
    m_eraseAdded.clear();
    m_eraseAddedLive.clear();
    const QList<MiniPathItem*> kept = std::exchange(m_eraseRemoved, {});
    for (MiniPathItem* item : kept) {
        if (item == m_dying)
            continue;
        item->m_historyRefs = 0;
        delete item;
    }
    if (hadSteps)
        emit changed();
}

void BoardHistory::recordStroke(const QList<MiniPathItem*>& items)
{
    if (items.isEmpty())
        return;
    endErase();
    push(QStringLiteral("Stroke"), items, {}, {});
}

void BoardHistory::beginErase()
{
    if (m_erasing)
        return;
    m_erasing = true;
}

void BoardHistory::noteCut(MiniPathItem* stroke)
{
    if (!m_erasing || !stroke || m_cutIndex.contains(stroke) || m_eraseAddedLive.contains(stroke))
        return;
    // Counted like a step's items: deleted behind the history's back, it
    // ends the record instead of being used after it is gone.
    addReference(stroke);
    m_cutIndex.insert(stroke, m_cut.size());
    m_cut.append(qMakePair(stroke, stroke->path()));
}

void BoardHistory::noteAdded(const QList<MiniPathItem*>& pieces)
{
    if (!m_erasing)
        return;
    for (MiniPathItem* piece : pieces)
        addReference(piece);
    m_eraseAdded.append(pieces);
    for (MiniPathItem* piece : pieces)
        m_eraseAddedLive.insert(piece);
}

void BoardHistory::takeErased(const QList<MiniPathItem*>& strokes)
{
    if (strokes.isEmpty())
        return;
    beginErase();
    QList<QGraphicsItem*> doomed;
    QList<MiniPathItem*> kept;
    for (MiniPathItem* stroke : strokes) {
        if (m_eraseAddedLive.remove(stroke)) {
            // Made and taken away by the same erasure: never seen by a step.
            dropReference(stroke);
            doomed.append(stroke);
            continue;
        }
        const auto cut = m_cutIndex.constFind(stroke);
        if (cut != m_cutIndex.constEnd()) {
            // Cut earlier in this drag, now taken away: the step keeps it
            // with its first path, so that its undo puts it back as it was.
            stroke->setPath(m_cut.at(cut.value()).second);
        } else {
            noteCut(stroke);
        }
        kept.append(stroke);
    }
    // Lowest first, as the step keeps them.
    std::reverse(kept.begin(), kept.end());
    detach(kept);
    m_eraseRemoved.append(kept);
    if (!doomed.isEmpty()) {
        forget(doomed);
        QList<QGraphicsItem*> here;
        here.reserve(doomed.size());
        for (QGraphicsItem* item : qAsConst(doomed)) {
            if (item->scene() == m_scene)
                here.append(item);
            else if (QGraphicsScene* owner = item->scene())
                owner->removeItem(item);
        }
        m_scene->removeItemsKeepingOrder(here);
        qDeleteAll(doomed);
    }
}

void BoardHistory::endErase()
{
    if (!m_erasing)
        return;
    m_erasing = false;
    // The step counts the items from here on.
    for (const auto& entry : qAsConst(m_cut))
        dropReference(entry.first);
    for (MiniPathItem* item : qAsConst(m_eraseAddedLive))
        dropReference(item);
    QVector<QPair<MiniPathItem*, QPainterPath>> cut;
    cut.swap(m_cut);
    m_cutIndex.clear();
    // The pieces still on the board, in the order they were made, each
    // once: a piece deleted during the drag may have left its address to a
    // later one.
    QList<MiniPathItem*> added;
    added.reserve(m_eraseAddedLive.size());
    for (MiniPathItem* piece : qAsConst(m_eraseAdded)) {
        if (m_eraseAddedLive.remove(piece))
            added.append(piece);
    }
    m_eraseAdded.clear();
    m_eraseAddedLive.clear();
    QList<MiniPathItem*> removed;
    removed.swap(m_eraseRemoved);
    if (cut.isEmpty() && added.isEmpty() && removed.isEmpty())
        return;
    std::stable_sort(removed.begin(), removed.end(),
                     [](MiniPathItem* a, MiniPathItem* b) { return a->zValue() < b->zValue(); });
    // Strokes that were cut and then taken away are only removed.
    const QSet<MiniPathItem*> gone(removed.cbegin(), removed.cend());
    QVector<InkChangeCommand::PathChange> changes;
    changes.reserve(cut.size());
    for (const auto& entry : qAsConst(cut)) {
        if (!gone.contains(entry.first))
            changes.append({entry.first, entry.second, entry.first->path()});
    }
    push(QStringLiteral("Erase"), added, removed, changes);
}

void BoardHistory::clearBoard(const QList<QGraphicsItem*>& items)
{
    endErase();
    forget(items);
    QList<MiniPathItem*> strokes;
    strokes.reserve(items.size());
    for (QGraphicsItem* item : items) {
        if (item->parentItem())
            continue;
        if (auto* stroke = dynamic_cast<MiniPathItem*>(item))
            strokes.append(stroke);
    }
    // Every item leaves the ink layer at once, then the scene.
    m_scene->inkLayer()->clear();
    for (int i = strokes.size() - 1; i >= 0; --i)
        m_scene->removeItem(strokes.at(i));
    // Whatever else the scene held (the eraser's picture, a host's items)
    // is deleted, as clearing always did.
    m_scene->clear();
    if (!strokes.isEmpty())
        push(QStringLiteral("Clear"), {}, strokes, {});
}

void BoardHistory::push(const QString& text, QList<MiniPathItem*> added,
                        QList<MiniPathItem*> removed, QVector<InkChangeCommand::PathChange> changes)
{
    m_stack->push(
        new InkChangeCommand(this, text, std::move(added), std::move(removed), std::move(changes)));
}

void BoardHistory::forget(const QList<QGraphicsItem*>& items)
{
    if (items.isEmpty())
        return;
    const QList<QGraphicsView*> views = m_scene->views();
    for (QGraphicsView* view : views) {
        if (auto* board = qobject_cast<MyMiniGraphicsView*>(view))
            board->forgetItems(items);
    }
}

void BoardHistory::detach(const QList<MiniPathItem*>& items)
{
    if (items.isEmpty())
        return;
    QList<QGraphicsItem*> gone;
    gone.reserve(items.size());
    for (MiniPathItem* item : items)
        gone.append(item);
    forget(gone);
    InkLayer* ink = m_scene->inkLayer();
    // All the ink at once (undoing a stroke after a clear's undo, redoing a
    // clear): the layer forgets everything in one go instead of redrawing
    // the board item by item.
    if (items.size() >= ink->count())
        ink->clear();
    QList<QGraphicsItem*> here;
    here.reserve(items.size());
    for (MiniPathItem* item : items) {
        if (item->scene() == m_scene)
            here.append(item);
        else if (QGraphicsScene* owner = item->scene())
            owner->removeItem(item);
    }
    m_scene->removeItemsKeepingOrder(here);
}

void BoardHistory::attach(const QList<MiniPathItem*>& items)
{
    for (MiniPathItem* item : items) {
        if (!item->scene())
            m_scene->addItem(item);
    }
}

void BoardHistory::addReference(MiniPathItem* item)
{
    ++item->m_historyRefs;
}

void BoardHistory::dropReference(MiniPathItem* item)
{
    if (item->m_historyRefs > 0)
        --item->m_historyRefs;
}

void BoardHistory::itemDeleted(MiniPathItem* item)
{
    const QSet<BoardHistory*> all = histories();
    for (BoardHistory* history : all) {
        if (history->m_dying || !history->refersTo(item))
            continue;
        qCWarning(lcSkedaCanvas,
                  "BoardHistory: a stroke item was deleted behind the board's history; undo "
                  "and redo start afresh");
        history->m_dying = item;
        history->clear();
        history->m_dying = nullptr;
    }
    item->m_historyRefs = 0;
}

bool BoardHistory::refersTo(const MiniPathItem* item) const
{
    auto* stroke = const_cast<MiniPathItem*>(item);
    if (m_cutIndex.contains(stroke) || m_eraseAddedLive.contains(stroke) ||
        m_eraseRemoved.contains(stroke))
        return true;
    for (int i = 0; i < m_stack->count(); ++i) {
        const auto* step = static_cast<const InkChangeCommand*>(m_stack->command(i));
        if (step->added().contains(stroke) || step->removed().contains(stroke))
            return true;
        for (const InkChangeCommand::PathChange& change : step->changes()) {
            if (change.item == item)
                return true;
        }
    }
    return false;
}
