#include "canvas/inkchangecommand.h"

#include "canvas/boardhistory.h"
#include "canvas/minipathitem.h"

#include <QtGlobal>

InkChangeCommand::InkChangeCommand(BoardHistory* history, const QString& text,
                                   QList<MiniPathItem*> added, QList<MiniPathItem*> removed,
                                   QVector<PathChange> changes)
    : QUndoCommand(text)
    , m_history(history)
    , m_added(std::move(added))
    , m_removed(std::move(removed))
    , m_changes(std::move(changes))
{
    forEachReferred(&BoardHistory::addReference);
}

InkChangeCommand::~InkChangeCommand()
{
    if (!m_history->isClearing())
        forEachReferred(&BoardHistory::dropReference);
    // What this step holds off the board is its own: the removed items
    // while it is applied, the added ones while it is undone. Everything
    // else belongs to the scene or to another step.
    const QList<MiniPathItem*>& owned = m_applied ? m_removed : m_added;
    for (MiniPathItem* item : owned) {
        if (item == m_history->dyingItem())
            continue;
        item->m_historyRefs = 0;
        delete item;
    }
}

void InkChangeCommand::undo()
{
    m_history->detach(m_added);
    for (const PathChange& change : qAsConst(m_changes))
        change.item->setPath(change.before);
    m_history->attach(m_removed);
    m_applied = false;
}

void InkChangeCommand::redo()
{
    if (!m_pushed) {
        // Already on the board when it was pushed.
        m_pushed = true;
        return;
    }
    m_history->detach(m_removed);
    for (const PathChange& change : qAsConst(m_changes))
        change.item->setPath(change.after);
    m_history->attach(m_added);
    m_applied = true;
}

void InkChangeCommand::forEachReferred(void (*function)(MiniPathItem*)) const
{
    for (MiniPathItem* item : m_added)
        function(item);
    for (MiniPathItem* item : m_removed)
        function(item);
    for (const PathChange& change : m_changes)
        function(change.item);
}
