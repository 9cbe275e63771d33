#pragma once

#include "store/value.h"

#include <QString>

#include <vector>

class Record;

// One reversible step. Undoing it goes through the record's ordinary tracked setters, which records the
// opposite step on the other stack, so redo needs nothing of its own.
struct UndoEntry {
    enum class Kind { Attribute, ToOne, Inserted, Deleted };
    UndoEntry(Kind kind, Record* record, int index = -1) : kind(kind), record(record), index(index) {}
    Kind kind;
    Record* record;
    int index;                 // attribute or relationship index
    Value value;               // Attribute: the value to put back
    Record* target = nullptr;  // ToOne: the record to link again
};

struct UndoGroup {
    QString actionName;
    std::vector<UndoEntry> entries;
};

// Undo and redo grouped per user action. Changes made while no group is open are collected in an
// implicit group that the context closes at the end of each change batch (one event of the event loop),
// so one user action becomes one undo step without the caller doing anything.
class UndoStack {
public:
    void beginUndoGrouping(const QString& actionName = {});
    void endUndoGrouping();
    void setActionName(const QString& name);
    // Closes the implicit group, if one is open. Explicit groups stay open.
    void closeImplicitGroup();

    bool canUndo() const;
    bool canRedo() const { return !m_redo.empty(); }
    QString undoActionName() const;
    QString redoActionName() const;
    void removeAllActions();
    void setEnabled(bool enabled) { m_enabled = enabled; }
    bool isEnabled() const { return m_enabled; }

    // Called by the context for every tracked change.
    void registerEntry(UndoEntry entry);

    // Hand out the group to reverse; the context applies it between beginReversing and endReversing.
    enum class Direction { Undo, Redo };
    bool takeGroup(Direction direction, UndoGroup& group);
    void beginReversing(Direction direction, const QString& actionName);
    void endReversing();

private:
    enum class State { Normal, Undoing, Redoing };
    std::vector<UndoGroup> m_undo;
    std::vector<UndoGroup> m_redo;
    UndoGroup m_open;
    int m_depth = 0;          // explicit nesting
    bool m_implicitOpen = false;
    State m_state = State::Normal;
    bool m_enabled = true;
};
