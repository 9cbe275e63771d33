#include "support/storefixture.h"

#include "store/packedblock.h"

#include <QCryptographicHash>
#include <QFile>

#include <sqlite3.h>

#include <limits>

namespace {

// Runs SQL on the data file while no context holds it; answers the first column of the first row.
QVariant sql(const QString& file, const char* statement)
{
    sqlite3* db = nullptr;
    EXPECT_EQ(sqlite3_open(file.toUtf8().constData(), &db), SQLITE_OK);
    sqlite3_stmt* st = nullptr;
    QVariant out;
    if (sqlite3_prepare_v2(db, statement, -1, &st, nullptr) == SQLITE_OK) {
        int rc;
        while ((rc = sqlite3_step(st)) == SQLITE_ROW)
            if (!out.isValid())
                out = qint64(sqlite3_column_int64(st, 0));
        EXPECT_EQ(rc, SQLITE_DONE) << statement << ": " << sqlite3_errmsg(db);
    } else {
        ADD_FAILURE() << statement << ": " << sqlite3_errmsg(db);
    }
    sqlite3_finalize(st);
    sqlite3_close(db);
    return out;
}

QByteArray fileHash(const QString& file)
{
    QFile f(file);
    f.open(QIODevice::ReadOnly);
    return QCryptographicHash::hash(f.readAll(), QCryptographicHash::Sha256);
}

} // namespace

TEST(PackedBlockTest, EncodesInTheNarrowestWidthAndRefusesOtherLengths)
{
    constexpr int bitmap = PackedBlock::kSlots / 8;
    struct Case {
        const char* what;
        std::vector<std::pair<int, qint64>> values;
        int size;
    };
    const Case cases[] = {
        {"empty", {}, bitmap + 4 * PackedBlock::kSlots},
        {"small positions", {{0, 1}, {1, 2}, {255, 70000}}, bitmap + 4 * PackedBlock::kSlots},
        {"zero and negatives", {{3, 0}, {4, -5}, {5, std::numeric_limits<qint32>::min()}}, bitmap + 4 * PackedBlock::kSlots},
        {"one value past 32 bits", {{7, 1}, {200, qint64(std::numeric_limits<qint32>::max()) + 1}}, bitmap + 8 * PackedBlock::kSlots},
        {"extremes", {{0, std::numeric_limits<qint64>::min()}, {1, std::numeric_limits<qint64>::max()}}, bitmap + 8 * PackedBlock::kSlots},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        PackedBlock block;
        for (const auto& [slot, v] : c.values)
            block.set(slot, Value::integer(v));
        const QByteArray encoded = block.encode();
        EXPECT_EQ(encoded.size(), c.size);
        const auto decoded = PackedBlock::decode(encoded.constData(), int(encoded.size()));
        ASSERT_TRUE(decoded);
        for (int slot = 0; slot < PackedBlock::kSlots; ++slot)
            EXPECT_EQ(decoded->value(slot), block.value(slot)) << slot;
        EXPECT_EQ(decoded->isEmpty(), c.values.empty());
    }
    for (int size : {0, 1, bitmap, bitmap + 4 * PackedBlock::kSlots - 1, bitmap + 4 * PackedBlock::kSlots + 1})
        EXPECT_FALSE(PackedBlock::decode(QByteArray(size, '\0').constData(), size)) << size;
}

using PackedValuesTest = StoreFixture;

TEST_F(PackedValuesTest, PositionsLiveInBlocksAndSurviveEveryKindOfChange)
{
    Context* home = newContext(QStringLiteral("Home"));
    // Over three blocks; some without a position, some far past 32 bits, some negative.
    for (int i = 0; i < 600; ++i) {
        Task* t = newTask(QStringLiteral("t%1").arg(i), home);
        if (i % 7 != 0)
            t->setPositionInContext(i % 11 == 0 ? qint64(5'000'000'000) + i : i % 13 == 0 ? -i : i);
        if (i % 5 == 0)
            t->setPositionInProject(i);
    }
    auto expected = [&] {
        QStringList out;
        for (Record* r : context->allObjects(QStringLiteral("task")))
            out << QStringLiteral("%1:%2:%3").arg(r->valueForKey(u"name").toString(), r->valueForKey(u"positionInContext").toVariant().toString(),
                                                   r->valueForKey(u"positionInProject").toVariant().toString());
        return out;
    };
    save();
    QStringList before = expected();
    reopen();
    EXPECT_EQ(expected(), before);

    // Only positions change: the task rows stay as they are, the blocks carry the change.
    auto byName = [&](int i) { return fetch<Task>(QStringLiteral("task"), QStringLiteral("name == %@"), {QStringLiteral("t%1").arg(i)}).front(); };
    byName(3)->setPositionInContext(42);
    byName(300)->setPrimitiveValue(Task::Attr::positionInContext, Value());
    byName(599)->setPositionInProject(7);
    EXPECT_TRUE(context->hasChanges());
    save();
    EXPECT_FALSE(context->hasChanges());
    before = expected();
    // Deleted tasks leave their blocks; a new task past the last block starts a new one.
    context->deleteObject(byName(10));
    context->deleteObject(byName(511));
    Task* late = newTask(QStringLiteral("late"), fetch<Context>(QStringLiteral("context"), QStringLiteral("name == 'Home'")).front());
    late->setPositionInContext(9);
    save();
    before = expected();
    reopen();
    EXPECT_EQ(expected(), before);
    EXPECT_EQ(context->countForEntity(QStringLiteral("task")), 599);

    // Undoing the deletion after the save brings the positions back with the task.
    byName(20)->setPositionInContext(1000);
    context->processPendingChanges();
    context->deleteObject(byName(20));
    context->processPendingChanges();
    save();
    context->undo();
    save();
    before = expected();
    reopen();
    EXPECT_EQ(expected(), before);
    EXPECT_EQ(byName(20)->positionInContext(), 1000);

    context.reset();
    EXPECT_EQ(sql(dataFilePath(), "SELECT count(*) FROM pragma_table_info('task') WHERE name LIKE 'position%'").toInt(), 0);
    EXPECT_EQ(sql(dataFilePath(), "SELECT count(*) FROM vyro_packed WHERE entity = 'task'").toInt(), 2 * 3);
}

TEST_F(PackedValuesTest, AnOlderFileHasItsPositionsMovedOutOfTheTaskRows)
{
    Context* home = newContext(QStringLiteral("Home"));
    for (int i = 1; i <= 300; ++i) {
        Task* t = newTask(QStringLiteral("t%1").arg(i), home);
        if (i != 150)
            t->setPositionInContext(301 - i);
    }
    save();
    context.reset();
    // The layout of the first files: positions in columns of the task table, no block table.
    sql(dataFilePath(), "ALTER TABLE task ADD COLUMN positionInContext INTEGER");
    sql(dataFilePath(), "ALTER TABLE task ADD COLUMN positionInProject INTEGER");
    sql(dataFilePath(), "ALTER TABLE task ADD COLUMN cleanedUp INTEGER");
    sql(dataFilePath(), "UPDATE task SET positionInContext = 301 - pk WHERE pk <> 150");
    sql(dataFilePath(), "UPDATE task SET cleanedUp = pk % 3 = 0 WHERE pk > 10");
    sql(dataFilePath(), "DROP TABLE vyro_packed");
    sql(dataFilePath(), "UPDATE vyro_store SET format = 1");

    reopen();
    for (Record* r : context->allObjects(QStringLiteral("task"))) {
        const auto* t = static_cast<Task*>(r);
        if (t->name() == QStringLiteral("t150"))
            EXPECT_TRUE(t->primitiveValue(Task::Attr::positionInContext).isNull());
        else
            EXPECT_EQ(t->positionInContext(), 301 - t->name().mid(1).toInt()) << t->name();
        EXPECT_TRUE(t->primitiveValue(Task::Attr::positionInProject).isNull());
        const int key = t->name().mid(1).toInt();
        EXPECT_EQ(t->primitiveValue(Task::Attr::cleanedUp), key > 10 ? Value::boolean(key % 3 == 0) : Value()) << t->name();
    }
    context.reset();
    EXPECT_EQ(sql(dataFilePath(), "SELECT format FROM vyro_store").toInt(), 2);
    EXPECT_EQ(sql(dataFilePath(), "SELECT count(*) FROM pragma_table_info('task') WHERE name LIKE 'position%' OR name = 'cleanedUp'").toInt(), 0);
}

TEST_F(PackedValuesTest, ADamagedBlockIsReportedAndTheFileLeftAlone)
{
    newTask(QStringLiteral("t"), newContext(QStringLiteral("Home")))->setPositionInContext(1);
    save();
    context.reset();
    sql(dataFilePath(), "UPDATE vyro_packed SET data = x'0102'");
    const QByteArray before = fileHash(dataFilePath());

    ObjectContext other(managedObjectModel());
    const Status s = other.addSqliteStore(dataFilePath());
    EXPECT_EQ(s.code(), Status::Code::Corruption) << s;
    EXPECT_TRUE(s.message().contains(QStringLiteral("packed block 0 of task.positionInContext does not decode"))) << s;
    EXPECT_FALSE(other.hasStore());
    EXPECT_EQ(fileHash(dataFilePath()), before);
}
