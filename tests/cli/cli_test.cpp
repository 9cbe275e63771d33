// Black-box tests: the real `vyro` binary on temporary data folders.

#include "model/context.h"
#include "model/datamodel.h"
#include "model/project.h"
#include "store/objectcontext.h"
#include "store/datafilelock.h"
#include "store/sqlitestore.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <signal.h>
#include <sqlite3.h>

namespace {

struct CliRun {
    int exitCode = -1;
    QString out;
    QString err;
};

class CliTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(home.isValid()); }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
        return env;
    }

    CliRun vyro(const QStringList& arguments, const QByteArray& input = {})
    {
        QProcess p;
        p.setProcessEnvironment(environment());
        p.start(QStringLiteral(VYRO_BINARY), arguments);
        p.write(input);
        p.closeWriteChannel();
        EXPECT_TRUE(p.waitForFinished(60000));
        return {p.exitCode(), QString::fromUtf8(p.readAllStandardOutput()), QString::fromUtf8(p.readAllStandardError())};
    }

    QString dataDir() const { return home.filePath(QStringLiteral("store")); }
    QString dataFile() const { return dataDir() + QStringLiteral("/Vyro.sql"); }

    QJsonObject dump()
    {
        const CliRun r = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("dump")});
        EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
        return QJsonDocument::fromJson(r.out.toUtf8()).object();
    }

    QString writeFile(const QString& name, const QByteArray& content)
    {
        const QString path = home.filePath(name);
        QFile f(path);
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(content);
        return path;
    }

    QTemporaryDir home;
};

const char* kEverything = R"({
  "contexts": [
    {"uri": "c-home", "name": "Home", "isInbox": false, "specialIndex": 2, "synchronizable": true, "syncID": "s1"},
    {"uri": "c-garden", "name": "Garden", "parentContext": "c-home", "pathName": "Home > Garden"}
  ],
  "projects": [
    {"uri": "p-house", "name": "House", "active": true, "completed": false, "hasSingleTasks": false,
     "defaultTags": "home", "content": "notes", "defaultContext": "c-garden"},
    {"uri": "p-roof", "name": "Roof", "parentProject": "p-house", "active": false}
  ],
  "smartFolders": [
    {"uri": "s-soon", "name": "Soon", "isAllPending": false, "tags": "home,work", "tagsQueryMode": 1,
     "dueDateDaysNumber": 7, "includeOverdueTasks": true, "predicateQuery": "q", "predicateText": "t"}
  ],
  "archiveCategories": [
    {"uri": "a-2026", "name": "2026"},
    {"uri": "a-q4", "name": "Q4", "parentCategory": "a-2026"}
  ],
  "tasks": [
    {"uri": "t-1", "name": "Fix roof", "content": "before winter", "done": false, "cleanedUp": false, "archived": false,
     "nextAction": true, "maybe": false, "waitingFor": false, "delegated": false, "priority": 1, "effort": 3,
     "tags": "home,outside", "contact": "Ann,Bob", "url": "https://example.org#$#file:///tmp/x",
     "startDate": "2026-12-01T09:00:00+01:00", "dueDate": "2026-12-24T17:00:00.250+01:00",
     "completionDate": "2026-11-30T08:00:00Z", "recurMode": 1, "recurNumber": 2, "recurType": 0,
     "newInContext": true, "newInProject": false, "positionInContext": 1, "positionInProject": 1, "syncID": "abc",
     "parentContext": "c-garden", "parentProject": "p-roof"},
    {"uri": "t-2", "name": "Old", "archived": true, "parentContext": "c-home", "parentArchiveCategory": "a-q4"}
  ]
})";

// The dump with URIs replaced by the names of the records they point at, for comparing runs.
QJsonObject byName(QJsonObject dump)
{
    QMap<QString, QString> names;
    for (const QString& array : dump.keys())
        for (const QJsonValue& v : dump.value(array).toArray())
            names.insert(v.toObject().value(QStringLiteral("uri")).toString(), v.toObject().value(QStringLiteral("name")).toString());
    QJsonObject out;
    for (const QString& array : dump.keys()) {
        QJsonArray records;
        for (const QJsonValue& v : dump.value(array).toArray()) {
            QJsonObject o = v.toObject();
            for (const QString& key : o.keys())
                if (o.value(key).toString().startsWith(QStringLiteral("x-coredata://")))
                    o.insert(key, QStringLiteral("->") + names.value(o.value(key).toString()));
            records.append(o);
        }
        out.insert(array, records);
    }
    return out;
}

// Leaves out the Inbox and "All tasks", which every store has.
QJsonObject withoutStartupRecords(QJsonObject dump)
{
    for (const char* array : {"contexts", "smartFolders"}) {
        QJsonArray kept;
        for (const QJsonValue& v : dump.value(QLatin1String(array)).toArray())
            if (!v.toObject().value(QStringLiteral("isInbox")).toBool() && !v.toObject().value(QStringLiteral("isAllPending")).toBool())
                kept.append(v);
        dump.insert(QLatin1String(array), kept);
    }
    return dump;
}

} // namespace

TEST_F(CliTest, AFreshDataFolderGetsAMarkedDataFile)
{
    const CliRun r = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("dump")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    auto metadata = SqliteStore::metadataForStoreAt(dataFile());
    ASSERT_TRUE(metadata.isOk());
    EXPECT_EQ(metadata->value(QStringLiteral("VyroStoreVersion")).toString(), QStringLiteral("1.1"));
    const QJsonObject json = QJsonDocument::fromJson(r.out.toUtf8()).object();
    EXPECT_EQ(json.keys(), QStringList({"archiveCategories", "contexts", "projects", "smartFolders", "tasks"}));
    // The log went to the debug log in the default folder, not to the terminal.
    EXPECT_TRUE(r.err.isEmpty()) << r.err.toStdString();
    QFile log(home.filePath(QStringLiteral("data/Vyro/debug.log")));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(log.readAll()), QStringLiteral("No SQL store..\nLoading SQL store...\nCleaning up tasks at startup...\n"));
    // Every store has its Inbox and "All tasks" from the first run on.
    EXPECT_EQ(json.value(QStringLiteral("contexts")).toArray().size(), 1);
    EXPECT_TRUE(json.value(QStringLiteral("contexts")).toArray()[0].toObject().value(QStringLiteral("isInbox")).toBool());
    EXPECT_EQ(json.value(QStringLiteral("smartFolders")).toArray()[0].toObject().value(QStringLiteral("name")).toString(), QStringLiteral("All tasks"));
}

TEST_F(CliTest, LoadThenDumpGivesEverythingBackWithStableURIs)
{
    const QString file = writeFile(QStringLiteral("everything.json"), kEverything);
    const CliRun load = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), file});
    ASSERT_EQ(load.exitCode, 0) << load.err.toStdString();
    const QJsonObject first = dump();

    // Every attribute given comes back, with its kind, and every link points at the right record.
    const QJsonObject input = QJsonDocument::fromJson(kEverything).object();
    const QJsonObject output = withoutStartupRecords(byName(first));
    for (const QString& array : input.keys()) {
        const QJsonArray in = input.value(array).toArray();
        const QJsonArray out = output.value(array).toArray();
        ASSERT_EQ(in.size(), out.size()) << array.toStdString();
        for (qsizetype i = 0; i < in.size(); ++i) {
            const QJsonObject a = in[i].toObject(), b = out[i].toObject();
            for (const QString& key : a.keys()) {
                // A path name in the file is taken as the derived value it is, not stored.
                if (key == QLatin1String("uri") || key == QLatin1String("pathName"))
                    continue;
                const QJsonValue expected = a.value(key);
                const QJsonValue actual = b.value(key);
                if (key.endsWith(QLatin1String("Date")))
                    EXPECT_EQ(QDateTime::fromString(actual.toString(), Qt::ISODateWithMs), QDateTime::fromString(expected.toString(), Qt::ISODateWithMs)) << key.toStdString();
                else if (expected.toString().startsWith(QLatin1String("c-")) || expected.toString().startsWith(QLatin1String("p-")) || expected.toString().startsWith(QLatin1String("a-")))
                    EXPECT_TRUE(actual.toString().startsWith(QStringLiteral("->"))) << key.toStdString();
                else
                    EXPECT_EQ(actual, expected) << array.toStdString() << "." << key.toStdString();
            }
            // Flags the file leaves out get a new record's values; every other absent value stays absent.
            for (const QString& key : b.keys())
                if (!a.contains(key) && key != QLatin1String("uri")) {
                    EXPECT_TRUE(b.value(key).isBool() || key.startsWith(QLatin1String("positionIn"))) << array.toStdString() << "." << key.toStdString();
                }
        }
    }
    EXPECT_EQ(output.value(QStringLiteral("tasks")).toArray()[0].toObject().value(QStringLiteral("parentContext")).toString(), QStringLiteral("->Garden"));
    EXPECT_EQ(output.value(QStringLiteral("tasks")).toArray()[1].toObject().value(QStringLiteral("parentArchiveCategory")).toString(), QStringLiteral("->Q4"));

    // A later run sees the same URIs, and a dump loads into another data folder as the same records.
    EXPECT_EQ(dump(), first);
    const QString again = writeFile(QStringLiteral("dump.json"), QJsonDocument(first).toJson());
    const QString otherDir = home.filePath(QStringLiteral("other"));
    ASSERT_EQ(vyro({QStringLiteral("--data-dir"), otherDir, QStringLiteral("load"), again}).exitCode, 0);
    const CliRun otherDump = vyro({QStringLiteral("--data-dir"), otherDir, QStringLiteral("dump")});
    EXPECT_EQ(byName(QJsonDocument::fromJson(otherDump.out.toUtf8()).object()), byName(first));
}

TEST_F(CliTest, AnInvalidFileChangesNothing)
{
    ASSERT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), writeFile(QStringLiteral("ok.json"), kEverything)}).exitCode, 0);
    const QJsonObject before = dump();
    const QString bad = writeFile(QStringLiteral("bad.json"), R"({"tasks": [{"name": "fine"}, {"name": "broken", "dueDate": "tomorrow-ish"}]})");
    const CliRun r = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), bad});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_TRUE(r.err.contains(QStringLiteral("tasks[1].dueDate"))) << r.err.toStdString();
    EXPECT_EQ(dump(), before);

    const CliRun missing = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), home.filePath(QStringLiteral("nope.json"))});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.contains(QStringLiteral("cannot read"))) << missing.err.toStdString();
}

TEST_F(CliTest, UsageErrors)
{
    const QList<std::pair<QStringList, int>> cases = {
        {{QStringLiteral("frobnicate")}, 2},
        {{QStringLiteral("--bogus"), QStringLiteral("dump")}, 2},
        {{QStringLiteral("--data-dir")}, 2},
        {{QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load")}, 2},
        {{QStringLiteral("--data-dir"), dataDir(), QStringLiteral("dump"), QStringLiteral("extra")}, 2},
    };
    for (const auto& [arguments, code] : cases) {
        const CliRun r = vyro(arguments);
        EXPECT_EQ(r.exitCode, code) << arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_TRUE(r.err.startsWith(QStringLiteral("vyro: "))) << r.err.toStdString();
    }
    const CliRun version = vyro({QStringLiteral("--version")});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(version.out.startsWith(QStringLiteral("vyro "))) << version.out.toStdString();
}

TEST_F(CliTest, ASecondProcessIsTurnedAwayAndTheFileIsUntouched)
{
    ASSERT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), writeFile(QStringLiteral("ok.json"), kEverything)}).exitCode, 0);
    QFile f(dataFile());
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray before = f.readAll();
    f.close();
    {
        // This test process stands for a running Vyro that owns the file.
        auto lock = DataFileLock::acquire(dataFile());
        ASSERT_TRUE(lock.isOk());
        const CliRun r = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), writeFile(QStringLiteral("more.json"), R"({"tasks":[{"name":"x"}]})")});
        EXPECT_NE(r.exitCode, 0);
        EXPECT_TRUE(r.err.contains(QStringLiteral("in use by another Vyro process"))) << r.err.toStdString();
    }
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll(), before);
    f.close();
    // Once the owner is gone the file is free again.
    EXPECT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("dump")}).exitCode, 0);
}

TEST_F(CliTest, KillingALoadAtAnyInstantLeavesTheOldOrTheNewState)
{
    // A load big enough to take a while.
    QJsonArray tasks;
    for (int i = 0; i < 20000; ++i)
        tasks.append(QJsonObject {{QStringLiteral("name"), QStringLiteral("task %1 with a name of some length").arg(i)},
                                  {QStringLiteral("priority"), i % 5},
                                  {QStringLiteral("tags"), QStringLiteral("a,b,c")}});
    const QString big = writeFile(QStringLiteral("big.json"), QJsonDocument(QJsonObject {{QStringLiteral("tasks"), tasks}}).toJson());
    ASSERT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("dump")}).exitCode, 0);

    auto countTasks = [&]() -> int {
        sqlite3* db = nullptr;
        EXPECT_EQ(sqlite3_open(dataFile().toUtf8().constData(), &db), SQLITE_OK); // rolls back a hot journal
        sqlite3_stmt* st = nullptr;
        sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &st, nullptr);
        EXPECT_EQ(sqlite3_step(st), SQLITE_ROW);
        EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(st, 0)), "ok");
        sqlite3_finalize(st);
        int n = -1;
        sqlite3_prepare_v2(db, "SELECT count(*) FROM task", -1, &st, nullptr);
        if (sqlite3_step(st) == SQLITE_ROW)
            n = sqlite3_column_int(st, 0);
        sqlite3_finalize(st);
        sqlite3_close(db);
        return n;
    };

    int expected = 0;
    int killedMidway = 0;
    QRandomGenerator random(42);
    for (int round = 0; round < 8; ++round) {
        QProcess p;
        p.setProcessEnvironment(environment());
        p.start(QStringLiteral(VYRO_BINARY), {QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), big});
        ASSERT_TRUE(p.waitForStarted());
        QThread::msleep(random.bounded(50, 900));
        const bool finished = p.state() == QProcess::NotRunning;
        if (!finished) {
            ::kill(pid_t(p.processId()), SIGKILL);
            ++killedMidway;
        }
        p.waitForFinished();
        const int n = countTasks();
        EXPECT_TRUE(n == expected || n == expected + 20000) << "round " << round << ": " << n << " tasks";
        expected = n;
    }
    EXPECT_GT(killedMidway, 0);
    // The data file still opens and works after all that.
    const CliRun r = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("dump")});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
}

// A plain start runs the desktop program; with VYRO_REPORT_FIRST_PAINT it quits once its window is
// painted, which lets the start-up sequence be checked from outside.
TEST_F(CliTest, APlainStartRunsTheStartUpSequenceIntoTheDebugLog)
{
    QProcess p;
    QProcessEnvironment env = environment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    env.insert(QStringLiteral("VYRO_REPORT_FIRST_PAINT"), QStringLiteral("1"));
    p.setProcessEnvironment(env);
    p.start(QStringLiteral(VYRO_BINARY), {QStringLiteral("--data-dir"), dataDir()});
    ASSERT_TRUE(p.waitForFinished(60000));
    EXPECT_EQ(p.exitCode(), 0);
    EXPECT_TRUE(QString::fromUtf8(p.readAllStandardOutput()).startsWith(QStringLiteral("first-paint-ns ")));
    EXPECT_TRUE(p.readAllStandardError().isEmpty()) << "standard error goes to the debug log";
    QFile log(home.filePath(QStringLiteral("data/Vyro/debug.log")));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(log.readAll());
    const QStringList steps = {QStringLiteral("==========================\nVyro started. Version:\n%1\n").arg(QStringLiteral(VYRO_VERSION)),
                               QStringLiteral("Loading SQL store...\n"), QStringLiteral("Cleaning up tasks at startup...\n")};
    qsizetype at = 0;
    for (const QString& step : steps) {
        const qsizetype found = text.indexOf(step, at);
        EXPECT_GE(found, 0) << "missing or out of order: " << step.toStdString() << "\nin:\n" << text.toStdString();
        at = std::max(at, found);
    }
    EXPECT_TRUE(QFile::exists(dataFile()));
}

namespace {

const char* kGarden = R"({
  "contexts": [{"uri": "h", "name": "Home", "pathName": "Home"}, {"uri": "g", "name": "Garden", "parentContext": "h", "pathName": "Home > Garden"}],
  "projects": [{"uri": "p", "name": "Shed", "active": true, "pathName": "Shed"}],
  "archiveCategories": [{"uri": "a", "name": "2026"}],
  "tasks": [
    {"uri": "t1", "name": "one", "parentContext": "g", "positionInContext": 1, "archived": false, "cleanedUp": false, "done": false, "nextAction": true},
    {"uri": "t2", "name": "two", "parentContext": "g", "positionInContext": 2, "archived": false, "cleanedUp": false, "done": false, "parentProject": "p", "positionInProject": 1},
    {"uri": "t3", "name": "three", "parentContext": "g", "positionInContext": 3, "archived": false, "cleanedUp": false, "done": false, "parentProject": "p", "positionInProject": 2},
    {"uri": "t4", "name": "four", "parentContext": "g", "positionInContext": 4, "archived": false, "cleanedUp": false, "done": false}
  ]})";

QJsonObject findByName(const QJsonArray& records, const QString& name, const char* key = "name")
{
    for (const QJsonValue& v : records)
        if (v.toObject().value(QLatin1String(key)).toString() == name)
            return v.toObject();
    return {};
}

} // namespace

TEST_F(CliTest, ChangesThroughTheCommandLineKeepOrdersAndCounters)
{
    ASSERT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), writeFile(QStringLiteral("g.json"), kGarden)}).exitCode, 0);
    QMap<QString, QString> uri;
    for (const QJsonValue& v : dump().value(QStringLiteral("tasks")).toArray())
        uri.insert(v.toObject().value(QStringLiteral("name")).toString(), v.toObject().value(QStringLiteral("uri")).toString());
    auto run = [&](QStringList arguments) {
        arguments.prepend(dataDir());
        arguments.prepend(QStringLiteral("--data-dir"));
        const CliRun r = vyro(arguments);
        EXPECT_EQ(r.exitCode, 0) << arguments.join(QLatin1Char(' ')).toStdString() << ": " << r.err.toStdString();
        return r;
    };

    // Complete one (which clears its flag), clean up, move one, archive one, re-open the cleaned-up one.
    const CliRun done = run({QStringLiteral("set"), uri[QStringLiteral("one")], QStringLiteral("done=true")});
    EXPECT_FALSE(QJsonDocument::fromJson(done.out.toUtf8()).object().value(QStringLiteral("nextAction")).toBool());
    EXPECT_EQ(run({QStringLiteral("cleanup")}).out.trimmed(), QStringLiteral("{\"cleanedUp\":1}"));
    run({QStringLiteral("set"), uri[QStringLiteral("three")], QStringLiteral("parentContext=Home"), QStringLiteral("parentProject=")});
    run({QStringLiteral("archive"), uri[QStringLiteral("two")], QStringLiteral("--category"), QStringLiteral("2026"), QStringLiteral("--tags"), QStringLiteral("old")});

    QJsonArray tasks = dump().value(QStringLiteral("tasks")).toArray();
    EXPECT_EQ(findByName(tasks, QStringLiteral("four")).value(QStringLiteral("positionInContext")).toInt(), 1);
    EXPECT_EQ(findByName(tasks, QStringLiteral("three")).value(QStringLiteral("positionInContext")).toInt(), 1);
    EXPECT_FALSE(findByName(tasks, QStringLiteral("three")).contains(QStringLiteral("parentProject")));
    const QJsonObject two = findByName(tasks, QStringLiteral("two"));
    EXPECT_TRUE(two.value(QStringLiteral("archived")).toBool());
    EXPECT_EQ(two.value(QStringLiteral("tags")).toString(), QStringLiteral("old"));
    EXPECT_FALSE(two.contains(QStringLiteral("parentContext")));

    run({QStringLiteral("set"), uri[QStringLiteral("one")], QStringLiteral("done=false")});
    tasks = dump().value(QStringLiteral("tasks")).toArray();
    EXPECT_EQ(findByName(tasks, QStringLiteral("one")).value(QStringLiteral("positionInContext")).toInt(), 2) << "re-opened: to the end";
    EXPECT_EQ(findByName(tasks, QStringLiteral("four")).value(QStringLiteral("positionInContext")).toInt(), 1);

    const QJsonObject folders = QJsonDocument::fromJson(run({QStringLiteral("folders")}).out.toUtf8()).object();
    const QJsonObject garden = findByName(folders.value(QStringLiteral("contexts")).toArray(), QStringLiteral("Home > Garden"), "pathName");
    const QJsonObject home = findByName(folders.value(QStringLiteral("contexts")).toArray(), QStringLiteral("Home"), "pathName");
    EXPECT_EQ(garden.value(QStringLiteral("pending")).toArray(), QJsonArray({2, 2}));
    EXPECT_EQ(home.value(QStringLiteral("pending")).toArray(), QJsonArray({1, 3}));
    EXPECT_EQ(home.value(QStringLiteral("childCountLabel")).toString(), QStringLiteral("1 child"));
    EXPECT_EQ(findByName(folders.value(QStringLiteral("projects")).toArray(), QStringLiteral("Shed"), "pathName").value(QStringLiteral("pending")).toArray(), QJsonArray({0, 0}));
    EXPECT_EQ(findByName(folders.value(QStringLiteral("archiveCategories")).toArray(), QStringLiteral("2026")).value(QStringLiteral("pending")).toArray(), QJsonArray({1, 1}));
    EXPECT_EQ(folders.value(QStringLiteral("smartFolders")).toArray()[0].toObject().value(QStringLiteral("name")).toString(), QStringLiteral("All tasks"));

    // A duplicate joins the end of its context.
    const QJsonObject copy = QJsonDocument::fromJson(run({QStringLiteral("duplicate"), uri[QStringLiteral("four")]}).out.toUtf8()).object();
    EXPECT_EQ(copy.value(QStringLiteral("positionInContext")).toInt(), 3);

    // Bad assignments change nothing.
    const QJsonObject before = dump();
    for (const QStringList& bad : {QStringList {QStringLiteral("set"), uri[QStringLiteral("four")], QStringLiteral("priority=2"), QStringLiteral("priority=high")},
                                   QStringList {QStringLiteral("set"), uri[QStringLiteral("four")], QStringLiteral("parentContext=Nowhere")},
                                   QStringList {QStringLiteral("set"), uri[QStringLiteral("four")], QStringLiteral("tasks=x")},
                                   QStringList {QStringLiteral("archive"), uri[QStringLiteral("four")], QStringLiteral("--category"), QStringLiteral("nope")}}) {
        const CliRun r = vyro(QStringList {QStringLiteral("--data-dir"), dataDir()} + bad);
        EXPECT_EQ(r.exitCode, 2) << bad.join(QLatin1Char(' ')).toStdString();
    }
    EXPECT_EQ(dump(), before);
}

namespace {

const char* kLists = R"({
  "contexts": [{"uri": "c-home", "name": "Home", "pathName": "Home", "isInbox": false}],
  "projects": [
    {"uri": "p-garden", "name": "Garden", "pathName": "Garden", "active": true, "hasSingleTasks": false},
    {"uri": "p-dormant", "name": "Dormant", "pathName": "Dormant", "active": false}
  ],
  "archiveCategories": [{"uri": "a-old", "name": "Old"}],
  "tasks": [
    {"uri": "t1", "name": "water", "priority": 2, "positionInContext": 1, "parentContext": "c-home", "parentProject": "p-garden", "positionInProject": 1,
     "dueDate": "2026-11-25T09:00:00Z", "done": false, "archived": false, "cleanedUp": false, "maybe": false, "nextAction": true},
    {"uri": "t2", "name": "Dig", "priority": 5, "positionInContext": 2, "parentContext": "c-home", "parentProject": "p-garden", "positionInProject": 2,
     "done": false, "archived": false, "cleanedUp": false, "maybe": false},
    {"uri": "t3", "name": "someday", "priority": 3, "positionInContext": 3, "parentContext": "c-home",
     "done": false, "archived": false, "cleanedUp": false, "maybe": true},
    {"uri": "t4", "name": "asleep", "priority": 3, "positionInContext": 4, "parentContext": "c-home", "parentProject": "p-dormant",
     "done": false, "archived": false, "cleanedUp": false, "maybe": false},
    {"uri": "t5", "name": "call", "priority": 1, "positionInContext": 5, "parentContext": "c-home", "content": "about the fence",
     "dueDate": "2026-11-23T09:00:00Z", "done": false, "archived": false, "cleanedUp": false, "maybe": false},
    {"uri": "t6", "name": "paid", "parentContext": "c-home", "done": true, "archived": false, "cleanedUp": true},
    {"uri": "t7", "name": "filed", "parentArchiveCategory": "a-old", "archived": true}
  ]
})";

QStringList taskNames(const QString& json)
{
    QStringList out;
    for (const QJsonValue& v : QJsonDocument::fromJson(json.toUtf8()).array())
        out << v.toObject().value(QStringLiteral("name")).toString();
    return out;
}

} // namespace

TEST_F(CliTest, ListShowsEachViewAsItWouldShow)
{
    ASSERT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), writeFile(QStringLiteral("l.json"), kLists)}).exitCode, 0);
    struct Case {
        QString arguments;
        int exitCode;
        QStringList names;
    };
    const Case cases[] = {
        {QStringLiteral("--folder Home"), 0, {"call", "Dig", "water"}},
        {QStringLiteral("--folder Home --time-mode 3"), 0, {"someday"}},
        {QStringLiteral("--folder Home --sort natural"), 0, {"water", "Dig", "call"}},
        {QStringLiteral("--folder Home --sort -priority"), 0, {"Dig", "water", "call"}},
        {QStringLiteral("--folder Home --sort duedate"), 0, {"call", "water", "Dig"}},
        {QStringLiteral("--folder Home --sort -duedate"), 0, {"water", "call", "Dig"}},
        {QStringLiteral("--folder Home --flagged"), 0, {"water"}},
        {QStringLiteral("--folder Home --next-actions"), 0, {"call", "water"}},
        {QStringLiteral("--folder Home --search FENCE"), 0, {"call"}},
        {QStringLiteral("--view projects --folder Dormant"), 0, {"asleep"}},
        {QStringLiteral("--view projects --folder Garden --owner-mode 2"), 0, {}},
        {QStringLiteral("--view to-complete"), 0, {"call", "Dig", "water"}},
        {QStringLiteral("--view completed"), 0, {"paid"}},
        {QStringLiteral("--view archive --folder Old"), 0, {"filed"}},
        {QStringLiteral("--view archive"), 2, {}},
        {QStringLiteral("--folder Home --time-mode 5"), 2, {}},
        {QStringLiteral("--view projects --folder Garden --next-actions"), 2, {}},
        {QStringLiteral("--view someplace"), 2, {}},
        {QStringLiteral("--folder Nowhere"), 2, {}},
        {QStringLiteral("--folder Home --sort context"), 2, {}},
        {QStringLiteral("--folder Home"), 0, {"call", "Dig", "water"}}, // the modes above were for their runs only
    };
    for (const Case& c : cases) {
        QStringList arguments{QStringLiteral("--data-dir"), dataDir(), QStringLiteral("list"), QStringLiteral("--json")};
        arguments += c.arguments.split(QLatin1Char(' '));
        const CliRun r = vyro(arguments);
        EXPECT_EQ(r.exitCode, c.exitCode) << c.arguments.toStdString() << ": " << r.err.toStdString();
        if (c.exitCode == 0)
            EXPECT_EQ(taskNames(r.out), c.names) << c.arguments.toStdString();
        else
            EXPECT_TRUE(r.err.startsWith(QStringLiteral("vyro: list: "))) << r.err.toStdString();
    }
    const CliRun table = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("list"), QStringLiteral("--folder"), QStringLiteral("Home")});
    EXPECT_TRUE(table.out.startsWith(QStringLiteral("NAME"))) << table.out.toStdString();
    EXPECT_TRUE(table.out.endsWith(QStringLiteral("3 tasks\n"))) << table.out.toStdString();
}

TEST_F(CliTest, MoveDealsOutThePositionsOfTheShownTasks)
{
    ASSERT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), writeFile(QStringLiteral("l.json"), kLists)}).exitCode, 0);
    QMap<QString, QString> uri;
    for (const QJsonValue& v : dump().value(QStringLiteral("tasks")).toArray())
        uri.insert(v.toObject().value(QStringLiteral("name")).toString(), v.toObject().value(QStringLiteral("uri")).toString());
    auto move = [&](const QString& task, QStringList how) {
        how.prepend(uri[task]);
        how = QStringList{QStringLiteral("--data-dir"), dataDir(), QStringLiteral("move"), QStringLiteral("--json")} + how;
        return vyro(how);
    };
    // Shown in Home, by position: water 1, Dig 2, call 5; someday (3, maybe) and asleep (4, inactive project) are hidden.
    CliRun r = move(QStringLiteral("call"), {QStringLiteral("--top")});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(taskNames(r.out), QStringList({"call", "water", "Dig"}));
    r = move(QStringLiteral("call"), {QStringLiteral("--down")});
    EXPECT_EQ(taskNames(r.out), QStringList({"water", "call", "Dig"}));
    r = move(QStringLiteral("water"), {QStringLiteral("--to-position"), QStringLiteral("2")});
    EXPECT_EQ(taskNames(r.out), QStringList({"call", "Dig", "water"}));

    QMap<QString, int> positions;
    for (const QJsonValue& v : dump().value(QStringLiteral("tasks")).toArray())
        positions.insert(v.toObject().value(QStringLiteral("name")).toString(), v.toObject().value(QStringLiteral("positionInContext")).toInt());
    EXPECT_EQ(positions.value(QStringLiteral("call")), 1);
    EXPECT_EQ(positions.value(QStringLiteral("Dig")), 2);
    EXPECT_EQ(positions.value(QStringLiteral("someday")), 3) << "hidden tasks keep their places";
    EXPECT_EQ(positions.value(QStringLiteral("asleep")), 4);
    EXPECT_EQ(positions.value(QStringLiteral("water")), 5);

    // In the project's own order; and a hidden task cannot be moved.
    r = move(QStringLiteral("Dig"), {QStringLiteral("--up"), QStringLiteral("--view"), QStringLiteral("projects")});
    EXPECT_EQ(taskNames(r.out), QStringList({"Dig", "water"}));
    r = move(QStringLiteral("someday"), {QStringLiteral("--top")});
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_TRUE(r.err.contains(QStringLiteral("not shown"))) << r.err.toStdString();
    EXPECT_EQ(move(QStringLiteral("call"), {QStringLiteral("--view"), QStringLiteral("completed"), QStringLiteral("--top")}).exitCode, 2);
}

namespace {

const char* kDated = R"({
  "contexts": [{"uri": "h", "name": "Home", "pathName": "Home"}, {"uri": "g", "name": "Garden", "parentContext": "h", "pathName": "Home > Garden"}],
  "projects": [{"uri": "p", "name": "Shed", "active": true, "pathName": "Shed"}, {"uri": "q", "name": "Roof", "parentProject": "p", "pathName": "Shed > Roof"}],
  "tasks": [
    {"uri": "t1", "name": "prune", "parentContext": "g", "positionInContext": 1, "archived": false, "cleanedUp": false, "done": false,
     "startDate": "2026-12-01T09:00:00Z", "dueDate": "2026-12-10T09:00:00Z"},
    {"uri": "t2", "name": "rake", "parentContext": "g", "positionInContext": 2, "archived": false, "cleanedUp": false, "done": false}
  ]})";

QString uriOf(const QJsonObject& dump, const char* array, const QString& name)
{
    return findByName(dump.value(QLatin1String(array)).toArray(), name).value(QStringLiteral("uri")).toString();
}

// The contexts of a chain "c0 > c1 > ... > c<depth-1>" in the JSON of `load`, deepest first, so that each
// context is linked before its parent is; one task in the deepest.
QByteArray chainJson(int depth)
{
    QJsonArray contexts;
    for (int i = depth - 1; i >= 0; --i) {
        QJsonObject c {{QStringLiteral("uri"), QStringLiteral("c%1").arg(i)}, {QStringLiteral("name"), QStringLiteral("c%1").arg(i)}};
        if (i > 0)
            c.insert(QStringLiteral("parentContext"), QStringLiteral("c%1").arg(i - 1));
        contexts.append(c);
    }
    const QJsonObject task {{QStringLiteral("uri"), QStringLiteral("t")}, {QStringLiteral("name"), QStringLiteral("deep")},
                            {QStringLiteral("parentContext"), QStringLiteral("c%1").arg(depth - 1)}, {QStringLiteral("archived"), false},
                            {QStringLiteral("cleanedUp"), false}};
    return QJsonDocument(QJsonObject {{QStringLiteral("contexts"), contexts}, {QStringLiteral("tasks"), QJsonArray {task}}}).toJson(QJsonDocument::Compact);
}

} // namespace

TEST_F(CliTest, SetNamesEachRefusedChangeAndSavesNothing)
{
    ASSERT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), writeFile(QStringLiteral("d.json"), kDated)}).exitCode, 0);
    const QJsonObject before = dump();
    const QString home = uriOf(before, "contexts", QStringLiteral("Home"));
    const QString garden = uriOf(before, "contexts", QStringLiteral("Garden"));
    const QString shed = uriOf(before, "projects", QStringLiteral("Shed"));
    const QString roof = uriOf(before, "projects", QStringLiteral("Roof"));
    const QString prune = uriOf(before, "tasks", QStringLiteral("prune"));
    struct Case {
        QStringList arguments;
        QString message;
    };
    const Case cases[] = {
        {{home, QStringLiteral("parentContext=") + garden}, QStringLiteral("parentContext: \"Home > Garden\" lies inside \"Home\"")},
        {{home, QStringLiteral("parentContext=Home > Garden")}, QStringLiteral("lies inside")},
        {{garden, QStringLiteral("parentContext=") + garden}, QStringLiteral("parentContext: a context cannot be its own parent")},
        {{shed, QStringLiteral("parentProject=Shed > Roof")}, QStringLiteral("parentProject: \"Shed > Roof\" lies inside \"Shed\"")},
        {{roof, QStringLiteral("parentProject=") + roof}, QStringLiteral("a project cannot be its own parent")},
        {{prune, QStringLiteral("startDate=2026-12-11T00:00:00Z")}, QStringLiteral("startDate: 2026-12-11")},
        {{prune, QStringLiteral("startDate=2026-12-10T09:00:00Z")}, QStringLiteral("is not before the due date 2026-12-10")},
        {{prune, QStringLiteral("dueDate=2026-11-30T00:00:00Z")}, QStringLiteral("dueDate: 2026-11-30")},
        {{prune, QStringLiteral("dueDate=2026-12-01T09:00:00Z")}, QStringLiteral("is not after the start date 2026-12-01")},
        // All or nothing: the changes before the refused one are not saved either.
        {{prune, QStringLiteral("name=renamed"), QStringLiteral("priority=1"), QStringLiteral("dueDate=2026-11-01T00:00:00Z")}, QStringLiteral("dueDate:")},
        {{garden, QStringLiteral("name=Lawn"), QStringLiteral("parentContext=") + garden}, QStringLiteral("its own parent")},
        // Values the program works out itself.
        {{home, QStringLiteral("pathName=Elsewhere")}, QStringLiteral("pathName cannot be set")},
        {{roof, QStringLiteral("pathName=")}, QStringLiteral("pathName cannot be set")},
        {{home, QStringLiteral("savedPendingTasksCount=3")}, QStringLiteral("savedPendingTasksCount cannot be set")},
        {{shed, QStringLiteral("uncompletedTasksCount=0")}, QStringLiteral("uncompletedTasksCount cannot be set")},
        {{prune, QStringLiteral("status=4")}, QStringLiteral("status cannot be set")},
        {{prune, QStringLiteral("positionInContext=7")}, QStringLiteral("positionInContext cannot be set")},
        {{home, QStringLiteral("tasks=") + prune}, QStringLiteral("tasks cannot be set: it lists the task records whose parentContext")},
    };
    for (const Case& c : cases) {
        const CliRun r = vyro(QStringList {QStringLiteral("--data-dir"), dataDir(), QStringLiteral("set")} + c.arguments);
        EXPECT_EQ(r.exitCode, 2) << c.arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_TRUE(r.err.startsWith(QStringLiteral("vyro: ")) && r.err.contains(c.message)) << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty()) << r.out.toStdString();
    }
    EXPECT_EQ(dump(), before);

    // What the model stores differently from what was typed is not a refusal, and an order that keeps
    // every step valid goes through.
    const QStringList fine[] = {
        {prune, QStringLiteral("dueDate="), QStringLiteral("startDate=2026-12-20T00:00:00Z"), QStringLiteral("dueDate=2026-12-24T00:00:00Z")},
        {prune, QStringLiteral("name="), QStringLiteral("nextAction=")},
        {garden, QStringLiteral("parentContext=")},
        {roof, QStringLiteral("parentProject=")},
        {shed, QStringLiteral("parentProject=") + roof},
    };
    for (const QStringList& arguments : fine) {
        const CliRun r = vyro(QStringList {QStringLiteral("--data-dir"), dataDir(), QStringLiteral("set")} + arguments);
        EXPECT_EQ(r.exitCode, 0) << arguments.join(QLatin1Char(' ')).toStdString() << ": " << r.err.toStdString();
    }
    const QJsonObject after = dump();
    const QJsonObject task = findByName(after.value(QStringLiteral("tasks")).toArray(), QStringLiteral("New task"));
    EXPECT_EQ(QDateTime::fromString(task.value(QStringLiteral("dueDate")).toString(), Qt::ISODate), QDateTime(QDate(2026, 12, 24), QTime(0, 0), Qt::UTC));
    const QJsonObject folders = QJsonDocument::fromJson(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("folders")}).out.toUtf8()).object();
    EXPECT_FALSE(findByName(folders.value(QStringLiteral("projects")).toArray(), QStringLiteral("Roof > Shed"), "pathName").isEmpty());
}

TEST_F(CliTest, AddWarnsOfEachPartOfTheLineItCouldNotUse)
{
    ASSERT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), writeFile(QStringLiteral("d.json"), kDated)}).exitCode, 0);
    struct Case {
        QString line;
        QStringList warnings;
        QString name;
        QString context;
        QStringList keys;    // present in the task
        QStringList missing; // absent from it
    };
    const Case cases[] = {
        {QStringLiteral("Plan #tomorrow, yesterday"), {QStringLiteral("the due date ")}, QStringLiteral("Plan"), QStringLiteral("Inbox"), {"startDate"}, {"dueDate"}},
        {QStringLiteral("@office Fix the roof [House]"),
         {QStringLiteral("no context's name begins with \"office\": the task is in \"Inbox\""), QStringLiteral("no project's name is or begins with \"House\"")},
         QStringLiteral("Fix the roof"), QStringLiteral("Inbox"), {}, {"parentProject"}},
        {QStringLiteral("@office Paint [Sh]"), {QStringLiteral("\"office\"")}, QStringLiteral("Paint"), QStringLiteral("Inbox"), {"parentProject"}, {}},
        {QStringLiteral("@gar Mow [Attic] #whenever"), {QStringLiteral("\"Attic\""), QStringLiteral("\"whenever\" reads as no date: the task has no due date")},
         QStringLiteral("Mow"), QStringLiteral("Home > Garden"), {}, {"dueDate", "parentProject"}},
        // New tasks start today unless the preferences say otherwise.
        {QStringLiteral("Sow #someday, tomorrow"), {QStringLiteral("\"someday\" reads as no date: the task's start date is ")}, QStringLiteral("Sow"), QStringLiteral("Inbox"), {"startDate", "dueDate"}, {}},
        {QStringLiteral("Weed #"), {QStringLiteral("nothing follows \"#\"")}, QStringLiteral("Weed"), QStringLiteral("Inbox"), {}, {"dueDate"}},
        // Lines whose every part is used warn of nothing.
        {QStringLiteral("@gar Water [roof] {wet} #today, tomorrow"), {}, QStringLiteral("Water"), QStringLiteral("Home > Garden"), {"startDate", "dueDate", "parentProject"}, {}},
        {QStringLiteral("@home"), {}, QStringLiteral("@home"), QStringLiteral("Inbox"), {}, {}},
    };
    const QJsonObject before = dump();
    for (const Case& c : cases) {
        const CliRun r = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("add"), c.line});
        EXPECT_EQ(r.exitCode, 0) << c.line.toStdString() << ": " << r.err.toStdString();
        const QStringList lines = r.err.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        ASSERT_EQ(lines.size(), c.warnings.size()) << c.line.toStdString() << ": " << r.err.toStdString();
        for (qsizetype i = 0; i < lines.size(); ++i)
            EXPECT_TRUE(lines[i].startsWith(QStringLiteral("vyro: warning: ")) && lines[i].contains(c.warnings[i])) << lines[i].toStdString();
        const QJsonObject task = QJsonDocument::fromJson(r.out.toUtf8()).object();
        EXPECT_EQ(task.value(QStringLiteral("name")).toString(), c.name) << c.line.toStdString();
        for (const QString& key : c.keys)
            EXPECT_TRUE(task.contains(key)) << c.line.toStdString() << " lacks " << key.toStdString();
        for (const QString& key : c.missing)
            EXPECT_FALSE(task.contains(key)) << c.line.toStdString() << " has " << key.toStdString();
        const QJsonObject stored = findByName(dump().value(QStringLiteral("tasks")).toArray(), task.value(QStringLiteral("uri")).toString(), "uri");
        EXPECT_EQ(stored, task) << "the task printed is the one saved";
        QString contextPath;
        const QJsonObject folders = QJsonDocument::fromJson(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("folders")}).out.toUtf8()).object();
        for (const QJsonValue& v : folders.value(QStringLiteral("contexts")).toArray())
            if (v.toObject().value(QStringLiteral("uri")) == task.value(QStringLiteral("parentContext")))
                contextPath = v.toObject().value(QStringLiteral("pathName")).toString(v.toObject().value(QStringLiteral("name")).toString());
        EXPECT_EQ(contextPath, c.context) << c.line.toStdString();
    }
}

TEST_F(CliTest, LoadRefusesTooMuchInputAndInputOfTheWrongShape)
{
    ASSERT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("dump")}).exitCode, 0);
    const QJsonObject before = dump();
    // A sparse file: its size is over the limit without filling the disk.
    const QString huge = writeFile(QStringLiteral("huge.json"), "{\"tasks\": []}");
    ASSERT_TRUE(QFile::resize(huge, (qint64(256) << 20) + 1));
    struct Case {
        QString file;
        QByteArray input;
        int exitCode;
        QString message;
    };
    const Case cases[] = {
        {huge, {}, 1, QStringLiteral("huge.json holds 257 MiB, more than load reads (256 MiB)")},
        {QStringLiteral("/dev/zero"), {}, 1, QStringLiteral("/dev/zero holds more than load reads (256 MiB)")},
        {QStringLiteral("-"), "[{\"name\": \"x\"}]", 2, QStringLiteral("standard input: the JSON here is an array; load takes one object")},
        {writeFile(QStringLiteral("n.json"), " 42\n"), {}, 2, QStringLiteral("n.json: the JSON here is a number")},
        {QStringLiteral("-"), "\"tasks\"", 2, QStringLiteral("the JSON here is a string")},
        {QStringLiteral("-"), "null", 2, QStringLiteral("the JSON here is null")},
        {QStringLiteral("-"), "[1,", 2, QStringLiteral("standard input: not valid JSON at line 1")},
        {QStringLiteral("-"), "{\"tasks\": 3}", 2, QStringLiteral("\"tasks\" must be an array")},
    };
    for (const Case& c : cases) {
        const CliRun r = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), c.file}, c.input);
        EXPECT_EQ(r.exitCode, c.exitCode) << c.file.toStdString() << ": " << r.err.toStdString();
        EXPECT_TRUE(r.err.startsWith(QStringLiteral("vyro: ")) && r.err.contains(c.message)) << r.err.toStdString();
    }
    EXPECT_EQ(dump(), before);
    // Input at the limit's side of the line still loads from standard input.
    const CliRun ok = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), QStringLiteral("-")}, "{\"tasks\": [{\"name\": \"piped\"}]}");
    EXPECT_EQ(ok.exitCode, 0) << ok.err.toStdString();
    EXPECT_FALSE(findByName(dump().value(QStringLiteral("tasks")).toArray(), QStringLiteral("piped")).isEmpty());
}

TEST_F(CliTest, OutputThatCannotBeWrittenFailsTheCommand)
{
    if (!QFileInfo::exists(QStringLiteral("/dev/full")))
        GTEST_SKIP() << "needs /dev/full";
    ASSERT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), writeFile(QStringLiteral("l.json"), kLists)}).exitCode, 0);
    struct Case {
        QStringList arguments;
        bool saves;
    };
    const Case cases[] = {
        {{QStringLiteral("dump")}, false},
        {{QStringLiteral("list"), QStringLiteral("--folder"), QStringLiteral("Home")}, false},
        {{QStringLiteral("list"), QStringLiteral("--folder"), QStringLiteral("Home"), QStringLiteral("--json")}, false},
        {{QStringLiteral("folders")}, false},
        {{QStringLiteral("parse"), QStringLiteral("Call Bob")}, false},
        {{QStringLiteral("date"), QStringLiteral("today")}, false},
        {{QStringLiteral("cleanup")}, true},
        {{QStringLiteral("add"), QStringLiteral("Call Bob")}, true},
        {{QStringLiteral("--help")}, false},
    };
    for (const Case& c : cases) {
        QProcess p;
        p.setProcessEnvironment(environment());
        p.setStandardOutputFile(QStringLiteral("/dev/full"));
        p.start(QStringLiteral(VYRO_BINARY), QStringList {QStringLiteral("--data-dir"), dataDir()} + c.arguments);
        ASSERT_TRUE(p.waitForFinished(60000));
        const QString err = QString::fromUtf8(p.readAllStandardError());
        EXPECT_EQ(p.exitCode(), 1) << c.arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_TRUE(err.contains(QStringLiteral("vyro: the output could not be written completely: No space left on device"))) << err.toStdString();
        EXPECT_EQ(err.contains(QStringLiteral("(the changes were saved)")), c.saves) << err.toStdString();
    }
    // Written to a stream that takes it, the same output passes.
    EXPECT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("dump")}).exitCode, 0);
}

TEST_F(CliTest, ArgumentsThatCannotBeUsedSayWhy)
{
    ASSERT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("load"), writeFile(QStringLiteral("l.json"), kLists)}).exitCode, 0);
    const QJsonObject before = dump();
    const QString call = uriOf(before, "tasks", QStringLiteral("call"));
    const QString aFile = writeFile(QStringLiteral("not-a-folder"), "x");
    struct Case {
        QStringList arguments;
        QString message;
    };
    const Case cases[] = {
        {{QStringLiteral("--data-dir"), dataDir(), QStringLiteral("archive"), call, QStringLiteral("--category")}, QStringLiteral("archive: --category needs a value")},
        {{QStringLiteral("--data-dir"), dataDir(), QStringLiteral("archive"), call, QStringLiteral("--category"), QStringLiteral("--tags"), QStringLiteral("x")},
         QStringLiteral("archive: --category needs a value")},
        {{QStringLiteral("--data-dir"), dataDir(), QStringLiteral("archive"), call, QStringLiteral("--category"), QStringLiteral("Old"), QStringLiteral("--tags")},
         QStringLiteral("archive: --tags needs a value")},
        {{QStringLiteral("--data-dir"), aFile, QStringLiteral("dump")}, QStringLiteral("--data-dir ") + aFile + QStringLiteral(" is a file, not a folder")},
        {{QStringLiteral("--data-dir=") + aFile, QStringLiteral("dump")}, QStringLiteral("is a file, not a folder")},
        {{QStringLiteral("--data-dir"), aFile + QStringLiteral("/below/it"), QStringLiteral("dump")}, QStringLiteral("lies under ") + aFile + QStringLiteral(", which is a file")},
        // Home shows water, Dig and call: two others, so 0 to 2.
        {{QStringLiteral("--data-dir"), dataDir(), QStringLiteral("move"), call, QStringLiteral("--to-position"), QStringLiteral("3")},
         QStringLiteral("move: --to-position 3 is past the end: the list shows 2 other tasks, so N is 0 to 2")},
        {{QStringLiteral("--data-dir"), dataDir(), QStringLiteral("move"), call, QStringLiteral("--to-position"), QStringLiteral("-1")},
         QStringLiteral("move: --to-position takes the number of tasks to put before the task")},
    };
    for (const Case& c : cases) {
        const CliRun r = vyro(c.arguments);
        EXPECT_EQ(r.exitCode, 2) << c.arguments.join(QLatin1Char(' ')).toStdString();
        EXPECT_TRUE(r.err.startsWith(QStringLiteral("vyro: ")) && r.err.contains(c.message)) << r.err.toStdString();
    }
    EXPECT_EQ(dump(), before);
    QFile file(aFile);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("x"));
    // The last valid position still moves.
    const CliRun last = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("move"), QStringLiteral("--json"), uriOf(before, "tasks", QStringLiteral("water")),
                              QStringLiteral("--to-position"), QStringLiteral("2")});
    EXPECT_EQ(last.exitCode, 0) << last.err.toStdString();
    EXPECT_EQ(taskNames(last.out), QStringList({"Dig", "call", "water"}));
}

// With the call stack cut to a quarter of a megabyte, a walk that recursed once per level would crash
// on this chain; nothing here may.
TEST_F(CliTest, DeepChainsLoadListAndRenameOnASmallStack)
{
    constexpr int kDepth = 3000;
    auto small = [&](QStringList arguments) {
        QProcess p;
        p.setProcessEnvironment(environment());
        p.start(QStringLiteral("/bin/sh"), QStringList {QStringLiteral("-c"), QStringLiteral("ulimit -s 256 && exec \"$0\" \"$@\""), QStringLiteral(VYRO_BINARY),
                                                        QStringLiteral("--data-dir"), dataDir()} + arguments);
        EXPECT_TRUE(p.waitForFinished(120000));
        EXPECT_EQ(p.exitStatus(), QProcess::NormalExit) << arguments.join(u' ').toStdString();
        const CliRun r {p.exitCode(), QString::fromUtf8(p.readAllStandardOutput()), QString::fromUtf8(p.readAllStandardError())};
        EXPECT_EQ(r.exitCode, 0) << arguments.join(u' ').toStdString() << ": " << r.err.toStdString();
        return r;
    };
    small({QStringLiteral("load"), writeFile(QStringLiteral("chain.json"), chainJson(kDepth))});

    QStringList names;
    for (int i = 0; i < kDepth; ++i)
        names << QStringLiteral("c%1").arg(i);
    const QJsonArray contexts = QJsonDocument::fromJson(small({QStringLiteral("folders"), QStringLiteral("--contexts")}).out.toUtf8()).object().value(QStringLiteral("contexts")).toArray();
    ASSERT_EQ(contexts.size(), kDepth + 1); // and the Inbox
    const QJsonObject root = findByName(contexts, QStringLiteral("c0"), "pathName");
    const QJsonObject deepest = findByName(contexts, names.join(QStringLiteral(" > ")), "pathName");
    EXPECT_EQ(root.value(QStringLiteral("pending")).toArray(), QJsonArray({0, 1}));
    EXPECT_EQ(deepest.value(QStringLiteral("pending")).toArray(), QJsonArray({1, 1}));
    EXPECT_EQ(deepest.value(QStringLiteral("displayPathNameForList")).toString(), QString(kDepth - 1, u' ') + names.last());

    // A loaded folder is found by its path at once.
    const CliRun listed = small({QStringLiteral("list"), QStringLiteral("--folder"), names.join(QStringLiteral(" > ")), QStringLiteral("--json")});
    EXPECT_TRUE(listed.out.contains(QStringLiteral("\"deep\""))) << listed.out.toStdString();

    // Renaming the root renames every path below and rewrites one row: the file does not grow.
    const qint64 before = QFileInfo(dataFile()).size();
    small({QStringLiteral("set"), root.value(QStringLiteral("uri")).toString(), QStringLiteral("name=Top")});
    EXPECT_EQ(QFileInfo(dataFile()).size(), before);
    names.first() = QStringLiteral("Top");
    const QJsonArray renamed = QJsonDocument::fromJson(small({QStringLiteral("folders"), QStringLiteral("--contexts")}).out.toUtf8()).object().value(QStringLiteral("contexts")).toArray();
    EXPECT_FALSE(findByName(renamed, names.join(QStringLiteral(" > ")), "pathName").isEmpty());
    EXPECT_FALSE(findByName(renamed, QStringLiteral("Top > c1"), "pathName").isEmpty());
}

// A data file in which parents lead in a circle: the first run cuts each loop once, says so on standard
// error and in the log, saves the cut, and goes on; later runs have nothing to say.
TEST_F(CliTest, ALoopOfParentsInTheDataFileIsBrokenAtOpen)
{
    QDir().mkpath(dataDir());
    QString contextUri, projectUri;
    {
        ObjectContext store(managedObjectModel());
        ASSERT_TRUE(store.addSqliteStore(dataFile()).isOk());
        // a -> b -> c -> a, and a child below them; projects p <-> q. Linked past the setters, which
        // refuse loops, as a faulty file would hold them.
        std::vector<Record*> c;
        for (const char* name : {"a", "b", "c", "below"}) {
            c.push_back(store.insertNewObject(QStringLiteral("context")));
            ASSERT_TRUE(c.back()->setValueForKey(u"name", Value::string(QLatin1String(name))).isOk());
        }
        c[0]->setToOne(Context::Rel::parentContext, c[1]);
        c[1]->setToOne(Context::Rel::parentContext, c[2]);
        c[2]->setToOne(Context::Rel::parentContext, c[0]);
        c[3]->setToOne(Context::Rel::parentContext, c[2]);
        Record* p = store.insertNewObject(QStringLiteral("project"));
        Record* q = store.insertNewObject(QStringLiteral("project"));
        ASSERT_TRUE(p->setValueForKey(u"name", Value::string(QStringLiteral("p"))).isOk());
        ASSERT_TRUE(q->setValueForKey(u"name", Value::string(QStringLiteral("q"))).isOk());
        p->setToOne(Project::Rel::parentProject, q);
        q->setToOne(Project::Rel::parentProject, p);
        ASSERT_TRUE(store.save().isOk());
        contextUri = c[1]->uri();
        projectUri = q->uri();
    }

    // Setters walk up the parents: they would never come back from a loop.
    const CliRun first = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("set"), contextUri, QStringLiteral("name=bee")});
    EXPECT_EQ(first.exitCode, 0) << first.err.toStdString();
    EXPECT_EQ(first.err.split(u'\n', Qt::SkipEmptyParts),
              QStringList({QStringLiteral("vyro: The data file held a loop of parent folders: the context \"a\" was moved to the top level."),
                           QStringLiteral("vyro: The data file held a loop of parent folders: the project \"p\" was moved to the top level.")}));
    QFile log(home.filePath(QStringLiteral("data/Vyro/debug.log")));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(log.readAll()).count(QStringLiteral("Loop of parent folders: the parent link of")), 2);

    const CliRun second = vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("folders")});
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_TRUE(second.err.isEmpty()) << second.err.toStdString();
    const QJsonObject folders = QJsonDocument::fromJson(second.out.toUtf8()).object();
    for (const char* path : {"a", "a > c", "a > c > bee", "a > c > below"})
        EXPECT_FALSE(findByName(folders.value(QStringLiteral("contexts")).toArray(), QLatin1String(path), "pathName").isEmpty()) << path;
    for (const char* path : {"p", "p > q"})
        EXPECT_FALSE(findByName(folders.value(QStringLiteral("projects")).toArray(), QLatin1String(path), "pathName").isEmpty()) << path;
    EXPECT_EQ(vyro({QStringLiteral("--data-dir"), dataDir(), QStringLiteral("set"), projectUri, QStringLiteral("active=false")}).exitCode, 0);
}
