#include "exchange/dotmacsynccontroller.h"

#include "app/backups.h"
#include "app/preferencedefaults.h"
#include "app/preferences.h"
#include "exchange/clouddisktransfer.h"
#include "exchange/folderclouddisk.h"
#include "exchange/webdavclouddisk.h"
#include "support/datafiles.h"
#include "support/lighttpdshare.h"
#include "support/logcapture.h"
#include "support/storefixture.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTimeZone>
#include <QTimer>

namespace {

void writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

QByteArray readFile(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void setModified(const QString& path, const QDateTime& when)
{
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::ReadWrite)) << path;
    ASSERT_TRUE(f.setFileTime(when, QFileDevice::FileModificationTime));
}

// Partial transfers left behind in `folder`.
QStringList scratchFilesIn(const QString& folder)
{
    return QDir(folder).entryList({QStringLiteral("*.upload-*"), QStringLiteral("*.download-*")}, QDir::Files);
}

// A server that answers like a WebDAV share with a remote file, then breaks every transfer: a GET
// sends a fraction of the announced body and closes, a PUT is cut off while its body comes in. It
// prints its port, then one line per request's method.
const char* kDroppingServer = R"PY(
import socket, sys
s = socket.socket(); s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
s.bind(("127.0.0.1", 0)); s.listen(8)
print(s.getsockname()[1], flush=True)
body = b'<?xml version="1.0"?><D:multistatus xmlns:D="DAV:"><D:response><D:href>/</D:href><D:propstat><D:prop><D:getlastmodified>Sat, 01 Jan 2050 00:00:00 GMT</D:getlastmodified></D:prop><D:status>HTTP/1.1 200 OK</D:status></D:propstat></D:response></D:multistatus>'
while True:
    c, _ = s.accept()
    data = b""
    while b"\r\n\r\n" not in data:
        chunk = c.recv(65536)
        if not chunk: break
        data += chunk
    method = data.split(b" ", 1)[0].decode()
    print(method, flush=True)
    if method == "PROPFIND":
        c.sendall(b"HTTP/1.1 207 Multi-Status\r\nContent-Type: application/xml\r\nContent-Length: %d\r\nConnection: close\r\n\r\n" % len(body) + body)
    elif method == "MKCOL":
        c.sendall(b"HTTP/1.1 201 Created\r\nContent-Length: 0\r\nConnection: close\r\n\r\n")
    elif method == "GET":
        c.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 100000\r\nConnection: close\r\n\r\n" + b"SQLite format 3\0" + b"x" * 2000)
    elif method == "PUT":
        c.recv(1024)
    elif method == "DELETE":
        c.sendall(b"HTTP/1.1 204 No Content\r\nContent-Length: 0\r\nConnection: close\r\n\r\n")
    else:
        c.sendall(b"HTTP/1.1 500 Nope\r\nContent-Length: 0\r\nConnection: close\r\n\r\n")
    c.close()
)PY";

// Passes every call on to a real disk and, right after passing on the one named `stage`, runs
// `whenThere` (the test cancels there).
class StageHook : public CloudDisk {
public:
    StageHook(std::unique_ptr<CloudDisk> disk, std::string stage, std::function<void()> whenThere)
        : m_disk(std::move(disk)), m_stage(std::move(stage)), m_whenThere(std::move(whenThere)) {}

    void check(std::function<void(const Answer&)> done) override { m_disk->check(std::move(done)); reached("check"); }
    void remoteFile(std::function<void(const Answer&, const RemoteFile&)> done) override
    {
        m_disk->remoteFile(std::move(done));
        reached("remoteFile");
    }
    void download(const QString& localFile, std::function<void(const Answer&)> done) override
    {
        m_disk->download(localFile, std::move(done));
        reached("download");
    }
    void upload(const QString& localFile, std::function<void(const Answer&)> done) override
    {
        m_disk->upload(localFile, std::move(done));
        reached("upload");
    }
    QString location() const override { return m_disk->location(); }
    void cancel() override { m_disk->cancel(); }

private:
    void reached(const std::string& stage)
    {
        if (stage == m_stage)
            m_whenThere();
    }

    std::unique_ptr<CloudDisk> m_disk;
    std::string m_stage;
    std::function<void()> m_whenThere;
};

class CloudDiskTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ensureApplication();
        s_dir = std::make_unique<QTemporaryDir>();
        s_share = std::make_unique<LighttpdShare>();
        if (!s_share->start(s_dir->filePath(QStringLiteral("server")), s_dir->filePath(QStringLiteral("root"))))
            s_share.reset();
    }
    static void TearDownTestSuite()
    {
        s_share.reset();
        s_dir.reset();
    }

    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        if (!s_share)
            GTEST_SKIP() << "no WebDAV server for the tests";
        QDir(remoteRoot() + QStringLiteral("/Library")).removeRecursively();
        QDir(folderRoot()).removeRecursively();
        QDir().mkpath(folderRoot());
        m_preferences = std::make_unique<Preferences>(m_dir.filePath(QStringLiteral("prefs.ini")));
    }

    static QString remoteRoot() { return s_dir->filePath(QStringLiteral("root")); }
    static QString remoteFile() { return remoteRoot() + cloudDiskFilePath; }
    QString folderRoot() const { return m_dir.filePath(QStringLiteral("synced")); }
    QString dataFile(const QString& computer) const { return m_dir.filePath(computer + QStringLiteral("/Vyro.sql")); }

    std::unique_ptr<CloudDisk> share(const QString& password = QStringLiteral("secret"), QUrl url = {}, int timeoutMs = 5000) const
    {
        return std::make_unique<WebDavCloudDisk>(url.isEmpty() ? s_share->url() : url, QStringLiteral("alice"), password, timeoutMs);
    }

    DotMacSyncController::Outcome run(const QString& dataFilePath, std::unique_ptr<CloudDisk> disk, bool upload)
    {
        DotMacSyncController controller(dataFilePath, *m_preferences, std::move(disk),
                                        [this](const QString& title, const QString& message) {
                                            EXPECT_EQ(title, QString(CloudDiskText::title));
                                            reports << message;
                                        });
        running = &controller;
        QEventLoop loop;
        std::optional<DotMacSyncController::Outcome> outcome;
        auto done = [&](DotMacSyncController::Outcome o) {
            outcome = o;
            loop.quit();
        };
        // A guard against a hang, not a measurement.
        QTimer::singleShot(60000, &loop, &QEventLoop::quit);
        log = loggedBy([&] {
            if (upload)
                controller.uploadDataToDotMac(done);
            else
                controller.downloadDataFromDotMac(done);
            if (!outcome)
                loop.exec();
        });
        running = nullptr;
        EXPECT_TRUE(outcome.has_value()) << "the transfer never finished";
        return outcome.value_or(DotMacSyncController::Outcome::Failed);
    }

    static std::unique_ptr<QTemporaryDir> s_dir;
    static std::unique_ptr<LighttpdShare> s_share;
    QTemporaryDir m_dir;
    std::unique_ptr<Preferences> m_preferences;
    QStringList reports;
    QStringList log;
    DotMacSyncController* running = nullptr; // while run() runs
};

std::unique_ptr<QTemporaryDir> CloudDiskTest::s_dir;
std::unique_ptr<LighttpdShare> CloudDiskTest::s_share;

using Outcome = DotMacSyncController::Outcome;

TEST_F(CloudDiskTest, UploadThenDownloadOnAnotherComputerGivesTheSameBytes)
{
    writeDataFile(dataFile(QStringLiteral("a")), QStringLiteral("written on a"));
    ASSERT_EQ(run(dataFile(QStringLiteral("a")), share(), true), Outcome::Transferred) << reports.join(u'\n');
    EXPECT_TRUE(log.contains(QStringLiteral("Upload finished."))) << log.join(u'\n');
    EXPECT_EQ(taskNamesIn(remoteFile()), QStringList{QStringLiteral("written on a")});
    // No scratch file stays beside the remote file.
    EXPECT_EQ(scratchFilesIn(remoteRoot() + cloudDiskFolderPath), QStringList());

    writeDataFile(dataFile(QStringLiteral("b")), QStringLiteral("older on b"));
    setModified(dataFile(QStringLiteral("b")), QDateTime::currentDateTimeUtc().addDays(-1));
    // Left by a download on b that was killed midway.
    writeFile(dataFile(QStringLiteral("b")) + QStringLiteral(".download-killed"), "SQLite format 3");
    ASSERT_EQ(run(dataFile(QStringLiteral("b")), share(), false), Outcome::Transferred) << reports.join(u'\n');
    EXPECT_EQ(scratchFilesIn(m_dir.filePath(QStringLiteral("b"))), QStringList());
    EXPECT_EQ(readFile(dataFile(QStringLiteral("b"))), readFile(remoteFile()));
    EXPECT_TRUE(log.contains(QStringLiteral("Download finished."))) << log.join(u'\n');
    // What b had is in the cloud-disk backup.
    EXPECT_EQ(taskNamesIn(backupFilePath(dataFile(QStringLiteral("b")), BackupKind::CloudDisk)),
              QStringList{QStringLiteral("older on b")});
    EXPECT_TRUE(reports.isEmpty()) << reports.join(u'\n');
}

TEST_F(CloudDiskTest, NoRemoteFileYetLeavesTheLocalFileAlone)
{
    writeDataFile(dataFile(QStringLiteral("a")), QStringLiteral("local"));
    const QByteArray before = readFile(dataFile(QStringLiteral("a")));
    m_preferences->setBool(PreferenceKey::dotMacWaitingForFirstSync, true);
    EXPECT_EQ(run(dataFile(QStringLiteral("a")), share(), false), Outcome::NothingToDo);
    EXPECT_EQ(readFile(dataFile(QStringLiteral("a"))), before);
    EXPECT_TRUE(reports.isEmpty()) << reports.join(u'\n');
    // The first sync has not happened yet.
    EXPECT_TRUE(m_preferences->boolForKey(PreferenceKey::dotMacWaitingForFirstSync));
}

// Which copy wins, by date and by the first-sync flag, on both kinds of disk.
TEST_F(CloudDiskTest, DownloadFollowsTheDatesUnlessWaitingForTheFirstSync)
{
    const QDateTime remoteDate = QDateTime(QDate(2026, 3, 1), QTime(12, 0, 0), QTimeZone::utc());
    struct Case {
        const char* name;
        int localOffsetSeconds; // against the remote date
        bool waiting;
        bool expectDownload;
    } cases[] = {
        {"local older", -60, false, true},
        {"same second", 0, false, false},
        {"same second, local fraction later", 0, false, false},
        {"local newer", 3600, false, false},
        {"local newer, waiting for the first sync", 3600, true, true},
        {"same date, waiting for the first sync", 0, true, true},
    };
    for (const bool folderMode : {false, true}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.name) + (folderMode ? " (folder)" : " (WebDAV)"));
            const QString remote = folderMode ? folderRoot() + cloudDiskFilePath : remoteFile();
            QFile::remove(remote);
            writeDataFile(remote, QStringLiteral("remote"));
            setModified(remote, remoteDate);
            const QString local = dataFile(QStringLiteral("c"));
            QFile::remove(local);
            writeDataFile(local, QStringLiteral("local"));
            QDateTime localDate = remoteDate.addSecs(c.localOffsetSeconds);
            if (std::string_view(c.name).find("fraction") != std::string_view::npos)
                localDate = localDate.addMSecs(700);
            setModified(local, localDate);
            m_preferences->setBool(PreferenceKey::dotMacWaitingForFirstSync, c.waiting);
            reports.clear();

            std::unique_ptr<CloudDisk> disk = folderMode ? std::make_unique<FolderCloudDisk>(folderRoot()) : share();
            const Outcome outcome = run(local, std::move(disk), false);
            EXPECT_EQ(outcome, c.expectDownload ? Outcome::Transferred : Outcome::NothingToDo);
            EXPECT_EQ(taskNamesIn(local), QStringList{c.expectDownload ? QStringLiteral("remote") : QStringLiteral("local")});
            EXPECT_FALSE(m_preferences->boolForKey(PreferenceKey::dotMacWaitingForFirstSync));
            EXPECT_TRUE(reports.isEmpty()) << reports.join(u'\n');
            if (c.expectDownload) {
                // The copy now has the remote date: the next start finds them equal.
                EXPECT_EQ(QFileInfo(local).lastModified().toUTC(), remoteDate);
            }
        }
    }
}

TEST_F(CloudDiskTest, AccountFailuresAreReportedOnceAndTouchNothing)
{
    QTcpServer closed;
    closed.listen(QHostAddress::LocalHost, 0);
    const QUrl nobody(QStringLiteral("http://127.0.0.1:%1/").arg(closed.serverPort()));
    closed.close();
    // Takes connections (the kernel does) and never answers.
    QTcpServer silent;
    silent.listen(QHostAddress::LocalHost, 0);
    const QUrl mute(QStringLiteral("http://127.0.0.1:%1/").arg(silent.serverPort()));
    struct Case {
        const char* name;
        std::function<std::unique_ptr<CloudDisk>()> disk;
        QLatin1StringView message;
        QString logged;
    } cases[] = {
        {"wrong password", [&] { return share(QStringLiteral("wrong")); }, CloudDiskText::badLogin,
         QStringLiteral("Bad cloud disk login")},
        {"no server", [&] { return share(QStringLiteral("secret"), nobody); }, CloudDiskText::accessError,
         QStringLiteral("Error checking cloud disk")},
        {"server silent", [&] { return share(QStringLiteral("secret"), mute, 300); }, CloudDiskText::accessError,
         QStringLiteral("Error checking cloud disk")},
        {"share missing", [&] { return share(QStringLiteral("secret"), s_share->url().resolved(QUrl(QStringLiteral("nothing-here/")))); },
         CloudDiskText::notEnabled, QStringLiteral("No cloud disk")},
        {"sync folder missing", [&] { return std::make_unique<FolderCloudDisk>(m_dir.filePath(QStringLiteral("gone"))); },
         CloudDiskText::notEnabled, QStringLiteral("No cloud disk")},
    };
    writeDataFile(dataFile(QStringLiteral("a")), QStringLiteral("local"));
    setModified(dataFile(QStringLiteral("a")), QDateTime::currentDateTimeUtc().addDays(-30));
    writeDataFile(remoteFile(), QStringLiteral("remote"));
    const QByteArray local = readFile(dataFile(QStringLiteral("a")));
    const QByteArray remote = readFile(remoteFile());
    for (const Case& c : cases) {
        for (const bool upload : {false, true}) {
            SCOPED_TRACE(std::string(c.name) + (upload ? " (upload)" : " (download)"));
            reports.clear();
            EXPECT_EQ(run(dataFile(QStringLiteral("a")), c.disk(), upload), Outcome::Failed);
            EXPECT_EQ(reports, QStringList{QString(c.message)});
            EXPECT_TRUE(std::any_of(log.begin(), log.end(), [&](const QString& l) { return l.startsWith(c.logged); }))
                << log.join(u'\n');
            EXPECT_EQ(readFile(dataFile(QStringLiteral("a"))), local);
            EXPECT_EQ(readFile(remoteFile()), remote);
        }
    }
}

TEST_F(CloudDiskTest, ARefusedUploadLeavesTheRemoteCopyAsItWas)
{
    // A second server on the same files that refuses bodies over 1 KiB.
    LighttpdShare strict;
    ASSERT_TRUE(strict.start(m_dir.filePath(QStringLiteral("strict")), remoteRoot(), 1)) << strict.error();
    writeDataFile(remoteFile(), QStringLiteral("remote"));
    const QByteArray remote = readFile(remoteFile());
    writeDataFile(dataFile(QStringLiteral("a")), QStringLiteral("local"));

    EXPECT_EQ(run(dataFile(QStringLiteral("a")), share(QStringLiteral("secret"), strict.url()), true), Outcome::Failed);
    EXPECT_EQ(reports, QStringList{QString(CloudDiskText::uploadError)});
    EXPECT_EQ(readFile(remoteFile()), remote);
    EXPECT_EQ(scratchFilesIn(remoteRoot() + cloudDiskFolderPath), QStringList());
}

// A newer remote copy that must still not take the data file's place.
TEST_F(CloudDiskTest, DownloadsThatWouldDamageTheDataFileAreRefused)
{
    struct Case {
        const char* name;
        bool remoteIsDataFile;
        bool journalLeft;
    } cases[] = {
        {"remote copy is not a data file", false, false},
        {"an unfinished save left its journal", true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QString local = dataFile(QStringLiteral("a"));
        QFile::remove(local);
        QFile::remove(local + QStringLiteral("-journal"));
        writeDataFile(local, QStringLiteral("local"));
        setModified(local, QDateTime::currentDateTimeUtc().addDays(-1));
        if (c.journalLeft)
            writeFile(local + QStringLiteral("-journal"), QByteArray(512, '\0'));
        QFile::remove(remoteFile());
        if (c.remoteIsDataFile)
            writeDataFile(remoteFile(), QStringLiteral("remote"));
        else
            writeFile(remoteFile(), "<html>a login page</html>");
        const QByteArray before = readFile(local);
        reports.clear();

        EXPECT_EQ(run(local, share(), false), Outcome::Failed);
        EXPECT_EQ(reports, QStringList{QString(CloudDiskText::downloadError)});
        EXPECT_EQ(readFile(local), before);
        EXPECT_EQ(scratchFilesIn(m_dir.filePath(QStringLiteral("a"))), QStringList());
    }
}

// Transfers cut off midway, by a server that drops the connection.
TEST_F(CloudDiskTest, ACutTransferChangesNeitherCopy)
{
    QProcess server;
    endWithParent(server);
    server.start(QStringLiteral("/usr/bin/python3"), {QStringLiteral("-c"), QString::fromLatin1(kDroppingServer)});
    ASSERT_TRUE(server.waitForStarted());
    ASSERT_TRUE(server.waitForReadyRead(10000));
    const QUrl url(QStringLiteral("http://127.0.0.1:%1/").arg(QString::fromLatin1(server.readLine().trimmed())));

    writeDataFile(dataFile(QStringLiteral("a")), QStringLiteral("local"));
    setModified(dataFile(QStringLiteral("a")), QDateTime::currentDateTimeUtc().addDays(-1));
    const QByteArray local = readFile(dataFile(QStringLiteral("a")));

    EXPECT_EQ(run(dataFile(QStringLiteral("a")), share(QStringLiteral("secret"), url), false), Outcome::Failed);
    EXPECT_EQ(reports, QStringList{QString(CloudDiskText::downloadError)});
    EXPECT_EQ(readFile(dataFile(QStringLiteral("a"))), local);
    EXPECT_EQ(scratchFilesIn(m_dir.filePath(QStringLiteral("a"))), QStringList());

    reports.clear();
    EXPECT_EQ(run(dataFile(QStringLiteral("a")), share(QStringLiteral("secret"), url), true), Outcome::Failed);
    EXPECT_EQ(reports, QStringList{QString(CloudDiskText::uploadError)});
    server.kill();
    server.waitForFinished();
    const QString methods = QString::fromLatin1(server.readAll());
    // Nothing after the cut PUT may touch the remote file itself.
    EXPECT_TRUE(methods.contains(QLatin1String("PUT"))) << methods;
    EXPECT_FALSE(methods.contains(QLatin1String("MOVE"))) << methods;
}

// Cancel at each step of both transfers, on both kinds of disk: nothing is reported and neither copy
// changes, except that a folder copy already made stays made.
TEST_F(CloudDiskTest, ACancelledTransferChangesNeitherCopyAndIsNotReported)
{
    struct Case {
        const char* stage;
        bool upload;
    } cases[] = {
        {"check", false}, {"remoteFile", false}, {"download", false}, {"check", true}, {"upload", true},
    };
    const QString local = dataFile(QStringLiteral("a"));
    for (const bool folderMode : {false, true}) {
        const QString remote = folderMode ? folderRoot() + cloudDiskFilePath : remoteFile();
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.stage) + (c.upload ? " (upload" : " (download") + (folderMode ? ", folder)" : ", WebDAV)"));
            QFile::remove(remote);
            writeDataFile(remote, QStringLiteral("remote"));
            QFile::remove(local);
            writeDataFile(local, QStringLiteral("local"));
            setModified(local, QDateTime::currentDateTimeUtc().addDays(-1));
            const QByteArray localBefore = readFile(local);
            const QByteArray remoteBefore = readFile(remote);
            m_preferences->setBool(PreferenceKey::dotMacWaitingForFirstSync, true);
            reports.clear();

            std::unique_ptr<CloudDisk> disk = folderMode ? std::make_unique<FolderCloudDisk>(folderRoot()) : share();
            const bool copyMadeAtOnce = folderMode && c.upload && std::string_view(c.stage) == "upload";
            const Outcome outcome = run(local, std::make_unique<StageHook>(std::move(disk), c.stage, [this] { running->cancel(); }), c.upload);
            EXPECT_EQ(outcome, copyMadeAtOnce ? Outcome::Transferred : Outcome::Cancelled);
            EXPECT_TRUE(reports.isEmpty()) << reports.join(u'\n');
            EXPECT_TRUE(log.contains(QStringLiteral("Cloud disk transfer cancelled by the user."))) << log.join(u'\n');
            EXPECT_EQ(readFile(local), localBefore);
            if (copyMadeAtOnce)
                EXPECT_EQ(taskNamesIn(remote), QStringList{QStringLiteral("local")});
            else
                EXPECT_EQ(readFile(remote), remoteBefore);
            EXPECT_EQ(scratchFilesIn(m_dir.filePath(QStringLiteral("a"))), QStringList());
            EXPECT_TRUE(m_preferences->boolForKey(PreferenceKey::dotMacWaitingForFirstSync));
        }
    }
}

// Cancel pressed while the disk was still being opened (its password read): nothing starts.
TEST_F(CloudDiskTest, ATransferCancelledBeforeTheDiskOpenedTouchesNothing)
{
    const QString local = dataFile(QStringLiteral("a"));
    writeDataFile(local, QStringLiteral("local"));
    setModified(local, QDateTime::currentDateTimeUtc().addDays(-1));
    writeDataFile(folderRoot() + cloudDiskFilePath, QStringLiteral("remote"));
    const QByteArray localBefore = readFile(local);
    const QByteArray remoteBefore = readFile(folderRoot() + cloudDiskFilePath);
    CloudDiskTransferCancel canceller;
    canceller.cancel();
    for (const bool upload : {false, true}) {
        SCOPED_TRACE(upload ? "upload" : "download");
        const auto report = [this](const QString&, const QString& message) { reports << message; };
        EXPECT_EQ(runCloudDiskTransfer(upload, local, *m_preferences, CloudDiskAccount{{}, {}, folderRoot()}, report, &canceller),
                  Outcome::Cancelled);
        EXPECT_TRUE(reports.isEmpty()) << reports.join(u'\n');
        EXPECT_EQ(readFile(local), localBefore);
        EXPECT_EQ(readFile(folderRoot() + cloudDiskFilePath), remoteBefore);
    }
}

TEST(WebDavDate, ReadsTheHttpForm)
{
    EXPECT_EQ(parseHttpDate(QStringLiteral("Sun, 06 Nov 1994 08:49:37 GMT")),
              QDateTime(QDate(1994, 11, 6), QTime(8, 49, 37), QTimeZone::utc()));
    EXPECT_FALSE(parseHttpDate(QStringLiteral("yesterday")).isValid());
}

} // namespace
