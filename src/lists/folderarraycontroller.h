#pragma once

#include "store/fetchrequest.h"

#include <QString>

#include <vector>

class ObjectContext;
class Record;

// A flat, sorted list of the folders of one entity with the selection of the folder tree beside it.
// Stepping wraps around at both ends and does nothing without a selection.
class FolderArrayController {
public:
    FolderArrayController(ObjectContext& store, QString entityName, QList<SortDescriptor> order);
    virtual ~FolderArrayController() = default;

    ObjectContext& store() const { return m_store; }
    std::vector<Record*> arrangedRecords() const;
    // The selection in selection order, without folders deleted since.
    std::vector<Record*> selectedRecords() const;
    Record* firstSelectedRecord() const;
    void setSelectedRecords(std::vector<Record*> folders) { m_selection = std::move(folders); }
    void selectRecord(Record* folder) { m_selection = {folder}; }
    void selectAll() { m_selection = arrangedRecords(); }

    void switchToPrevious() { step(-1); }
    void switchToNext() { step(1); }

private:
    void step(int direction);

    ObjectContext& m_store;
    QString m_entityName;
    QList<SortDescriptor> m_order;
    std::vector<Record*> m_selection;
};

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
