#pragma once

#include "store/datafilelock.h"
#include "store/entitydescription.h"
#include "store/fetchrequest.h"
#include "store/preparedpredicates.h"
#include "store/status.h"
#include "store/undostack.h"

#include <QObject>
#include <QVariantMap>

#include <cstdint>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

class PackedValues;
class Record;
class SqliteStore;

// What one change batch did: the records inserted, updated (with the keys that changed) and deleted.
// A record inserted and deleted within the same batch appears in neither list.
struct ChangeBatch {
    std::vector<Record*> inserted;
    std::vector<Record*> updated;
    std::vector<Record*> deleted;
    // For updated[i]: bit k set when attribute k changed; relationship j sets bit (attribute count + j).
    // Entities have fewer than 64 properties.
    std::vector<std::uint64_t> updatedKeys;

    bool isEmpty() const { return inserted.empty() && updated.empty() && deleted.empty(); }
    // Whether `record` was updated in `key`. Looks the record up: for a few records, not a loop over
    // the batch (which reads updatedKeys).
    bool changed(Record* record, QStringView key) const;
};

// The one working set of records for a run (the managed object context). It owns every record, keeps
// one object per stored row (identity map), tracks changes for saving, undo and observers, and answers
// fetch requests from memory.
//
// Ownership: the context owns its records and its store. Records handed out stay valid until the
// context is destroyed, also after deletion.
//
// Threads: a context and its records, store and lock belong to the thread that made it (the main
// thread for the program's one context; a tool that needs another thread makes its own context there).
// Nothing locks. The DataModel is the one thing contexts share, and it is immutable.
//
// Change notification: changes are collected into a batch; processPendingChanges() emits
// objectsDidChange once for the whole batch and closes the implicit undo group. When an event loop
// runs, the context calls it by itself at the end of the event in which the first change was made.
class ObjectContext : public QObject {
    Q_OBJECT
public:
    explicit ObjectContext(std::shared_ptr<const DataModel> model, QObject* parent = nullptr);
    ~ObjectContext() override;

    const DataModel& model() const { return *m_model; }

    // Opens the SQLite data file at `path` (created, empty, when missing) and loads every record.
    // `lock` is the caller's hold on the data file; without one the store takes its own and fails with
    // a Busy status when another process holds the file. A context holds at most one store.
    Status addSqliteStore(const QString& path, std::unique_ptr<DataFileLock> lock = nullptr);
    bool hasStore() const { return m_store != nullptr; }
    // Closes the store (the file stays as last saved) and releases its lock; the records stay.
    void removeStore();
    QString storePath() const;
    QString storeUUID() const { return m_uuid; }
    QVariantMap metadata() const;
    Status setMetadata(const QVariantMap& metadata);

    // Makes a new record of the named entity (nullptr for an unknown name). Its identifier, and so its
    // URI, is permanent from this moment.
    Record* insertNewObject(const QString& entityName);
    template <typename T>
    T* insertNewObject(const QString& entityName) { return static_cast<T*>(insertNewObject(entityName)); }

    // Deletes a record and applies the delete rules of its relationships (nullify or cascade). Links
    // to it from relationships without an inverse are cleared too, so no record ever points at a
    // deleted one.
    void deleteObject(Record* record);

    // Records of the request's entity that match its predicate, sorted and limited. A predicate that
    // pins a relationship to a record scans only that record's inverse set.
    Result<std::vector<Record*>> executeFetchRequest(const FetchRequest& request) const;
    // Every live record of an entity, in insertion order.
    std::vector<Record*> allObjects(const QString& entityName) const;
    qsizetype countForEntity(const QString& entityName) const;
    // Every record of an entity in insertion order, deleted ones included, without a copy: for passes
    // over a whole entity, which then visit the records about in the order they lie in memory. Valid
    // until the next record of that entity is made.
    std::span<const std::unique_ptr<Record>> records(const EntityDescription& entity) const;

    // Identifiers: "x-coredata://<store UUID>/<entity>/p<key>". Answers nullptr for URIs of another
    // store, unknown entities, or records that do not exist (or are deleted).
    Record* objectWithURI(const QString& uri) const;
    QString uriForRecord(const Record& record) const;

    bool hasChanges() const;
    // Grows with every change to any record; equal values mean nothing changed in between (for caches).
    quint64 changeCount() const { return m_changeCount; }
    // Writes every pending insert, change and delete in one transaction. On failure nothing is written
    // and the changes stay pending, so a later save tries again.
    Status save();

    // What the layers above keep per context rather than per process (the model's clock, preference
    // reader, notifications and caches), so that two contexts can live side by side. The context owns
    // it; the layer that uses it makes it on first use.
    QObject* environment() const { return m_environment.get(); }
    void setEnvironment(std::unique_ptr<QObject> environment) { m_environment = std::move(environment); }

    UndoStack& undoManager() { return m_undo; }
    void undo();
    void redo();

    void processPendingChanges();
    // The batch that processPendingChanges would emit now, without emitting it or closing it: for a
    // reader that must see changes made earlier in the same event. Records inserted and deleted again
    // in it are listed as deleted, as the reader may have seen them come.
    ChangeBatch pendingChanges() const;

Q_SIGNALS:
    void objectsDidChange(const ChangeBatch& batch);
    // What can be undone or redone, or an action name, changed (for the Edit menu).
    void undoStateChanged();

private:
    friend class Record;
    friend class SqliteStore;

    struct EntityRecords {
        std::vector<std::unique_ptr<Record>> records;
        std::unordered_map<qint64, Record*> byKey;
        qint64 maxKey = 0;
        std::unique_ptr<PackedValues> packed; // for an entity with packed attributes
    };

    void didChangeAttribute(Record* record, int attribute, Value oldValue);
    void didChangeToOne(Record* record, int relationship, Record* oldTarget, Record* newTarget);
    void setDeletedFlag(Record* record, bool deleted);
    // The end of a deletion, once the record's members are seen to: clears its links and marks it.
    void finishDeletion(Record* record);
    void markDirty(Record* record);
    void noteBatchChange(Record* record, int bit);
    void scheduleProcessing();
    ChangeBatch collectBatch(bool keepDropped) const;
    void sortByEntityAndKey(std::vector<Record*>& records) const;
    // Appends the live candidates that match `predicate` (all when it is absent), up to `enough`; every
    // candidate has the `known` link, if any.
    template <typename Candidates>
    static void filterInto(std::vector<Record*>& out, const Candidates& candidates, const EntityDescription& entity,
                           const std::optional<Predicate>& predicate, size_t enough, PreparedPredicates::KnownLink known);
    Record* adopt(std::unique_ptr<Record> record, qint64 key);
    EntityRecords& recordsOf(const EntityDescription& entity);
    const EntityRecords* recordsOf(QStringView entityName) const;
    void applyReversal(UndoStack::Direction direction);
    void undoStackChanged();
    void resetEntities();
    bool hasPackedChanges() const;

    std::shared_ptr<const DataModel> m_model;
    std::vector<EntityRecords> m_entities;
    std::unique_ptr<SqliteStore> m_store;
    std::unique_ptr<QObject> m_environment;
    QString m_uuid;
    std::vector<Record*> m_dirty; // each once: a record's m_dirty flag says whether it is here
    UndoStack m_undo;

    // The records of the open batch, each once (its m_batch entry says it is here), in first-touch order
    // so observers see a stable order.
    std::vector<Record*> m_batchOrder;
    bool m_processingScheduled = false;
    // What undoStateChanged last told, so it is emitted only when something changed.
    struct UndoState {
        bool canUndo = false;
        bool canRedo = false;
        QString undoName;
        QString redoName;
        bool operator==(const UndoState&) const = default;
    };
    UndoState m_undoState;
    quint64 m_changeCount = 0;
};

// Saves where nobody waits for the answer (the steps of the start, a new folder): a failure is logged,
// and the changes stay pending for the next save.
void saveOrLog(ObjectContext& context);
