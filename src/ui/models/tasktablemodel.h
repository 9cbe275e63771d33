#pragma once

#include "lists/listobserver.h"

#include <QAbstractTableModel>
#include <QFont>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <vector>

class MyDateFormatter;
class Task;
class TaskTableState;
class TasksArrayController;

// The rows of one task list and the columns its table shows, as an item model. It forwards the list's
// arrangement steps one to one (insertions, removals, moves, updates of the columns the changed keys
// show) and resets only when the list arranges itself whole or the shown columns change. Sorting and
// filtering stay in the list.
//
// data() reads the task of the row and one attribute: no fetches, no path building (path names are
// kept by the folders).
class TaskTableModel : public QAbstractTableModel, public ListObserver {
    Q_OBJECT
public:
    enum Role {
        // The row's Task* (as a pointer in a QVariant).
        TaskRole = Qt::UserRole + 1,
        // The column's identifier ("name", "priority" …).
        ColumnIdentifierRole,
        // The whole number a slider or icon cell draws: priority, effort, status, done, next action.
        ValueRole,
    };

    // Attach::Later leaves the model empty, and the list unobserved and unarranged, until attachList():
    // a window shows one table at first and need not arrange the other lists before it is painted.
    enum class Attach { Now, Later };
    TaskTableModel(TasksArrayController& list, TaskTableState& state, QObject* parent = nullptr, Attach attach = Attach::Now);
    ~TaskTableModel() override;

    // Observes the list and shows its rows (a reset); does nothing once attached.
    void attachList();
    bool isAttached() const { return m_attached; }

    TasksArrayController& list() const { return m_list; }
    TaskTableState& state() const { return m_state; }
    const MyDateFormatter& dateFormatter() const { return *m_dates; }

    Task* taskAt(int row) const;
    // -1 when the task is not on show.
    int rowOfTask(const Task* task) const;
    QString columnIdentifier(int column) const;
    // -1 for a column that is not shown.
    int columnOf(const QString& identifier) const;
    // True between a step's begin and end signals: the rows are then half way.
    bool isChanging() const { return m_changing; }

    // The state's shown columns have changed (hidden, shown): the model takes them again.
    void columnsChanged();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override;
    Qt::DropActions supportedDropActions() const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent) const override;
    // Tasks dragged out of a table (movedRows) that this list shows are placed at the drop row, in the
    // list's natural order, as one undo step.
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent) override;

    void listWillChange(const ListChange& change) override;
    void listDidChange(const ListChange& change) override;

    enum class Column : std::uint8_t { Done, NextAction, Status, Name, Context, Project, Priority, Effort, StartDate, DueDate, CompletionDate, Other };
    static Column columnKind(const QString& identifier);
    // The task keys (ListChange::keys bits) whose change alters what a column shows.
    static std::uint64_t keysShownBy(Column column);

private:
    void takeColumns();
    // Renames the task, or, in quick-entry mode of the context and project tables, reads the line.
    void editName(Task* task, const QString& text);

    TasksArrayController& m_list;
    TaskTableState& m_state;
    std::unique_ptr<MyDateFormatter> m_dates;
    const std::vector<Task*>* m_rows = nullptr;
    bool m_attached = false;
    std::vector<Column> m_columns;
    QStringList m_identifiers;
    QFont m_struckOut;
    bool m_changing = false;
};
