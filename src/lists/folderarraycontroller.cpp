#include "lists/folderarraycontroller.h"

#include "store/objectcontext.h"
#include "store/record.h"

#include <algorithm>

FolderArrayController::FolderArrayController(ObjectContext& store, QString entityName, QList<SortDescriptor> order)
    : m_store(store), m_entityName(std::move(entityName)), m_order(std::move(order))
{
}

std::vector<Record*> FolderArrayController::arrangedRecords() const
{
    std::vector<Record*> folders = m_store.allObjects(m_entityName);
    sortRecords(folders, m_order);
    return folders;
}

std::vector<Record*> FolderArrayController::selectedRecords() const
{
    std::vector<Record*> out;
    for (Record* r : m_selection)
        if (!r->isDeleted())
            out.push_back(r);
    return out;
}

Record* FolderArrayController::firstSelectedRecord() const
{
    for (Record* r : m_selection)
        if (!r->isDeleted())
            return r;
    return nullptr;
}

void FolderArrayController::step(int direction)
{
    Record* current = firstSelectedRecord();
    if (!current)
        return;
    const std::vector<Record*> folders = arrangedRecords();
    const auto at = std::find(folders.begin(), folders.end(), current);
    if (at == folders.end())
        return;
    const auto count = qsizetype(folders.size());
    const qsizetype next = ((at - folders.begin()) + direction + count) % count;
    m_selection = {folders[size_t(next)]};
}
