// Black-box tests of the commands that take files in and out: backup, restore and import.

#include "store/datafilelock.h"
#include "support/vyroprocess.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringEncoder>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sqlite3.h>

namespace {

class FileCommandsTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(home.isValid()); }

    Outcome vyro(QStringList arguments, const QByteArray& input = {})
    {
        return runVyro(home.path(), home.path(), QStringList{QStringLiteral("--data-dir"), dataDir()} + arguments, {}, input);
    }

    QString dataDir() const { return home.filePath(QStringLiteral("store")); }
    QString dataFile() const { return dataDir() + QStringLiteral("/Vyro.sql"); }
    QString file(const QString& name, const QByteArray& content)
    {
        QFile f(home.filePath(name));
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(content);
        return f.fileName();
    }

    // The task names of the store, sorted; "!" and the error when it cannot be read.
    QStringList taskNames() { return sortedTaskNames(vyro({QStringLiteral("dump")})); }

    void add(const QString& name) { ASSERT_EQ(vyro({QStringLiteral("add"), name}).exitCode, 0); }

    QTemporaryDir home;
};

TEST_F(FileCommandsTest, BackupThenRestoreBringsTheSavedStateBack)
{
    add(QStringLiteral("first"));
    const Outcome backup = vyro({QStringLiteral("backup"), QStringLiteral("saved.sql")}); // relative to the caller
    ASSERT_EQ(backup.exitCode, 0) << backup.err.toStdString();
    EXPECT_EQ(backup.out.trimmed(), QStringLiteral("File backed up successfully."));
    add(QStringLiteral("second"));

    const Outcome restore = vyro({QStringLiteral("restore"), home.filePath(QStringLiteral("saved.sql"))});
    ASSERT_EQ(restore.exitCode, 0) << restore.err.toStdString();
    EXPECT_EQ(taskNames(), QStringList{QStringLiteral("first")});
    // The data file as it was before is kept beside it, and can itself be restored.
    const QString kept = dataDir() + QStringLiteral("/Vyro.sql.before-restore.bkp");
    EXPECT_TRUE(restore.out.contains(kept)) << restore.out.toStdString();
    ASSERT_EQ(vyro({QStringLiteral("restore"), kept}).exitCode, 0);
    EXPECT_EQ(taskNames(), (QStringList{QStringLiteral("first"), QStringLiteral("second")}));
}

TEST_F(FileCommandsTest, RestoreRefusesAndLeavesTheDataFile)
{
    add(QStringLiteral("kept"));
    sqlite3* db = nullptr;
    sqlite3_open(QFile::encodeName(home.filePath(QStringLiteral("other.sqlite"))).constData(), &db);
    sqlite3_exec(db, "CREATE TABLE notes(x)", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    ASSERT_EQ(vyro({QStringLiteral("backup"), home.filePath(QStringLiteral("good.sql"))}).exitCode, 0);
    const struct {
        const char* name;
        QString source;
        bool holdLock; // as the running program holds it
        int exitCode;
        const char* message;
    } cases[] = {
        {"text file", file(QStringLiteral("notes.txt"), QByteArray("Buy milk\n").repeated(40)), false, 2, "not a Vyro data file"},
        {"other SQLite file", home.filePath(QStringLiteral("other.sqlite")), false, 2, "not a Vyro data file"},
        {"empty file", file(QStringLiteral("empty.sql"), {}), false, 2, "not a Vyro data file"},
        {"missing file", home.filePath(QStringLiteral("missing.sql")), false, 2, "does not exist"},
        {"the data file itself", dataFile(), false, 2, "is the data file itself"},
        {"data file in use", home.filePath(QStringLiteral("good.sql")), true, 1, "is in use"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::unique_ptr<DataFileLock> lock;
        if (c.holdLock) {
            auto held = DataFileLock::acquire(dataFile());
            ASSERT_TRUE(held.isOk());
            lock = std::move(*held);
        }
        const Outcome r = vyro({QStringLiteral("restore"), c.source});
        lock.reset();
        EXPECT_EQ(r.exitCode, c.exitCode);
        EXPECT_TRUE(r.err.contains(QLatin1String(c.message))) << r.err.toStdString();
        EXPECT_EQ(taskNames(), QStringList{QStringLiteral("kept")});
        EXPECT_FALSE(QFile::exists(dataDir() + QStringLiteral("/Vyro.sql.before-restore.bkp")));
    }
}

TEST_F(FileCommandsTest, BackupFailures)
{
    const Outcome none = vyro({QStringLiteral("backup"), home.filePath(QStringLiteral("b.sql"))});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_TRUE(none.err.contains(QLatin1String("no data file"))) << none.err.toStdString();
    EXPECT_EQ(vyro({QStringLiteral("backup")}).exitCode, 2);
}

TEST_F(FileCommandsTest, ImportIntoAFolderOfAView)
{
    const QString folders = file(QStringLiteral("folders.json"), R"({"contexts": [{"uri": "c", "name": "Home"}],
        "projects": [{"uri": "p", "name": "House", "active": true}]})");
    ASSERT_EQ(vyro({QStringLiteral("load"), folders}).exitCode, 0);
    QStringEncoder utf16(QStringConverter::Utf16BE, QStringConverter::Flag::WriteBom);
    const QString utf16File = file(QStringLiteral("utf16.txt"), QByteArray(utf16.encode(QStringLiteral("  Zoë  \n"))));
    const QString plain = file(QStringLiteral("plain.txt"), "Buy milk\n\n   \n  Call Bob  \n@home call #today\n");
    const struct {
        QStringList arguments;
        QByteArray input;
        int exitCode;
        QStringList added; // sorted
    } cases[] = {
        {{QStringLiteral("import"), plain}, {}, 0, {QStringLiteral("@home call #today"), QStringLiteral("Buy milk"), QStringLiteral("Call Bob")}},
        {{QStringLiteral("import"), plain, QStringLiteral("--view"), QStringLiteral("projects"), QStringLiteral("--folder"), QStringLiteral("House")},
         {}, 0, {QStringLiteral("  Call Bob  "), QStringLiteral("@home call #today"), QStringLiteral("Buy milk")}},
        {{QStringLiteral("import"), utf16File, QStringLiteral("--folder"), QStringLiteral("Home")}, {}, 0, {QStringLiteral("Zoë")}},
        {{QStringLiteral("import"), QStringLiteral("-")}, "a\r\n", 0, {QStringLiteral("a\r")}},
        {{QStringLiteral("import"), plain, QStringLiteral("--view"), QStringLiteral("projects")}, {}, 2, {}},
        {{QStringLiteral("import"), plain, QStringLiteral("--view"), QStringLiteral("completed")}, {}, 2, {}},
        {{QStringLiteral("import"), plain, QStringLiteral("--folder"), QStringLiteral("Nowhere")}, {}, 2, {}},
        {{QStringLiteral("import"), home.filePath(QStringLiteral("missing.txt"))}, {}, 1, {}},
        {{QStringLiteral("import")}, {}, 2, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments.join(u' ').toStdString());
        const QStringList before = taskNames();
        const Outcome r = vyro(c.arguments, c.input);
        EXPECT_EQ(r.exitCode, c.exitCode) << r.err.toStdString();
        QStringList added = taskNames();
        for (const QString& name : before)
            added.removeOne(name);
        EXPECT_EQ(added, c.added);
    }
}

} // namespace
