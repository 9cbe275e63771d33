#include "ui/models/foldertreemodel.h"

#include "lists/contextarraycontroller.h"
#include "lists/projectarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/archivecategory.h"
#include "model/cleanupcontroller.h"
#include "model/context.h"
#include "model/project.h"
#include "model/task.h"
#include "model/transformers.h"
#include "store/objectcontext.h"
#include "store/undostack.h"
#include "ui/icons.h"
#include "ui/pasteboard.h"

#include <QColor>
#include <QMimeData>

#include <algorithm>
#include <deque>
#include <unordered_set>

namespace {

FolderArrayController& folderList(TabViewController& views, TaskView view)
{
    switch (view) {
    case TaskView::Projects:
        return views.projectController();
    case TaskView::Archive:
        return views.archiveCategoryController();
    default:
        return views.contextController();
    }
}

std::optional<QColor> accent(const Colour& c)
{
    // Black stands for "no colour of its own": the row keeps the palette's text colour, which is what
    // stays readable on a dark palette.
    if (c == Colour::black())
        return std::nullopt;
    return QColor::fromRgbF(float(c.red), float(c.green), float(c.blue), float(c.alpha));
}

} // namespace

FolderTreeModel::FolderTreeModel(TabViewController& views, TaskView view, QObject* parent)
    : QAbstractItemModel(parent), m_views(views), m_view(view), m_folders(folderList(views, view))
{
    switch (view) {
    case TaskView::Projects:
        m_parentRelationship = Project::Rel::parentProject;
        m_entityName = QStringLiteral("project");
        break;
    case TaskView::Archive:
        m_parentRelationship = ArchiveCategory::Rel::parentCategory;
        m_entityName = QStringLiteral("archiveCategory");
        break;
    default:
        m_view = TaskView::Contexts;
        m_parentRelationship = Context::Rel::parentContext;
        m_entityName = QStringLiteral("context");
        break;
    }
    build();
    m_changes = connect(&store(), &ObjectContext::objectsDidChange, this, &FolderTreeModel::storeChanged);
}

FolderTreeModel::~FolderTreeModel()
{
    disconnect(m_changes);
}

ObjectContext& FolderTreeModel::store() const
{
    return m_views.store();
}

QString FolderTreeModel::folderMimeType() const
{
    switch (m_view) {
    case TaskView::Projects:
        return PasteboardType::movedProjects;
    case TaskView::Archive:
        return PasteboardType::movedArchiveCategories;
    default:
        return PasteboardType::movedContexts;
    }
}

Record* FolderTreeModel::parentOf(const Record* folder) const
{
    return folder->toOne(m_parentRelationship);
}

bool FolderTreeModel::isInSubtreeOf(const Record* folder, const Record* ancestor) const
{
    // Bounded by the number of folders, so that a loop of parents cannot hang the walk.
    size_t steps = m_nodes.size() + 1;
    for (const Record* f = folder; f && steps; f = parentOf(f), --steps)
        if (f == ancestor)
            return true;
    return false;
}

FolderTreeModel::Shown FolderTreeModel::read(Record* folder) const
{
    Shown s;
    switch (m_view) {
    case TaskView::Contexts: {
        auto* c = static_cast<Context*>(folder);
        s.name = c->name();
        s.image = Transformers::contextImage(c->displaySpecialIndex());
        s.colour = accent(c->colourForContext());
        s.pending = c->savedPendingTasksCount();
        s.pendingBelow = c->savedPendingTasksCountIncludingSubcontexts();
        s.nextActions = c->savedNextActionTasksCount();
        s.dueToday = c->savedDueTodayTasksCountIncludingSubcontexts();
        break;
    }
    case TaskView::Projects: {
        auto* p = static_cast<Project*>(folder);
        s.name = p->name();
        s.image = Transformers::projectImage();
        s.colour = accent(p->colourForProject());
        s.pending = p->savedPendingTasksCount();
        s.pendingBelow = p->savedPendingTasksCountIncludingSubprojects();
        s.nextActions = p->savedNextActionTasksCount();
        s.dueToday = p->savedDueTodayTasksCountIncludingSubprojects();
        break;
    }
    default: {
        auto* a = static_cast<ArchiveCategory*>(folder);
        s.name = a->name();
        s.image = QStringLiteral("folder.png");
        s.pending = a->savedPendingTasksCount();
        s.pendingBelow = a->savedPendingTasksCountIncludingSubcategories();
        s.nextActions = a->savedNextActionTasksCount();
        break;
    }
    }
    return s;
}

std::unordered_map<Record*, std::vector<Record*>> FolderTreeModel::targetChildren() const
{
    const std::vector<Record*> arranged = m_folders.arrangedRecords();
    std::unordered_set<Record*> listed(arranged.begin(), arranged.end());
    std::unordered_map<Record*, std::vector<Record*>> children;
    for (Record* r : arranged) {
        Record* p = parentOf(r);
        // A folder whose parent is not listed cannot be reached from the top: show it there.
        children[listed.count(p) ? p : nullptr].push_back(r);
    }
    return children;
}

void FolderTreeModel::build()
{
    m_nodes.clear();
    m_root.children.clear();
    auto children = targetChildren();
    std::vector<Node*> pending {&m_root};
    while (!pending.empty()) {
        Node* parent = pending.back();
        pending.pop_back();
        for (Record* r : children[parent->record]) {
            auto node = std::make_unique<Node>();
            node->record = r;
            node->parent = parent;
            node->shown = read(r);
            parent->children.push_back(node.get());
            pending.push_back(node.get());
            m_nodes.emplace(r, std::move(node));
        }
    }
}

void FolderTreeModel::refetch()
{
    beginResetModel();
    build();
    endResetModel();
}

void FolderTreeModel::storeChanged(const ChangeBatch& batch)
{
    auto ours = [this](const std::vector<Record*>& records) {
        return std::any_of(records.begin(), records.end(), [this](Record* r) { return r->entity().name() == m_entityName; });
    };
    if (ours(batch.inserted) || ours(batch.deleted) || ours(batch.updated))
        reconcile();
    // Any change to tasks may move a counter; reading the saved counts again is cheap.
    refreshCounters();
}

void FolderTreeModel::removeGone(const std::unordered_set<Record*>& wanted)
{
    // A folder that has gone, with nothing wanted below it, leaves where it stands, so that a deletion
    // is one removal and never a shuffle of the rows after it. Runs of such siblings go at once.
    auto keepsSomething = [&](Node* n) {
        std::vector<Node*> stack {n};
        while (!stack.empty()) {
            Node* m = stack.back();
            stack.pop_back();
            if (wanted.count(m->record))
                return true;
            stack.insert(stack.end(), m->children.begin(), m->children.end());
        }
        return false;
    };
    std::vector<Node*> parents {&m_root};
    while (!parents.empty()) {
        Node* parent = parents.back();
        parents.pop_back();
        int last = int(parent->children.size()) - 1;
        while (last >= 0) {
            Node* n = parent->children[size_t(last)];
            if (wanted.count(n->record) || keepsSomething(n)) {
                parents.push_back(n);
                --last;
                continue;
            }
            int first = last;
            while (first > 0) {
                Node* before = parent->children[size_t(first - 1)];
                if (wanted.count(before->record) || keepsSomething(before))
                    break;
                --first;
            }
            removeChildren(parent, first, last);
            last = first - 1;
        }
    }
}

void FolderTreeModel::removeChildren(Node* parent, int first, int last)
{
    beginRemoveRows(indexOfNode(parent), first, last);
    std::vector<Node*> gone(parent->children.begin() + first, parent->children.begin() + last + 1);
    parent->children.erase(parent->children.begin() + first, parent->children.begin() + last + 1);
    // Kept alive until the view has let go of them.
    std::vector<std::unique_ptr<Node>> owned;
    while (!gone.empty()) {
        Node* n = gone.back();
        gone.pop_back();
        gone.insert(gone.end(), n->children.begin(), n->children.end());
        auto it = m_nodes.find(n->record);
        owned.push_back(std::move(it->second));
        m_nodes.erase(it);
    }
    endRemoveRows();
}

void FolderTreeModel::reconcile()
{
    auto children = targetChildren();
    std::unordered_set<Record*> wanted;
    std::unordered_map<Record*, std::pair<Record*, int>> place; // folder -> (parent, row)
    for (const auto& [parent, list] : children)
        for (size_t i = 0; i < list.size(); ++i) {
            wanted.insert(list[i]);
            place[list[i]] = {parent, int(i)};
        }
    removeGone(wanted);

    std::deque<Node*> queue {&m_root};
    std::vector<Node*> placed;
    // Top down, every folder's children are put in place before the folders below them: so a folder
    // only ever moves under one that already sits at its final place, never into its own subtree.
    // Rows that belong elsewhere ("foreign") stay where they are until their own folder takes them,
    // or, when nothing wants them, until the end.
    while (!queue.empty()) {
        Node* parent = queue.front();
        queue.pop_front();
        placed.push_back(parent);
        const std::vector<Record*>& list = children[parent->record];
        const QModelIndex parentIndex = indexOfNode(parent);
        auto ownRow = [&](const Node* n) {
            auto p = place.find(n->record);
            return p != place.end() && p->second.first == parent->record ? p->second.second : -1;
        };
        auto nextOwn = [&](size_t from) {
            while (from < parent->children.size() && ownRow(parent->children[from]) < 0)
                ++from;
            return from;
        };
        size_t pushes = 0;
        size_t pos = 0;
        for (size_t i = 0; i < list.size();) {
            pos = nextOwn(pos);
            if (pos < parent->children.size() && parent->children[pos]->record == list[i]) {
                queue.push_back(parent->children[pos]);
                ++pos;
                ++i;
                continue;
            }
            // The row here belongs further down this folder while the next one of ours is the wanted
            // one: it is the row that moved (a rename), so it goes down behind its new predecessor.
            if (pos < parent->children.size() && pushes < list.size()) {
                Node* n = parent->children[pos];
                const size_t next = nextOwn(pos + 1);
                const int want = ownRow(n);
                if (next < parent->children.size() && parent->children[next]->record == list[i] && want > int(i)) {
                    const QModelIndex before = indexOf(list[size_t(want) - 1]);
                    if (before.isValid() && before.parent() == parentIndex && before.row() > int(pos)) {
                        ++pushes;
                        const int to = before.row();
                        beginMoveRows(parentIndex, int(pos), int(pos), parentIndex, to + 1);
                        parent->children.erase(parent->children.begin() + qsizetype(pos));
                        parent->children.insert(parent->children.begin() + to, n);
                        endMoveRows();
                        continue;
                    }
                }
            }
            const int row = int(pos);
            Record* r = list[i];
            auto it = m_nodes.find(r);
            Node* node = nullptr;
            if (it == m_nodes.end()) {
                beginInsertRows(parentIndex, row, row);
                auto made = std::make_unique<Node>();
                node = made.get();
                node->record = r;
                node->parent = parent;
                node->shown = read(r);
                parent->children.insert(parent->children.begin() + row, node);
                m_nodes.emplace(r, std::move(made));
                endInsertRows();
            } else {
                // The rows of ours before `row` are already the wanted ones, so the node stands after
                // it in this folder, or in another one.
                node = it->second.get();
                Node* from = node->parent;
                const int fromRow = rowOf(node);
                beginMoveRows(indexOfNode(from), fromRow, fromRow, parentIndex, row);
                from->children.erase(from->children.begin() + fromRow);
                parent->children.insert(parent->children.begin() + row, node);
                node->parent = parent;
                endMoveRows();
            }
            queue.push_back(node);
            ++pos;
            ++i;
        }
    }
    // Rows that nothing wanted have gone, with whatever is still below them: in runs, from the end.
    for (Node* parent : placed) {
        auto foreign = [&](const Node* n) {
            auto p = place.find(n->record);
            return p == place.end() || p->second.first != parent->record;
        };
        for (int last = int(parent->children.size()) - 1; last >= 0;) {
            if (!foreign(parent->children[size_t(last)])) {
                --last;
                continue;
            }
            int first = last;
            while (first > 0 && foreign(parent->children[size_t(first - 1)]))
                --first;
            removeChildren(parent, first, last);
            last = first - 1;
        }
    }
}

void FolderTreeModel::refreshCounters()
{
    std::vector<Node*> stack(m_root.children.rbegin(), m_root.children.rend());
    while (!stack.empty()) {
        Node* n = stack.back();
        stack.pop_back();
        if (!n->record->isDeleted()) {
            Shown now = read(n->record);
            if (!(now == n->shown)) {
                n->shown = std::move(now);
                const QModelIndex at = indexOfNode(n);
                Q_EMIT dataChanged(at, at);
            }
        }
        stack.insert(stack.end(), n->children.rbegin(), n->children.rend());
    }
}

FolderTreeModel::Node* FolderTreeModel::nodeOf(const QModelIndex& index) const
{
    return index.isValid() ? static_cast<Node*>(index.internalPointer()) : const_cast<Node*>(&m_root);
}

int FolderTreeModel::rowOf(const Node* node)
{
    const auto& siblings = node->parent->children;
    return int(std::find(siblings.begin(), siblings.end(), node) - siblings.begin());
}

QModelIndex FolderTreeModel::indexOfNode(const Node* node) const
{
    if (!node || node == &m_root)
        return {};
    return createIndex(rowOf(node), 0, const_cast<Node*>(node));
}

Record* FolderTreeModel::recordAt(const QModelIndex& index) const
{
    return index.isValid() ? nodeOf(index)->record : nullptr;
}

QModelIndex FolderTreeModel::indexOf(const Record* folder) const
{
    auto it = m_nodes.find(const_cast<Record*>(folder));
    return it == m_nodes.end() ? QModelIndex() : indexOfNode(it->second.get());
}

QModelIndex FolderTreeModel::index(int row, int column, const QModelIndex& parent) const
{
    if (column != 0 || row < 0 || (parent.isValid() && parent.column() != 0))
        return {};
    const Node* p = nodeOf(parent);
    if (size_t(row) >= p->children.size())
        return {};
    return createIndex(row, column, p->children[size_t(row)]);
}

QModelIndex FolderTreeModel::parent(const QModelIndex& child) const
{
    if (!child.isValid())
        return {};
    return indexOfNode(nodeOf(child)->parent);
}

int FolderTreeModel::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid() && parent.column() != 0)
        return 0;
    return int(nodeOf(parent)->children.size());
}

int FolderTreeModel::columnCount(const QModelIndex&) const
{
    return 1;
}

QVariant FolderTreeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const Node* n = nodeOf(index);
    const Shown& s = n->shown;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return s.name;
    case Qt::DecorationRole:
        return vyroIcon(s.image);
    case Qt::ForegroundRole:
        return s.colour ? QVariant(*s.colour) : QVariant();
    case Qt::ToolTipRole: {
        QString tip = tr("%n pending", nullptr, int(s.pending));
        if (s.pendingBelow != s.pending)
            tip += tr(" (%1 with subfolders)").arg(s.pendingBelow);
        tip += tr(", %n next action(s)", nullptr, int(s.nextActions));
        if (s.dueToday && *s.dueToday > 0)
            tip += tr(", %1 due today").arg(*s.dueToday);
        return tip;
    }
    case Qt::AccessibleTextRole:
        return s.name;
    case RecordRole:
        return QVariant::fromValue(quintptr(n->record));
    case UriRole:
        return n->record->uri();
    case ImageRole:
        return s.image;
    case CountRole:
        return s.pending;
    case SubtreeCountRole:
        return s.pendingBelow;
    case NextActionCountRole:
        return s.nextActions;
    case DueTodayCountRole:
        return s.dueToday ? QVariant(*s.dueToday) : QVariant();
    case CountTextRole:
        if (s.pendingBelow == 0)
            return QString();
        if (s.pendingBelow != s.pending)
            return QStringLiteral("%1/%2").arg(s.pending).arg(s.pendingBelow);
        return QString::number(s.pending);
    default:
        return {};
    }
}

bool FolderTreeModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || role != Qt::EditRole)
        return false;
    Record* folder = recordAt(index);
    const QString name = value.toString();
    {
        switch (m_view) {
        case TaskView::Contexts: {
            UndoGrouping group(store().undoManager(), tr("Rename Context"));
            static_cast<Context*>(folder)->setName(name);
            break;
        }
        case TaskView::Projects: {
            UndoGrouping group(store().undoManager(), tr("Rename Project"));
            static_cast<Project*>(folder)->setName(name);
            break;
        }
        default: {
            UndoGrouping group(store().undoManager(), tr("Rename Category"));
            static_cast<ArchiveCategory*>(folder)->setName(name);
            break;
        }
        }
    }
    store().processPendingChanges();
    return true;
}

Qt::ItemFlags FolderTreeModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable | Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled;
}

QStringList FolderTreeModel::mimeTypes() const
{
    return {folderMimeType(), PasteboardType::movedRows};
}

QMimeData* FolderTreeModel::mimeData(const QModelIndexList& indexes) const
{
    std::vector<Record*> records;
    for (const QModelIndex& i : indexes)
        if (Record* r = recordAt(i); r && std::find(records.begin(), records.end(), r) == records.end())
            records.push_back(r);
    if (records.empty())
        return nullptr;
    return mimeDataForRecords(folderMimeType(), records);
}

Qt::DropActions FolderTreeModel::supportedDropActions() const
{
    return Qt::MoveAction | Qt::CopyAction;
}

Qt::DropActions FolderTreeModel::supportedDragActions() const
{
    return Qt::MoveAction;
}

FolderTreeModel::DropKind FolderTreeModel::dropPlan(const QMimeData* data, Record* target, std::vector<Record*>& records) const
{
    records.clear();
    if (!data)
        return DropKind::None;
    if (data->hasFormat(folderMimeType())) {
        for (Record* r : recordsFromMimeData(store(), *data, folderMimeType()))
            if (m_nodes.count(r))
                records.push_back(r);
        if (records.empty())
            return DropKind::None;
        bool changes = false;
        for (Record* r : records) {
            if (isInSubtreeOf(target, r))
                return DropKind::None; // onto itself or below itself: a loop
            if (target && m_view == TaskView::Contexts && static_cast<Context*>(r)->isInbox())
                return DropKind::None; // the Inbox stays at the top
            changes = changes || parentOf(r) != target;
        }
        return changes ? DropKind::Folders : DropKind::None;
    }
    if (target && data->hasFormat(PasteboardType::movedRows)) {
        for (Record* r : recordsFromMimeData(store(), *data, PasteboardType::movedRows))
            if (r->entity().name() == QLatin1String("task"))
                records.push_back(r);
        return records.empty() ? DropKind::None : DropKind::Tasks;
    }
    return DropKind::None;
}

bool FolderTreeModel::canDropMimeData(const QMimeData* data, Qt::DropAction, int, int, const QModelIndex& parent) const
{
    std::vector<Record*> records;
    return dropPlan(data, recordAt(parent), records) != DropKind::None;
}

bool FolderTreeModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int, int, const QModelIndex& parent)
{
    if (action == Qt::IgnoreAction)
        return true;
    Record* target = recordAt(parent);
    std::vector<Record*> records;
    const DropKind kind = dropPlan(data, target, records);
    if (kind == DropKind::None)
        return false;
    if (kind == DropKind::Folders) {
        UndoGrouping group(store().undoManager(), tr("Move Folder"));
        for (Record* r : records) {
            switch (m_view) {
            case TaskView::Contexts:
                static_cast<Context*>(r)->setParentContext(static_cast<Context*>(target));
                break;
            case TaskView::Projects:
                static_cast<Project*>(r)->setParentProject(static_cast<Project*>(target));
                break;
            default:
                static_cast<ArchiveCategory*>(r)->setParentCategory(static_cast<ArchiveCategory*>(target));
                break;
            }
        }
    } else {
        switch (m_view) {
        case TaskView::Contexts: {
            UndoGrouping group(store().undoManager(), tr("Move to Context"));
            for (Record* r : records)
                static_cast<Task*>(r)->setParentContext(static_cast<Context*>(target));
            break;
        }
        case TaskView::Projects: {
            UndoGrouping group(store().undoManager(), tr("Move to Project"));
            for (Record* r : records)
                static_cast<Task*>(r)->setParentProject(static_cast<Project*>(target));
            break;
        }
        default: {
            UndoGrouping group(store().undoManager(), tr("Archive"));
            // Each task keeps its own tags.
            for (Record* r : records) {
                auto* task = static_cast<Task*>(r);
                archiveTaskTo({task}, static_cast<ArchiveCategory*>(target), task->tags());
            }
            break;
        }
        }
    }
    store().processPendingChanges();
    return true;
}
