#include "app/storemigrator.h"

#include "model/absentflags.h"
#include "model/datamodel.h"
#include "model/naturaldatereader.h"
#include "store/log.h"
#include "store/objectcontext.h"
#include "store/objecturi.h"
#include "store/recorddocument.h"
#include "store/sqlitestore.h"
#include "store/status.h"
#include "store/xmlstore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <sqlite3.h>

#include <memory>
#include <vector>

namespace {

// How a column of the 1.0 file is read. A value of another kind than the column's (the old program
// never wrote one) reads as absent, so that one odd cell cannot stop the new file from being written.
enum class Kind { Bool, Integer, String, Date, Key };

struct Column {
    const char* name;
    Kind kind;
};

struct OldRow {
    qint64 pk = 0;
    std::vector<Value> values; // in the order of the columns asked for
    const Value& operator[](size_t i) const { return values[i]; }
};

Value readCell(sqlite3_stmt* s, int column, Kind kind)
{
    const int type = sqlite3_column_type(s, column);
    if (type == SQLITE_NULL)
        return {};
    switch (kind) {
    case Kind::Bool:
        return type == SQLITE_INTEGER ? Value::boolean(sqlite3_column_int64(s, column) != 0) : Value();
    case Kind::Integer:
    case Kind::Key:
        return type == SQLITE_INTEGER ? Value::integer(sqlite3_column_int64(s, column)) : Value();
    case Kind::Date:
        return type == SQLITE_INTEGER ? Value::dateFromMSecs(sqlite3_column_int64(s, column)) : Value();
    case Kind::String:
        if (type != SQLITE_TEXT)
            return {};
        return Value::string(QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(s, column)),
                                               sqlite3_column_bytes(s, column)));
    }
    return {};
}

// The 1.0 file, read only.
class OldStore {
public:
    explicit OldStore(const QString& path)
    {
        sqlite3* db = nullptr;
        sqlite3_open_v2(QFile::encodeName(path).constData(), &db, SQLITE_OPEN_READONLY, nullptr);
        m_db.reset(db);
    }

    // Whether the file is of the current layout, whose store table has a format column: such a file is
    // never of 1.0, even without the version mark (a start that stopped between making and marking it,
    // a file written by the program's own tools).
    bool hasCurrentLayout() const
    {
        sqlite3_stmt* raw = nullptr;
        if (!m_db || sqlite3_prepare_v2(m_db.get(), "SELECT format FROM vyro_store", -1, &raw, nullptr) != SQLITE_OK)
            return false;
        sqlite3_finalize(raw);
        return true;
    }

    // Every row of `table` with the given columns, ordered by `orderBy` and then by key. Fails when the
    // table or a column is missing or a row cannot be read.
    Result<std::vector<OldRow>> fetch(const char* table, const std::vector<Column>& columns, const char* orderBy = nullptr) const
    {
        QStringList names{QStringLiteral("pk")};
        for (const Column& c : columns)
            names << QStringLiteral("[%1]").arg(QLatin1String(c.name));
        // Brackets, not double quotes: SQLite reads a double-quoted name that is no column as a text,
        // which would hide a missing column.
        QString sql = QStringLiteral("SELECT %1 FROM [%2] ORDER BY ").arg(names.join(QStringLiteral(", ")), QLatin1String(table));
        if (orderBy)
            sql += QStringLiteral("[%1], ").arg(QLatin1String(orderBy));
        sql += QStringLiteral("pk");
        sqlite3_stmt* raw = nullptr;
        const QByteArray utf8 = sql.toUtf8();
        if (!m_db || sqlite3_prepare_v2(m_db.get(), utf8.constData(), int(utf8.size()), &raw, nullptr) != SQLITE_OK)
            return failure();
        const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(raw, &sqlite3_finalize);
        std::vector<OldRow> rows;
        int rc;
        while ((rc = sqlite3_step(raw)) == SQLITE_ROW) {
            OldRow row;
            row.pk = sqlite3_column_int64(raw, 0);
            for (size_t i = 0; i < columns.size(); ++i)
                row.values.push_back(readCell(raw, int(i) + 1, columns[i].kind));
            rows.push_back(std::move(row));
        }
        if (rc != SQLITE_DONE)
            return failure();
        return rows;
    }

private:
    Status failure() const
    {
        return Status::ioError(m_db ? QString::fromUtf8(sqlite3_errmsg(m_db.get())) : QStringLiteral("no file"));
    }
    std::unique_ptr<sqlite3, int (*)(sqlite3*)> m_db{nullptr, &sqlite3_close};
};

QString documentId(QChar entity, qint64 pk)
{
    return entity + QString::number(pk);
}

void set(DocumentRecord& record, const char* key, const Value& value)
{
    if (!value.isNull())
        record.attributes.emplace_back(QString::fromLatin1(key), value);
}

void link(DocumentRecord& record, const char* relationship, const QString& id)
{
    record.relationships.emplace_back(QString::fromLatin1(relationship), id);
}

bool isTrue(const Value& v)
{
    return v.isIntegral() && v.integral() != 0;
}

struct Migration {
    const OldStore& old;
    QString oldUUID;
    QDateTime now;
    RecordDocument document;
    QHash<qint64, QString> contexts; // old key -> id in the document
    QHash<qint64, QString> projects;

    QString oldURI(const char* entity, qint64 pk) const
    {
        return formatObjectURI(oldUUID, QString::fromLatin1(entity), pk);
    }

    DocumentRecord& add(const char* entity, const QString& id)
    {
        DocumentRecord& record = document.records.emplace_back();
        record.entity = QString::fromLatin1(entity);
        record.id = id;
        record.location = id;
        return record;
    }

    // A 1.0 context tree comes out flat: the parents are not read.
    void migrateContexts()
    {
        auto rows = old.fetch("context", {{"name", Kind::String}, {"isInbox", Kind::Bool}, {"specialIndex", Kind::Integer}, {"synchronizable", Kind::Bool}});
        if (!rows) {
            logLine(QStringLiteral("error migrating contexts..."));
            return;
        }
        for (const OldRow& row : *rows) {
            const QString id = documentId(u'c', row.pk);
            DocumentRecord& context = add("context", id);
            set(context, "name", row[0]);
            set(context, "isInbox", row[1]);
            set(context, "specialIndex", row[2]);
            set(context, "synchronizable", row[3]);
            set(context, "syncID", Value::string(oldURI("context", row.pk)));
            contexts.insert(row.pk, id);
        }
    }

    // The project's path name is not copied: here it follows from the name and the parent, which the
    // second pass restores.
    void migrateProjects()
    {
        auto rows = old.fetch("project", {{"name", Kind::String}, {"content", Kind::String}, {"defaultTags", Kind::String},
                                          {"defaultContext", Kind::Key}, {"parentProject", Kind::Key}});
        if (!rows) {
            logLine(QStringLiteral("error migrating projects..."));
            return;
        }
        QHash<qint64, size_t> index;
        QHash<qint64, qint64> parents;
        for (const OldRow& row : *rows) {
            const QString id = documentId(u'p', row.pk);
            index.insert(row.pk, document.records.size());
            DocumentRecord& project = add("project", id);
            set(project, "name", row[0]);
            set(project, "completed", Value::boolean(false));
            set(project, "hasSingleTasks", Value::boolean(false));
            set(project, "content", row[1]);
            set(project, "defaultTags", row[2]);
            if (row[3].isIntegral() && contexts.contains(row[3].integral()))
                link(project, "defaultContext", contexts.value(row[3].integral()));
            projects.insert(row.pk, id);
            if (row[4].isIntegral())
                parents.insert(row.pk, row[4].integral());
        }
        // Second pass: the parents, once every project exists. A parent that would close a loop is left
        // out, since a tree with a loop could not be stored.
        QHash<qint64, qint64> linked;
        for (const OldRow& row : *rows) {
            const qint64 parent = parents.value(row.pk, -1);
            if (!projects.contains(parent) || parent == row.pk)
                continue;
            bool loop = false;
            for (qint64 up = parent; linked.contains(up) && !loop; up = linked.value(up))
                loop = linked.value(up) == row.pk;
            if (loop)
                continue;
            linked.insert(row.pk, parent);
            link(document.records[index.value(row.pk)], "parentProject", projects.value(parent));
        }
    }

    void migrateTasks()
    {
        auto rows = old.fetch("task",
                              {{"name", Kind::String}, {"content", Kind::String}, {"contact", Kind::String}, {"tags", Kind::String},
                               {"url", Kind::String}, {"waitingFor", Kind::Bool}, {"maybe", Kind::Bool}, {"priority", Kind::Integer},
                               {"done", Kind::Bool}, {"completionDate", Kind::Date}, {"nextAction", Kind::Bool}, {"dueDate", Kind::Date},
                               {"recurMode", Kind::Integer}, {"recurNumber", Kind::Integer}, {"parentContext", Kind::Key},
                               {"parentProject", Kind::Key}},
                              "priority");
        if (!rows) {
            logLine(QStringLiteral("error migrating tasks..."));
            return;
        }
        const auto today = dateWithNaturalLanguageString(QStringLiteral("Today"), now);
        for (const OldRow& row : *rows) {
            DocumentRecord& task = add("task", documentId(u't', row.pk));
            set(task, "name", row[0]);
            set(task, "content", row[1]);
            set(task, "contact", row[2]);
            set(task, "tags", row[3]);
            set(task, "url", row[4]);
            set(task, "waitingFor", row[5]);
            set(task, "maybe", row[6]);
            set(task, "priority", row[7]);
            set(task, "archived", Value::boolean(false));
            set(task, "delegated", Value::boolean(false));
            set(task, "effort", Value::integer(1));
            if (isTrue(row[8])) {
                set(task, "done", Value::boolean(true));
                set(task, "cleanedUp", Value::boolean(true));
                set(task, "completionDate", row[9]);
            } else {
                set(task, "done", Value::boolean(false));
            }
            set(task, "nextAction", row[10]);
            set(task, "dueDate", row[11]);
            if (row[13].isIntegral() && row[13].integral() > 0) {
                if (today)
                    set(task, "startDate", Value::date(*today));
                set(task, "recurMode", row[12]);
                set(task, "recurNumber", row[13]);
                set(task, "recurType", Value::integer(0));
            }
            set(task, "syncID", Value::string(oldURI("task", row.pk)));
            if (row[14].isIntegral() && contexts.contains(row[14].integral()))
                link(task, "parentContext", contexts.value(row[14].integral()));
            if (row[15].isIntegral() && projects.contains(row[15].integral()))
                link(task, "parentProject", projects.value(row[15].integral()));
        }
    }

    void migrateSmartFolders()
    {
        auto rows = old.fetch("smartFolder", {{"name", Kind::String}, {"isAllPending", Kind::Bool}, {"isNextAction", Kind::Bool},
                                              {"includeOverdueTasks", Kind::Bool}, {"dueDateDaysNumber", Kind::Integer},
                                              {"tags", Kind::String}, {"tagsQueryMode", Kind::Integer}});
        if (!rows) {
            logLine(QStringLiteral("error migrating smart folders..."));
            return;
        }
        const char* keys[] = {"name", "isAllPending", "isNextAction", "includeOverdueTasks", "dueDateDaysNumber", "tags", "tagsQueryMode"};
        for (const OldRow& row : *rows) {
            DocumentRecord& folder = add("smartFolder", documentId(u's', row.pk));
            for (size_t i = 0; i < std::size(keys); ++i)
                set(folder, keys[i], row[i]);
        }
    }
};

} // namespace

void StoreMigrator::migrateStore(const QString& dataFilePath, const QDateTime& now)
{
    if (!QFileInfo::exists(dataFilePath))
        return;
    const auto metadata = SqliteStore::metadataForStoreAt(dataFilePath);
    if (!metadata || metadata->contains(QString::fromLatin1(kStoreVersionKey)) || OldStore(dataFilePath).hasCurrentLayout())
        return;

    logLine(QStringLiteral(":: Migrating the store to 1.1 version."));
    logLine(QStringLiteral(":: Create a backup of old store."));
    const QString backup = QFileInfo(dataFilePath).dir().filePath(QString::fromLatin1(kMigratedBackupName));
    QFile::remove(backup);
    QFile::copy(dataFilePath, backup);
    QFile::remove(dataFilePath);
    QFile::remove(dataFilePath + QStringLiteral("-journal"));

    logLine(QStringLiteral(":: Initalize models..."));
    const auto model = managedObjectModel();

    logLine(QStringLiteral(":: Open old store..."));
    const OldStore old(backup);
    Migration migration{old, metadata->value(QString::fromLatin1(SqliteStore::kStoreUUIDKey)).toString(), now, {}, {}, {}};

    logLine(QStringLiteral(":: Create a new store..."));
    logLine(QStringLiteral(":: Migrate entities..."));
    logLine(QStringLiteral(":: 1. Migrate contexts..."));
    migration.migrateContexts();
    logLine(QStringLiteral(":: 2. Migrate projects..."));
    migration.migrateProjects();
    logLine(QStringLiteral(":: 3. Migrate tasks..."));
    migration.migrateTasks();
    logLine(QStringLiteral(":: 4. Migrate smart folders..."));
    migration.migrateSmartFolders();

    logLine(QStringLiteral(":: Close both stores..."));
    // The new file is written beside the data file and renamed into place, whole and already marked.
    const Status written = writeSqliteStore(migration.document, dataFilePath, model,
                                            [](ObjectContext& context, const std::vector<Record*>& records) {
                                                adoptLoadedRecords(context, records);
                                                static_cast<void>(context.setMetadata(
                                                    {{QString::fromLatin1(kStoreVersionKey), QString::fromLatin1(kStoreVersion)}}));
                                            });
    if (!written.isOk())
        logLine(QStringLiteral("The migrated store could not be written: %1").arg(written.message()));
}

int StoreMigrator::repairCurrentStore(ObjectContext& context)
{
    return repairAbsentFlags(context);
}
