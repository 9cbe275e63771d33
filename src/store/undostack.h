#pragma once

#include "store/value.h"

#include <QString>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

class Record;

// One reversible step. Undoing it goes through the record's ordinary tracked setters, which records the
// opposite step on the other stack, so redo needs nothing of its own.
struct UndoEntry {
    enum class Kind {
        Attribute,
        ToOne,
        Inserted,
        Deleted,
        // One attribute of many records, written while the stack coalesced them (a renumbering): one entry
        // with a compact list of the values to put back, instead of one entry per record.
        AttributeRun,
    };
    UndoEntry(Kind kind, Record* record, int index = -1) : kind(kind), record(record), index(index) {}
    Kind kind;
    Record* record;            // null for AttributeRun
    int index;                 // attribute or relationship index
    Value value;               // Attribute: the value to put back
    Record* target = nullptr;  // ToOne: the record to link again
    std::unique_ptr<std::vector<std::pair<Record*, Value>>> run; // AttributeRun, in the order written
};

struct UndoGroup {
    QString actionName;
    std::vector<UndoEntry> entries;
};

// Undo and redo grouped per user action. Changes made while no group is open are collected in an
// implicit group that the context closes at the end of each change batch (one event of the event loop),
// so one user action becomes one undo step without the caller doing anything; a caller that names its
// action opens an explicit group (UndoGrouping) and the Edit menu shows "Undo <name>".
//
// At most levelsOfUndo() groups are kept (100 unless set); older ones are dropped.
//
// Thread: that of its context.
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
    // 0: no limit.
    void setLevelsOfUndo(int levels);
    int levelsOfUndo() const { return m_levels; }
    // Called whenever what can be undone or redone, or the action names, may have changed.
    void setChangeHandler(std::function<void()> handler) { m_changed = std::move(handler); }
    // The entries held (each value of a run counted), for tests and measurements.
    size_t entryCount() const;
    // The bytes the stack holds in its groups and entries (text values' own storage aside).
    size_t approximateBytes() const;

    // While coalescing `attribute`, its changes go into one AttributeRun entry of the open group.
    void beginCoalescing(int attribute);
    void endCoalescing();

    // Called by the context for every tracked change.
    void registerEntry(UndoEntry entry);

    // Hand out the group to reverse; the context applies it between beginReversing and endReversing.
    enum class Direction { Undo, Redo };
    bool takeGroup(Direction direction, UndoGroup& group);
    void beginReversing(Direction direction, const QString& actionName);
    void endReversing();
    bool isReversing() const { return m_state != State::Normal; }

private:
    enum class State { Normal, Undoing, Redoing };
    void pushUndoGroup(UndoGroup group);
    template <typename Visit>
    void forEachGroup(Visit visit) const;
    // Drops the oldest groups past the limit.
    void trim(std::vector<UndoGroup>& groups) const;
    void changed() const
    {
        if (m_changed)
            m_changed();
    }

    std::vector<UndoGroup> m_undo;
    std::vector<UndoGroup> m_redo;
    UndoGroup m_open;
    int m_depth = 0;          // explicit nesting
    bool m_implicitOpen = false;
    State m_state = State::Normal;
    bool m_enabled = true;
    int m_levels = 100;
    int m_coalescing = -1;    // the attribute being coalesced, or -1
    std::function<void()> m_changed;
};

// Names one user action for the Edit menu and makes it one undo step, for the scope's life:
//   UndoGrouping step(context.undoManager(), QStringLiteral("Complete Task"));
class UndoGrouping {
public:
    UndoGrouping(UndoStack& stack, const QString& actionName) : m_stack(stack) { m_stack.beginUndoGrouping(actionName); }
    ~UndoGrouping() { m_stack.endUndoGrouping(); }
    UndoGrouping(const UndoGrouping&) = delete;
    UndoGrouping& operator=(const UndoGrouping&) = delete;

private:
    UndoStack& m_stack;
};

// Writes of one attribute to many records become one undo entry, for the scope's life.
class UndoCoalescing {
public:
    UndoCoalescing(UndoStack& stack, int attribute) : m_stack(stack) { m_stack.beginCoalescing(attribute); }
    ~UndoCoalescing() { m_stack.endCoalescing(); }
    UndoCoalescing(const UndoCoalescing&) = delete;
    UndoCoalescing& operator=(const UndoCoalescing&) = delete;

private:
    UndoStack& m_stack;
};
