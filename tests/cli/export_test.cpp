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

TEST_F(ExportCommandTest, WritesTheViewThroughTheChosenSet)
{
    const QString out = home.filePath(QStringLiteral("out.csv"));
    const struct {
        QString arguments;
        QString expected;
    } rows[] = {
        {QStringLiteral("--view contexts --all --format csv"),
         QStringLiteral("Task,Context,Project,Priority,Start date,Due date,Contact,Flagged,Note\n"
                        "water, then \"feed\",Home,Garden,2,,,,flagged,roses<br/>and tulips\n"
                        "oil the mower,Shed,,1,,,,notflagged,\n")},
        {QStringLiteral("--view contexts --folder Shed --format csv"),
         QStringLiteral("Task,Context,Project,Priority,Start date,Due date,Contact,Flagged,Note\noil the mower,Shed,,1,,,,notflagged,\n")},
        {QStringLiteral("--view projects --folder Garden --format csv"),
         QStringLiteral("Task,Context,Project,Priority,Start date,Due date,Contact,Flagged,Note\n"
                        "water, then \"feed\",Home,Garden,2,,,,flagged,roses<br/>and tulips\n")},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.arguments.toStdString());
        ASSERT_EQ(run(QStringList{QStringLiteral("export")} + r.arguments.split(QLatin1Char(' ')) + QStringList{out}), 0) << err.toStdString();
        EXPECT_EQ(read(out), r.expected);
    }
    ASSERT_EQ(run({QStringLiteral("export"), QStringLiteral("--view"), QStringLiteral("contexts"), QStringLiteral("--all"),
                   QStringLiteral("--format"), QStringLiteral("html"), out}), 0);
    EXPECT_TRUE(read(out).contains(QStringLiteral("<h2>Home</h2>")));
}

TEST_F(ExportCommandTest, RefusesWhatItCannotDoAndLeavesTheFileAlone)
{
    const QString out = home.filePath(QStringLiteral("keep.txt"));
    QFile f(out);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("before");
    f.close();
    const struct {
        QString arguments;
        int exitCode;
    } rows[] = {
        {QStringLiteral("--view contexts --format csv"), 2},                  // neither --folder nor --all
        {QStringLiteral("--view contexts --all --folder Home --format csv"), 2},
        {QStringLiteral("--view completed --all --format csv"), 2},
        {QStringLiteral("--view contexts --all --format pdf"), 2},
        {QStringLiteral("--view contexts --folder Nowhere --format csv"), 2},
        {QStringLiteral("--view contexts --all --format"), 2},
        {QStringLiteral("--view contexts --all --format csv --bogus"), 2},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.arguments.toStdString());
        QStringList arguments = QStringList{QStringLiteral("export")} + r.arguments.split(QLatin1Char(' '));
        if (!r.arguments.endsWith(QLatin1String("--format")))
            arguments << out;
        EXPECT_EQ(run(arguments), r.exitCode);
        EXPECT_TRUE(err.startsWith(QStringLiteral("vyro: export: "))) << err.toStdString();
        EXPECT_EQ(read(out), QStringLiteral("before"));
    }
    const QString missingFolder = home.filePath(QStringLiteral("no/such/folder/out.csv"));
    EXPECT_EQ(run({QStringLiteral("export"), QStringLiteral("--view"), QStringLiteral("contexts"), QStringLiteral("--all"),
                   QStringLiteral("--format"), QStringLiteral("csv"), missingFolder}), 1);
    EXPECT_TRUE(err.contains(missingFolder)) << err.toStdString();
    EXPECT_FALSE(QFile::exists(missingFolder));
}

} // namespace
