#include "store/objectcontext.h"

#include "store/datafilelock.h"
#include "store/log.h"
#include "store/objecturi.h"
#include "store/packedvalues.h"
#include "store/record.h"
#include "store/sqlitestore.h"

#include <QCoreApplication>
#include <QUuid>

#include <algorithm>

bool ChangeBatch::changed(Record* record, QStringView key) const
{
    const auto it = std::find(updated.begin(), updated.end(), record);
    if (it == updated.end())
        return false;
    const EntityDescription& e = record->entity();
    int bit = e.attributeIndex(key);
    if (bit < 0) {
        const int r = e.relationshipIndex(key);
        if (r < 0)
            return false;
        bit = int(e.attributes().size()) + r;
    }
    return bit < 64 && (updatedKeys[size_t(it - updated.begin())] & (std::uint64_t(1) << bit));
}

ObjectContext::ObjectContext(std::shared_ptr<const DataModel> model, QObject* parent)
    : QObject(parent), m_model(std::move(model)), m_uuid(QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper())
{
    resetEntities();
    m_undo.setChangeHandler([this] { undoStackChanged(); });
}

void ObjectContext::undoStackChanged()
{
    const UndoState now {m_undo.canUndo(), m_undo.canRedo(), m_undo.undoActionName(), m_undo.redoActionName()};
    if (now == m_undoState)
        return;
    m_undoState = now;
    Q_EMIT undoStateChanged();
}

void ObjectContext::resetEntities()
{
    m_entities = std::vector<EntityRecords>(m_model->entities().size());
    for (size_t e = 0; e < m_entities.size(); ++e)
        if (m_model->entities()[e]->packedAttributes())
            m_entities[e].packed = std::make_unique<PackedValues>(*m_model->entities()[e]);
}

bool ObjectContext::hasPackedChanges() const
{
    for (const EntityRecords& bucket : m_entities)
        if (bucket.packed && bucket.packed->hasChanges())
            return true;
    return false;
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
        resetEntities();
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
    r->m_batch.inserted = true;
    m_undo.registerEntry({UndoEntry::Kind::Inserted, r});
    return r;
}

void ObjectContext::deleteObject(Record* record)
{
    if (!record || record->m_deleted || record->m_context != this)
        return;
    // A cascade walks a tree of records as deep as the user's data: it keeps its own stack, one frame
    // per record whose members are still being visited, and finishes each record after its members, in
    // the order a recursive walk would.
    struct Frame {
        Record* record;
        size_t relationship = 0;      // the to-many relationship being visited
        std::vector<Record*> members; // a copy: finishing a member edits the set
        size_t next = 0;              // members are visited from the back
    };
    std::vector<Frame> stack;
    // Marked first so that cycles through cascading relationships end here.
    auto begin = [&stack](Record* r) {
        r->m_deleted = true;
        stack.push_back(Frame {r, 0, {}, 0});
    };
    begin(record);
    while (!stack.empty()) {
        Frame& frame = stack.back();
        const EntityDescription& entity = frame.record->entity();
        if (frame.next < frame.members.size()) {
            const auto& rel = entity.relationships()[frame.relationship - 1];
            Record* member = frame.members[frame.members.size() - 1 - frame.next++];
            if (rel.deleteRule == DeleteRule::Cascade) {
                if (!member->m_deleted && member->m_context == this)
                    begin(member); // invalidates `frame`
            } else if (rel.inverseIndex >= 0) {
                member->setToOne(rel.inverseIndex, nullptr);
            }
            continue;
        }
        while (frame.relationship < entity.relationships().size() && !entity.relationships()[frame.relationship].toMany)
            ++frame.relationship;
        if (frame.relationship < entity.relationships().size()) {
            frame.members = frame.record->toMany(int(frame.relationship));
            frame.next = 0;
            ++frame.relationship; // now one past the relationship whose members are visited
            continue;
        }
        Record* done = frame.record;
        stack.pop_back();
        finishDeletion(done);
    }
}

void ObjectContext::finishDeletion(Record* record)
{
    const EntityDescription& entity = record->entity();
    // Its own links are cleared while it still counts as alive, as any other change would be.
    record->m_deleted = false;
    if (const auto& hook = entity.changeHooks().willDelete)
        hook(*record);
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
    setDeletedFlag(record, true);
}

void ObjectContext::setDeletedFlag(Record* record, bool deleted)
{
    if (record->m_deleted == deleted)
        return;
    record->m_deleted = deleted;
    markDirty(record);
    if (PackedValues* packed = recordsOf(record->entity()).packed.get())
        for (int i = 0; i < int(packed->attributes().size()); ++i)
            packed->set(i, record->primaryKey(), deleted ? Value() : record->primitiveValue(packed->attributes()[size_t(i)]));
    if (const auto& hook = record->entity().changeHooks().deletedChanged)
        hook(*record, deleted);
    noteBatchChange(record, -1);
    Record::BatchEntry& entry = record->m_batch;
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
    if (record->entity().packedAttributes() >> attribute & 1) {
        // Saved from the packed blocks, which note the change: the record itself stays clean.
        ++m_changeCount;
        PackedValues& packed = *recordsOf(record->entity()).packed;
        packed.set(packed.indexOf(attribute), record->primaryKey(), record->m_deleted ? Value() : record->primitiveValue(attribute));
    } else {
        markDirty(record);
        record->m_changedColumns |= std::uint64_t(1) << attribute;
    }
    noteBatchChange(record, attribute);
    if (const auto& hook = record->entity().changeHooks().attributeChanged)
        hook(*record, attribute, oldValue);
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
    if (const auto& hook = record->entity().changeHooks().toOneChanged)
        hook(*record, relationship, oldTarget, newTarget);
    UndoEntry entry {UndoEntry::Kind::ToOne, record, relationship};
    entry.target = oldTarget;
    m_undo.registerEntry(std::move(entry));
}

void ObjectContext::markDirty(Record* record)
{
    ++m_changeCount;
    if (!record->m_dirty) {
        record->m_dirty = true;
        m_dirty.push_back(record);
    }
}

void ObjectContext::noteBatchChange(Record* record, int bit)
{
    Record::BatchEntry& entry = record->m_batch;
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
    const ChangeBatch batch = collectBatch(false);
    for (Record* r : m_batchOrder)
        r->m_batch = {};
    m_batchOrder.clear();
    if (!batch.isEmpty())
        Q_EMIT objectsDidChange(batch);
}

ChangeBatch ObjectContext::pendingChanges() const
{
    return collectBatch(true);
}

ChangeBatch ObjectContext::collectBatch(bool keepDropped) const
{
    ChangeBatch batch;
    batch.updated.reserve(m_batchOrder.size());
    batch.updatedKeys.reserve(m_batchOrder.size());
    for (Record* r : m_batchOrder) {
        const Record::BatchEntry& e = r->m_batch;
        if (e.inserted && e.deleted) {
            if (keepDropped)
                batch.deleted.push_back(r);
            continue;
        }
        if (e.inserted)
            batch.inserted.push_back(r);
        else if (e.deleted)
            batch.deleted.push_back(r);
        else {
            batch.updated.push_back(r);
            batch.updatedKeys.push_back(e.mask);
        }
    }
    return batch;
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
    const auto pinned = request.predicate ? request.predicate->pinnedRelationship(*entity) : std::pair<int, Record*> {-1, nullptr};
    if (pinned.second) {
        const auto& rel = entity->relationships()[size_t(pinned.first)];
        // Every candidate links to the pinned record: the prepared predicate need not read that link.
        filterInto(out, pinned.second->toMany(rel.inverseIndex), *entity, request.predicate, enough, {pinned.first, pinned.second});
    } else {
        filterInto(out, m_entities[size_t(m_model->entityIndex(entity))].records, *entity, request.predicate, enough, {});
    }
    sortRecords(out, request.sortDescriptors);
    if (request.fetchLimit > 0 && out.size() > size_t(request.fetchLimit))
        out.resize(size_t(request.fetchLimit));
    return out;
}

namespace {
Record* recordOf(Record* r) { return r; }
Record* recordOf(const std::unique_ptr<Record>& r) { return r.get(); }
} // namespace

template <typename Candidates>
void ObjectContext::filterInto(std::vector<Record*>& out, const Candidates& candidates, const EntityDescription& entity,
                               const std::optional<Predicate>& predicate, size_t enough, PreparedPredicates::KnownLink known)
{
    // Below this many candidates preparing the predicate costs more than it saves.
    constexpr size_t kPrepareFrom = 256;
    std::optional<PreparedPredicates> prepared;
    if (predicate && candidates.size() >= kPrepareFrom)
        prepared.emplace(std::vector<PreparedPredicates::Entry> {{*predicate, {}}}, entity, -1, known);
    const size_t n = candidates.size();
    for (size_t i = 0; i < n && out.size() < enough; ++i) {
        // Records lie anywhere in memory: start loading the ones a little further on.
        if (i + 32 < n)
            __builtin_prefetch(recordOf(candidates[i + 32]));
        if (i + 16 < n)
            recordOf(candidates[i + 16])->prefetch();
        Record* r = recordOf(candidates[i]);
        if (r->m_deleted)
            continue;
        if (prepared ? prepared->evaluate(*r, 1) != 0 : !predicate || predicate->evaluate(*r))
            out.push_back(r);
    }
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
    return hasPackedChanges();
}

void ObjectContext::sortByEntityAndKey(std::vector<Record*>& records) const
{
    // The sort keys read once, beside the record: comparing records would read each one many times.
    struct Keyed {
        int entity;
        qint64 key;
        Record* record;
        bool operator<(const Keyed& other) const { return entity != other.entity ? entity < other.entity : key < other.key; }
    };
    std::vector<Keyed> keyed;
    keyed.reserve(records.size());
    const EntityDescription* last = nullptr;
    int lastIndex = -1;
    for (Record* r : records) {
        if (&r->entity() != last) {
            last = &r->entity();
            lastIndex = m_model->entityIndex(last);
        }
        keyed.push_back({lastIndex, r->primaryKey(), r});
    }
    std::sort(keyed.begin(), keyed.end());
    for (size_t i = 0; i < keyed.size(); ++i)
        records[i] = keyed[i].record;
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
    sortByEntityAndKey(changes.inserted);
    sortByEntityAndKey(changes.updated);
    sortByEntityAndKey(changes.deleted);
    if (changes.inserted.empty() && changes.updated.empty() && changes.deleted.empty() && !hasPackedChanges()) {
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
    if (Status s = m_store->save(changes, *this); !s.isOk())
        return s;
    for (EntityRecords& bucket : m_entities)
        if (bucket.packed)
            bucket.packed->clearChanges();
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
        case UndoEntry::Kind::AttributeRun: {
            UndoCoalescing oneEntry(m_undo, e.index);
            for (auto run = e.run->rbegin(); run != e.run->rend(); ++run)
                run->first->setPrimitiveValue(e.index, std::move(run->second));
            break;
        }
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

void saveOrLog(ObjectContext& context)
{
    if (Status s = context.save(); !s.isOk())
        logLine(QStringLiteral("Could not save the data file: %1").arg(s.toString()));
}
