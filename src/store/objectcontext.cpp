#include "store/objectcontext.h"

#include "store/datafilelock.h"
#include "store/objecturi.h"
#include "store/record.h"
#include "store/sqlitestore.h"

#include <QCoreApplication>
#include <QUuid>

#include <algorithm>

bool ChangeBatch::changed(Record* record, QStringView key) const
{
    auto it = changedKeys.find(record);
    if (it == changedKeys.end())
        return false;
    const EntityDescription& e = record->entity();
    int bit = e.attributeIndex(key);
    if (bit < 0) {
        const int r = e.relationshipIndex(key);
        if (r < 0)
            return false;
        bit = int(e.attributes().size()) + r;
    }
    return bit < 64 && (it->second & (std::uint64_t(1) << bit));
}

ObjectContext::ObjectContext(std::shared_ptr<const DataModel> model, QObject* parent)
    : QObject(parent), m_model(std::move(model)), m_entities(m_model->entities().size()),
      m_uuid(QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper())
{
}

ObjectContext::~ObjectContext() = default;

Status ObjectContext::addSqliteStore(const QString& path, std::unique_ptr<DataFileLock> lock)
{
    if (m_store)
        return Status::invalidArgument(QStringLiteral("A store is already open"));
    for (const auto& bucket : m_entities)
        if (!bucket.records.empty())
            return Status::invalidArgument(QStringLiteral("A store must be added before any record is made"));
    auto store = SqliteStore::open(path, *m_model, std::move(lock));
    if (!store)
        return store.status();
    if (Status s = (*store)->loadInto(*this); !s.isOk()) {
        m_entities = std::vector<EntityRecords>(m_model->entities().size());
        return s;
    }
    m_store = std::move(*store);
    m_uuid = m_store->uuid();
    return Status::ok();
}

void ObjectContext::removeStore()
{
    m_store.reset();
}

QString ObjectContext::storePath() const
{
    return m_store ? m_store->path() : QString();
}

QVariantMap ObjectContext::metadata() const
{
    return m_store ? m_store->metadata() : QVariantMap();
}

Status ObjectContext::setMetadata(const QVariantMap& metadata)
{
    if (!m_store)
        return Status::invalidArgument(QStringLiteral("No store is open"));
    return m_store->setMetadata(metadata);
}

ObjectContext::EntityRecords& ObjectContext::recordsOf(const EntityDescription& entity)
{
    return m_entities[size_t(m_model->entityIndex(&entity))];
}

const ObjectContext::EntityRecords* ObjectContext::recordsOf(QStringView entityName) const
{
    const EntityDescription* e = m_model->entity(entityName);
    return e ? &m_entities[size_t(m_model->entityIndex(e))] : nullptr;
}

Record* ObjectContext::adopt(std::unique_ptr<Record> record, qint64 key)
{
    Record* r = record.get();
    r->m_context = this;
    r->m_primaryKey = key;
    EntityRecords& bucket = recordsOf(r->entity());
    bucket.byKey.emplace(key, r);
    bucket.records.push_back(std::move(record));
    return r;
}

Record* ObjectContext::insertNewObject(const QString& entityName)
{
    const EntityDescription* entity = m_model->entity(entityName);
    if (!entity)
        return nullptr;
    EntityRecords& bucket = recordsOf(*entity);
    Record* r = adopt(entity->makeRecord(), ++bucket.maxKey);
    markDirty(r);
    noteBatchChange(r, -1);
    m_batch[r].inserted = true;
    m_undo.registerEntry({UndoEntry::Kind::Inserted, r});
    return r;
}

void ObjectContext::deleteObject(Record* record)
{
    if (!record || record->m_deleted || record->m_context != this)
        return;
    // Mark first so that cycles through cascading relationships end here.
    const EntityDescription& entity = record->entity();
    record->m_deleted = true;
    for (size_t i = 0; i < entity.relationships().size(); ++i) {
        const auto& rel = entity.relationships()[i];
        if (!rel.toMany)
            continue;
        const std::vector<Record*> members = record->toMany(int(i));
        for (auto it = members.rbegin(); it != members.rend(); ++it) {
            Record* member = *it;
            if (rel.deleteRule == DeleteRule::Cascade)
                deleteObject(member);
            else if (rel.inverseIndex >= 0)
                member->setToOne(rel.inverseIndex, nullptr);
        }
    }
    for (size_t i = 0; i < entity.relationships().size(); ++i)
        if (!entity.relationships()[i].toMany)
            record->setToOne(int(i), nullptr);
    // Links without an inverse are not in any set of ours: look for them.
    for (size_t e = 0; e < m_model->entities().size(); ++e) {
        const EntityDescription& other = *m_model->entities()[e];
        for (size_t i = 0; i < other.relationships().size(); ++i) {
            const auto& rel = other.relationships()[i];
            if (rel.toMany || rel.inverseIndex >= 0 || rel.destination != &entity)
                continue;
            for (const auto& candidate : m_entities[e].records)
                if (!candidate->m_deleted && candidate->toOne(int(i)) == record)
                    candidate->setToOne(int(i), nullptr);
        }
    }
    record->m_deleted = false;
    setDeletedFlag(record, true);
}

void ObjectContext::setDeletedFlag(Record* record, bool deleted)
{
    if (record->m_deleted == deleted)
        return;
    record->m_deleted = deleted;
    markDirty(record);
    BatchEntry& entry = m_batch[record];
    if (!entry.touched) {
        entry.touched = true;
        m_batchOrder.push_back(record);
    }
    if (deleted) {
        entry.deleted = true;
    } else if (entry.deleted) {
        entry.deleted = false;
    } else {
        entry.inserted = true;
    }
    m_undo.registerEntry({deleted ? UndoEntry::Kind::Deleted : UndoEntry::Kind::Inserted, record});
    scheduleProcessing();
}

void ObjectContext::didChangeAttribute(Record* record, int attribute, Value oldValue)
{
    markDirty(record);
    record->m_changedColumns |= std::uint64_t(1) << attribute;
    noteBatchChange(record, attribute);
    UndoEntry entry {UndoEntry::Kind::Attribute, record, attribute};
    entry.value = std::move(oldValue);
    m_undo.registerEntry(std::move(entry));
}

void ObjectContext::didChangeToOne(Record* record, int relationship, Record* oldTarget, Record* newTarget)
{
    markDirty(record);
    record->m_changedColumns |= std::uint64_t(1) << (record->entity().attributes().size() + size_t(record->entity().slotOfRelationship(relationship)));
    noteBatchChange(record, int(record->entity().attributes().size()) + relationship);
    // The other side's to-many set changed too.
    const auto& rel = record->entity().relationships()[size_t(relationship)];
    if (rel.inverseIndex >= 0) {
        const int bit = int(rel.destination->attributes().size()) + rel.inverseIndex;
        if (oldTarget && !oldTarget->m_deleted)
            noteBatchChange(oldTarget, bit);
        if (newTarget)
            noteBatchChange(newTarget, bit);
    }
    UndoEntry entry {UndoEntry::Kind::ToOne, record, relationship};
    entry.target = oldTarget;
    m_undo.registerEntry(std::move(entry));
}

void ObjectContext::markDirty(Record* record)
{
    ++m_changeCount;
    if (!record->m_dirty) {
        record->m_dirty = true;
        m_dirty.insert(record);
    }
}

void ObjectContext::noteBatchChange(Record* record, int bit)
{
    BatchEntry& entry = m_batch[record];
    if (!entry.touched) {
        entry.touched = true;
        m_batchOrder.push_back(record);
    }
    if (bit >= 0 && bit < 64)
        entry.mask |= std::uint64_t(1) << bit;
    scheduleProcessing();
}

void ObjectContext::scheduleProcessing()
{
    if (m_processingScheduled || !QCoreApplication::instance())
        return;
    m_processingScheduled = true;
    QMetaObject::invokeMethod(this, &ObjectContext::processPendingChanges, Qt::QueuedConnection);
}

void ObjectContext::processPendingChanges()
{
    m_processingScheduled = false;
    m_undo.closeImplicitGroup();
    if (m_batchOrder.empty())
        return;
    ChangeBatch batch;
    for (Record* r : m_batchOrder) {
        const BatchEntry& e = m_batch[r];
        if (e.inserted && e.deleted)
            continue;
        if (e.inserted)
            batch.inserted.push_back(r);
        else if (e.deleted)
            batch.deleted.push_back(r);
        else {
            batch.updated.push_back(r);
            batch.changedKeys.emplace(r, e.mask);
        }
    }
    m_batch.clear();
    m_batchOrder.clear();
    if (!batch.isEmpty())
        Q_EMIT objectsDidChange(batch);
}

Result<std::vector<Record*>> ObjectContext::executeFetchRequest(const FetchRequest& request) const
{
    const EntityDescription* entity = m_model->entity(request.entityName);
    if (!entity)
        return Status::invalidArgument(QStringLiteral("No entity named \"%1\"").arg(request.entityName));
    if (request.predicate)
        if (Status s = request.predicate->validate(*entity); !s.isOk())
            return s;
    for (const SortDescriptor& sd : request.sortDescriptors)
        if (Status s = sd.path.validate(*entity); !s.isOk())
            return s;

    std::vector<Record*> out;
    // Without a sort the first matches are the answer: stop once there are enough.
    const size_t enough = request.sortDescriptors.isEmpty() && request.fetchLimit > 0 ? size_t(request.fetchLimit) : SIZE_MAX;
    auto consider = [&](Record* r) {
        if (out.size() < enough && !r->m_deleted && (!request.predicate || request.predicate->evaluate(*r)))
            out.push_back(r);
    };
    const auto pinned = request.predicate ? request.predicate->pinnedRelationship(*entity) : std::pair<int, Record*> {-1, nullptr};
    if (pinned.second) {
        const auto& rel = entity->relationships()[size_t(pinned.first)];
        for (Record* r : pinned.second->toMany(rel.inverseIndex))
            consider(r);
    } else {
        for (const auto& r : m_entities[size_t(m_model->entityIndex(entity))].records)
            consider(r.get());
    }
    sortRecords(out, request.sortDescriptors);
    if (request.fetchLimit > 0 && out.size() > size_t(request.fetchLimit))
        out.resize(size_t(request.fetchLimit));
    return out;
}

std::vector<Record*> ObjectContext::allObjects(const QString& entityName) const
{
    std::vector<Record*> out;
    if (const EntityRecords* bucket = recordsOf(entityName))
        for (const auto& r : bucket->records)
            if (!r->m_deleted)
                out.push_back(r.get());
    return out;
}

std::span<const std::unique_ptr<Record>> ObjectContext::records(const EntityDescription& entity) const
{
    const int index = m_model->entityIndex(&entity);
    if (index < 0)
        return {};
    return m_entities[size_t(index)].records;
}

qsizetype ObjectContext::countForEntity(const QString& entityName) const
{
    qsizetype n = 0;
    if (const EntityRecords* bucket = recordsOf(entityName))
        for (const auto& r : bucket->records)
            n += r->m_deleted ? 0 : 1;
    return n;
}

QString ObjectContext::uriForRecord(const Record& record) const
{
    return formatObjectURI(m_uuid, record.entity().name(), record.primaryKey());
}

Record* ObjectContext::objectWithURI(const QString& uri) const
{
    const auto parts = parseObjectURI(uri);
    if (!parts || parts->storeUUID.compare(m_uuid, Qt::CaseInsensitive) != 0)
        return nullptr;
    const EntityRecords* bucket = recordsOf(parts->entity);
    if (!bucket)
        return nullptr;
    auto it = bucket->byKey.find(parts->primaryKey);
    if (it == bucket->byKey.end() || it->second->m_deleted)
        return nullptr;
    return it->second;
}

bool ObjectContext::hasChanges() const
{
    for (Record* r : m_dirty)
        if (!(r->m_deleted && !r->m_savedInStore))
            return true;
    return false;
}

Status ObjectContext::save()
{
    processPendingChanges();
    if (!m_store)
        return Status::invalidArgument(QStringLiteral("No data file is open"));
    SqliteStore::Changes changes;
    for (Record* r : m_dirty) {
        if (r->m_deleted && r->m_savedInStore)
            changes.deleted.push_back(r);
        else if (!r->m_deleted && !r->m_savedInStore)
            changes.inserted.push_back(r);
        else if (!r->m_deleted && r->m_changedColumns)
            changes.updated.push_back(r);
    }
    // Rows in key order: the file's B-trees are then walked once instead of at random.
    auto byKey = [this](Record* a, Record* b) {
        const int ea = m_model->entityIndex(&a->entity()), eb = m_model->entityIndex(&b->entity());
        return ea != eb ? ea < eb : a->primaryKey() < b->primaryKey();
    };
    std::sort(changes.inserted.begin(), changes.inserted.end(), byKey);
    std::sort(changes.updated.begin(), changes.updated.end(), byKey);
    std::sort(changes.deleted.begin(), changes.deleted.end(), byKey);
    if (changes.inserted.empty() && changes.updated.empty() && changes.deleted.empty()) {
        for (Record* r : m_dirty) {
            r->m_dirty = false;
            r->m_changedColumns = 0;
        }
        m_dirty.clear();
        return Status::ok();
    }
    // Keys handed out are remembered even for records that were dropped unsaved, so none is reused.
    for (size_t e = 0; e < m_entities.size(); ++e)
        changes.maxKeys.emplace_back(m_model->entities()[e].get(), m_entities[e].maxKey);
    if (Status s = m_store->save(changes); !s.isOk())
        return s;
    for (Record* r : m_dirty) {
        r->m_savedInStore = !r->m_deleted;
        r->m_dirty = false;
        r->m_changedColumns = 0;
    }
    m_dirty.clear();
    return Status::ok();
}

void ObjectContext::applyReversal(UndoStack::Direction direction)
{
    UndoGroup group;
    if (!m_undo.takeGroup(direction, group))
        return;
    m_undo.beginReversing(direction, group.actionName);
    for (auto it = group.entries.rbegin(); it != group.entries.rend(); ++it) {
        UndoEntry& e = *it;
        switch (e.kind) {
        case UndoEntry::Kind::Attribute: e.record->setPrimitiveValue(e.index, std::move(e.value)); break;
        case UndoEntry::Kind::ToOne: e.record->setToOne(e.index, e.target); break;
        case UndoEntry::Kind::Inserted: setDeletedFlag(e.record, true); break;
        case UndoEntry::Kind::Deleted: setDeletedFlag(e.record, false); break;
        }
    }
    m_undo.endReversing();
    processPendingChanges();
}

void ObjectContext::undo()
{
    applyReversal(UndoStack::Direction::Undo);
}

void ObjectContext::redo()
{
    applyReversal(UndoStack::Direction::Redo);
}
