#include "ui/tasktableview.h"

#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "lists/tasktablestate.h"
#include "model/task.h"
#include "model/tasksduplicator.h"
#include "store/objectcontext.h"
#include "store/undostack.h"
#include "ui/models/tasktablemodel.h"
#include "ui/pasteboard.h"
#include "ui/taskitemdelegate.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QScrollBar>
#include <QToolButton>

#include <algorithm>
#include <unordered_set>

namespace {

QString tableName(TaskTableKind kind)
{
    switch (kind) {
    case TaskTableKind::ContextTasks:
        return QStringLiteral("contextTasksTable");
    case TaskTableKind::ProjectTasks:
        return QStringLiteral("projectTasksTable");
    case TaskTableKind::AllTasks:
        return QStringLiteral("allTasksTable");
    case TaskTableKind::CompletedTasks:
        return QStringLiteral("completedTasksTable");
    case TaskTableKind::ArchivedTasks:
        break;
    }
    return QStringLiteral("archivedTasksTable");
}

QString accessibleTableName(TaskTableKind kind)
{
    switch (kind) {
    case TaskTableKind::ContextTasks:
        return QStringLiteral("Context tasks");
    case TaskTableKind::ProjectTasks:
        return QStringLiteral("Project tasks");
    case TaskTableKind::AllTasks:
        return QStringLiteral("Tasks to complete");
    case TaskTableKind::CompletedTasks:
        return QStringLiteral("Completed tasks");
    case TaskTableKind::ArchivedTasks:
        break;
    }
    return QStringLiteral("Archived tasks");
}

} // namespace

TaskTableView::TaskTableView(TabViewController& views, TaskTableKind kind, QWidget* parent, TaskTableModel::Attach attach)
    : QTableView(parent), m_views(views), m_kind(kind), m_keys(views, kind)
{
    setObjectName(tableName(kind));
    setAccessibleName(accessibleTableName(kind));
    m_clock.start();

    m_model = new TaskTableModel(list(), tableState(), this, attach);
    m_delegate = new TaskItemDelegate(views, this);
    m_delegate->setClickHandler([this](const QModelIndex& index, QPoint position, QRect cell, Qt::KeyboardModifiers modifiers) {
        return cellClicked(index, position, cell, modifiers);
    });
    setModel(m_model);
    setItemDelegate(m_delegate);

    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    setTextElideMode(Qt::ElideRight);
    setSortingEnabled(false);
    setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::SelectedClicked | QAbstractItemView::DoubleClicked);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setDragDropOverwriteMode(false);
    setDropIndicatorShown(true);

    QHeaderView* rows = verticalHeader();
    rows->hide();
    rows->setSectionResizeMode(QHeaderView::Fixed);
    rows->setDefaultSectionSize(fontMetrics().height() + 6);

    QHeaderView* header = horizontalHeader();
    header->setObjectName(objectName() + QStringLiteral("Header"));
    header->setAccessibleName(accessibleTableName(kind) + QStringLiteral(" columns"));
    header->setSectionsClickable(true);
    header->setSectionsMovable(false);
    header->setSortIndicatorShown(true);
    header->setHighlightSections(false);
    header->setStretchLastSection(false);
    header->setSectionResizeMode(QHeaderView::Interactive);
    header->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(header, &QHeaderView::sectionClicked, this, &TaskTableView::headerClicked);
    connect(header, &QHeaderView::sectionResized, this, &TaskTableView::columnResized);
    connect(header, &QWidget::customContextMenuRequested, this,
            [this, header](const QPoint& at) { visibleColumnsMenu()->popup(header->mapToGlobal(at)); });

    m_columnsMenu = new QMenu(this);
    m_columnsMenu->setObjectName(objectName() + QStringLiteral("ColumnsMenu"));
    m_columnsMenu->setAccessibleName(QStringLiteral("Visible columns"));
    m_corner = new QToolButton(this);
    m_corner->setObjectName(objectName() + QStringLiteral("ColumnsButton"));
    m_corner->setAccessibleName(QStringLiteral("Visible columns"));
    m_corner->setToolTip(QStringLiteral("Visible columns"));
    m_corner->setText(QStringLiteral("\u25E7"));
    m_corner->setAutoRaise(true);
    m_corner->setFixedHeight(header->sizeHint().height());
    connect(m_corner, &QToolButton::clicked, this,
            [this] { visibleColumnsMenu()->popup(m_corner->mapToGlobal(QPoint(0, m_corner->height()))); });
    // Above the vertical scroll bar, in line with the header; the bar stays so the button does.
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    addScrollBarWidget(m_corner, Qt::AlignTop);

    connect(m_model, &QAbstractItemModel::modelReset, this, &TaskTableView::showListSelection);
    m_sortListener = tableState().addSortChangedListener([this] { showSortIndicator(); });

    applyColumnWidths();
    showSortIndicator();
}

TaskTableView::~TaskTableView()
{
    tableState().removeSortChangedListener(m_sortListener);
}

TasksArrayController& TaskTableView::list() const
{
    return m_views.taskList(TaskView(int(m_kind)));
}

TaskTableState& TaskTableView::tableState() const
{
    return m_views.tableState(TaskView(int(m_kind)));
}

double TaskTableView::now() const
{
    return m_now ? m_now() : double(m_clock.nsecsElapsed()) / 1e9;
}

void TaskTableView::keyboardSearch(const QString&) {}

void TaskTableView::keyPressEvent(QKeyEvent* event)
{
    if (QAbstractItemView::state() == QAbstractItemView::EditingState) {
        QTableView::keyPressEvent(event);
        return;
    }
    const KeyPress key{event->key(), event->modifiers(), event->text()};
    if (m_keys.keyDown(key, now())) {
        event->accept();
        showListSelection();
        return;
    }
    // Return edits the name, as the ordinary table key does elsewhere.
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && event->modifiers() == Qt::NoModifier) {
        const int nameColumn = m_model->columnOf(QStringLiteral("name"));
        if (currentIndex().isValid() && nameColumn >= 0) {
            edit(m_model->index(currentIndex().row(), nameColumn));
            event->accept();
            return;
        }
    }
    QTableView::keyPressEvent(event);
}

std::vector<Task*> TaskTableView::selectedTasksInRowOrder() const
{
    std::vector<int> rows;
    for (const QItemSelectionRange& range : selectionModel()->selection())
        for (int r = range.top(); r <= range.bottom(); ++r)
            rows.push_back(r);
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    std::vector<Task*> tasks;
    tasks.reserve(rows.size());
    for (int r : rows)
        if (Task* t = m_model->taskAt(r))
            tasks.push_back(t);
    return tasks;
}

void TaskTableView::pushSelectionToList()
{
    list().setSelectedObjects(selectedTasksInRowOrder());
}

void TaskTableView::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected)
{
    QTableView::selectionChanged(selected, deselected);
    // While rows come and go the view's selection follows them; the list keeps its own.
    if (m_showingListSelection || m_model->isChanging())
        return;
    pushSelectionToList();
    Q_EMIT taskSelectionChanged();
}

// Reached by the keyboard with nothing selected, the table selects the row it marks as current: the
// task commands and the detail pane then have a task at once, and the first arrow key moves from it
// instead of passing over it.
void TaskTableView::focusInEvent(QFocusEvent* event)
{
    QTableView::focusInEvent(event);
    const Qt::FocusReason reason = event->reason();
    if (reason != Qt::TabFocusReason && reason != Qt::BacktabFocusReason && reason != Qt::ShortcutFocusReason)
        return;
    if (selectionModel()->hasSelection() || m_model->rowCount() == 0)
        return;
    selectRow(currentIndex().isValid() ? currentIndex().row() : 0);
}

void TaskTableView::showListSelection()
{
    const std::vector<Task*> tasks = list().selectedObjects();
    QItemSelection selection;
    int first = -1;
    if (!tasks.empty()) {
        const std::unordered_set<const Task*> wanted(tasks.begin(), tasks.end());
        const int columns = m_model->columnCount();
        int runStart = -1;
        const int count = m_model->rowCount();
        for (int r = 0; r <= count; ++r) {
            const bool in = r < count && wanted.contains(m_model->taskAt(r));
            if (in && runStart < 0)
                runStart = r;
            if (!in && runStart >= 0) {
                selection.select(m_model->index(runStart, 0), m_model->index(r - 1, std::max(columns - 1, 0)));
                if (first < 0)
                    first = runStart;
                runStart = -1;
            }
        }
    }
    m_showingListSelection = true;
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    if (first >= 0) {
        const QModelIndex at = m_model->index(first, std::max(0, currentIndex().column()));
        selectionModel()->setCurrentIndex(at, QItemSelectionModel::NoUpdate);
        scrollTo(at);
    }
    m_showingListSelection = false;
}

void TaskTableView::beginEditing(Record* task, const QString& column)
{
    const int row = m_model->rowOfTask(static_cast<Task*>(task));
    const int col = m_model->columnOf(column);
    if (row < 0 || col < 0)
        return;
    const QModelIndex at = m_model->index(row, col);
    list().selectObject(static_cast<Task*>(task));
    showListSelection();
    // Not setCurrentIndex(): that would read the held modifiers and could toggle the row off.
    selectionModel()->setCurrentIndex(at, QItemSelectionModel::NoUpdate);
    scrollTo(at);
    setFocus(Qt::OtherFocusReason);
    edit(at);
}

void TaskTableView::headerClicked(int section)
{
    const QString id = m_model->columnIdentifier(section);
    if (id.isEmpty())
        return;
    const bool replace = !QGuiApplication::keyboardModifiers().testFlag(Qt::ControlModifier);
    tableState().sortByColumnWithIdentifier(id, replace);
    showSortIndicator();
}

void TaskTableView::showSortIndicator()
{
    QHeaderView* header = horizontalHeader();
    const QString& primary = tableState().highlightedColumn();
    const int section = primary.isEmpty() ? -1 : m_model->columnOf(primary);
    if (section < 0) {
        header->setSortIndicator(-1, Qt::AscendingOrder);
    } else {
        const bool descending = tableState().sortIndicator(primary) == TaskTableState::SortIndicator::Descending;
        header->setSortIndicator(section, descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    }
    Q_EMIT m_model->headerDataChanged(Qt::Horizontal, 0, std::max(0, m_model->columnCount() - 1));
}

void TaskTableView::attachList()
{
    if (m_model->isAttached())
        return;
    m_model->attachList();
    showListSelection();
}

void TaskTableView::applyColumnWidths()
{
    m_applyingWidths = true;
    const QList<TaskTableColumn>& columns = tableState().visibleColumns();
    int nameColumn = -1;
    int others = 0;
    for (int i = 0; i < columns.size() && i < m_model->columnCount(); ++i) {
        if (columns[i].width > 0)
            setColumnWidth(i, int(columns[i].width));
        if (columns[i].identifier == QLatin1String("name"))
            nameColumn = i;
        else
            others += columnWidth(i);
    }
    // The dates and the other short columns stay in sight: a name column wider than the room left
    // gives up the difference, down to a readable width. The stored width stays the user's.
    if (nameColumn >= 0) {
        const int room = viewport()->width() - others;
        const int stored = columnWidth(nameColumn);
        const int readable = std::min(stored, fontMetrics().averageCharWidth() * 18);
        if (room < stored)
            setColumnWidth(nameColumn, std::max(room, readable));
    }
    m_applyingWidths = false;
}

void TaskTableView::resizeEvent(QResizeEvent* event)
{
    QTableView::resizeEvent(event);
    applyColumnWidths();
}

void TaskTableView::columnResized(int section, int, int newSize)
{
    if (m_applyingWidths)
        return;
    const QString id = m_model->columnIdentifier(section);
    if (!id.isEmpty())
        tableState().setColumnWidth(id, newSize);
}

void TaskTableView::columnsChanged()
{
    m_model->columnsChanged();
    applyColumnWidths();
    showSortIndicator();
}

QMenu* TaskTableView::visibleColumnsMenu()
{
    m_columnsMenu->clear();
    for (const TaskTableState::MenuEntry& entry : tableState().visibleColumnsMenu()) {
        QAction* action = m_columnsMenu->addAction(entry.title);
        action->setObjectName(QStringLiteral("column_") + entry.identifier);
        action->setCheckable(true);
        action->setChecked(entry.checked);
        const QString id = entry.identifier;
        connect(action, &QAction::triggered, this, [this, id] {
            tableState().visibleColumnsMenuItemClicked(id);
            columnsChanged();
        });
    }
    return m_columnsMenu;
}

bool TaskTableView::cellClicked(const QModelIndex& index, QPoint position, QRect cell, Qt::KeyboardModifiers modifiers)
{
    Task* task = m_model->taskAt(index.row());
    const QString id = m_model->columnIdentifier(index.column());
    if (!task || id.isEmpty())
        return false;
    TasksArrayController& tasks = list();
    UndoStack& undo = tasks.store().undoManager();
    bool handled = false;
    if (id == u"done") {
        UndoGrouping step(undo, task->done() ? QStringLiteral("Reopen Task") : QStringLiteral("Complete Task"));
        task->setDone(!task->done());
        if (m_kind == TaskTableKind::ContextTasks) {
            handled = m_keys.clickedCell(id, task, position.x(), cell.left(), cell.width(), modifiers);
        } else {
            tasks.taskCountsHasChanged();
            tasks.rearrangeObjects();
            handled = true;
        }
    } else if (m_kind == TaskTableKind::ContextTasks) {
        UndoGrouping step(undo, QString());
        handled = m_keys.clickedCell(id, task, position.x(), cell.left(), cell.width(), modifiers);
    } else if (id == u"nextaction" || id == u"priority" || id == u"effort") {
        // The other tables share the context table's command cells.
        tasks.selectObject(task);
        if (id == u"nextaction") {
            tasks.flagAsNextAction();
        } else {
            UndoGrouping step(undo, id == u"priority" ? QStringLiteral("Set Priority") : QStringLiteral("Set Effort"));
            if (id == u"priority")
                task->setPriority(sliderValueForClick(position.x(), cell.left(), cell.width(), 5));
            else
                task->setEffort(sliderValueForClick(position.x(), cell.left(), cell.width(), 4));
            tasks.rearrangeObjects();
        }
        handled = true;
    }
    if (handled)
        showListSelection();
    return handled;
}

void TaskTableView::dropEvent(QDropEvent* event)
{
    QTableView::dropEvent(event);
    showListSelection();
}

void TaskTableView::copy()
{
    const std::vector<Task*> tasks = list().selectedObjects();
    if (tasks.empty())
        return;
    QGuiApplication::clipboard()->setMimeData(mimeDataForRecords(PasteboardType::copiedTasks, {tasks.begin(), tasks.end()}));
}

void TaskTableView::cut()
{
    const std::vector<Task*> tasks = list().selectedObjects();
    if (tasks.empty())
        return;
    QGuiApplication::clipboard()->setMimeData(mimeDataForRecords(PasteboardType::cutTasks, {tasks.begin(), tasks.end()}));
}

void TaskTableView::paste()
{
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    if (!data)
        return;
    TasksArrayController& tasks = list();
    ObjectContext& store = tasks.store();
    const bool cut = data->hasFormat(PasteboardType::cutTasks);
    const std::vector<Record*> records =
        recordsFromMimeData(store, *data, cut ? PasteboardType::cutTasks : PasteboardType::copiedTasks);
    if (records.empty())
        return;
    std::vector<Task*> pasted;
    {
        UndoGrouping step(store.undoManager(), cut ? QStringLiteral("Move Tasks") : QStringLiteral("Paste Tasks"));
        for (Record* r : records) {
            Task* task = cut ? static_cast<Task*>(r) : TasksDuplicator::duplicateTaskFrom(static_cast<Task*>(r));
            tasks.handlePastedTask(task);
            pasted.push_back(task);
        }
    }
    if (cut) {
        // Moved once: pasting again copies them.
        QGuiApplication::clipboard()->setMimeData(mimeDataForRecords(PasteboardType::copiedTasks, records));
    }
    tasks.rearrangeObjects();
    tasks.taskCountsHasChanged();
    tasks.setSelectedObjects(pasted);
    showListSelection();
}

void TaskTableView::selectAll()
{
    QTableView::selectAll();
    pushSelectionToList();
    Q_EMIT taskSelectionChanged();
}
