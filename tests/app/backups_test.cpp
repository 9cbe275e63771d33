#include "app/backups.h"

#include "support/logcapture.h"
#include "support/storefixture.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <atomic>
#include <thread>

#include <sqlite3.h>

namespace {

class BackupsTest : public StoreFixture {
protected:
    // The data file holds tasks "1" … "n" and the context "state" named n, all from one save each.
    void writeState(ObjectContext& store, int n)
    {
        Context* state = nullptr;
        for (Record* r : store.allObjects(QStringLiteral("context")))
            state = static_cast<Context*>(r);
        if (!state)
            state = store.insertNewObject<Context>(QStringLiteral("context"));
        state->setName(QString::number(n));
        store.insertNewObject<Task>(QStringLiteral("task"))->setName(QString::number(n));
    }

    // "" when `file` is a whole data file whose tasks and counter agree; else what is wrong. Returns
    // the counter through `n`.
    static QString checkState(const QString& file, int* n)
    {
        sqlite3* db = nullptr;
        sqlite3_open_v2(QFile::encodeName(file).constData(), &db, SQLITE_OPEN_READONLY, nullptr);
        sqlite3_stmt* st = nullptr;
        QString integrity;
        if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &st, nullptr) == SQLITE_OK && sqlite3_step(st) == SQLITE_ROW)
            integrity = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(st, 0)));
        sqlite3_finalize(st);
        sqlite3_close(db);
        if (integrity != QLatin1String("ok"))
            return QStringLiteral("integrity: ") + integrity;

        ObjectContext store(managedObjectModel());
        if (Status s = store.addSqliteStore(file); !s.isOk())
            return s.toString();
        const auto contexts = store.allObjects(QStringLiteral("context"));
        if (contexts.size() != 1)
            return QStringLiteral("%1 counters").arg(contexts.size());
        *n = static_cast<Context*>(contexts.front())->name().toInt();
        QStringList names;
        for (Record* r : store.allObjects(QStringLiteral("task")))
            names << static_cast<Task*>(r)->name();
        names.sort();
        QStringList expected;
        for (int i = 1; i <= *n; ++i)
            expected << QString::number(i);
        expected.sort();
        return names == expected ? QString() : QStringLiteral("counter %1 with tasks %2").arg(*n).arg(names.join(u','));
    }

    QString stateOf(const QString& file)
    {
        int n = -1;
        const QString wrong = checkState(file, &n);
        return wrong.isEmpty() ? QString::number(n) : wrong;
    }

    // The data file at state n, saved, with the store let go.
    void saveState(int n)
    {
        for (int i = counter + 1; i <= n; ++i)
            writeState(*context, i);
        counter = n;
        save();
    }

    int counter = 0;
};

// A writer saves in a loop on its own connection while copies are taken; every copy is a whole saved
// state, never a mixture of two saves or a torn page.
TEST_F(BackupsTest, CopiesAreWholeWhileTheStoreIsBeingSaved)
{
    saveState(1);
    context.reset(); // the writer thread takes the store over
    std::atomic<bool> stop{false};
    std::atomic<int> saved{1};
    std::thread writer([&] {
        ObjectContext store(managedObjectModel());
        if (!store.addSqliteStore(dataFilePath()).isOk())
            return;
        for (int n = 2; !stop; ++n) {
            writeState(store, n);
            if (!store.save().isOk())
                return;
            saved = n;
        }
    });
    int copies = 0;
    int lastSeen = 0;
    int distinct = 0;
    while (copies < 30 || distinct < 5) {
        const QString target = path(QStringLiteral("copy-%1.sql").arg(copies % 3));
        const Status s = copyDataFile(dataFilePath(), target);
        ASSERT_TRUE(s.isOk()) << s;
        int n = -1;
        const QString wrong = checkState(target, &n);
        ASSERT_TRUE(wrong.isEmpty()) << "copy " << copies << ": " << wrong;
        EXPECT_GE(n, lastSeen); // a later copy never goes back to an older state
        distinct += n != lastSeen;
        lastSeen = n;
        ++copies;
        ASSERT_LT(copies, 2000) << "the writer made no progress";
    }
    stop = true;
    writer.join();
    EXPECT_GT(saved.load(), 5);
    // Nothing but the data file and the copies (with the locks of their readers here): no temporary
    // file stayed behind.
    const QRegularExpression expected(QStringLiteral("^(Vyro|copy-\\d)\\.sql(\\.lock)?$"));
    for (const QString& name : QDir(path(QString())).entryList(QDir::Files))
        EXPECT_TRUE(expected.match(name).hasMatch()) << name;
}

TEST_F(BackupsTest, AutomaticBackupsLogAndReplaceTheirFile)
{
    const struct {
        void (*action)(const QString&);
        const char* message;
        const char* fileName;
    } cases[] = {
        {backupAtStartupAction, "Backuping file at startup to...", "Vyro.sql.startup.bkp"},
        {backupAtSyncAction, "Backuping file before sync to...", "Vyro.sql.sync.bkp"},
        {backupAtDotMacAction, "Backuping file before cloud disk syncing to...", "Vyro.sql.dotmac.bkp"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fileName);
        const QString target = path(QLatin1String(c.fileName));
        // Twice in a row: the second backup holds the file as the first run left it.
        for (int n : {counter + 1, counter + 2}) {
            saveState(n);
            const QStringList log = loggedBy([&] { c.action(dataFilePath()); });
            EXPECT_EQ(log, (QStringList{QLatin1String(c.message), target}));
            EXPECT_EQ(stateOf(target), QString::number(n));
        }
    }
}

TEST_F(BackupsTest, RestoreFromCloudDiskBackup)
{
    saveState(2);
    backupAtDotMacAction(dataFilePath());
    saveState(5);
    context.reset();
    const QStringList log = loggedBy([&] { EXPECT_TRUE(restoreFromDotMacBackup(dataFilePath()).isOk()); });
    EXPECT_EQ(log.value(0), QStringLiteral("Restoring data file from cloud disk local backup:..."));
    EXPECT_EQ(stateOf(dataFilePath()), QStringLiteral("2"));

    // No backup: the data file stays.
    QFile::remove(path(QStringLiteral("Vyro.sql.dotmac.bkp")));
    EXPECT_FALSE(restoreFromDotMacBackup(dataFilePath()).isOk());
    EXPECT_EQ(stateOf(dataFilePath()), QStringLiteral("2"));
}

// Failed copies leave the target as it was and nothing else behind; the manual backup's message
// follows the outcome.
TEST_F(BackupsTest, FailedCopiesChangeNothing)
{
    saveState(3);
    QFile text(path(QStringLiteral("notes.txt")));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("just some text, long enough to be looked at as a database header");
    text.close();
    const QString existing = path(QStringLiteral("old.sql"));
    ASSERT_TRUE(copyDataFile(dataFilePath(), existing).isOk());
    saveState(4);
    const struct {
        const char* name;
        QString source;
        QString target;
        Status::Code code;
    } cases[] = {
        {"no source", path(QStringLiteral("missing.sql")), existing, Status::Code::NotFound},
        {"source not SQLite", text.fileName(), existing, Status::Code::Corruption},
        {"no target folder", dataFilePath(), path(QStringLiteral("none/b.sql")), Status::Code::IoError},
        {"target folder is a file", dataFilePath(), text.fileName() + QStringLiteral("/b.sql"), Status::Code::IoError},
        {"onto itself", existing, path(QStringLiteral("./old.sql")), Status::Code::InvalidArgument},
    };
    // The files here, leaving out the locks that opening a copy to look at it makes.
    auto files = [this] { return QDir(path(QString())).entryList(QDir::Files).filter(QRegularExpression(QStringLiteral("^(?!.*\\.lock$)"))); };
    const QStringList before = files();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Status s = backupManually(c.source, c.target);
        EXPECT_EQ(s.code(), c.code) << s;
        EXPECT_EQ(manualBackupMessage(s), QStringLiteral("There was an error when backing up the data file."));
        EXPECT_EQ(stateOf(existing), QStringLiteral("3"));
        EXPECT_EQ(files(), before);
    }
    const Status s = backupManually(dataFilePath(), existing);
    EXPECT_EQ(manualBackupMessage(s), QStringLiteral("File backed up successfully.")) << s;
    EXPECT_EQ(stateOf(existing), QStringLiteral("4"));
}

} // namespace
