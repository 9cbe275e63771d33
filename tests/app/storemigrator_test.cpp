#include "app/storemigrator.h"
#include "model/datamodel.h"
#include "store/entitydescription.h"
#include "store/objectcontext.h"
#include "store/record.h"
#include "store/sqlitestore.h"
#include "support/logcapture.h"
#include "support/storefixture.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sqlite3.h>

namespace {

const QString kOldUUID = QStringLiteral("0A1B2C3D-1111-2222-3333-444455556666");

// A data file of the 1.0 layout as the old program left it (docs/data-file-1.0.md), with a context
// tree, a project tree and tasks of every kind the migration treats differently. Dates are
// milliseconds since the epoch.
const char* kOldFile = R"(
CREATE TABLE vyro_store(id INTEGER PRIMARY KEY CHECK (id = 1), uuid TEXT NOT NULL);
INSERT INTO vyro_store VALUES (1, '0A1B2C3D-1111-2222-3333-444455556666');
CREATE TABLE vyro_metadata(key TEXT PRIMARY KEY, value);
INSERT INTO vyro_metadata VALUES ('NSStoreModelVersionHashes', 'x');
CREATE TABLE context(pk INTEGER PRIMARY KEY, name TEXT, isInbox INTEGER, specialIndex INTEGER, synchronizable INTEGER, parentContext INTEGER);
INSERT INTO context VALUES (1, 'Inbox', 1, 0, 0, NULL), (2, 'Home', 0, 3, 1, NULL), (3, 'Garden', NULL, NULL, NULL, 2);
CREATE TABLE project(pk INTEGER PRIMARY KEY, name TEXT, pathName TEXT, content TEXT, defaultTags TEXT, defaultContext INTEGER, parentProject INTEGER, completed INTEGER);
INSERT INTO project VALUES (1, 'House', 'House', 'notes', 'home', 2, NULL, 1), (2, 'Roof', 'House > Roof', NULL, NULL, 99, 1, 1);
CREATE TABLE task(pk INTEGER PRIMARY KEY, name TEXT, content TEXT, contact TEXT, tags TEXT, url TEXT, waitingFor INTEGER,
  maybe INTEGER, priority INTEGER, done INTEGER, completionDate INTEGER, nextAction INTEGER, dueDate INTEGER,
  recurMode INTEGER, recurNumber INTEGER, recurType INTEGER, startDate INTEGER, parentContext INTEGER, parentProject INTEGER);
INSERT INTO task VALUES
  (1, 'finished', 'c', 'Ann', 't1', 'http://a', 0, 0, 3, 1, 1200000000000, 0, 1300000000000, 0, 0, 2, 1100000000000, 2, 1),
  (2, 'weekly', NULL, NULL, NULL, NULL, 1, 1, 1, 0, 1200000000000, 1, NULL, 2, 7, 3, 1100000000000, 3, 2),
  (3, 'open', NULL, NULL, NULL, NULL, 0, 0, 2, 0, NULL, 0, NULL, 1, 0, 1, NULL, 1, NULL);
CREATE TABLE smartFolder(pk INTEGER PRIMARY KEY, name TEXT, isAllPending INTEGER, isNextAction INTEGER, includeOverdueTasks INTEGER,
  dueDateDaysNumber INTEGER, tags TEXT, tagsQueryMode INTEGER);
INSERT INTO smartFolder VALUES (1, 'Soon', 0, 0, 1, 7, 'a b', 2);
)";

const QStringList kMigrationLog = {":: Migrating the store to 1.1 version.", ":: Create a backup of old store.",
                                   ":: Initalize models...", ":: Open old store...", ":: Create a new store...",
                                   ":: Migrate entities...", ":: 1. Migrate contexts...", ":: 2. Migrate projects...",
                                   ":: 3. Migrate tasks...", ":: 4. Migrate smart folders...", ":: Close both stores..."};

void writeOldFile(const QString& path, const char* extraSql = "")
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(QFile::encodeName(path).constData(), &db), SQLITE_OK);
    char* error = nullptr;
    const int rc = sqlite3_exec(db, (std::string(kOldFile) + extraSql).c_str(), nullptr, nullptr, &error);
    const std::string message = error ? error : "";
    sqlite3_free(error);
    sqlite3_close(db);
    ASSERT_EQ(rc, SQLITE_OK) << message;
}

Record* to(const Record* record, QStringView relationship)
{
    return record->toOne(record->entity().relationshipIndex(relationship));
}

QByteArray digest(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? QCryptographicHash::hash(f.readAll(), QCryptographicHash::Sha256) : QByteArray();
}

class StoreMigratorTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        dataFile = dir.filePath(QStringLiteral("Vyro.sql"));
    }

    // The migrated file, opened as the program opens it.
    void open()
    {
        context = std::make_unique<ObjectContext>(managedObjectModel());
        ASSERT_TRUE(context->addSqliteStore(dataFile).isOk());
    }

    Record* named(const char* entity, const char* name) const
    {
        for (Record* r : context->allObjects(QString::fromLatin1(entity)))
            if (r->valueForKey(u"name") == Value::string(QString::fromLatin1(name)))
                return r;
        return nullptr;
    }

    QTemporaryDir dir;
    QString dataFile;
    QDateTime now = QDateTime(QDate(2026, 3, 10), QTime(15, 30));
    std::unique_ptr<ObjectContext> context;
};

QString oldURI(const char* entity, int pk)
{
    return QStringLiteral("x-coredata://%1/%2/p%3").arg(kOldUUID, QLatin1String(entity)).arg(pk);
}

} // namespace

TEST_F(StoreMigratorTest, OldFileIsKeptAsBackupAndTheNewOneIsMarked)
{
    writeOldFile(dataFile);
    const QByteArray old = digest(dataFile);
    const QStringList log = loggedBy([&] { StoreMigrator::migrateStore(dataFile, now); });
    EXPECT_EQ(log, kMigrationLog);
    EXPECT_EQ(digest(dir.filePath(QStringLiteral("Vyro.sql.migrated.bkp"))), old);
    const auto metadata = SqliteStore::metadataForStoreAt(dataFile);
    ASSERT_TRUE(metadata.isOk());
    EXPECT_EQ(metadata->value(QStringLiteral("VyroStoreVersion")), QStringLiteral("1.1"));

    // The next start finds the mark and touches nothing.
    const QByteArray migrated = digest(dataFile);
    EXPECT_TRUE(loggedBy([&] { StoreMigrator::migrateStore(dataFile, now); }).isEmpty());
    EXPECT_EQ(digest(dataFile), migrated);
    EXPECT_EQ(digest(dir.filePath(QStringLiteral("Vyro.sql.migrated.bkp"))), old);
}

TEST_F(StoreMigratorTest, NoFileOrACurrentFileWithoutTheMarkIsLeftAlone)
{
    EXPECT_TRUE(loggedBy([&] { StoreMigrator::migrateStore(dataFile, now); }).isEmpty());
    EXPECT_FALSE(QFile::exists(dataFile));

    // Made by this program, but never marked (the start stopped before): not an old file.
    {
        ObjectContext store(managedObjectModel());
        ASSERT_TRUE(store.addSqliteStore(dataFile).isOk());
        ASSERT_TRUE(store.insertNewObject(QStringLiteral("context"))->setValueForKey(u"name", Value::string(QStringLiteral("Home"))).isOk());
        ASSERT_TRUE(store.save().isOk());
    }
    ASSERT_FALSE(SqliteStore::metadataForStoreAt(dataFile)->contains(QStringLiteral("VyroStoreVersion")));
    const QByteArray before = digest(dataFile);
    EXPECT_TRUE(loggedBy([&] { StoreMigrator::migrateStore(dataFile, now); }).isEmpty());
    EXPECT_EQ(digest(dataFile), before);
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("Vyro.sql.migrated.bkp"))));
}

TEST_F(StoreMigratorTest, FoldersComeOutFlatWithTheirOldIdentity)
{
    writeOldFile(dataFile);
    StoreMigrator::migrateStore(dataFile, now);
    open();

    struct ContextRow {
        const char* name;
        int pk;
        Value isInbox, specialIndex, synchronizable;
    } contexts[] = {
        {"Inbox", 1, Value::boolean(true), Value::integer(0), Value::boolean(false)},
        {"Home", 2, Value::boolean(false), Value::integer(3), Value::boolean(true)},
        // Absent flags of the old file get a new record's values.
        {"Garden", 3, Value::boolean(false), Value(), Value()},
    };
    for (const auto& row : contexts) {
        SCOPED_TRACE(row.name);
        Record* c = named("context", row.name);
        ASSERT_TRUE(c);
        EXPECT_EQ(c->valueForKey(u"isInbox"), row.isInbox);
        EXPECT_EQ(c->valueForKey(u"specialIndex"), row.specialIndex);
        EXPECT_EQ(c->valueForKey(u"synchronizable"), row.synchronizable);
        EXPECT_EQ(c->valueForKey(u"syncID"), Value::string(oldURI("context", row.pk)));
        EXPECT_EQ(c->valueForKey(u"pathName"), Value::string(QString::fromLatin1(row.name)));
        EXPECT_EQ(to(c, u"parentContext"), nullptr);
    }

    Record* house = named("project", "House");
    Record* roof = named("project", "Roof");
    ASSERT_TRUE(house && roof);
    EXPECT_EQ(to(roof, u"parentProject"), house);
    EXPECT_EQ(to(house, u"defaultContext"), named("context", "Home"));
    EXPECT_EQ(to(roof, u"defaultContext"), nullptr); // the old one named no context
    EXPECT_EQ(roof->valueForKey(u"pathName"), Value::string(QStringLiteral("House > Roof")));
    for (Record* p : {house, roof}) {
        EXPECT_EQ(p->valueForKey(u"completed"), Value::boolean(false));
        EXPECT_EQ(p->valueForKey(u"hasSingleTasks"), Value::boolean(false));
    }
    EXPECT_EQ(house->valueForKey(u"content"), Value::string(QStringLiteral("notes")));
    EXPECT_EQ(house->valueForKey(u"defaultTags"), Value::string(QStringLiteral("home")));

    Record* soon = named("smartFolder", "Soon");
    ASSERT_TRUE(soon);
    EXPECT_EQ(soon->valueForKey(u"includeOverdueTasks"), Value::boolean(true));
    EXPECT_EQ(soon->valueForKey(u"dueDateDaysNumber"), Value::integer(7));
    EXPECT_EQ(soon->valueForKey(u"tags"), Value::string(QStringLiteral("a b")));
    EXPECT_EQ(soon->valueForKey(u"tagsQueryMode"), Value::integer(2));
    EXPECT_EQ(soon->valueForKey(u"isAllPending"), Value::boolean(false));
}

TEST_F(StoreMigratorTest, TasksByKind)
{
    writeOldFile(dataFile);
    StoreMigrator::migrateStore(dataFile, now);
    open();
    const Value today = Value::date(QDateTime(now.date(), QTime(0, 0)));
    const Value absent;

    struct TaskRow {
        const char* name;
        int pk;
        Value done, cleanedUp, completionDate, startDate, recurMode, recurNumber, recurType;
        const char* context;
        const char* project;
    } tasks[] = {
        // Done: done and cleaned up, its completion date kept; no recurrence since recurNumber is 0.
        {"finished", 1, Value::boolean(true), Value::boolean(true), Value::dateFromMSecs(1200000000000), absent, absent, absent,
         absent, "Home", "House"},
        // Recurring: starts today with recurType 0; an open task keeps no completion date.
        {"weekly", 2, Value::boolean(false), Value::boolean(false), absent, today, Value::integer(2), Value::integer(7),
         Value::integer(0), "Garden", "Roof"},
        {"open", 3, Value::boolean(false), Value::boolean(false), absent, absent, absent, absent, absent, "Inbox", nullptr},
    };
    for (const auto& row : tasks) {
        SCOPED_TRACE(row.name);
        Record* t = named("task", row.name);
        ASSERT_TRUE(t);
        EXPECT_EQ(t->valueForKey(u"done"), row.done);
        EXPECT_EQ(t->valueForKey(u"cleanedUp"), row.cleanedUp);
        EXPECT_EQ(t->valueForKey(u"completionDate"), row.completionDate);
        EXPECT_EQ(t->valueForKey(u"startDate"), row.startDate);
        EXPECT_EQ(t->valueForKey(u"recurMode"), row.recurMode);
        EXPECT_EQ(t->valueForKey(u"recurNumber"), row.recurNumber);
        EXPECT_EQ(t->valueForKey(u"recurType"), row.recurType);
        EXPECT_EQ(t->valueForKey(u"archived"), Value::boolean(false));
        EXPECT_EQ(t->valueForKey(u"delegated"), Value::boolean(false));
        EXPECT_EQ(t->valueForKey(u"effort"), Value::integer(1));
        EXPECT_EQ(t->valueForKey(u"syncID"), Value::string(oldURI("task", row.pk)));
        EXPECT_EQ(to(t, u"parentContext"), named("context", row.context));
        EXPECT_EQ(to(t, u"parentProject"), row.project ? named("project", row.project) : nullptr);
    }
    Record* finished = named("task", "finished");
    EXPECT_EQ(finished->valueForKey(u"contact"), Value::string(QStringLiteral("Ann")));
    EXPECT_EQ(finished->valueForKey(u"url"), Value::string(QStringLiteral("http://a")));
    EXPECT_EQ(finished->valueForKey(u"dueDate"), Value::dateFromMSecs(1300000000000));
    Record* weekly = named("task", "weekly");
    EXPECT_EQ(weekly->valueForKey(u"waitingFor"), Value::boolean(true));
    EXPECT_EQ(weekly->valueForKey(u"maybe"), Value::boolean(true));
    EXPECT_EQ(weekly->valueForKey(u"nextAction"), Value::boolean(true));

    // The new keys follow the old priorities, lowest first.
    EXPECT_LT(weekly->primaryKey(), named("task", "open")->primaryKey());
    EXPECT_LT(named("task", "open")->primaryKey(), finished->primaryKey());
}

TEST_F(StoreMigratorTest, UnreadableTableSkipsItsStageOnly)
{
    // A project table without the columns the migration reads.
    writeOldFile(dataFile, "DROP TABLE project; CREATE TABLE project(pk INTEGER PRIMARY KEY, title TEXT);");
    const QStringList log = loggedBy([&] { StoreMigrator::migrateStore(dataFile, now); });
    QStringList expected = kMigrationLog;
    expected.insert(expected.indexOf(":: 3. Migrate tasks..."), QStringLiteral("error migrating projects..."));
    EXPECT_EQ(log, expected);
    open();
    EXPECT_EQ(context->countForEntity(QStringLiteral("project")), 0);
    EXPECT_EQ(context->countForEntity(QStringLiteral("context")), 3);
    EXPECT_EQ(context->countForEntity(QStringLiteral("smartFolder")), 1);
    Record* finished = named("task", "finished");
    ASSERT_TRUE(finished);
    EXPECT_EQ(to(finished, u"parentProject"), nullptr);
    EXPECT_EQ(to(finished, u"parentContext"), named("context", "Home"));
}
