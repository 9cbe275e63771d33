#pragma once

#include "lists/tasktablecolumns.h"
#include "lists/tasktablekeys.h"

#include <QElapsedTimer>
#include "ui/models/tasktablemodel.h"

#include <QTableView>

#include <functional>
#include <memory>
#include <vector>

class QMenu;
class QToolButton;
class Record;
class TabViewController;
class Task;
class TaskItemDelegate;
class TaskTableModel;
class TaskTableState;
class TasksArrayController;

// The table of one task list. It draws what the list and the table state hold and forwards the user's
// actions to them: keys to the table's key rules (what they leave goes to the ordinary table keys), header
// clicks to the sort state, column resizes and the visible-columns menu to the column state, the
// selection to the list. Sorting is never the view's own.
class TaskTableView : public QTableView {
    Q_OBJECT
public:
    TaskTableView(TabViewController& views, TaskTableKind kind, QWidget* parent = nullptr,
                  TaskTableModel::Attach attach = TaskTableModel::Attach::Now);
    // Shows the list's rows when the table was made with Attach::Later (see TaskTableModel).
    void attachList();
    ~TaskTableView() override;

    TaskTableKind kind() const { return m_kind; }
    TasksArrayController& list() const;
    TaskTableState& tableState() const;
    TaskTableModel& taskModel() const { return *m_model; }
    TaskItemDelegate& delegate() const { return *m_delegate; }
    TaskTableKeys& keys() { return m_keys; }

    // Selects the list's selected tasks and scrolls to the first.
    void showListSelection();
    // Starts editing `column` of the row of `task` (the name after a new task is made).
    void beginEditing(Record* task, const QString& column);
    // The visible-columns menu, filled afresh (the corner button and the header's context menu show it).
    QMenu* visibleColumnsMenu();

    // Type-ahead belongs to the key rules; the view's own search would fight them.
    void keyboardSearch(const QString& search) override;
    // Seconds on a monotonic clock for the type-ahead; tests set their own.
    void setClock(std::function<double()> clock) { m_now = std::move(clock); }

public Q_SLOTS:
    void copy();
    void cut();
    void paste();
    void selectAll() override;

Q_SIGNALS:
    // The user changed the selection (not the list through a command).
    void taskSelectionChanged();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
    void dropEvent(QDropEvent* event) override;

private:
    void headerClicked(int section);
    void showSortIndicator();
    void applyColumnWidths();
    void columnResized(int section, int oldSize, int newSize);
    void columnsChanged();
    bool cellClicked(const QModelIndex& index, QPoint position, QRect cell, Qt::KeyboardModifiers modifiers);
    void pushSelectionToList();
    std::vector<Task*> selectedTasksInRowOrder() const;
    double now() const;

    TabViewController& m_views;
    TaskTableKind m_kind;
    TaskTableKeys m_keys;
    TaskTableModel* m_model = nullptr;
    TaskItemDelegate* m_delegate = nullptr;
    QToolButton* m_corner = nullptr;
    QMenu* m_columnsMenu = nullptr;
    QElapsedTimer m_clock;
    std::function<double()> m_now;
    int m_sortListener = 0;
    bool m_showingListSelection = false;
    bool m_applyingWidths = false;
};
