#pragma once

#include "lists/arrangement.h"
#include "store/fetchrequest.h"

#include <QMetaObject>
#include <QString>

#include <vector>

class ObjectContext;
class Record;
struct ChangeBatch;

// A flat, sorted list of the folders of one entity with the selection of the folder tree beside it.
// Stepping wraps around at both ends and does nothing without a selection.
//
// The list is always in order: every change batch places again the folders it touched (a folder
// inserted, deleted, renamed or moved under another one), each with one step told to the observer,
// after the batch's updates of rows in place. Ties in the order are broken by primary key.
class FolderArrayController {
public:
    FolderArrayController(ObjectContext& store, QString entityName, QList<SortDescriptor> order);
    virtual ~FolderArrayController();
    FolderArrayController(const FolderArrayController&) = delete;
    FolderArrayController& operator=(const FolderArrayController&) = delete;

    ObjectContext& store() const { return m_store; }
    std::vector<Record*> arrangedRecords() const;
    // The observer of the list's steps (not owned; nullptr: none); it then reads the rows it starts from.
    void setObserver(ListObserver* observer);
    // The selection in selection order, without folders deleted since.
    std::vector<Record*> selectedRecords() const;
    Record* firstSelectedRecord() const;
    void setSelectedRecords(std::vector<Record*> folders) { m_selection = std::move(folders); }
    // nullptr clears the selection.
    void selectRecord(Record* folder) { m_selection = folder ? std::vector<Record*>{folder} : std::vector<Record*>{}; }
    void selectAll() { m_selection = arrangedRecords(); }

    void switchToPrevious() { step(-1); }
    void switchToNext() { step(1); }

private:
    void step(int direction);
    const std::vector<Record*>& rows() const;
    void place(const ChangeBatch& batch, bool report) const;

    ObjectContext& m_store;
    QString m_entityName;
    QList<SortDescriptor> m_order;
    // The folders below one, through the entity's own tree (none when it has no tree).
    std::vector<Record*> subtreeOf(Record* folder) const;
    int m_childrenRelationship = -1;
    std::uint64_t m_parentBit = 0;  // the change bit of the link to the parent folder
    std::uint64_t m_pathBits = 0;   // the change bits that move a path name: the name and the parent link
    std::vector<Record*> m_selection;
    QMetaObject::Connection m_changes;
    mutable Arrangement<Record> m_rows;
    mutable std::vector<Record*> m_peeked; // seen in the open batch before it closed
    mutable bool m_arranged = false;
};

// The folders below `folder` in its entity's own tree (subcontexts, subprojects), at any depth.
std::vector<Record*> foldersBelow(const Record& folder);
// Whether a change of `keys` (a change batch's bits) renames or moves `folder`, and with it the derived
// path names of its whole subtree.
bool movesPathNames(const Record& folder, std::uint64_t keys);

// The typed face of a folder list.
template <class Folder>
class TypedFolderArrayController : public FolderArrayController {
public:
    using FolderArrayController::FolderArrayController;

    std::vector<Folder*> arrangedObjects() const { return cast(arrangedRecords()); }
    std::vector<Folder*> selectedObjects() const { return cast(selectedRecords()); }
    Folder* selectedObject() const { return static_cast<Folder*>(firstSelectedRecord()); }
    void setSelectedObjects(const std::vector<Folder*>& folders) { setSelectedRecords({folders.begin(), folders.end()}); }

private:
    static std::vector<Folder*> cast(const std::vector<Record*>& records)
    {
        std::vector<Folder*> out;
        out.reserve(records.size());
        for (Record* r : records)
            out.push_back(static_cast<Folder*>(r));
        return out;
    }
};
