// Black-box tests of `vyro cloud`, on the folder form of the cloud disk.

#include "store/datafilelock.h"
#include "support/vyroprocess.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class CloudCommandTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(home.isValid()); QDir().mkpath(synced()); }

    Outcome vyro(const QString& computer, QStringList arguments)
    {
        return runVyro(home.filePath(computer), home.path(), QStringList{QStringLiteral("--data-dir"), dataDir(computer)} + arguments,
                       {{QStringLiteral("VYRO_WEBDAV_PASSWORD"), QStringLiteral("secret")}});
    }

    QString dataDir(const QString& computer) const { return home.filePath(computer + QStringLiteral("/store")); }
    QString synced() const { return home.filePath(QStringLiteral("synced")); }

    QStringList taskNames(const QString& computer) { return sortedTaskNames(vyro(computer, {QStringLiteral("dump")})); }

    QTemporaryDir home;
};

TEST_F(CloudCommandTest, UploadOnOneComputerDownloadOnAnother)
{
    ASSERT_EQ(vyro(QStringLiteral("a"), {QStringLiteral("add"), QStringLiteral("from a")}).exitCode, 0);
    const Outcome up = vyro(QStringLiteral("a"), {QStringLiteral("cloud"), QStringLiteral("upload"), QStringLiteral("--folder"), QStringLiteral("synced")});
    ASSERT_EQ(up.exitCode, 0) << up.err.toStdString();
    EXPECT_EQ(up.out.trimmed(), QStringLiteral("Upload finished."));

    // Computer b has never run: it takes the copy.
    const Outcome down = vyro(QStringLiteral("b"), {QStringLiteral("cloud"), QStringLiteral("download"), QStringLiteral("--folder"), synced()});
    ASSERT_EQ(down.exitCode, 0) << down.err.toStdString();
    EXPECT_EQ(down.out.trimmed(), QStringLiteral("Download finished."));
    EXPECT_EQ(taskNames(QStringLiteral("b")), QStringList{QStringLiteral("from a")});

    // Now both are the same copy: nothing more to take.
    const Outcome again = vyro(QStringLiteral("b"), {QStringLiteral("cloud"), QStringLiteral("download"), QStringLiteral("--folder"), synced()});
    EXPECT_EQ(again.exitCode, 0) << again.err.toStdString();
    EXPECT_EQ(again.out.trimmed(), QStringLiteral("Nothing to download: the data file is current."));
}

TEST_F(CloudCommandTest, RefusalsAndFailures)
{
    QTcpServer closed;
    closed.listen(QHostAddress::LocalHost, 0);
    const QString nobody = QStringLiteral("http://127.0.0.1:%1/").arg(closed.serverPort());
    closed.close();
    ASSERT_EQ(vyro(QStringLiteral("a"), {QStringLiteral("add"), QStringLiteral("kept")}).exitCode, 0);
    struct Case {
        const char* name;
        QStringList arguments;
        int exitCode;
        QString errContains;
    } cases[] = {
        {"no direction", {QStringLiteral("cloud")}, 2, QStringLiteral("download or upload")},
        {"unknown direction", {QStringLiteral("cloud"), QStringLiteral("sideways")}, 2, QStringLiteral("download or upload")},
        {"unknown option", {QStringLiteral("cloud"), QStringLiteral("upload"), QStringLiteral("--bogus"), QStringLiteral("x")}, 2, QStringLiteral("--bogus")},
        {"no account", {QStringLiteral("cloud"), QStringLiteral("download")}, 2, QStringLiteral("no cloud disk is set up")},
        {"server not answering", {QStringLiteral("cloud"), QStringLiteral("upload"), QStringLiteral("--server"), nobody, QStringLiteral("--user"), QStringLiteral("alice")},
         1, QStringLiteral("Synchronization failed - cloud disk access error. Please restart Vyro to try again.")},
        {"sync folder missing", {QStringLiteral("cloud"), QStringLiteral("download"), QStringLiteral("--folder"), QStringLiteral("gone")},
         1, QStringLiteral("Synchronization failed - cloud disk service is not enabled. Please restart Vyro to try again.")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Outcome r = vyro(QStringLiteral("a"), c.arguments);
        EXPECT_EQ(r.exitCode, c.exitCode) << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(c.errContains)) << r.err.toStdString();
    }
    EXPECT_EQ(taskNames(QStringLiteral("a")), QStringList{QStringLiteral("kept")});
}

TEST_F(CloudCommandTest, DownloadIsRefusedWhileTheDataFileIsHeld)
{
    ASSERT_EQ(vyro(QStringLiteral("a"), {QStringLiteral("add"), QStringLiteral("mine")}).exitCode, 0);
    ASSERT_EQ(vyro(QStringLiteral("b"), {QStringLiteral("add"), QStringLiteral("theirs")}).exitCode, 0);
    ASSERT_EQ(vyro(QStringLiteral("b"), {QStringLiteral("cloud"), QStringLiteral("upload"), QStringLiteral("--folder"), synced()}).exitCode, 0);
    {
        auto held = DataFileLock::acquire(dataDir(QStringLiteral("a")) + QStringLiteral("/Vyro.sql"));
        ASSERT_TRUE(held.isOk());
        const Outcome r = vyro(QStringLiteral("a"), {QStringLiteral("cloud"), QStringLiteral("download"), QStringLiteral("--folder"), synced()});
        EXPECT_EQ(r.exitCode, 1);
        EXPECT_TRUE(r.err.contains(QLatin1String("in use"))) << r.err.toStdString();
    }
    EXPECT_EQ(taskNames(QStringLiteral("a")), QStringList{QStringLiteral("mine")});
}

} // namespace
