#pragma once

#include <QList>
#include <QPainterPath>
#include <QUndoCommand>
#include <QVector>

class BoardHistory;
class MiniPathItem;

// One step of the board's history: strokes that entered the board, strokes
// that left it, and strokes whose path changed (a finished stroke, an
// erasure, a clear). The very items are kept: a stroke taken away by the
// step, or by its undo, stays alive in the step until the step leaves the
// history, so that undo and redo give back the same items with the same
// paths, pens and z values.
//
// The step is pushed once its change has been made on the board; the first
// redo() that QUndoStack::push() calls therefore does nothing.
class InkChangeCommand : public QUndoCommand
{
public:
    struct PathChange
    {
        MiniPathItem* item;
        QPainterPath before;
        QPainterPath after;
    };

    // `added` and `removed` are in stacking order (lowest first): the order
    // in which they enter the scene again.
    InkChangeCommand(BoardHistory* history, const QString& text, QList<MiniPathItem*> added,
                     QList<MiniPathItem*> removed, QVector<PathChange> changes);
    ~InkChangeCommand() override;

    void undo() override;
    void redo() override;

    const QList<MiniPathItem*>& added() const { return m_added; }
    const QList<MiniPathItem*>& removed() const { return m_removed; }
    const QVector<PathChange>& changes() const { return m_changes; }
    // Whether the change is on the board (pushed or redone) rather than undone.
    bool isApplied() const { return m_applied; }
    // Calls the function on every item the step refers to, once per mention.
    void forEachReferred(void (*function)(MiniPathItem*)) const;

private:
    BoardHistory* m_history;
    QList<MiniPathItem*> m_added;
    QList<MiniPathItem*> m_removed;
    QVector<PathChange> m_changes;
    bool m_applied = true;
    bool m_pushed = false;
};
