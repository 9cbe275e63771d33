// Commands carried out for another process inside the running program, over its already open data.

#include "app/coredataappdelegate.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "cli/commandline.h"
#include "store/objectcontext.h"
#include "store/undostack.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class HostedCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(home.isValid());
        preferences = std::make_unique<Preferences>(home.filePath(QStringLiteral("prefs.ini")));
        registerDefaults(*preferences);
        delegate = std::make_unique<CoreData_AppDelegate>(*preferences, home.filePath(QStringLiteral("data")));
        ASSERT_TRUE(delegate->loadPersistentStoreCoordinator().isOk());
        delegate->prepareStoreForWork();
        store().undoManager().removeAllActions();
    }

    ObjectContext& store() { return delegate->managedObjectContext(); }
    qsizetype tasks() { return store().countForEntity(QStringLiteral("task")); }

    struct Run {
        int status;
        QString out;
        QString err;
    };
    Run run(const QStringList& arguments, const QString& workingDirectory = {}, const QByteArray& input = {}, QString dataFile = {})
    {
        CommandHost host{*delegate, *preferences, workingDirectory.isEmpty() ? home.path() : workingDirectory, input};
        QByteArray out, err;
        const int status = runHostedCommandLine(QStringList{QStringLiteral("vyro")} + arguments,
                                                dataFile.isEmpty() ? delegate->currentDataFilePath() : dataFile, host, out, err);
        return {status, QString::fromUtf8(out), QString::fromUtf8(err)};
    }

    QTemporaryDir home;
    std::unique_ptr<Preferences> preferences;
    std::unique_ptr<CoreData_AppDelegate> delegate;
};

const QByteArray kOneTask = R"({"tasks": [{"uri": "t1", "name": "Loaded task"}]})";

TEST_F(HostedCommandTest, CommandsGiveTheirStatusAndOutputInTheBuffers)
{
    QTemporaryDir elsewhere;
    QFile file(elsewhere.filePath(QStringLiteral("one.json")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(kOneTask);
    file.close();

    struct Case {
        QStringList arguments;
        QString workingDirectory;
        QByteArray input;
        int status;
        const char* out;   // part of standard output
        const char* err;   // part of standard error
        int newTasks;
    };
    const Case cases[] = {
        {{"add", "Call Ann"}, {}, {}, ExitOk, "\"name\": \"Call Ann\"", "", 1},
        // Relative paths are the sender's, not this process's.
        {{"load", "one.json"}, elsewhere.path(), {}, ExitOk, "Loaded 1 tasks", "", 1},
        {{"load", "one.json"}, home.path(), {}, ExitFailure, "", "cannot read one.json", 0},
        // Standard input is the sender's too; this process's own is never read.
        {{"load", "-"}, {}, kOneTask, ExitOk, "Loaded 1 tasks", "", 1},
        {{"load", "-"}, {}, "[1]", ExitUsage, "", "standard input", 0},
        {{"set", "x-coredata://nowhere/task/p1", "name=x"}, {}, {}, ExitUsage, "", "vyro: ", 0},
        {{"frobnicate"}, {}, {}, ExitUsage, "", "unknown command \"frobnicate\"", 0},
        {{"import", "-"}, {}, "Buy milk\n\n  Call Bob\n", ExitOk, "Imported 2 tasks", "", 2},
        // The running program's data file is never replaced under it.
        {{"restore", "one.json"}, elsewhere.path(), {}, ExitFailure, "", "quit it, then restore", 0},
        {{}, {}, {}, ExitUsage, "", "no command given", 0},
        {{"--version"}, {}, {}, ExitOk, "vyro ", "", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments.join(QLatin1Char(' ')).toStdString());
        const qsizetype before = tasks();
        const Run r = run(c.arguments, c.workingDirectory, c.input);
        EXPECT_EQ(r.status, c.status) << r.err.toStdString();
        EXPECT_TRUE(r.out.contains(QLatin1String(c.out))) << r.out.toStdString();
        EXPECT_TRUE(r.err.contains(QLatin1String(c.err))) << r.err.toStdString();
        EXPECT_EQ(tasks() - before, c.newTasks);
        EXPECT_FALSE(store().hasChanges()) << "a command left changes unsaved";
    }
}

TEST_F(HostedCommandTest, ARequestForAnotherDataFileIsRefusedUntouched)
{
    const qsizetype before = tasks();
    const Run r = run({QStringLiteral("add"), QStringLiteral("x")}, {}, {}, home.filePath(QStringLiteral("other/Vyro.sql")));
    EXPECT_EQ(r.status, ExitFailure);
    EXPECT_TRUE(r.err.contains(QStringLiteral("other/Vyro.sql"))) << r.err.toStdString();
    EXPECT_TRUE(r.err.contains(delegate->currentDataFilePath())) << r.err.toStdString();
    EXPECT_EQ(tasks(), before);
    // Another spelling of the same file is the same file.
    EXPECT_EQ(run({QStringLiteral("add"), QStringLiteral("y")}, {}, {}, home.filePath(QStringLiteral("data/./Vyro.sql"))).status, ExitOk);
}

TEST_F(HostedCommandTest, EachCommandIsOneNamedUndoStepAndReachesObserversAtOnce)
{
    int batches = 0;
    QObject::connect(&store(), &ObjectContext::objectsDidChange, [&] { ++batches; });
    const qsizetype before = tasks();
    ASSERT_EQ(run({QStringLiteral("add"), QStringLiteral("First @Home")}).status, ExitOk);
    EXPECT_GE(batches, 1) << "the window would not see the task until some later event";
    ASSERT_EQ(run({QStringLiteral("add"), QStringLiteral("Second")}).status, ExitOk);
    ASSERT_EQ(tasks(), before + 2);
    EXPECT_TRUE(store().undoManager().undoActionName().contains(QStringLiteral("add"))) << store().undoManager().undoActionName().toStdString();
    store().undo();
    store().processPendingChanges();
    EXPECT_EQ(tasks(), before + 1);
    store().undo();
    store().processPendingChanges();
    EXPECT_EQ(tasks(), before);
}

TEST(DesktopRequested, LinksAndFilesStartTheDesktopAndEverythingElseIsACommand)
{
    struct Case {
        QStringList arguments;
        bool desktop;
        QStringList uris;
    };
    const Case cases[] = {
        {{}, true, {}},
        {{"vyro://store/task/p1"}, true, {"vyro://store/task/p1"}},
        {{"--data-dir", "/tmp", "file:///tmp/a%20b.txt", "vyro://x/task/p2"}, true, {"file:///tmp/a%20b.txt", "vyro://x/task/p2"}},
        {{"https://example.org"}, true, {"https://example.org"}},
        {{"add", "vyro://x"}, false, {}},
        {{"open", "vyro://x"}, false, {}},
        {{"./relative/file.txt"}, false, {}},
        {{"--help"}, false, {}},
        {{"--data-dir"}, false, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments.join(QLatin1Char(' ')).toStdString());
        DataFolderOverride folder;
        QStringList uris;
        EXPECT_EQ(desktopRequested(QStringList{QStringLiteral("vyro")} + c.arguments, folder, uris), c.desktop);
        if (c.desktop) {
            EXPECT_EQ(uris, c.uris);
        }
    }
}

} // namespace
