// Black-box tests of `vyro export`: the real binary on a temporary data folder.

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const char* kStore = R"({
  "contexts": [
    {"uri": "c-inbox", "name": "Inbox", "isInbox": true},
    {"uri": "c-home", "name": "Home", "isInbox": false},
    {"uri": "c-shed", "name": "Shed", "isInbox": false}
  ],
  "projects": [{"uri": "p-garden", "name": "Garden", "active": true, "hasSingleTasks": false}],
  "tasks": [
    {"uri": "t1", "name": "water, then \"feed\"", "priority": 2, "parentContext": "c-home", "parentProject": "p-garden",
     "content": "roses\nand tulips", "done": false, "archived": false, "cleanedUp": false, "maybe": false, "nextAction": true},
    {"uri": "t2", "name": "oil the mower", "priority": 1, "parentContext": "c-shed",
     "done": false, "archived": false, "cleanedUp": false, "maybe": false, "nextAction": false}
  ]
})";

class ExportCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(home.isValid());
        QFile f(home.filePath(QStringLiteral("store.json")));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(kStore);
        f.close();
        ASSERT_EQ(run({QStringLiteral("load"), f.fileName()}), 0) << err.toStdString();
    }

    int run(const QStringList& arguments)
    {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
        p.setProcessEnvironment(env);
        p.start(QStringLiteral(VYRO_BINARY), QStringList{QStringLiteral("--data-dir"), home.filePath(QStringLiteral("store"))} + arguments);
        EXPECT_TRUE(p.waitForFinished(60000));
        err = QString::fromUtf8(p.readAllStandardError());
        return p.exitCode();
    }

    QString read(const QString& path)
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    }

    QTemporaryDir home;
    QString err;
};

// Each row runs the command on FILE, which holds "before" at the start; a refused or failed export
// leaves it as it was.
TEST_F(ExportCommandTest, WritesTheViewOrLeavesTheFileAlone)
{
    const QString out = home.filePath(QStringLiteral("out.csv"));
    const QString header = QStringLiteral("Task,Context,Project,Priority,Start date,Due date,Contact,Flagged,Note\n");
    const QString water = QStringLiteral("water, then \"feed\",Home,Garden,2,,,,flagged,roses<br/>and tulips\n");
    const QString mower = QStringLiteral("oil the mower,Shed,,1,,,,notflagged,\n");
    const struct {
        QString arguments;
        int exitCode;
        QString written;
    } rows[] = {
        {QStringLiteral("--view contexts --all --format csv"), 0, header + water + mower},
        {QStringLiteral("--view contexts --folder Shed --format csv"), 0, header + mower},
        {QStringLiteral("--view projects --folder Garden --format csv"), 0, header + water},
        {QStringLiteral("--view contexts --format csv"), 2, {}}, // neither --folder nor --all
        {QStringLiteral("--view contexts --all --folder Home --format csv"), 2, {}},
        {QStringLiteral("--view completed --all --format csv"), 2, {}},
        {QStringLiteral("--view contexts --all --format pdf"), 2, {}},
        {QStringLiteral("--view contexts --folder Nowhere --format csv"), 2, {}},
        {QStringLiteral("--view contexts --all --format csv --bogus"), 2, {}},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.arguments.toStdString());
        QFile f(out);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("before");
        f.close();
        EXPECT_EQ(run(QStringList{QStringLiteral("export")} + r.arguments.split(QLatin1Char(' ')) + QStringList{out}), r.exitCode) << err.toStdString();
        EXPECT_EQ(read(out), r.exitCode == 0 ? r.written : QStringLiteral("before"));
        if (r.exitCode != 0) {
            EXPECT_TRUE(err.startsWith(QStringLiteral("vyro: export: "))) << err.toStdString();
        }
    }
    const QString missingFolder = home.filePath(QStringLiteral("no/such/folder/out.csv"));
    EXPECT_EQ(run({QStringLiteral("export"), QStringLiteral("--view"), QStringLiteral("contexts"), QStringLiteral("--all"),
                   QStringLiteral("--format"), QStringLiteral("csv"), missingFolder}), 1);
    EXPECT_TRUE(err.contains(missingFolder)) << err.toStdString();
}

} // namespace
