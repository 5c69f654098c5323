#pragma once

#include "canvas/inkchangecommand.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPainterPath>
#include <QSet>
#include <QVector>

class MiniPathItem;
class MyMiniGraphicsScene;
class QGraphicsItem;
class QUndoStack;

// The undo history of the board's drawing. Every change is one step: a
// finished stroke (press to release of the mouse or of one finger), an
// erasure (press to release of the eraser, every cut of the drag together)
// and a clear. The steps keep the very items they take off the board, so
// that undo restores exactly what was there; at most StepLimit steps are
// kept, the oldest dropped beyond that.
//
// The scene owns its history. The pen and the eraser report their changes
// here as they make them; undo and redo take items off the board and put
// them back through the scene, so that the ink layer redraws only the areas
// that change, and every view's operations forget the items that leave.
class BoardHistory : public QObject
{
    Q_OBJECT

public:
    static constexpr int StepLimit = 100;

    explicit BoardHistory(MyMiniGraphicsScene* scene);
    ~BoardHistory() override;

    QUndoStack* stack() const { return m_stack; }
    bool canUndo() const;
    bool canRedo() const;
    int count() const;
    // Undoes or redoes one step; false when there was none. The callers make
    // sure that no stroke or erasure is in progress.
    bool undo();
    bool redo();
    // Drops every step (the items that the steps kept off the board go).
    void clear();

    // A stroke was finished: these items, drawn by it, are one step.
    void recordStroke(const QList<MiniPathItem*>& items);

    // An erasure collects its changes until endErase(), and is then one step.
    bool isErasing() const { return m_erasing; }
    void beginErase();
    // `stroke` is about to be cut; its path so far is what undo restores.
    void noteCut(MiniPathItem* stroke);
    // The erasure made these new pieces.
    void noteAdded(const QList<MiniPathItem*>& pieces);
    // The erasure takes these strokes away: the pieces it made itself are
    // deleted, older strokes leave the scene and are kept by the step.
    void takeErased(const QList<MiniPathItem*>& strokes);
    void endErase();

    // Clears the board as one step: every top-level stroke item leaves the
    // scene and is kept; the scene's other items are deleted. `items` is
    // the scene's item list in ascending stacking order.
    void clearBoard(const QList<QGraphicsItem*>& items);

    // Used by the steps: takes the items off the board (telling every view's
    // operations to forget them first), or puts them back in this order.
    void detach(const QList<MiniPathItem*>& items);
    void attach(const QList<MiniPathItem*>& items);
    // Every step that refers to an item counts it; an item still counted
    // when it is deleted was deleted behind the history's back.
    static void addReference(MiniPathItem* item);
    static void dropReference(MiniPathItem* item);
    // Called by a stroke item that is deleted while the history refers to
    // it (board items deleted behind its back): the history that refers to
    // it starts afresh.
    static void itemDeleted(MiniPathItem* item);
    // The item that is being deleted behind the history's back, which no
    // step may delete again.
    const MiniPathItem* dyingItem() const { return m_dying; }
    // Whether every step is being dropped at once: the steps then leave the
    // items' counts alone.
    bool isClearing() const { return m_clearing; }

signals:
    // Emitted after every change of the steps (a new one, undo, redo, clear).
    void changed();

private:
    void push(const QString& text, QList<MiniPathItem*> added, QList<MiniPathItem*> removed,
              QVector<InkChangeCommand::PathChange> changes);
    void forget(const QList<QGraphicsItem*>& items);
    bool refersTo(const MiniPathItem* item) const;

    MyMiniGraphicsScene* m_scene;
    QUndoStack* m_stack;
    const MiniPathItem* m_dying = nullptr;
    bool m_clearing = false;

    // The erasure in progress.
    bool m_erasing = false;
    QVector<QPair<MiniPathItem*, QPainterPath>> m_cut; // pre-existing items, first path
    QHash<MiniPathItem*, int> m_cutIndex;
    // The pieces it made, in order, and those of them still on the board
    // (a piece that the same erasure took away again is only in the list).
    QList<MiniPathItem*> m_eraseAdded;
    QSet<MiniPathItem*> m_eraseAddedLive;
    QList<MiniPathItem*> m_eraseRemoved;
};
