#include "store/sqlitestore.h"

#include "store/datafilelock.h"
#include "store/entitydescription.h"
#include "store/objectcontext.h"
#include "store/packedblock.h"
#include "store/packedvalues.h"
#include "store/record.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QUuid>

#include <algorithm>

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

namespace {

// Bumped when the layout of the file changes in a way that needs converting.
// 1: every attribute in a column. 2: packed attributes in vyro_packed.
constexpr int kFileFormat = 2;

QString quoted(const QString& identifier)
{
    return QLatin1Char('"') + identifier + QLatin1Char('"');
}

const char* columnType(AttributeType type)
{
    switch (type) {
    case AttributeType::Bool:
    case AttributeType::Integer:
    case AttributeType::Date: return "INTEGER";
    case AttributeType::Double: return "REAL";
    case AttributeType::String: return "TEXT";
    }
    return "";
}

QString textColumn(sqlite3_stmt* s, int column)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(s, column));
    return QString::fromUtf8(text, sqlite3_column_bytes(s, column));
}

QVariant variantColumn(sqlite3_stmt* s, int column)
{
    switch (sqlite3_column_type(s, column)) {
    case SQLITE_INTEGER: return qint64(sqlite3_column_int64(s, column));
    case SQLITE_FLOAT: return sqlite3_column_double(s, column);
    case SQLITE_TEXT: return textColumn(s, column);
    default: return {};
    }
}

const char* kindOfColumn(sqlite3_stmt* s, int column)
{
    switch (sqlite3_column_type(s, column)) {
    case SQLITE_INTEGER: return "a whole number";
    case SQLITE_FLOAT: return "a decimal number";
    case SQLITE_TEXT: return "text";
    case SQLITE_BLOB: return "binary data";
    default: return "nothing";
    }
}

const char* nameOfType(AttributeType type)
{
    switch (type) {
    case AttributeType::Bool: return "a flag";
    case AttributeType::Integer: return "a whole number";
    case AttributeType::Double: return "a number";
    case AttributeType::String: return "text";
    case AttributeType::Date: return "a date";
    }
    return "";
}

// The stored value of an attribute of `type`; false, with `out` untouched, when the column holds a kind
// of value the store never writes there (asked before reading: reading converts).
bool valueColumn(sqlite3_stmt* s, int column, AttributeType type, Value& out)
{
    const int kind = sqlite3_column_type(s, column);
    if (kind == SQLITE_NULL) {
        out = Value();
        return true;
    }
    switch (type) {
    case AttributeType::Bool:
        if (kind != SQLITE_INTEGER)
            return false;
        out = Value::boolean(sqlite3_column_int64(s, column) != 0);
        return true;
    case AttributeType::Integer:
        if (kind != SQLITE_INTEGER)
            return false;
        out = Value::integer(sqlite3_column_int64(s, column));
        return true;
    case AttributeType::Double:
        if (kind != SQLITE_FLOAT && kind != SQLITE_INTEGER)
            return false;
        out = Value::real(sqlite3_column_double(s, column));
        return true;
    case AttributeType::Date:
        if (kind != SQLITE_INTEGER)
            return false;
        out = Value::dateFromMSecs(sqlite3_column_int64(s, column));
        return true;
    case AttributeType::String:
        if (kind != SQLITE_TEXT)
            return false;
        out = Value::string(textColumn(s, column));
        return true;
    }
    return false;
}

// A column of an entity's table after "pk": an attribute kept in a column, or a to-one relationship.
struct StoredColumn {
    QString name;
    const char* type;
    int bit;               // the property's bit in a record's changed-columns mask
    int relationship = -1; // for a to-one relationship: its index
};

// The columns of an entity's table after "pk": its attributes but the packed ones, then its to-one
// relationships, in the order of their bits.
std::vector<StoredColumn> storedColumns(const EntityDescription& entity)
{
    std::vector<StoredColumn> columns;
    const int attributes = int(entity.attributes().size());
    for (int a = 0; a < attributes; ++a) {
        const auto& attribute = entity.attributes()[size_t(a)];
        if (attribute.storage == AttributeStorage::Column)
            columns.push_back({attribute.name, columnType(attribute.type), a});
    }
    for (size_t r = 0; r < entity.relationships().size(); ++r)
        if (!entity.relationships()[r].toMany)
            columns.push_back({entity.relationships()[r].name, "INTEGER", attributes + entity.slotOfRelationship(int(r)), int(r)});
    return columns;
}

QString columnList(const std::vector<StoredColumn>& columns)
{
    QStringList names;
    for (const StoredColumn& c : columns)
        names << quoted(c.name);
    return names.join(QStringLiteral(", "));
}

} // namespace

SqliteStore::SqliteStore(QString path, const DataModel& model, std::unique_ptr<DataFileLock> lock)
    : m_path(std::move(path)), m_model(model), m_lock(std::move(lock))
{
}

SqliteStore::~SqliteStore() = default;

void SqliteStore::FinalizeStatement::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

void SqliteStore::CloseConnection::operator()(sqlite3* db) const
{
    sqlite3_close(db);
}

Result<std::unique_ptr<SqliteStore>> SqliteStore::open(const QString& path, const DataModel& model, std::unique_ptr<DataFileLock> lock)
{
    if (!lock) {
        auto acquired = DataFileLock::acquire(path);
        if (!acquired)
            return acquired.status();
        lock = std::move(*acquired);
    }
    std::unique_ptr<SqliteStore> store(new SqliteStore(path, model, std::move(lock)));
    // A new file is made here, for the owner only; SQLite would make it readable by everyone. An empty
    // file is a new database to SQLite.
    const QByteArray nativePath = QFile::encodeName(path);
    if (const int fd = ::open(nativePath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600); fd >= 0)
        ::close(fd);
    sqlite3* db = nullptr;
    const int rc = sqlite3_open_v2(nativePath.constData(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    store->m_db.reset(db);
    // NOMUTEX: one thread uses the connection, and locking on every column read costs a quarter of loading.
    if (rc != SQLITE_OK)
        return store->error(QStringLiteral("Cannot open the data file %1").arg(path));
    if (Status s = store->initialize(); !s.isOk())
        return s;
    return store;
}

Status SqliteStore::error(const QString& what) const
{
    const int code = m_db ? sqlite3_errcode(m_db.get()) : SQLITE_CANTOPEN;
    const QString detail = m_db ? QString::fromUtf8(sqlite3_errmsg(m_db.get())) : QStringLiteral("out of memory");
    const QString message = what + QStringLiteral(": ") + detail;
    switch (code & 0xff) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT: return damaged(detail);
    case SQLITE_BUSY:
    case SQLITE_LOCKED: return Status::busy(message);
    default: return Status::ioError(message);
    }
}

Status SqliteStore::damaged(const QString& what) const
{
    return Status::corruption(QStringLiteral("Damaged data file %1: %2").arg(m_path, what));
}

Status SqliteStore::exec(const char* sql)
{
    if (sqlite3_exec(m_db.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        return error(QStringLiteral("Data file %1").arg(m_path));
    return Status::ok();
}

Status SqliteStore::exec(const QString& sql)
{
    return exec(sql.toUtf8().constData());
}

SqliteStore::Statement SqliteStore::prepare(const QString& sql, Status& status)
{
    sqlite3_stmt* statement = nullptr;
    const QByteArray utf8 = sql.toUtf8();
    if (sqlite3_prepare_v2(m_db.get(), utf8.constData(), int(utf8.size()), &statement, nullptr) != SQLITE_OK) {
        status = error(QStringLiteral("Data file %1").arg(m_path));
        return nullptr;
    }
    return Statement(statement);
}

Status SqliteStore::initialize()
{
    sqlite3_busy_timeout(m_db.get(), 2000);
    // The rollback journal keeps every committed change in the data file itself. Reading through a memory
    // map spares copying every page when the whole file is loaded at open.
    if (Status s = exec("PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL; PRAGMA mmap_size=268435456;"); !s.isOk())
        return s;

    Status status;
    QSet<QString> tables;
    {
        Statement st {prepare(QStringLiteral("SELECT name FROM sqlite_master WHERE type='table'"), status)};
        if (!st)
            return status;
        while (sqlite3_step(st.get()) == SQLITE_ROW)
            tables.insert(textColumn(st.get(), 0));
    }
    if (!tables.isEmpty() && !tables.contains(QStringLiteral("vyro_store")))
        return Status::corruption(QStringLiteral("%1 is an SQLite file but not a Vyro data file").arg(m_path));

    if (Status s = exec("BEGIN IMMEDIATE"); !s.isOk())
        return s;
    auto fail = [this](Status s) {
        static_cast<void>(exec("ROLLBACK")); // the failure that led here is the one reported
        return s;
    };
    int format = kFileFormat;
    if (!tables.contains(QStringLiteral("vyro_store"))) {
        m_uuid = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
        const QString sql = QStringLiteral(
            "CREATE TABLE vyro_store(id INTEGER PRIMARY KEY CHECK (id = 1), uuid TEXT NOT NULL, format INTEGER NOT NULL);"
            "CREATE TABLE vyro_metadata(key TEXT PRIMARY KEY, value);"
            "CREATE TABLE vyro_keys(entity TEXT PRIMARY KEY, maxkey INTEGER NOT NULL);"
            "INSERT INTO vyro_store VALUES (1, '%1', %2);").arg(m_uuid).arg(kFileFormat);
        if (Status s = exec(sql); !s.isOk())
            return fail(s);
    } else {
        Statement st {prepare(QStringLiteral("SELECT uuid, format FROM vyro_store WHERE id = 1"), status)};
        if (!st)
            return fail(status);
        if (sqlite3_step(st.get()) != SQLITE_ROW || sqlite3_column_type(st.get(), 0) != SQLITE_TEXT || sqlite3_column_bytes(st.get(), 0) == 0)
            return fail(damaged(QStringLiteral("table vyro_store: no store identifier")));
        if (sqlite3_column_type(st.get(), 1) != SQLITE_INTEGER || sqlite3_column_int64(st.get(), 1) < 1)
            return fail(damaged(QStringLiteral("table vyro_store: the file format is not a version number")));
        m_uuid = textColumn(st.get(), 0);
        format = sqlite3_column_int(st.get(), 1);
        if (format > kFileFormat)
            return fail(Status::invalidArgument(QStringLiteral("%1 was written by a newer Vyro").arg(m_path)));
    }
    if (!tables.contains(QStringLiteral("vyro_packed")))
        if (Status s = exec("CREATE TABLE vyro_packed(entity TEXT NOT NULL, attribute TEXT NOT NULL, block INTEGER NOT NULL, "
                            "data BLOB NOT NULL, PRIMARY KEY(entity, attribute, block))");
            !s.isOk())
            return fail(s);
    // One table per entity; columns that a newer model added are added to older files, and values of
    // attributes that are packed now move out of their columns.
    for (const auto& entity : m_model.entities()) {
        if (!tables.contains(entity->name())) {
            QStringList columns {QStringLiteral("pk INTEGER PRIMARY KEY")};
            for (const StoredColumn& c : storedColumns(*entity))
                columns << quoted(c.name) + QLatin1Char(' ') + QLatin1String(c.type);
            if (Status s = exec(QStringLiteral("CREATE TABLE %1(%2)").arg(quoted(entity->name()), columns.join(QStringLiteral(", ")))); !s.isOk())
                return fail(s);
            continue;
        }
        QSet<QString> existing;
        {
            Statement st {prepare(QStringLiteral("PRAGMA table_info(%1)").arg(quoted(entity->name())), status)};
            if (!st)
                return fail(status);
            while (sqlite3_step(st.get()) == SQLITE_ROW)
                existing.insert(textColumn(st.get(), 1));
        }
        for (const StoredColumn& c : storedColumns(*entity))
            if (!existing.contains(c.name))
                if (Status s = exec(QStringLiteral("ALTER TABLE %1 ADD COLUMN %2 %3").arg(quoted(entity->name()), quoted(c.name), QLatin1String(c.type))); !s.isOk())
                    return fail(s);
        for (size_t a = 0; a < entity->attributes().size(); ++a)
            if (entity->attributes()[a].storage == AttributeStorage::Packed && existing.contains(entity->attributes()[a].name))
                if (Status s = packColumn(*entity, int(a)); !s.isOk())
                    return fail(s);
    }
    if (format < kFileFormat)
        if (Status s = exec(QStringLiteral("UPDATE vyro_store SET format = %1").arg(kFileFormat)); !s.isOk())
            return fail(s);
    if (Status s = exec("COMMIT"); !s.isOk())
        return fail(s);
    m_statements.resize(m_model.entities().size());
    return Status::ok();
}

Status SqliteStore::readPacked(const EntityDescription& entity, const PackedValues& packed, qint64 maxKey, StoredBlocks& blocks)
{
    blocks.clear();
    blocks.resize(packed.attributes().size());
    Status status;
    Statement st {prepare(QStringLiteral("SELECT attribute, block, data FROM vyro_packed WHERE entity = ?1"), status)};
    if (!st)
        return status;
    const QByteArray name = entity.name().toUtf8();
    sqlite3_bind_text(st.get(), 1, name.constData(), int(name.size()), SQLITE_TRANSIENT);
    int rc;
    while ((rc = sqlite3_step(st.get())) == SQLITE_ROW) {
        const QString attributeName = textColumn(st.get(), 0);
        const int attribute = entity.attributeIndex(attributeName);
        const int index = attribute < 0 ? -1 : packed.indexOf(attribute);
        // Values of an attribute the model no longer packs (or no longer has) are not read.
        if (index < 0)
            continue;
        const bool numbered = sqlite3_column_type(st.get(), 1) == SQLITE_INTEGER; // asked first: reading converts
        const qint64 block = sqlite3_column_int64(st.get(), 1);
        const QString which = QStringLiteral("the packed block %1 of %2.%3").arg(textColumn(st.get(), 1), entity.name(), attributeName);
        if (!numbered || block < 0)
            return damaged(which + QStringLiteral(" has no block number"));
        if (block > PackedBlock::blockOfKey(maxKey))
            return damaged(which + QStringLiteral(" lies past the key counter (%1)").arg(maxKey));
        const bool blob = sqlite3_column_type(st.get(), 2) == SQLITE_BLOB; // asked first: reading converts
        auto stored = blob ? PackedBlock::decode(sqlite3_column_blob(st.get(), 2), sqlite3_column_bytes(st.get(), 2)) : std::nullopt;
        if (!stored)
            return damaged(which + QStringLiteral(" does not decode"));
        auto& list = blocks[size_t(index)];
        if (size_t(block) >= list.size())
            list.resize(size_t(block) + 1);
        list[size_t(block)] = std::make_unique<PackedBlock>(*stored);
    }
    if (rc != SQLITE_DONE)
        return error(QStringLiteral("Reading %1 from %2").arg(entity.name(), m_path));
    return Status::ok();
}

Status SqliteStore::writePacked(const EntityDescription& entity, int attribute, qint64 block, const PackedBlock& values)
{
    Status status;
    if (!m_writeBlock)
        m_writeBlock = prepare(QStringLiteral("INSERT OR REPLACE INTO vyro_packed(entity, attribute, block, data) VALUES (?1, ?2, ?3, ?4)"), status);
    if (!m_removeBlock)
        m_removeBlock = prepare(QStringLiteral("DELETE FROM vyro_packed WHERE entity = ?1 AND attribute = ?2 AND block = ?3"), status);
    if (!m_writeBlock || !m_removeBlock)
        return status;
    sqlite3_stmt* st = values.isEmpty() ? m_removeBlock.get() : m_writeBlock.get();
    const QByteArray entityName = entity.name().toUtf8();
    const QByteArray attributeName = entity.attributes()[size_t(attribute)].name.toUtf8();
    sqlite3_bind_text(st, 1, entityName.constData(), int(entityName.size()), SQLITE_TRANSIENT);
    sqlite3_bind_text(st, 2, attributeName.constData(), int(attributeName.size()), SQLITE_TRANSIENT);
    sqlite3_bind_int64(st, 3, block);
    QByteArray data;
    if (!values.isEmpty()) {
        data = values.encode();
        sqlite3_bind_blob(st, 4, data.constData(), int(data.size()), SQLITE_STATIC);
    }
    const int rc = sqlite3_step(st);
    sqlite3_reset(st);
    sqlite3_clear_bindings(st);
    if (rc != SQLITE_DONE)
        return error(QStringLiteral("Saving %1 of %2 in %3").arg(entity.attributes()[size_t(attribute)].name, entity.name(), m_path));
    return Status::ok();
}

Status SqliteStore::packColumn(const EntityDescription& entity, int attribute)
{
    Status status;
    const QString column = quoted(entity.attributes()[size_t(attribute)].name);
    {
        Statement st {prepare(QStringLiteral("SELECT pk, %1 FROM %2 WHERE %1 IS NOT NULL ORDER BY pk").arg(column, quoted(entity.name())), status)};
        if (!st)
            return status;
        PackedBlock values;
        qint64 block = -1;
        int rc;
        while ((rc = sqlite3_step(st.get())) == SQLITE_ROW) {
            const qint64 key = sqlite3_column_int64(st.get(), 0);
            if (PackedBlock::blockOfKey(key) != block) {
                if (block >= 0)
                    if (Status s = writePacked(entity, attribute, block, values); !s.isOk())
                        return s;
                values = PackedBlock();
                block = PackedBlock::blockOfKey(key);
            }
            values.set(int(key - PackedBlock::firstKey(block)), Value::integer(sqlite3_column_int64(st.get(), 1)));
        }
        if (rc != SQLITE_DONE)
            return error(QStringLiteral("Reading %1 from %2").arg(entity.name(), m_path));
        if (block >= 0)
            if (Status s = writePacked(entity, attribute, block, values); !s.isOk())
                return s;
    }
    return exec(QStringLiteral("ALTER TABLE %1 DROP COLUMN %2").arg(quoted(entity.name()), column));
}

Status SqliteStore::loadInto(ObjectContext& context)
{
    struct PendingLink {
        Record* record;
        int relationship;
        qint64 targetKey;
    };
    std::vector<PendingLink> links;
    Status status;

    {
        Statement st {prepare(QStringLiteral("SELECT entity, maxkey FROM vyro_keys"), status)};
        if (!st)
            return status;
        while (sqlite3_step(st.get()) == SQLITE_ROW) {
            const EntityDescription* e = m_model.entity(textColumn(st.get(), 0));
            if (!e)
                continue;
            const bool whole = sqlite3_column_type(st.get(), 1) == SQLITE_INTEGER; // asked first: reading converts
            const qint64 counter = sqlite3_column_int64(st.get(), 1);
            if (!whole || counter < 0 || counter > kMaxKey)
                return damaged(QStringLiteral("the key counter of %1 holds %2, not a key").arg(e->name(), textColumn(st.get(), 1)));
            context.recordsOf(*e).maxKey = counter;
        }
    }

    // Keys are dense, so the highest key is a good guess at the number of rows; the file's size bounds
    // the guess for a counter that is far off.
    const auto rowsAtMost = size_t(std::max<qint64>(QFileInfo(m_path).size() / 16, 1024));
    for (const auto& entityPtr : m_model.entities()) {
        const EntityDescription& entity = *entityPtr;
        const std::vector<StoredColumn> columns = storedColumns(entity);
        Statement st {prepare(QStringLiteral("SELECT pk, %1 FROM %2 ORDER BY pk").arg(columnList(columns), quoted(entity.name())), status)};
        if (!st)
            return status;
        auto& bucket = context.recordsOf(entity);
        const size_t expected = std::min(size_t(bucket.maxKey), rowsAtMost);
        bucket.byKey.reserve(expected);
        bucket.records.reserve(expected);
        links.reserve(links.size() + expected * size_t(entity.toOneCount()));
        // The packed values are read first and handed to each record as its row is read, while the
        // record is at hand.
        StoredBlocks packedBlocks;
        if (bucket.packed)
            if (Status s = readPacked(entity, *bucket.packed, bucket.maxKey, packedBlocks); !s.isOk())
                return s;
        std::vector<bool> packedFlag; // per packed attribute: a flag, stored as 0 or 1
        if (bucket.packed)
            for (int attribute : bucket.packed->attributes())
                packedFlag.push_back(entity.attributes()[size_t(attribute)].type == AttributeType::Bool);
        auto where = [&](qint64 key, const QString& column) {
            return QStringLiteral("table %1, row %2, column %3").arg(entity.name()).arg(key).arg(column);
        };
        int rc;
        while ((rc = sqlite3_step(st.get())) == SQLITE_ROW) {
            const qint64 key = sqlite3_column_int64(st.get(), 0);
            if (key < 1)
                return damaged(QStringLiteral("table %1, row %2: keys begin at 1").arg(entity.name()).arg(key));
            if (key > bucket.maxKey)
                return damaged(QStringLiteral("table %1, row %2: the key is above the key counter (%3)").arg(entity.name()).arg(key).arg(bucket.maxKey));
            Record* record = context.adopt(entity.makeRecord(), key);
            record->m_savedInStore = true;
            for (size_t c = 0; c < columns.size(); ++c) {
                const int column = int(c) + 1;
                if (columns[c].relationship < 0) {
                    const AttributeType type = entity.attributes()[size_t(columns[c].bit)].type;
                    Value value;
                    if (!valueColumn(st.get(), column, type, value))
                        return damaged(where(key, columns[c].name)
                                       + QStringLiteral(": %1 where %2 belongs").arg(QLatin1String(kindOfColumn(st.get(), column)), QLatin1String(nameOfType(type))));
                    record->loadValue(columns[c].bit, std::move(value));
                } else if (const int kind = sqlite3_column_type(st.get(), column); kind != SQLITE_NULL) {
                    if (kind != SQLITE_INTEGER)
                        return damaged(where(key, columns[c].name)
                                       + QStringLiteral(": %1 where a key belongs").arg(QLatin1String(kindOfColumn(st.get(), column))));
                    links.push_back({record, columns[c].relationship, sqlite3_column_int64(st.get(), column)});
                }
            }
            const auto block = size_t(PackedBlock::blockOfKey(key));
            for (size_t i = 0; i < packedBlocks.size(); ++i) {
                if (block >= packedBlocks[i].size() || !packedBlocks[i][block])
                    continue;
                Value v = packedBlocks[i][block]->value(int(key - PackedBlock::firstKey(qint64(block))));
                if (v.isNull())
                    continue;
                const int attribute = bucket.packed->attributes()[i];
                if (packedFlag[i])
                    v = Value::boolean(v.integral() != 0);
                bucket.packed->load(int(i), key, v);
                record->loadValue(attribute, std::move(v));
            }
        }
        if (rc != SQLITE_DONE)
            return error(QStringLiteral("Reading %1 from %2").arg(entity.name(), m_path));
    }

    // A link to a row that does not exist is damage: saves write a row and the links to it together,
    // and a deletion clears every link to the row it removes.
    for (const PendingLink& link : links) {
        const auto& rel = link.record->entity().relationships()[size_t(link.relationship)];
        const auto& targets = context.recordsOf(*rel.destination).byKey;
        auto it = targets.find(link.targetKey);
        if (it == targets.end())
            return damaged(QStringLiteral("table %1, row %2, column %3: no %4 has the key %5")
                               .arg(link.record->entity().name())
                               .arg(link.record->primaryKey())
                               .arg(rel.name, rel.destination->name())
                               .arg(link.targetKey));
        link.record->linkToOne(link.relationship, it->second);
    }
    return Status::ok();
}

QVariantMap SqliteStore::metadata() const
{
    QVariantMap out;
    sqlite3_stmt* raw = nullptr;
    sqlite3_prepare_v2(m_db.get(), "SELECT key, value FROM vyro_metadata", -1, &raw, nullptr);
    const Statement st(raw);
    while (st && sqlite3_step(st.get()) == SQLITE_ROW)
        out.insert(textColumn(st.get(), 0), variantColumn(st.get(), 1));
    out.insert(QLatin1String(kStoreUUIDKey), m_uuid);
    return out;
}

Status SqliteStore::setMetadata(const QVariantMap& metadata)
{
    if (Status s = exec("BEGIN IMMEDIATE"); !s.isOk())
        return s;
    Status status = exec("DELETE FROM vyro_metadata");
    if (status.isOk()) {
        Statement st {prepare(QStringLiteral("INSERT INTO vyro_metadata(key, value) VALUES (?, ?)"), status)};
        for (auto it = metadata.begin(); st && it != metadata.end(); ++it) {
            if (it.key() == QLatin1String(kStoreUUIDKey))
                continue;
            const QByteArray key = it.key().toUtf8();
            sqlite3_bind_text(st.get(), 1, key.constData(), int(key.size()), SQLITE_TRANSIENT);
            const QVariant& v = it.value();
            if (v.typeId() == QMetaType::Int || v.typeId() == QMetaType::LongLong || v.typeId() == QMetaType::Bool)
                sqlite3_bind_int64(st.get(), 2, v.toLongLong());
            else if (v.typeId() == QMetaType::Double)
                sqlite3_bind_double(st.get(), 2, v.toDouble());
            else {
                const QByteArray text = v.toString().toUtf8();
                sqlite3_bind_text(st.get(), 2, text.constData(), int(text.size()), SQLITE_TRANSIENT);
            }
            if (sqlite3_step(st.get()) != SQLITE_DONE) {
                status = error(QStringLiteral("Writing the metadata of %1").arg(m_path));
                break;
            }
            sqlite3_reset(st.get());
        }
    }
    if (!status.isOk()) {
        static_cast<void>(exec("ROLLBACK")); // the failure that led here is the one reported
        return status;
    }
    return exec("COMMIT");
}

Result<QVariantMap> SqliteStore::metadataForStoreAt(const QString& path)
{
    if (!QFileInfo::exists(path))
        return Status::notFound(QStringLiteral("No data file at %1").arg(path));
    sqlite3* raw = nullptr;
    const int rc = sqlite3_open_v2(QFile::encodeName(path).constData(), &raw, SQLITE_OPEN_READONLY, nullptr);
    const Connection db(raw);
    if (rc != SQLITE_OK)
        return Status::ioError(QStringLiteral("Cannot read %1").arg(path));
    auto prepare = [&db](const char* sql) {
        sqlite3_stmt* statement = nullptr;
        return sqlite3_prepare_v2(db.get(), sql, -1, &statement, nullptr) == SQLITE_OK ? Statement(statement) : Statement();
    };
    const Statement probe = prepare("SELECT name FROM sqlite_master WHERE type='table' AND name='vyro_metadata'");
    if (!probe)
        return Status::corruption(QStringLiteral("%1 is not an SQLite file: %2").arg(path, QString::fromUtf8(sqlite3_errmsg(db.get()))));
    QVariantMap out;
    if (sqlite3_step(probe.get()) != SQLITE_ROW)
        return out;
    const Statement values = prepare("SELECT key, value FROM vyro_metadata");
    while (values && sqlite3_step(values.get()) == SQLITE_ROW)
        out.insert(textColumn(values.get(), 0), variantColumn(values.get(), 1));
    const Statement uuid = prepare("SELECT uuid FROM vyro_store WHERE id = 1");
    if (uuid && sqlite3_step(uuid.get()) == SQLITE_ROW)
        out.insert(QLatin1String(kStoreUUIDKey), textColumn(uuid.get(), 0));
    return out;
}

namespace {

void bindValue(sqlite3_stmt* st, int column, const Value& v)
{
    switch (v.kind()) {
    case Value::Kind::Null: sqlite3_bind_null(st, column); break;
    case Value::Kind::Bool:
    case Value::Kind::Integer: sqlite3_bind_int64(st, column, v.toInteger()); break;
    case Value::Kind::Double: sqlite3_bind_double(st, column, v.toDouble()); break;
    case Value::Kind::Date: sqlite3_bind_int64(st, column, v.dateMSecs()); break;
    case Value::Kind::String: {
        const QByteArray text = v.stringRef().toUtf8();
        sqlite3_bind_text(st, column, text.constData(), int(text.size()), SQLITE_TRANSIENT);
        break;
    }
    }
}

} // namespace

int SqliteStore::bindColumns(sqlite3_stmt* st, const Record& record, std::uint64_t columns, int firstParameter)
{
    const EntityDescription& entity = record.entity();
    columns &= ~entity.packedAttributes();
    const int attributes = int(entity.attributes().size());
    int parameter = firstParameter;
    for (int a = 0; a < attributes; ++a)
        if (columns & (std::uint64_t(1) << a))
            bindValue(st, parameter++, record.primitiveValue(a));
    for (size_t r = 0; r < entity.relationships().size(); ++r) {
        if (entity.relationships()[r].toMany)
            continue;
        if (!(columns & (std::uint64_t(1) << (attributes + entity.slotOfRelationship(int(r))))))
            continue;
        if (Record* target = record.toOne(int(r)))
            sqlite3_bind_int64(st, parameter++, target->primaryKey());
        else
            sqlite3_bind_null(st, parameter++);
    }
    return parameter - 1;
}

sqlite3_stmt* SqliteStore::updateStatement(const EntityDescription& entity, Statements& statements, std::uint64_t columns, Status& status)
{
    for (const auto& [mask, statement] : statements.updates)
        if (mask == columns)
            return statement.get();
    QStringList assignments;
    for (const StoredColumn& c : storedColumns(entity))
        if (columns & (std::uint64_t(1) << c.bit))
            assignments << quoted(c.name) + QStringLiteral(" = ?");
    Statement statement = prepare(QStringLiteral("UPDATE %1 SET %2 WHERE pk = ?").arg(quoted(entity.name()), assignments.join(QStringLiteral(", "))), status);
    if (!statement)
        return nullptr;
    statements.updates.emplace_back(columns, std::move(statement));
    return statements.updates.back().second.get();
}

Status SqliteStore::save(const Changes& changes, const ObjectContext& context)
{
    Status status;
    auto statementsFor = [&](const EntityDescription& entity) -> Statements* {
        Statements& st = m_statements[size_t(m_model.entityIndex(&entity))];
        if (!st.insert) {
            const std::vector<StoredColumn> columns = storedColumns(entity);
            const QString placeholders = QStringLiteral(", ?").repeated(qsizetype(columns.size()));
            const QString table = quoted(entity.name());
            st.insert = prepare(QStringLiteral("INSERT INTO %1(pk, %2) VALUES (?%3)").arg(table, columnList(columns), placeholders), status);
            st.remove = prepare(QStringLiteral("DELETE FROM %1 WHERE pk = ?").arg(table), status);
            if (!st.insert || !st.remove)
                return nullptr;
        }
        return &st;
    };
    auto run = [&](sqlite3_stmt* st, const Record& record) {
        const int rc = sqlite3_step(st);
        sqlite3_reset(st);
        sqlite3_clear_bindings(st);
        if (rc != SQLITE_DONE)
            status = error(QStringLiteral("Saving %1 %2").arg(record.entity().name()).arg(record.primaryKey()));
        return rc == SQLITE_DONE;
    };

    // A large save spills SQLite's small default page cache in the middle of the transaction; give it
    // room for the duration of the save only.
    const bool large = changes.inserted.size() + changes.updated.size() + changes.deleted.size() > 2000;
    if (large)
        static_cast<void>(exec("PRAGMA cache_size=-65536")); // only a matter of speed
    struct RestoreCache {
        SqliteStore* store;
        bool active;
        ~RestoreCache()
        {
            if (active)
                static_cast<void>(store->exec("PRAGMA cache_size=-2000"));
        }
    } restoreCache {this, large};
    if (Status s = exec("BEGIN IMMEDIATE"); !s.isOk())
        return s;
    bool ok = true;
    for (Record* r : changes.inserted) {
        Statements* st = statementsFor(r->entity());
        if (!(ok = st != nullptr))
            break;
        sqlite3_bind_int64(st->insert.get(), 1, r->primaryKey());
        bindColumns(st->insert.get(), *r, ~std::uint64_t(0), 2);
        if (!(ok = run(st->insert.get(), *r)))
            break;
    }
    for (size_t i = 0; ok && i < changes.updated.size(); ++i) {
        Record* r = changes.updated[i];
        // Packed values are never marked here: they go with the blocks below.
        const std::uint64_t columns = r->m_changedColumns;
        Statements* st = statementsFor(r->entity());
        sqlite3_stmt* update = st ? updateStatement(r->entity(), *st, columns, status) : nullptr;
        if (!(ok = update != nullptr))
            break;
        const int bound = bindColumns(update, *r, columns);
        sqlite3_bind_int64(update, bound + 1, r->primaryKey());
        ok = run(update, *r);
    }
    for (size_t i = 0; ok && i < changes.deleted.size(); ++i) {
        Record* r = changes.deleted[i];
        Statements* st = statementsFor(r->entity());
        if (!(ok = st != nullptr))
            break;
        sqlite3_bind_int64(st->remove.get(), 1, r->primaryKey());
        ok = run(st->remove.get(), *r);
    }
    if (ok)
        ok = (status = savePacked(context)).isOk();
    if (ok && !changes.maxKeys.empty()) {
        Statement st {prepare(QStringLiteral("INSERT OR REPLACE INTO vyro_keys(entity, maxkey) VALUES (?, ?)"), status)};
        ok = st != nullptr;
        for (size_t i = 0; ok && i < changes.maxKeys.size(); ++i) {
            const QByteArray name = changes.maxKeys[i].first->name().toUtf8();
            sqlite3_bind_text(st.get(), 1, name.constData(), int(name.size()), SQLITE_TRANSIENT);
            sqlite3_bind_int64(st.get(), 2, changes.maxKeys[i].second);
            ok = sqlite3_step(st.get()) == SQLITE_DONE;
            if (!ok)
                status = error(QStringLiteral("Saving %1").arg(m_path));
            sqlite3_reset(st.get());
        }
    }
    if (ok)
        ok = (status = exec("COMMIT")).isOk();
    if (!ok) {
        static_cast<void>(exec("ROLLBACK")); // the failure that led here is the one reported
        return status.isOk() ? error(QStringLiteral("Saving %1").arg(m_path)) : status;
    }
    return Status::ok();
}

Status SqliteStore::savePacked(const ObjectContext& context)
{
    for (size_t e = 0; e < m_model.entities().size(); ++e) {
        const PackedValues* packed = context.m_entities[e].packed.get();
        if (!packed || !packed->hasChanges())
            continue;
        const EntityDescription& entity = *m_model.entities()[e];
        for (qint64 block = 0; block < packed->blockCount(); ++block) {
            if (!packed->isChanged(block))
                continue;
            for (int i = 0; i < int(packed->attributes().size()); ++i)
                if (Status s = writePacked(entity, packed->attributes()[size_t(i)], block, packed->block(i, block)); !s.isOk())
                    return s;
        }
    }
    return Status::ok();
}
