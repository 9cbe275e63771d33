#pragma once

#include "store/packedblock.h"
#include "store/status.h"

#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <memory>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;
class DataFileLock;
class DataModel;
class EntityDescription;
class PackedValues;
class ObjectContext;
class Record;

// The data file: one SQLite database with a table per entity (a column per attribute and per to-one
// relationship; to-many relationships are the inverse columns of the other side), the store's UUID,
// its metadata and the highest primary key handed out per entity. Packed attributes have no column:
// their values lie in blocks of PackedBlock::kSlots keys in the table vyro_packed.
//
// Damage: anything read back that the store could not have written (a value of the wrong kind, a key
// out of range or above the key counter, a link to a row that does not exist, a block of packed
// values that does not decode) fails the open with a Corruption status whose message begins "Damaged
// data file" and names the table, the row key and the column, the key counter or the packed block.
// The file is left as it is.
//
// The data file (and its journal, which SQLite makes with the file's permissions) is created readable
// by the owner only.
//
// Threads: a store belongs to the thread of its ObjectContext (the connection is opened without
// SQLite's own locking); it is never shared.
//
// Durability: a rollback journal with full sync. Between saves the data file alone holds every saved
// change (so a plain copy of it is a complete backup), and a crash at any instant of a save leaves the
// old or the new state: SQLite rolls back an interrupted save at the next open.
class SqliteStore {
public:
    static constexpr const char* kStoreUUIDKey = "VyroStoreUUID";
    // The highest primary key the store hands out or reads back: more than a store gets through in its
    // life, and low enough that a key counter read back from a damaged file cannot make the packed
    // values take more than a few megabytes per attribute.
    static constexpr qint64 kMaxKey = qint64(1) << 28;

    // Opens (creating when missing) the data file. Without `lock`, takes the file's lock itself.
    static Result<std::unique_ptr<SqliteStore>> open(const QString& path, const DataModel& model,
                                                     std::unique_ptr<DataFileLock> lock = nullptr);
    // The metadata of a data file, read without opening it as a store (no lock, read-only), with the
    // store's UUID under kStoreUUIDKey. NotFound
    // when there is no file; Corruption when it is not an SQLite file.
    static Result<QVariantMap> metadataForStoreAt(const QString& path);

    ~SqliteStore();

    const QString& path() const { return m_path; }
    const QString& uuid() const { return m_uuid; }

    // Loads every row into `context` as records (untracked).
    Status loadInto(ObjectContext& context);
    // The metadata, with the store's UUID under kStoreUUIDKey.
    QVariantMap metadata() const;
    // Replaces the whole metadata dictionary, written at once. The UUID is the store's own and stays.
    Status setMetadata(const QVariantMap& metadata);

    struct Changes {
        std::vector<Record*> inserted;
        std::vector<Record*> updated;
        std::vector<Record*> deleted;
        std::vector<std::pair<const EntityDescription*, qint64>> maxKeys;
    };
    // One transaction; all or nothing. Packed values are written from the context's changed blocks.
    Status save(const Changes& changes, const ObjectContext& context);

private:
    struct FinalizeStatement {
        void operator()(sqlite3_stmt* statement) const;
    };
    struct CloseConnection {
        void operator()(sqlite3* db) const;
    };
    // Every prepared statement of the store, finalized when it goes.
    using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;
    using Connection = std::unique_ptr<sqlite3, CloseConnection>;

    SqliteStore(QString path, const DataModel& model, std::unique_ptr<DataFileLock> lock);
    Status initialize();
    Status exec(const char* sql);
    Status exec(const QString& sql);
    Status error(const QString& what) const;
    // A Corruption status: "Damaged data file <path>: <what>".
    Status damaged(const QString& what) const;
    // Null, with `status` set, when SQLite refuses the statement.
    Statement prepare(const QString& sql, Status& status);
    // Binds the record's values of the given columns, in column order, from `firstParameter` on; returns
    // the last parameter bound.
    static int bindColumns(sqlite3_stmt* statement, const Record& record, std::uint64_t columns, int firstParameter = 1);
    // The stored blocks of an entity's packed attributes: by the attribute's place in
    // PackedValues::attributes(), then by block (missing blocks empty). A block past `maxKey`, the
    // highest key handed out, is damage.
    // Blocks are held by pointer: a key counter far above the rows costs a pointer per block.
    using StoredBlocks = std::vector<std::vector<std::unique_ptr<PackedBlock>>>;
    Status readPacked(const EntityDescription& entity, const PackedValues& packed, qint64 maxKey, StoredBlocks& blocks);
    // Writes the changed blocks of the context's packed values.
    Status savePacked(const ObjectContext& context);
    // Writes one block (an empty one is removed).
    Status writePacked(const EntityDescription& entity, int attribute, qint64 block, const PackedBlock& values);
    // Moves the values of an attribute that is packed now out of its column, which goes.
    Status packColumn(const EntityDescription& entity, int attribute);

    QString m_path;
    const DataModel& m_model;
    // Declared in the order they may go: the statements before the connection, the connection before
    // the lock.
    std::unique_ptr<DataFileLock> m_lock;
    Connection m_db;
    QString m_uuid;
    struct Statements {
        Statement insert;
        Statement remove;
        // One update per set of changed columns.
        std::vector<std::pair<std::uint64_t, Statement>> updates;
    };
    sqlite3_stmt* updateStatement(const EntityDescription& entity, Statements& statements, std::uint64_t columns, Status& status);
    std::vector<Statements> m_statements; // per entity, made on first save
    Statement m_writeBlock;
    Statement m_removeBlock;
};
