#include "lists/folderarraycontroller.h"

#include "store/objectcontext.h"
#include "store/record.h"

#include <algorithm>

FolderArrayController::FolderArrayController(ObjectContext& store, QString entityName, QList<SortDescriptor> order)
    : m_store(store), m_entityName(std::move(entityName)), m_order(std::move(order))
{
    // The tree of the entity: its to-one link to a parent of its own kind and the set of children.
    if (const EntityDescription* entity = store.model().entity(m_entityName)) {
        const int attributes = int(entity->attributes().size());
        const int name = entity->attributeIndex(u"name");
        if (name >= 0)
            m_pathBits |= std::uint64_t(1) << name;
        for (size_t i = 0; i < entity->relationships().size(); ++i) {
            const RelationshipDescription& rel = entity->relationships()[i];
            if (rel.destination != entity || rel.inverseIndex < 0)
                continue;
            if (rel.toMany) {
                m_childrenRelationship = int(i);
            } else {
                m_parentBit = std::uint64_t(1) << (attributes + int(i));
                m_pathBits |= m_parentBit;
            }
        }
    }
    m_changes = QObject::connect(&m_store, &ObjectContext::objectsDidChange, [this](const ChangeBatch& batch) { place(batch, true); });
}

FolderArrayController::~FolderArrayController()
{
    QObject::disconnect(m_changes);
}

void FolderArrayController::setObserver(ListObserver* observer)
{
    rows();
    m_rows.setObserver(observer);
}

std::vector<Record*> FolderArrayController::arrangedRecords() const
{
    return rows();
}

const std::vector<Record*>& FolderArrayController::rows() const
{
    if (!m_arranged) {
        m_arranged = true;
        std::vector<Record*> folders = m_store.allObjects(m_entityName);
        std::vector<Value> keys;
        keys.reserve(folders.size() * size_t(m_order.size()));
        for (Record* r : folders)
            appendSortKeys(*r, m_order, keys);
        sortInListOrder(folders, m_order, keys);
        m_rows.reset(std::move(folders));
    }
    // Changes made earlier in this event are not in a batch yet.
    place(m_store.pendingChanges(), false);
    return m_rows.rows();
}

void FolderArrayController::place(const ChangeBatch& batch, bool report) const
{
    if (!m_arranged)
        return;
    std::vector<Record*> touched;
    std::vector<std::pair<Record*, std::uint64_t>> changed;
    auto ours = [this](Record* r) { return r->entity().name() == m_entityName; };
    for (Record* r : batch.inserted)
        if (ours(r))
            touched.push_back(r);
    for (Record* r : batch.deleted)
        if (ours(r))
            touched.push_back(r);
    for (size_t i = 0; i < batch.updated.size(); ++i)
        if (ours(batch.updated[i])) {
            touched.push_back(batch.updated[i]);
            changed.emplace_back(batch.updated[i], batch.updatedKeys[i]);
        }
    // Path names are derived: a folder renamed or moved changes the path, and so the place, of every
    // folder below it, which no batch names.
    const size_t direct = changed.size();
    for (size_t i = 0; i < direct; ++i)
        if (changed[i].second & m_pathBits)
            for (Record* below : subtreeOf(changed[i].first)) {
                touched.push_back(below);
                changed.emplace_back(below, m_parentBit);
            }
    if (report) {
        // A folder seen coming in an earlier look may have gone again before the batch closed.
        touched.insert(touched.end(), m_peeked.begin(), m_peeked.end());
        m_peeked.clear();
        m_rows.reportUpdates(std::move(changed));
    } else {
        m_peeked.insert(m_peeked.end(), touched.begin(), touched.end());
        std::sort(m_peeked.begin(), m_peeked.end());
        m_peeked.erase(std::unique(m_peeked.begin(), m_peeked.end()), m_peeked.end());
    }
    std::sort(touched.begin(), touched.end());
    touched.erase(std::unique(touched.begin(), touched.end()), touched.end());
    m_rows.update(touched, [](Record* r) { return !r->isDeleted(); }, m_order);
}

std::vector<Record*> FolderArrayController::subtreeOf(Record* folder) const
{
    return m_childrenRelationship < 0 ? std::vector<Record*>() : foldersBelow(*folder);
}

std::vector<Record*> foldersBelow(const Record& folder)
{
    const EntityDescription& entity = folder.entity();
    int children = -1;
    for (size_t i = 0; i < entity.relationships().size(); ++i)
        if (entity.relationships()[i].toMany && entity.relationships()[i].destination == &entity)
            children = int(i);
    std::vector<Record*> out;
    if (children < 0)
        return out;
    std::vector<const Record*> pending {&folder};
    while (!pending.empty()) {
        const Record* f = pending.back();
        pending.pop_back();
        for (Record* child : f->toMany(children)) {
            out.push_back(child);
            pending.push_back(child);
        }
    }
    return out;
}

bool movesPathNames(const Record& folder, std::uint64_t keys)
{
    const EntityDescription& entity = folder.entity();
    const int name = entity.attributeIndex(u"name");
    if (name >= 0 && (keys >> name & 1))
        return true;
    const auto attributes = int(entity.attributes().size());
    for (size_t i = 0; i < entity.relationships().size(); ++i) {
        const RelationshipDescription& rel = entity.relationships()[i];
        if (!rel.toMany && rel.destination == &entity && (keys >> (attributes + int(i)) & 1))
            return true;
    }
    return false;
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
    const std::vector<Record*>& folders = rows();
    const auto at = std::find(folders.begin(), folders.end(), current);
    if (at == folders.end())
        return;
    const auto count = qsizetype(folders.size());
    const qsizetype next = ((at - folders.begin()) + direction + count) % count;
    m_selection = {folders[size_t(next)]};
}
