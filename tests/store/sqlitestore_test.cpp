#include "support/storefixture.h"

#include "store/datafilelock.h"
#include "store/sqlitestore.h"

#include <QFile>

#include <sqlite3.h>

using SqliteStoreTest = StoreFixture;

TEST_F(SqliteStoreTest, MetadataIsReadWithoutOpeningTheStore)
{
    ASSERT_TRUE(context->setMetadata({{QStringLiteral("VyroStoreVersion"), QStringLiteral("1.1")}}).isOk());
    // The store is still open and locked: reading the metadata needs neither.
    auto metadata = SqliteStore::metadataForStoreAt(dataFilePath());
    ASSERT_TRUE(metadata.isOk()) << metadata.status();
    EXPECT_EQ(*metadata, QVariantMap({{QStringLiteral("VyroStoreVersion"), QStringLiteral("1.1")},
                                      {QStringLiteral("VyroStoreUUID"), context->storeUUID()}}));

    // Setting metadata replaces all of it but the store's UUID.
    ASSERT_TRUE(context->setMetadata({{QStringLiteral("other"), 7}, {QStringLiteral("VyroStoreUUID"), QStringLiteral("forged")}}).isOk());
    EXPECT_EQ(SqliteStore::metadataForStoreAt(dataFilePath())->keys(), QStringList({"VyroStoreUUID", "other"}));
    reopen();
    EXPECT_EQ(context->metadata().value(QStringLiteral("VyroStoreUUID")).toString(), context->storeUUID());
    EXPECT_EQ(context->metadata().value(QStringLiteral("other")).toInt(), 7);

    EXPECT_TRUE(SqliteStore::metadataForStoreAt(path(QStringLiteral("missing.sql"))).status().isNotFound());
    QFile junk(path(QStringLiteral("junk.sql")));
    ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
    junk.write(QByteArray(4096, 'x'));
    junk.close();
    EXPECT_EQ(SqliteStore::metadataForStoreAt(junk.fileName()).status().code(), Status::Code::Corruption);
}

TEST_F(SqliteStoreTest, FilesThatAreNotDataFilesAreRefusedUntouched)
{
    // Another program's SQLite file.
    const QString foreign = path(QStringLiteral("foreign.sql"));
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(foreign.toUtf8().constData(), &db), SQLITE_OK);
    sqlite3_exec(db, "CREATE TABLE notes(x); INSERT INTO notes VALUES (1);", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    const QByteArray before = [&] { QFile f(foreign); f.open(QIODevice::ReadOnly); return f.readAll(); }();

    ObjectContext other(managedObjectModel());
    Status s = other.addSqliteStore(foreign);
    EXPECT_EQ(s.code(), Status::Code::Corruption) << s;
    QFile f(foreign);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll(), before);

    // Not SQLite at all.
    const QString text = path(QStringLiteral("text.sql"));
    QFile t(text);
    ASSERT_TRUE(t.open(QIODevice::WriteOnly));
    t.write("just some text that is long enough to look like a header of something\n");
    t.close();
    ObjectContext third(managedObjectModel());
    EXPECT_FALSE(third.addSqliteStore(text).isOk());
    EXPECT_FALSE(third.hasStore());
}

TEST_F(SqliteStoreTest, OneOwnerAtATime)
{
    ObjectContext second(managedObjectModel());
    const Status s = second.addSqliteStore(dataFilePath());
    EXPECT_EQ(s.code(), Status::Code::Busy) << s;
    EXPECT_TRUE(s.message().contains(QStringLiteral("in use by another Vyro process")));

    context.reset();
    EXPECT_TRUE(second.addSqliteStore(dataFilePath()).isOk());
}

TEST_F(SqliteStoreTest, AFailedSaveKeepsTheChangesForTheNextTry)
{
    Context* home = newContext(QStringLiteral("Home"));
    save();
    Task* t = newTask(QStringLiteral("pending"), home);

    // Another connection holds the write lock, as a crashed tool or a backup program might.
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(dataFilePath().toUtf8().constData(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    const Status failed = context->save();
    EXPECT_FALSE(failed.isOk());
    EXPECT_TRUE(context->hasChanges());
    sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(db);

    save();
    EXPECT_FALSE(context->hasChanges());
    reopen();
    EXPECT_EQ(namesOf(context->allObjects(QStringLiteral("task"))), QStringList({"pending"}));
    Q_UNUSED(t);
}

TEST_F(SqliteStoreTest, BetweenSavesTheDataFileAloneHoldsEverything)
{
    Context* home = newContext(QStringLiteral("Home"));
    for (int i = 0; i < 50; ++i)
        newTask(QStringLiteral("t%1").arg(i), home);
    save();
    EXPECT_FALSE(QFile::exists(dataFilePath() + QStringLiteral("-journal")));
    EXPECT_FALSE(QFile::exists(dataFilePath() + QStringLiteral("-wal")));

    // A plain copy taken now is a complete data file.
    const QString copy = path(QStringLiteral("copy/Vyro.sql"));
    QDir().mkpath(path(QStringLiteral("copy")));
    ASSERT_TRUE(QFile::copy(dataFilePath(), copy));
    ObjectContext fromCopy(managedObjectModel());
    ASSERT_TRUE(fromCopy.addSqliteStore(copy).isOk());
    EXPECT_EQ(fromCopy.countForEntity(QStringLiteral("task")), 50);
}
