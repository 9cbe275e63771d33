#include "store/sqlitestore.h"

#include "store/datafilelock.h"
#include "store/entitydescription.h"
#include "store/objectcontext.h"
#include "store/packedblock.h"
#include "store/packedvalues.h"
#include "store/record.h"

#include <QFileInfo>
#include <QSet>
#include <QUuid>

#include <algorithm>

#include <sqlite3.h>

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

struct Statement {
    sqlite3_stmt* s = nullptr;
    ~Statement() { sqlite3_finalize(s); }
};

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

Value valueColumn(sqlite3_stmt* s, int column, AttributeType type)
{
    const int kind = sqlite3_column_type(s, column);
    if (kind == SQLITE_NULL)
        return {};
    switch (type) {
    case AttributeType::Bool: return Value::boolean(sqlite3_column_int64(s, column) != 0);
    case AttributeType::Integer: return Value::integer(sqlite3_column_int64(s, column));
    case AttributeType::Double: return Value::real(sqlite3_column_double(s, column));
    case AttributeType::Date: return Value::dateFromMSecs(sqlite3_column_int64(s, column));
    case AttributeType::String: return Value::string(textColumn(s, column));
    }
    return {};
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

SqliteStore::~SqliteStore()
{
    for (auto& st : m_statements) {
        sqlite3_finalize(st.insert);
        sqlite3_finalize(st.remove);
        for (auto& update : st.updates)
            sqlite3_finalize(update.second);
    }
    sqlite3_finalize(m_writeBlock);
    sqlite3_finalize(m_removeBlock);
    sqlite3_close(m_db);
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
    const int rc = sqlite3_open_v2(path.toUtf8().constData(), &store->m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    // NOMUTEX: one thread uses the connection, and locking on every column read costs a quarter of loading.
    if (rc != SQLITE_OK)
        return store->error(QStringLiteral("Cannot open the data file %1").arg(path));
    if (Status s = store->initialize(); !s.isOk())
        return s;
    return store;
}

Status SqliteStore::error(const QString& what) const
{
    const int code = m_db ? sqlite3_errcode(m_db) : SQLITE_CANTOPEN;
    const QString detail = m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : QStringLiteral("out of memory");
    const QString message = what + QStringLiteral(": ") + detail;
    switch (code & 0xff) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT: return Status::corruption(message);
    case SQLITE_BUSY:
    case SQLITE_LOCKED: return Status::busy(message);
    default: return Status::ioError(message);
    }
}

Status SqliteStore::exec(const char* sql)
{
    if (sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        return error(QStringLiteral("Data file %1").arg(m_path));
    return Status::ok();
}

Status SqliteStore::exec(const QString& sql)
{
    return exec(sql.toUtf8().constData());
}

sqlite3_stmt* SqliteStore::prepare(const QString& sql, Status& status)
{
    sqlite3_stmt* statement = nullptr;
    const QByteArray utf8 = sql.toUtf8();
    if (sqlite3_prepare_v2(m_db, utf8.constData(), int(utf8.size()), &statement, nullptr) != SQLITE_OK) {
        status = error(QStringLiteral("Data file %1").arg(m_path));
        return nullptr;
    }
    return statement;
}

Status SqliteStore::initialize()
{
    sqlite3_busy_timeout(m_db, 2000);
    // The rollback journal keeps every committed change in the data file itself. Reading through a memory
    // map spares copying every page when the whole file is loaded at open.
    if (Status s = exec("PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL; PRAGMA mmap_size=268435456;"); !s.isOk())
        return s;

    Status status;
    QSet<QString> tables;
    {
        Statement st {prepare(QStringLiteral("SELECT name FROM sqlite_master WHERE type='table'"), status)};
        if (!st.s)
            return status;
        while (sqlite3_step(st.s) == SQLITE_ROW)
            tables.insert(textColumn(st.s, 0));
    }
    if (!tables.isEmpty() && !tables.contains(QStringLiteral("vyro_store")))
        return Status::corruption(QStringLiteral("%1 is an SQLite file but not a Vyro data file").arg(m_path));

    if (Status s = exec("BEGIN IMMEDIATE"); !s.isOk())
        return s;
    auto fail = [this](Status s) {
        exec("ROLLBACK");
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
        if (!st.s)
            return fail(status);
        if (sqlite3_step(st.s) != SQLITE_ROW)
            return fail(Status::corruption(QStringLiteral("%1 has no store identifier").arg(m_path)));
        m_uuid = textColumn(st.s, 0);
        format = sqlite3_column_int(st.s, 1);
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
            if (!st.s)
                return fail(status);
            while (sqlite3_step(st.s) == SQLITE_ROW)
                existing.insert(textColumn(st.s, 1));
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
    blocks.assign(packed.attributes().size(), {});
    Status status;
    Statement st {prepare(QStringLiteral("SELECT attribute, block, data FROM vyro_packed WHERE entity = ?1"), status)};
    if (!st.s)
        return status;
    const QByteArray name = entity.name().toUtf8();
    sqlite3_bind_text(st.s, 1, name.constData(), int(name.size()), SQLITE_TRANSIENT);
    int rc;
    while ((rc = sqlite3_step(st.s)) == SQLITE_ROW) {
        const QString attributeName = textColumn(st.s, 0);
        const int attribute = entity.attributeIndex(attributeName);
        const int index = attribute < 0 ? -1 : packed.indexOf(attribute);
        // Values of an attribute the model no longer packs (or no longer has) are not read.
        if (index < 0)
            continue;
        const qint64 block = sqlite3_column_int64(st.s, 1);
        auto stored = PackedBlock::decode(sqlite3_column_blob(st.s, 2), sqlite3_column_bytes(st.s, 2));
        if (!stored || block < 0 || block > PackedBlock::blockOfKey(maxKey))
            return Status::corruption(QStringLiteral("%1: the stored %2 of %3 block %4 are damaged").arg(m_path, attributeName, entity.name()).arg(block));
        auto& list = blocks[size_t(index)];
        if (size_t(block) >= list.size())
            list.resize(size_t(block) + 1);
        list[size_t(block)] = *stored;
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
    sqlite3_stmt* st = values.isEmpty() ? m_removeBlock : m_writeBlock;
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
        if (!st.s)
            return status;
        PackedBlock values;
        qint64 block = -1;
        int rc;
        while ((rc = sqlite3_step(st.s)) == SQLITE_ROW) {
            const qint64 key = sqlite3_column_int64(st.s, 0);
            if (PackedBlock::blockOfKey(key) != block) {
                if (block >= 0)
                    if (Status s = writePacked(entity, attribute, block, values); !s.isOk())
                        return s;
                values = PackedBlock();
                block = PackedBlock::blockOfKey(key);
            }
            values.set(int(key - PackedBlock::firstKey(block)), Value::integer(sqlite3_column_int64(st.s, 1)));
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
        if (!st.s)
            return status;
        while (sqlite3_step(st.s) == SQLITE_ROW)
            if (const EntityDescription* e = m_model.entity(textColumn(st.s, 0)))
                context.recordsOf(*e).maxKey = sqlite3_column_int64(st.s, 1);
    }

    for (const auto& entityPtr : m_model.entities()) {
        const EntityDescription& entity = *entityPtr;
        const std::vector<StoredColumn> columns = storedColumns(entity);
        Statement st {prepare(QStringLiteral("SELECT pk, %1 FROM %2 ORDER BY pk").arg(columnList(columns), quoted(entity.name())), status)};
        if (!st.s)
            return status;
        auto& bucket = context.recordsOf(entity);
        // Keys are dense, so the highest key is a good guess at the number of rows.
        bucket.byKey.reserve(size_t(bucket.maxKey));
        bucket.records.reserve(size_t(bucket.maxKey));
        links.reserve(links.size() + size_t(bucket.maxKey) * size_t(entity.toOneCount()));
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
        int rc;
        while ((rc = sqlite3_step(st.s)) == SQLITE_ROW) {
            const qint64 key = sqlite3_column_int64(st.s, 0);
            Record* record = context.adopt(entity.makeRecord(), key);
            record->m_savedInStore = true;
            for (size_t c = 0; c < columns.size(); ++c) {
                const int column = int(c) + 1;
                if (columns[c].relationship < 0)
                    record->loadValue(columns[c].bit, valueColumn(st.s, column, entity.attributes()[size_t(columns[c].bit)].type));
                else if (sqlite3_column_type(st.s, column) != SQLITE_NULL)
                    links.push_back({record, columns[c].relationship, sqlite3_column_int64(st.s, column)});
            }
            const auto block = size_t(PackedBlock::blockOfKey(key));
            for (size_t i = 0; i < packedBlocks.size(); ++i) {
                if (block >= packedBlocks[i].size())
                    continue;
                Value v = packedBlocks[i][block].value(int(key - PackedBlock::firstKey(qint64(block))));
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
        bucket.maxKey = std::max(bucket.maxKey, bucket.byKey.empty() ? 0 : bucket.records.back()->primaryKey());
    }

    for (const PendingLink& link : links) {
        const auto& rel = link.record->entity().relationships()[size_t(link.relationship)];
        const auto& targets = context.recordsOf(*rel.destination).byKey;
        auto it = targets.find(link.targetKey);
        // A link to a row that is gone reads as no link rather than failing the whole file.
        if (it != targets.end())
            link.record->linkToOne(link.relationship, it->second);
    }
    return Status::ok();
}

QVariantMap SqliteStore::metadata() const
{
    QVariantMap out;
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(m_db, "SELECT key, value FROM vyro_metadata", -1, &st, nullptr) == SQLITE_OK)
        while (sqlite3_step(st) == SQLITE_ROW)
            out.insert(textColumn(st, 0), variantColumn(st, 1));
    sqlite3_finalize(st);
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
        for (auto it = metadata.begin(); st.s && it != metadata.end(); ++it) {
            if (it.key() == QLatin1String(kStoreUUIDKey))
                continue;
            const QByteArray key = it.key().toUtf8();
            sqlite3_bind_text(st.s, 1, key.constData(), int(key.size()), SQLITE_TRANSIENT);
            const QVariant& v = it.value();
            if (v.typeId() == QMetaType::Int || v.typeId() == QMetaType::LongLong || v.typeId() == QMetaType::Bool)
                sqlite3_bind_int64(st.s, 2, v.toLongLong());
            else if (v.typeId() == QMetaType::Double)
                sqlite3_bind_double(st.s, 2, v.toDouble());
            else {
                const QByteArray text = v.toString().toUtf8();
                sqlite3_bind_text(st.s, 2, text.constData(), int(text.size()), SQLITE_TRANSIENT);
            }
            if (sqlite3_step(st.s) != SQLITE_DONE) {
                status = error(QStringLiteral("Writing the metadata of %1").arg(m_path));
                break;
            }
            sqlite3_reset(st.s);
        }
    }
    if (!status.isOk()) {
        exec("ROLLBACK");
        return status;
    }
    return exec("COMMIT");
}

Result<QVariantMap> SqliteStore::metadataForStoreAt(const QString& path)
{
    if (!QFileInfo::exists(path))
        return Status::notFound(QStringLiteral("No data file at %1").arg(path));
    sqlite3* db = nullptr;
    const int rc = sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr);
    QVariantMap out;
    Status status;
    sqlite3_stmt* st = nullptr;
    if (rc != SQLITE_OK) {
        status = Status::ioError(QStringLiteral("Cannot read %1").arg(path));
    } else if (sqlite3_prepare_v2(db, "SELECT name FROM sqlite_master WHERE type='table' AND name='vyro_metadata'", -1, &st, nullptr) != SQLITE_OK) {
        status = Status::corruption(QStringLiteral("%1 is not an SQLite file: %2").arg(path, QString::fromUtf8(sqlite3_errmsg(db))));
    } else {
        const bool hasMetadata = sqlite3_step(st) == SQLITE_ROW;
        sqlite3_finalize(st);
        st = nullptr;
        if (hasMetadata && sqlite3_prepare_v2(db, "SELECT key, value FROM vyro_metadata", -1, &st, nullptr) == SQLITE_OK)
            while (sqlite3_step(st) == SQLITE_ROW)
                out.insert(textColumn(st, 0), variantColumn(st, 1));
        sqlite3_finalize(st);
        st = nullptr;
        if (hasMetadata && sqlite3_prepare_v2(db, "SELECT uuid FROM vyro_store WHERE id = 1", -1, &st, nullptr) == SQLITE_OK
            && sqlite3_step(st) == SQLITE_ROW)
            out.insert(QLatin1String(kStoreUUIDKey), textColumn(st, 0));
    }
    sqlite3_finalize(st);
    sqlite3_close(db);
    if (!status.isOk())
        return status;
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
            return statement;
    QStringList assignments;
    for (const StoredColumn& c : storedColumns(entity))
        if (columns & (std::uint64_t(1) << c.bit))
            assignments << quoted(c.name) + QStringLiteral(" = ?");
    sqlite3_stmt* statement = prepare(QStringLiteral("UPDATE %1 SET %2 WHERE pk = ?").arg(quoted(entity.name()), assignments.join(QStringLiteral(", "))), status);
    if (statement)
        statements.updates.emplace_back(columns, statement);
    return statement;
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
        exec("PRAGMA cache_size=-65536");
    struct RestoreCache {
        SqliteStore* store;
        bool active;
        ~RestoreCache()
        {
            if (active)
                store->exec("PRAGMA cache_size=-2000");
        }
    } restoreCache {this, large};
    if (Status s = exec("BEGIN IMMEDIATE"); !s.isOk())
        return s;
    bool ok = true;
    for (Record* r : changes.inserted) {
        Statements* st = statementsFor(r->entity());
        if (!(ok = st != nullptr))
            break;
        sqlite3_bind_int64(st->insert, 1, r->primaryKey());
        bindColumns(st->insert, *r, ~std::uint64_t(0), 2);
        if (!(ok = run(st->insert, *r)))
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
        sqlite3_bind_int64(st->remove, 1, r->primaryKey());
        ok = run(st->remove, *r);
    }
    if (ok)
        ok = (status = savePacked(context)).isOk();
    if (ok && !changes.maxKeys.empty()) {
        Statement st {prepare(QStringLiteral("INSERT OR REPLACE INTO vyro_keys(entity, maxkey) VALUES (?, ?)"), status)};
        ok = st.s != nullptr;
        for (size_t i = 0; ok && i < changes.maxKeys.size(); ++i) {
            const QByteArray name = changes.maxKeys[i].first->name().toUtf8();
            sqlite3_bind_text(st.s, 1, name.constData(), int(name.size()), SQLITE_TRANSIENT);
            sqlite3_bind_int64(st.s, 2, changes.maxKeys[i].second);
            ok = sqlite3_step(st.s) == SQLITE_DONE;
            if (!ok)
                status = error(QStringLiteral("Saving %1").arg(m_path));
            sqlite3_reset(st.s);
        }
    }
    if (ok)
        ok = (status = exec("COMMIT")).isOk();
    if (!ok) {
        exec("ROLLBACK");
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
