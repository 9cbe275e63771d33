#include "ui/models/tasktablemodel.h"

#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "capture/quickentryedit.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "lists/tasktablestate.h"
#include "model/context.h"
#include "model/modelenvironment.h"
#include "model/mydateformatter.h"
#include "model/project.h"
#include "model/task.h"
#include "model/transformers.h"
#include "store/objectcontext.h"
#include "store/undostack.h"
#include "ui/icons.h"
#include "ui/pasteboard.h"

#include <QApplication>
#include <QColor>
#include <QMimeData>
#include <QPalette>

#include <algorithm>

namespace {

constexpr std::uint64_t attr(int attribute)
{
    return std::uint64_t(1) << attribute;
}
constexpr std::uint64_t rel(int relationship)
{
    return std::uint64_t(1) << (Task::Attr::Count + relationship);
}

QString statusToolTip(int status)
{
    switch (status) {
    case 0:
        return QStringLiteral("Pending");
    case 1:
        return QStringLiteral("Future");
    case 2:
        return QStringLiteral("Waiting for");
    case 4:
        return QStringLiteral("Maybe");
    default:
        return {};
    }
}

QColor qColour(const Colour& c)
{
    return QColor::fromRgbF(float(c.red), float(c.green), float(c.blue), float(c.alpha));
}

} // namespace

namespace {
const std::vector<Task*> kNoRows;
}

TaskTableModel::TaskTableModel(TasksArrayController& list, TaskTableState& state, QObject* parent, Attach attach)
    : QAbstractTableModel(parent), m_list(list), m_state(state),
      m_dates(std::make_unique<MyDateFormatter>(ModelEnvironment::of(list.store()))), m_rows(&kNoRows)
{
    m_struckOut.setStrikeOut(true);
    takeColumns();
    if (attach == Attach::Now)
        attachList();
}

void TaskTableModel::attachList()
{
    if (m_attached)
        return;
    beginResetModel();
    m_rows = &m_list.arrangedObjects();
    m_list.setObserver(this);
    m_attached = true;
    endResetModel();
}

TaskTableModel::~TaskTableModel()
{
    if (m_list.observer() == this)
        m_list.setObserver(nullptr);
}

TaskTableModel::Column TaskTableModel::columnKind(const QString& id)
{
    static const std::pair<QLatin1StringView, Column> kinds[] = {
        {QLatin1StringView("done"), Column::Done},
        {QLatin1StringView("nextaction"), Column::NextAction},
        {QLatin1StringView("status"), Column::Status},
        {QLatin1StringView("name"), Column::Name},
        {QLatin1StringView("context"), Column::Context},
        {QLatin1StringView("project"), Column::Project},
        {QLatin1StringView("priority"), Column::Priority},
        {QLatin1StringView("effort"), Column::Effort},
        {QLatin1StringView("startdate"), Column::StartDate},
        {QLatin1StringView("duedate"), Column::DueDate},
        {QLatin1StringView("completiondate"), Column::CompletionDate},
    };
    for (const auto& [name, kind] : kinds)
        if (id == name)
            return kind;
    return Column::Other;
}

std::uint64_t TaskTableModel::keysShownBy(Column column)
{
    using A = Task::Attr;
    // Every text cell greys and strikes out a done task.
    const std::uint64_t done = attr(A::done);
    switch (column) {
    case Column::Done:
        return done;
    case Column::NextAction:
        return done | attr(A::nextAction);
    case Column::Status:
        return done | attr(A::maybe) | attr(A::waitingFor) | attr(A::delegated) | attr(A::startDate)
               | attr(A::positionInProject) | rel(Task::Rel::parentProject);
    case Column::Name:
        // The name's colour tells the due date.
        return done | attr(A::name) | attr(A::content) | attr(A::dueDate);
    case Column::Context:
        return done | rel(Task::Rel::parentContext);
    case Column::Project:
        return done | rel(Task::Rel::parentProject);
    case Column::Priority:
        return done | attr(A::priority);
    case Column::Effort:
        return done | attr(A::effort);
    case Column::StartDate:
        return done | attr(A::startDate);
    case Column::DueDate:
        return done | attr(A::dueDate);
    case Column::CompletionDate:
        return done | attr(A::completionDate);
    case Column::Other:
        break;
    }
    return ~std::uint64_t(0);
}

void TaskTableModel::takeColumns()
{
    m_columns.clear();
    m_identifiers.clear();
    for (const TaskTableColumn& c : m_state.visibleColumns()) {
        m_columns.push_back(columnKind(c.identifier));
        m_identifiers << c.identifier;
    }
}

void TaskTableModel::columnsChanged()
{
    beginResetModel();
    takeColumns();
    endResetModel();
}

Task* TaskTableModel::taskAt(int row) const
{
    return row >= 0 && size_t(row) < m_rows->size() ? (*m_rows)[size_t(row)] : nullptr;
}

int TaskTableModel::rowOfTask(const Task* task) const
{
    const auto at = std::find(m_rows->begin(), m_rows->end(), task);
    return at == m_rows->end() ? -1 : int(at - m_rows->begin());
}

QString TaskTableModel::columnIdentifier(int column) const
{
    return m_identifiers.value(column);
}

int TaskTableModel::columnOf(const QString& identifier) const
{
    return int(m_identifiers.indexOf(identifier));
}

int TaskTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_rows->size());
}

int TaskTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_columns.size());
}

QVariant TaskTableModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || size_t(index.column()) >= m_columns.size())
        return {};
    Task* task = taskAt(index.row());
    if (!task || task->isDeleted())
        return {};
    const Column column = m_columns[size_t(index.column())];

    switch (role) {
    case TaskRole:
        return QVariant::fromValue(static_cast<void*>(task));
    case ColumnIdentifierRole:
        return m_identifiers[index.column()];
    case ValueRole:
        switch (column) {
        case Column::Done:
            return task->done();
        case Column::NextAction:
            return task->nextAction();
        case Column::Status:
            return task->status();
        case Column::Priority:
            return int(task->priority());
        case Column::Effort:
            return int(task->effort());
        default:
            return {};
        }
    case Qt::DisplayRole:
        switch (column) {
        case Column::Name:
            return task->name();
        case Column::Context:
            return task->parentContext() ? task->parentContext()->pathName() : QString();
        case Column::Project:
            return task->parentProject() ? task->parentProject()->pathName() : QString();
        case Column::Priority:
            return int(task->priority());
        case Column::Effort:
            return int(task->effort());
        case Column::StartDate:
            return m_dates->stringForObjectValue(task->startDate());
        case Column::DueDate:
            return m_dates->stringForObjectValue(task->dueDate());
        case Column::CompletionDate:
            return m_dates->stringForObjectValue(task->completionDate());
        default:
            return {};
        }
    case Qt::EditRole:
        if (column == Column::Name)
            return task->name();
        if (column == Column::Context || column == Column::Project)
            return data(index, Qt::DisplayRole);
        return {};
    case Qt::CheckStateRole:
        if (column == Column::Done)
            return task->done() ? Qt::Checked : Qt::Unchecked;
        return {};
    case Qt::DecorationRole:
        if (column == Column::Status)
            return vyroIcon(Transformers::taskStatusImage(task->status()));
        if (column == Column::NextAction)
            return vyroIcon(Transformers::taskFlagImage(task));
        return {};
    case Qt::ForegroundRole: {
        if (task->done())
            return QApplication::palette().color(QPalette::Disabled, QPalette::Text);
        if (column == Column::Name || column == Column::DueDate) {
            const Colour colour = task->colourForTask();
            if (colour != Colour::black())
                return qColour(colour);
        }
        return {};
    }
    case Qt::FontRole:
        if (task->done())
            return m_struckOut;
        return {};
    case Qt::ToolTipRole:
        switch (column) {
        case Column::Status:
            return statusToolTip(task->status());
        case Column::Name:
            return task->content().isEmpty() ? task->name() : task->name() + QStringLiteral("\n\n") + task->content();
        case Column::Priority:
            return QStringLiteral("Priority %1").arg(task->priority());
        case Column::Effort:
            return QStringLiteral("Effort %1").arg(task->effort());
        case Column::NextAction:
            return task->nextAction() ? QStringLiteral("Next action") : QString();
        default:
            return {};
        }
    case Qt::TextAlignmentRole:
        if (column == Column::StartDate || column == Column::DueDate || column == Column::CompletionDate)
            return QVariant(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    default:
        return {};
    }
}

void TaskTableModel::editName(Task* task, const QString& text)
{
    const bool quickEntry = m_list.preferences().boolForKey(PreferenceKey::quickEntryMode)
                            && (m_state.kind() == TaskTableKind::ContextTasks || m_state.kind() == TaskTableKind::ProjectTasks);
    if (!quickEntry || text.trimmed().isEmpty()) {
        task->setName(text);
        return;
    }
    applyQuickEntryLine(m_list.store(), *task, text);
}

bool TaskTableModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    Task* task = taskAt(index.row());
    if (!task || task->isDeleted() || size_t(index.column()) >= m_columns.size())
        return false;
    const Column column = m_columns[size_t(index.column())];
    UndoStack& undo = m_list.store().undoManager();
    if (column == Column::Name && role == Qt::EditRole) {
        const QString text = value.toString();
        if (text == task->name())
            return false;
        {
            UndoGrouping step(undo, QStringLiteral("Rename Task"));
            editName(task, text);
        }
        m_list.rearrangeObjects();
        m_list.taskCountsHasChanged();
        return true;
    }
    // The folder editors hand over the chosen folder as a Record* (nullptr: none).
    if ((column == Column::Context || column == Column::Project) && role == Qt::EditRole) {
        Record* folder = static_cast<Record*>(value.value<void*>());
        {
            UndoGrouping step(undo, column == Column::Context ? QStringLiteral("Set Context") : QStringLiteral("Set Project"));
            if (column == Column::Context) {
                if (!folder)
                    return false;
                task->moveToContext(static_cast<Context*>(folder));
            } else {
                task->moveToProject(static_cast<Project*>(folder));
                task->setNewInProject(true);
            }
        }
        m_list.rearrangeObjects();
        m_list.taskCountsHasChanged();
        return true;
    }
    return false;
}

Qt::ItemFlags TaskTableModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return m_list.isNaturalOrdered() ? Qt::ItemIsDropEnabled : Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
    if (m_list.isNaturalOrdered())
        f |= Qt::ItemIsDropEnabled;
    const Column column = size_t(index.column()) < m_columns.size() ? m_columns[size_t(index.column())] : Column::Other;
    const bool archive = m_state.kind() == TaskTableKind::ArchivedTasks;
    if (column == Column::Name || (!archive && (column == Column::Context || column == Column::Project)))
        f |= Qt::ItemIsEditable;
    return f;
}

QVariant TaskTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= m_identifiers.size())
        return QAbstractTableModel::headerData(section, orientation, role);
    const TaskTableColumn& column = m_state.visibleColumns()[section];
    switch (role) {
    case Qt::DisplayRole:
        return column.title;
    case ColumnIdentifierRole:
        return column.identifier;
    case Qt::InitialSortOrderRole:
        return m_state.sortIndicator(column.identifier) == TaskTableState::SortIndicator::Descending ? Qt::DescendingOrder
                                                                                                    : Qt::AscendingOrder;
    case Qt::FontRole:
        if (m_state.highlightedColumn() == column.identifier) {
            QFont bold;
            bold.setBold(true);
            return bold;
        }
        return {};
    case Qt::ToolTipRole:
        if (column.identifier == u"done")
            return QStringLiteral("Done");
        if (column.identifier == u"nextaction")
            return QStringLiteral("Next action");
        return column.title;
    default:
        return {};
    }
}

QStringList TaskTableModel::mimeTypes() const
{
    return {PasteboardType::movedRows, PasteboardType::copiedTasks};
}

QMimeData* TaskTableModel::mimeData(const QModelIndexList& indexes) const
{
    std::vector<int> rows;
    for (const QModelIndex& i : indexes)
        rows.push_back(i.row());
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    std::vector<Record*> tasks;
    for (int row : rows)
        if (Task* t = taskAt(row))
            tasks.push_back(t);
    if (tasks.empty())
        return nullptr;
    QMimeData* mime = mimeDataForRecords(PasteboardType::movedRows, tasks);
    mime->setData(PasteboardType::copiedTasks, encodeRecords(tasks));
    return mime;
}

Qt::DropActions TaskTableModel::supportedDragActions() const
{
    return Qt::MoveAction | Qt::CopyAction;
}

Qt::DropActions TaskTableModel::supportedDropActions() const
{
    return Qt::MoveAction;
}

bool TaskTableModel::canDropMimeData(const QMimeData* data, Qt::DropAction, int, int, const QModelIndex&) const
{
    return data && data->hasFormat(PasteboardType::movedRows) && m_list.isNaturalOrdered();
}

bool TaskTableModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent)
{
    if (!canDropMimeData(data, action, row, column, parent))
        return false;
    if (row < 0)
        row = parent.isValid() ? parent.row() : rowCount();
    std::vector<Task*> dropped;
    for (Record* r : recordsFromMimeData(m_list.store(), *data, PasteboardType::movedRows))
        if (rowOfTask(static_cast<Task*>(r)) >= 0)
            dropped.push_back(static_cast<Task*>(r));
    if (dropped.empty())
        return false;
    // The place counts the tasks that stay where they are above the drop row.
    int above = 0;
    for (int i = 0; i < row && size_t(i) < m_rows->size(); ++i)
        if (std::find(dropped.begin(), dropped.end(), (*m_rows)[size_t(i)]) == dropped.end())
            ++above;
    m_list.setSelectedObjects(dropped);
    {
        UndoGrouping step(m_list.store().undoManager(), QStringLiteral("Move Tasks"));
        m_list.moveToPosition(above);
    }
    return true;
}

void TaskTableModel::listWillChange(const ListChange& change)
{
    switch (change.kind) {
    case ListChange::Kind::Reset:
        m_changing = true;
        beginResetModel();
        break;
    case ListChange::Kind::Insert:
        m_changing = true;
        beginInsertRows({}, change.first, change.last);
        break;
    case ListChange::Kind::Remove:
        m_changing = true;
        beginRemoveRows({}, change.first, change.last);
        break;
    case ListChange::Kind::Move:
        m_changing = true;
        beginMoveRows({}, change.first, change.last, {}, change.destinationRow());
        break;
    case ListChange::Kind::Update:
        break;
    }
}

void TaskTableModel::listDidChange(const ListChange& change)
{
    switch (change.kind) {
    case ListChange::Kind::Reset:
        endResetModel();
        break;
    case ListChange::Kind::Insert:
        endInsertRows();
        break;
    case ListChange::Kind::Remove:
        endRemoveRows();
        break;
    case ListChange::Kind::Move:
        endMoveRows();
        break;
    case ListChange::Kind::Update: {
        int first = -1;
        int last = -1;
        for (size_t c = 0; c < m_columns.size(); ++c) {
            if (keysShownBy(m_columns[c]) & change.keys) {
                if (first < 0)
                    first = int(c);
                last = int(c);
            }
        }
        if (first >= 0)
            Q_EMIT dataChanged(index(change.first, first), index(change.last, last));
        break;
    }
    }
    m_changing = false;
}
