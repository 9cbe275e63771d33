#pragma once

#include <QString>

#include <cstdint>

// One step by which a list's arrangement changed. Rows are indices into the arrangement as it stands
// just before the step (and, for an insertion or a move, the index the row has just after it), so that
// an item model can forward each step one to one: Reset to beginResetModel/endResetModel, Insert to
// beginInsertRows(first, last), Remove to beginRemoveRows(first, last), Move to
// beginMoveRows(first, first, destinationRow()), Update to dataChanged(first, last) for the columns
// that show `keys`.
//
// `keys` says what changed in an updated row, as the store's change batches say it: bit k for
// attribute k of the row's entity, bit (attribute count + j) for its relationship j. A relationship's
// bit also stands for a change of the record it leads to (a task's project renamed sets the task's
// parentProject bit). All bits set: the row's record was deleted (it leaves at the next
// re-arrangement).
struct ListChange {
    enum class Kind { Reset, Insert, Remove, Move, Update };

    Kind kind = Kind::Reset;
    int first = 0;
    int last = 0;
    int to = 0; // Move: the row's index once moved
    std::uint64_t keys = 0;

    // Where a moved row goes counted in the arrangement before the move (as beginMoveRows wants it).
    int destinationRow() const { return to > first ? to + 1 : to; }
    bool operator==(const ListChange&) const = default;
    QString toString() const;
};

// Told of every step of a list's arrangement: listWillChange before the list's rows change,
// listDidChange after; the arrangement read in between is the old one, after it the new one. An
// observed list re-arranges as soon as it is asked to, so the observer never has to read it to get
// its reports.
class ListObserver {
public:
    virtual ~ListObserver() = default;
    virtual void listWillChange(const ListChange&) {}
    virtual void listDidChange(const ListChange&) = 0;
};
