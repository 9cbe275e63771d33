#pragma once

#include "lists/viewmodes.h"

#include <QAbstractItemModel>
#include <QIcon>
#include <QMetaObject>

#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class FolderArrayController;
class ObjectContext;
class Record;
class TabViewController;
class Task;
struct ChangeBatch;

// The contexts, projects or archive categories as a tree: each folder under its parent, siblings in the
// folder list's order (so the Inbox comes first among contexts). One column: the name with the folder's
// icon, and counters for the badge the folder delegate draws.
//
// The model follows the store's change batches with ranged steps: a folder inserted, deleted, renamed
// into another place or moved under another parent is one insert, remove or move; a changed name,
// icon, colour or counter is a dataChanged of that row. Only refetch() resets it.
//
// Counters are read from the folders' saved counts and kept here, so painting never queries the store;
// they are read again after every change batch and by refreshCounters().
//
// Drag and drop: folders leave as the entity's "moved" clipboard type; dropping them onto a folder
// moves them under it (onto no folder: to the top level), never into their own subtree and never the
// Inbox under another context. Tasks dragged out of a table ("moved rows") go into the context or
// project they are dropped on, or are archived into the category. Each drop is one undo step.
class FolderTreeModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Role {
        RecordRole = Qt::UserRole + 1, // the folder, as a Record* in a quintptr
        UriRole,                       // the folder's object URI
        ImageRole,                     // the image name behind the icon ("bt_up.png", "attention.png" …)
        CountRole,                     // pending tasks of the folder itself
        SubtreeCountRole,              // pending tasks of the folder and everything below it
        NextActionCountRole,           // next actions of the folder itself
        DueTodayCountRole,             // due today (overdue included) of the folder and below; absent for categories
        CountTextRole,                 // the badge text: "" for none, "3", or "3/7" when the subtree adds tasks
    };

    // `view` is TaskView::Contexts, Projects or Archive: the folder list of that view is shown.
    FolderTreeModel(TabViewController& views, TaskView view, QObject* parent = nullptr);
    ~FolderTreeModel() override;

    TaskView view() const { return m_view; }
    FolderArrayController& folders() const { return m_folders; }
    ObjectContext& store() const;

    Record* recordAt(const QModelIndex& index) const;
    // The index of `folder`; invalid for nullptr or a folder not in the tree.
    QModelIndex indexOf(const Record* folder) const;
    // The MIME type that dragged folders of this tree travel as.
    QString folderMimeType() const;

    // Reads every folder's name, icon, colour and counters again, telling the rows that changed.
    void refreshCounters();
    // Builds the whole tree again (a model reset).
    void refetch();

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDropActions() const override;
    Qt::DropActions supportedDragActions() const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column, const QModelIndex& parent) override;

private:
    struct Shown {
        QString name;
        QString image;
        std::optional<QColor> colour;
        qint64 pending = 0;
        qint64 pendingBelow = 0;
        qint64 nextActions = 0;
        std::optional<qint64> dueToday;
        bool operator==(const Shown&) const = default;
    };
    struct Node {
        Record* record = nullptr;
        Node* parent = nullptr;
        std::vector<Node*> children;
        Shown shown;
    };

    void storeChanged(const ChangeBatch& batch);
    // Brings the tree into the shape of the folder list with ranged steps.
    void reconcile();
    // Removes the folders that are gone and hold nothing wanted, in runs of siblings.
    void removeGone(const std::unordered_set<Record*>& wanted);
    void removeChildren(Node* parent, int first, int last);
    void build();
    std::unordered_map<Record*, std::vector<Record*>> targetChildren() const;
    Record* parentOf(const Record* folder) const;
    bool isInSubtreeOf(const Record* folder, const Record* ancestor) const;
    Shown read(Record* folder) const;

    Node* nodeOf(const QModelIndex& index) const;
    QModelIndex indexOfNode(const Node* node) const;
    static int rowOf(const Node* node);

    enum class DropKind { None, Folders, Tasks };
    // What dropping `data` onto `target` (nullptr: the top level) would do, with the records it moves.
    DropKind dropPlan(const QMimeData* data, Record* target, std::vector<Record*>& records) const;

    TabViewController& m_views;
    TaskView m_view;
    FolderArrayController& m_folders;
    QString m_entityName;
    int m_parentRelationship = -1;
    Node m_root;
    std::unordered_map<Record*, std::unique_ptr<Node>> m_nodes;
    QMetaObject::Connection m_changes;
};
