#include "support/storefixture.h"

#include "store/sqlitestore.h"

#include <QCryptographicHash>
#include <QFile>

#include <sqlite3.h>

namespace {

QByteArray fileHash(const QString& file)
{
    QFile f(file);
    f.open(QIODevice::ReadOnly);
    return QCryptographicHash::hash(f.readAll(), QCryptographicHash::Sha256);
}

// Damages a data file that no context holds, as another program or a bad disk might.
void damage(const QString& file, const std::string& statements)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(file.toUtf8().constData(), &db), SQLITE_OK);
    char* message = nullptr;
    const int rc = sqlite3_exec(db, statements.c_str(), nullptr, nullptr, &message);
    EXPECT_EQ(rc, SQLITE_OK) << statements << ": " << (message ? message : "");
    sqlite3_free(message);
    sqlite3_close(db);
}

// A small store: context "Home" (key 1) with task "t" (key 1, packed position 1), project "P" (key 1)
// whose default context is Home.
class DamagedFileTest : public StoreFixture {
protected:
    void SetUp() override
    {
        StoreFixture::SetUp();
        Context* home = newContext(QStringLiteral("Home"));
        Project* project = newProject(QStringLiteral("P"));
        ASSERT_TRUE(project->setRecordForKey(u"defaultContext", home).isOk());
        newTask(QStringLiteral("t"), home)->setPositionInContext(1);
        save();
        context.reset();
    }

    Status openAgain()
    {
        ObjectContext other(managedObjectModel());
        const Status s = other.addSqliteStore(dataFilePath());
        EXPECT_EQ(other.hasStore(), s.isOk());
        return s;
    }
};

TEST_F(DamagedFileTest, DamageIsReportedByWhatItHits)
{
    struct Case {
        const char* damage;
        const char* message;
    };
    const Case cases[] = {
        // The key counter.
        {"UPDATE vyro_keys SET maxkey = 'many' WHERE entity = 'task'", "the key counter of task holds many, not a key"},
        {"UPDATE vyro_keys SET maxkey = -3 WHERE entity = 'task'", "the key counter of task holds -3, not a key"},
        {"UPDATE vyro_keys SET maxkey = 9223372036854775807 WHERE entity = 'context'", "the key counter of context holds 9223372036854775807"},
        {"DELETE FROM vyro_keys WHERE entity = 'task'", "table task, row 1: the key is above the key counter (0)"},
        // Row keys.
        {"UPDATE task SET pk = 7", "table task, row 7: the key is above the key counter (1)"},
        {"UPDATE task SET pk = -1", "table task, row -1: keys begin at 1"},
        // Values of the wrong kind.
        {"UPDATE task SET dueDate = 'tomorrow'", "table task, row 1, column dueDate: text where a date belongs"},
        {"UPDATE task SET name = x'00ff'", "table task, row 1, column name: binary data where text belongs"},
        {"UPDATE task SET done = 2.5", "table task, row 1, column done: a decimal number where a flag belongs"},
        {"UPDATE task SET priority = 'high'", "table task, row 1, column priority: text where a whole number belongs"},
        {"UPDATE task SET dueDate = 1.5", "table task, row 1, column dueDate: a decimal number where a date belongs"},
        {"UPDATE context SET name = x'41'", "table context, row 1, column name: binary data where text belongs"},
        // Links.
        {"UPDATE task SET parentContext = 99", "table task, row 1, column parentContext: no context has the key 99"},
        {"UPDATE task SET parentContext = 'Home'", "table task, row 1, column parentContext: text where a key belongs"},
        {"DELETE FROM context", "column defaultContext: no context has the key 1"},
        {"UPDATE project SET defaultContext = 5", "table project, row 1, column defaultContext: no context has the key 5"},
        // Packed values.
        {"UPDATE vyro_packed SET data = x'0102' WHERE attribute = 'positionInContext'", "the packed block 0 of task.positionInContext does not decode"},
        {"UPDATE vyro_packed SET data = 'text' WHERE attribute = 'positionInContext'", "the packed block 0 of task.positionInContext does not decode"},
        {"UPDATE vyro_packed SET block = 5 WHERE attribute = 'positionInContext'", "the packed block 5 of task.positionInContext lies past the key counter (1)"},
        {"UPDATE vyro_packed SET block = 'first' WHERE attribute = 'positionInContext'", "the packed block first of task.positionInContext has no block number"},
        {"UPDATE vyro_packed SET block = -1 WHERE attribute = 'positionInContext'", "the packed block -1 of task.positionInContext has no block number"},
        // The store's own row.
        {"UPDATE vyro_store SET uuid = ''", "table vyro_store: no store identifier"},
        {"DELETE FROM vyro_store", "table vyro_store: no store identifier"},
        {"UPDATE vyro_store SET format = 'two'", "table vyro_store: the file format is not a version number"},
    };
    const QString pristine = path(QStringLiteral("pristine.sql"));
    ASSERT_TRUE(QFile::copy(dataFilePath(), pristine));
    for (const Case& c : cases) {
        SCOPED_TRACE(c.damage);
        QFile::remove(dataFilePath());
        ASSERT_TRUE(QFile::copy(pristine, dataFilePath()));
        damage(dataFilePath(), c.damage);
        const QByteArray before = fileHash(dataFilePath());
        const Status s = openAgain();
        EXPECT_EQ(s.code(), Status::Code::Corruption) << s;
        EXPECT_TRUE(s.message().startsWith(QStringLiteral("Damaged data file ") + dataFilePath() + QStringLiteral(": "))) << s;
        EXPECT_TRUE(s.message().contains(QLatin1String(c.message))) << s;
        EXPECT_EQ(fileHash(dataFilePath()), before);
    }
}

TEST_F(DamagedFileTest, BrokenPagesAreDamageToo)
{
    QFile f(dataFilePath());
    ASSERT_TRUE(f.open(QIODevice::ReadWrite));
    const qint64 size = f.size();
    ASSERT_GT(size, 3 * 4096);
    // Every page after the first: the schema still reads, the tables do not.
    f.seek(4096);
    f.write(QByteArray(int(size - 4096), '\xa5'));
    f.close();
    const Status s = openAgain();
    EXPECT_EQ(s.code(), Status::Code::Corruption) << s;
    EXPECT_TRUE(s.message().startsWith(QStringLiteral("Damaged data file "))) << s;
}

TEST_F(DamagedFileTest, ACounterFarAboveTheRowsStillLoadsAndHandsOutKeys)
{
    // Legal, if odd: most keys were handed out to records deleted since. Packed values of new records
    // then lie far from the old ones.
    const qint64 high = SqliteStore::kMaxKey - 10;
    damage(dataFilePath(), "UPDATE vyro_keys SET maxkey = " + std::to_string(high) + " WHERE entity = 'task'");
    reopen();
    Task* fresh = newTask(QStringLiteral("fresh"));
    EXPECT_EQ(fresh->primaryKey(), high + 1);
    fresh->setPositionInContext(3);
    save();
    reopen();
    const auto tasks = fetch<Task>(QStringLiteral("task"), QStringLiteral("name == 'fresh'"));
    ASSERT_EQ(tasks.size(), 1u);
    EXPECT_EQ(tasks[0]->primaryKey(), high + 1);
    EXPECT_EQ(tasks[0]->valueForKey(u"positionInContext").toInteger(), 3);
}

} // namespace
