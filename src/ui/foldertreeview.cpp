#include "ui/foldertreeview.h"

#include "app/preferences.h"
#include "lists/contextarraycontroller.h"
#include "lists/listhost.h"
#include "lists/projectarraycontroller.h"
#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "lists/tasksarraycontroller.h"
#include "model/archivecategory.h"
#include "model/context.h"
#include "model/project.h"
#include "model/smartfolder.h"
#include "store/objectcontext.h"
#include "store/undostack.h"
#include "ui/folderitemdelegate.h"
#include "ui/models/foldertreemodel.h"
#include "ui/models/smartfoldermodel.h"

#include <QDropEvent>
#include <QHeaderView>

FolderTreeView::FolderTreeView(TabViewController& views, TaskView view, QWidget* parent)
    : QTreeView(parent), m_views(views), m_view(view)
{
    QString name;
    switch (view) {
    case TaskView::ToComplete:
        m_smart = new SmartFolderModel(views, this);
        setModel(m_smart);
        name = QStringLiteral("smartFolderList");
        break;
    case TaskView::Projects:
    case TaskView::Archive:
        m_tree = new FolderTreeModel(views, view, this);
        name = view == TaskView::Projects ? QStringLiteral("projectTree") : QStringLiteral("archiveCategoryTree");
        break;
    default:
        m_view = TaskView::Contexts;
        m_tree = new FolderTreeModel(views, TaskView::Contexts, this);
        name = QStringLiteral("contextTree");
        break;
    }
    if (m_tree) {
        m_folders = &m_tree->folders();
        setModel(m_tree);
        setSelectionMode(QAbstractItemView::ExtendedSelection);
        setDragEnabled(true);
        setAcceptDrops(true);
        setDropIndicatorShown(true);
        setDragDropMode(QAbstractItemView::DragDrop);
        setDefaultDropAction(Qt::MoveAction);
    } else {
        setSelectionMode(QAbstractItemView::SingleSelection);
        setRootIsDecorated(false);
        setItemsExpandable(false);
    }
    setObjectName(name);
    setAccessibleName(m_view == TaskView::Contexts ? tr("Contexts")
                      : m_view == TaskView::Projects ? tr("Projects")
                      : m_view == TaskView::Archive ? tr("Archive categories")
                                                    : tr("Smart folders"));
    setHeaderHidden(true);
    setIconSize(QSize(16, 16));
    setUniformRowHeights(true);
    setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::SelectedClicked);
    setItemDelegate(new FolderItemDelegate(this));
    header()->setStretchLastSection(true);
    setTextElideMode(Qt::ElideRight);
    m_clock.start();
    reflect(listSelection(), false);
}

FolderTreeView::~FolderTreeView() = default;

QModelIndex FolderTreeView::indexOf(const Record* folder) const
{
    if (m_tree)
        return m_tree->indexOf(folder);
    return m_smart->indexOf(static_cast<const SmartFolder*>(folder));
}

Record* FolderTreeView::recordAt(const QModelIndex& index) const
{
    return m_tree ? m_tree->recordAt(index) : m_smart->folderAt(index);
}

std::vector<Record*> FolderTreeView::listSelection() const
{
    if (m_folders)
        return m_folders->selectedRecords();
    SmartFolder* folder = m_views.smartFolderController().selectedFolder();
    if (!folder || folder->isDeleted())
        return {};
    return {folder};
}

std::vector<Record*> FolderTreeView::selectedFolders() const
{
    return listSelection();
}

void FolderTreeView::reflect(const std::vector<Record*>& folders, bool reveal)
{
    QItemSelection selection;
    QModelIndex first;
    for (Record* f : folders) {
        const QModelIndex at = indexOf(f);
        if (!at.isValid())
            continue;
        if (!first.isValid())
            first = at;
        selection.select(at, at);
        if (reveal)
            for (QModelIndex up = at.parent(); up.isValid(); up = up.parent())
                expand(up);
    }
    m_reflecting = true;
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    if (first.isValid())
        selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
    m_reflecting = false;
    if (reveal && first.isValid())
        scrollTo(first);
}

void FolderTreeView::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected)
{
    QTreeView::selectionChanged(selected, deselected);
    if (!m_reflecting)
        applySelection();
}

void FolderTreeView::applySelection()
{
    std::vector<Record*> folders;
    const QModelIndexList rows = selectionModel()->selectedRows();
    for (const QModelIndex& i : rows)
        if (Record* r = recordAt(i))
            folders.push_back(r);
    if (m_folders) {
        m_folders->setSelectedRecords(folders);
        if (m_views.preferences().boolForKey(QStringLiteral("treeExpandSelectedItems")))
            for (const QModelIndex& i : rows)
                expand(i);
    } else {
        m_views.smartFolderController().setSelectedFolder(folders.empty() ? nullptr : static_cast<SmartFolder*>(folders.front()));
    }
    m_views.taskList(m_view).updatePredicate();
    Q_EMIT folderSelectionChanged();
}

void FolderTreeView::showListSelection()
{
    const std::vector<Record*> wanted = listSelection();
    std::vector<Record*> shown;
    for (const QModelIndex& i : selectionModel()->selectedRows())
        shown.push_back(recordAt(i));
    reflect(wanted, true);
    auto sorted = [](std::vector<Record*> v) {
        std::sort(v.begin(), v.end());
        return v;
    };
    if (sorted(wanted) != sorted(shown)) {
        m_views.taskList(m_view).updatePredicate();
        Q_EMIT folderSelectionChanged();
    }
}

void FolderTreeView::refreshCounters()
{
    if (m_tree)
        m_tree->refreshCounters();
}

void FolderTreeView::refetch()
{
    const QStringList expanded = expandedUris();
    if (m_tree)
        m_tree->refetch();
    else
        m_smart->refetch();
    expandUris(expanded);
    reflect(listSelection(), false);
}

void FolderTreeView::expandAllFolders()
{
    expandAll();
}

void FolderTreeView::collapseAllFolders()
{
    collapseAll();
}

void FolderTreeView::selectAllFolders()
{
    if (!m_folders)
        return;
    m_folders->selectAll();
    reflect(listSelection(), false);
    m_views.taskList(m_view).updatePredicate();
    Q_EMIT folderSelectionChanged();
}

void FolderTreeView::newFolder()
{
    addFolder(false);
}

void FolderTreeView::newSubfolder()
{
    addFolder(true);
}

void FolderTreeView::addFolder(bool under)
{
    ObjectContext& store = m_views.store();
    Record* made = nullptr;
    Record* parent = under && m_folders ? m_folders->firstSelectedRecord() : nullptr;
    switch (m_view) {
    case TaskView::Contexts: {
        UndoGrouping group(store.undoManager(), tr("New Context"));
        made = m_views.contextController().addNewContext(QStringLiteral("New context"), static_cast<Context*>(parent));
        break;
    }
    case TaskView::Projects: {
        UndoGrouping group(store.undoManager(), tr("New Project"));
        made = m_views.projectController().addNewProject(QStringLiteral("New project"), static_cast<Project*>(parent));
        break;
    }
    case TaskView::Archive: {
        UndoGrouping group(store.undoManager(), tr("New Category"));
        auto* category = store.insertNewObject<ArchiveCategory>(QStringLiteral("archiveCategory"));
        category->setName(QStringLiteral("New category"));
        if (parent)
            static_cast<ArchiveCategory*>(parent)->addSubcategoriesObject(category);
        made = category;
        break;
    }
    default:
        if (under)
            return;
        {
            UndoGrouping group(store.undoManager(), tr("New Smart Folder"));
            made = m_views.smartFolderController().insertSmartFolder();
        }
        break;
    }
    store.processPendingChanges();
    if (!made)
        return;
    // A stale search could hide the new folder's (empty) task list behind it.
    m_views.host().clearSearchField();
    if (m_folders)
        m_folders->selectRecord(made);
    else
        m_views.smartFolderController().setSelectedFolder(static_cast<SmartFolder*>(made));
    showListSelection();
    const QModelIndex at = indexOf(made);
    if (at.isValid()) {
        setCurrentIndex(at);
        edit(at);
    }
}

void FolderTreeView::renameSelected()
{
    const QModelIndex at = currentIndex().isValid() ? currentIndex() : indexOf(listSelection().empty() ? nullptr : listSelection().front());
    if (at.isValid())
        edit(at);
}

void FolderTreeView::deleteSelected()
{
    ObjectContext& store = m_views.store();
    switch (m_view) {
    case TaskView::Contexts: {
        UndoGrouping group(store.undoManager(), tr("Delete Context"));
        m_views.contextController().remove();
        break;
    }
    case TaskView::Projects: {
        UndoGrouping group(store.undoManager(), tr("Delete Project"));
        m_views.projectController().remove();
        break;
    }
    case TaskView::ToComplete: {
        UndoGrouping group(store.undoManager(), tr("Delete Smart Folder"));
        m_views.smartFolderController().remove();
        break;
    }
    default: {
        auto* category = static_cast<ArchiveCategory*>(m_folders->firstSelectedRecord());
        if (!category)
            return;
        // A category takes its archived entries and its subcategories with it.
        if (!m_views.host().confirm(tr("Confirmation"), tr("Are you sure to delete this category? All its archived entries will be lost!"),
                                    tr("Delete"), tr("Don't delete")))
            return;
        UndoGrouping group(store.undoManager(), tr("Delete Category"));
        category->deleteWithSubtree();
        break;
    }
    }
    store.processPendingChanges();
    m_views.taskList(m_view).rearrangeObjects();
    showListSelection();
}

void FolderTreeView::keyboardSearch(const QString& search)
{
    if (search.isEmpty())
        return;
    QString text;
    for (QChar c : search)
        text = m_typeAhead.type(c, double(m_clock.elapsed()) / 1000.0);
    Record* found = nullptr;
    if (m_folders) {
        const QVariant collapse = m_views.preferences().objectForKey(QStringLiteral("typeAheadCollapseFoldersBefore"));
        found = typeAheadForName(*m_folders, text);
        if (found && (!collapse.isValid() || collapse.toBool()))
            collapseAll();
    } else {
        found = typeAheadForName(m_views.smartFolderController(), text);
    }
    if (found)
        showListSelection();
}

void FolderTreeView::dropEvent(QDropEvent* event)
{
    QTreeView::dropEvent(event);
    if (event->isAccepted()) {
        // Tasks dropped into another folder leave the table now, not at its next re-arrangement.
        m_views.taskList(m_view).rearrangeObjects();
        refreshCounters();
    }
}

QString FolderTreeView::expandedKey() const
{
    switch (m_view) {
    case TaskView::Contexts:
        return QStringLiteral("contextTreeExpandedIndexes");
    case TaskView::Projects:
        return QStringLiteral("projectTreeExpandedIndexes");
    case TaskView::Archive:
        return QStringLiteral("archiveCategoryTreeExpandedIndexes");
    default:
        return {};
    }
}

QString FolderTreeView::selectionKey() const
{
    switch (m_view) {
    case TaskView::Contexts:
        return QStringLiteral("lastSelectedContextObjectID");
    case TaskView::Projects:
        return QStringLiteral("lastSelectedProjectObjectID");
    case TaskView::Archive:
        return QStringLiteral("lastSelectedArchiveCategoryObjectID");
    default:
        return QStringLiteral("lastSelectedSmartfolderObjectID");
    }
}

QStringList FolderTreeView::expandedUris() const
{
    QStringList uris;
    if (!m_tree)
        return uris;
    std::vector<QModelIndex> pending {QModelIndex()};
    while (!pending.empty()) {
        const QModelIndex parent = pending.back();
        pending.pop_back();
        for (int row = 0; row < m_tree->rowCount(parent); ++row) {
            const QModelIndex child = m_tree->index(row, 0, parent);
            if (isExpanded(child)) {
                uris << m_tree->recordAt(child)->uri();
                pending.push_back(child);
            }
        }
    }
    return uris;
}

void FolderTreeView::expandUris(const QStringList& uris)
{
    if (!m_tree)
        return;
    for (const QString& uri : uris)
        if (Record* r = m_views.store().objectWithURI(uri)) {
            const QModelIndex at = m_tree->indexOf(r);
            if (at.isValid())
                expand(at);
        }
}

void FolderTreeView::saveState() const
{
    Preferences& prefs = m_views.preferences();
    if (m_tree)
        prefs.setObject(expandedKey(), expandedUris());
    const std::vector<Record*> selected = listSelection();
    prefs.setObject(selectionKey(), selected.empty() ? QString() : selected.front()->uri());
}

// Without a remembered selection a view would show an empty table (contexts) or every task of the
// store unfiltered, the search included (to complete): the Inbox and "All tasks" stand in.
Record* FolderTreeView::defaultFolder() const
{
    Record* folder = nullptr;
    if (m_view == TaskView::Contexts) {
        folder = m_views.contextController().inboxContext();
    } else if (m_view == TaskView::ToComplete) {
        for (SmartFolder* f : m_views.smartFolderController().arrangedObjects())
            if (f->isAllPending()) {
                folder = f;
                break;
            }
    }
    return folder && indexOf(folder).isValid() ? folder : nullptr;
}

void FolderTreeView::restoreState()
{
    Preferences& prefs = m_views.preferences();
    if (m_tree)
        expandUris(prefs.objectForKey(expandedKey()).toStringList());
    const QString uri = prefs.stringForKey(selectionKey());
    Record* folder = uri.isEmpty() ? nullptr : m_views.store().objectWithURI(uri);
    if (!folder || !indexOf(folder).isValid())
        folder = listSelection().empty() ? defaultFolder() : nullptr;
    if (!folder)
        return;
    if (m_folders)
        m_folders->selectRecord(folder);
    else
        m_views.smartFolderController().setSelectedFolder(static_cast<SmartFolder*>(folder));
    showListSelection();
}
