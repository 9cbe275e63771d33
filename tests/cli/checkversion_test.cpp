// Black-box tests of the start's migration and of check-version: the real `vyro` binary.

#include "support/testprocesses.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <sqlite3.h>

namespace {

struct VyroRun {
    int exitCode = -1;
    QString out;
    QString err;
};

class CheckVersionCliTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ensureApplication();
        ASSERT_TRUE(home.isValid());
        server.listen(QHostAddress::LocalHost);
        QObject::connect(&server, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* socket = server.nextPendingConnection()) {
                QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    if (!socket->readAll().contains("\r\n\r\n"))
                        return;
                    socket->write("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) +
                                  "\r\nConnection: close\r\n\r\n" + body);
                    socket->disconnectFromHost();
                });
                QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
    }

    // Runs the binary while this process's event loop serves the version file.
    VyroRun vyro(const QStringList& arguments, const QString& versionBase)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
        env.insert(QStringLiteral("VYRO_VERSION_BASE"), versionBase);
        QProcess p;
        p.setProcessEnvironment(env);
        QEventLoop loop;
        QObject::connect(&p, &QProcess::finished, &loop, &QEventLoop::quit);
        QTimer::singleShot(60000, &loop, &QEventLoop::quit);
        p.start(QStringLiteral(VYRO_BINARY), arguments);
        loop.exec();
        EXPECT_EQ(p.state(), QProcess::NotRunning);
        return {p.exitCode(), QString::fromUtf8(p.readAllStandardOutput()), QString::fromUtf8(p.readAllStandardError())};
    }

    QString base() const { return QStringLiteral("http://127.0.0.1:%1").arg(server.serverPort()); }

    QTemporaryDir home;
    QTcpServer server;
    QByteArray body;
};

} // namespace

TEST_F(CheckVersionCliTest, PrintsWhatTheMenuCommandWouldSay)
{
    const QString version = QStringLiteral(VYRO_VERSION);
    struct Row {
        const char* what;
        QByteArray body;
        bool reachable;
        QString expected;
    } rows[] = {
        {"equal", version.toUtf8(), true, QStringLiteral("No newer release available.\nPlease be patient :-)\n")},
        {"different", "99.0", true, QStringLiteral("New release of Vyro available\nWould you like to download it now?\nVersion: 99.0\n")},
        {"empty", "", true, QStringLiteral("No newer release available.\nPlease be patient :-)\n")},
        {"unreachable", "99.0", false, QStringLiteral("No newer release available.\nPlease be patient :-)\n")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        body = row.body;
        const VyroRun r = vyro({QStringLiteral("check-version")}, row.reachable ? base() : QStringLiteral("http://127.0.0.1:9"));
        EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
        EXPECT_EQ(r.out.toStdString(), row.expected.toStdString());
    }
    EXPECT_EQ(vyro({QStringLiteral("check-version"), QStringLiteral("extra")}, base()).exitCode, 2);
}

// The command line opens its data as the desktop program does: an old file is migrated first.
TEST_F(CheckVersionCliTest, AnOldDataFileIsMigratedBeforeACommand)
{
    const QString dataDir = home.filePath(QStringLiteral("store"));
    ASSERT_TRUE(QDir().mkpath(dataDir));
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(QFile::encodeName(dataDir + QStringLiteral("/Vyro.sql")).constData(), &db), SQLITE_OK);
    const char* sql = R"(
CREATE TABLE vyro_store(id INTEGER PRIMARY KEY, uuid TEXT NOT NULL);
INSERT INTO vyro_store VALUES (1, 'OLD-UUID');
CREATE TABLE vyro_metadata(key TEXT PRIMARY KEY, value);
CREATE TABLE context(pk INTEGER PRIMARY KEY, name TEXT, isInbox INTEGER, specialIndex INTEGER, synchronizable INTEGER);
INSERT INTO context VALUES (4, 'Office', 0, NULL, 0);
CREATE TABLE task(pk INTEGER PRIMARY KEY, name TEXT, content TEXT, contact TEXT, tags TEXT, url TEXT, waitingFor INTEGER,
  maybe INTEGER, priority INTEGER, done INTEGER, completionDate INTEGER, nextAction INTEGER, dueDate INTEGER,
  recurMode INTEGER, recurNumber INTEGER, parentContext INTEGER, parentProject INTEGER);
INSERT INTO task VALUES (9, 'call', NULL, NULL, NULL, NULL, 0, 0, 1, 0, NULL, 0, NULL, 0, 0, 4, NULL);
)";
    const int rc = sqlite3_exec(db, sql, nullptr, nullptr, nullptr);
    sqlite3_close(db);
    ASSERT_EQ(rc, SQLITE_OK);

    const VyroRun r = vyro({QStringLiteral("--data-dir"), dataDir, QStringLiteral("dump")}, QStringLiteral("http://127.0.0.1:9"));
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QJsonObject dump = QJsonDocument::fromJson(r.out.toUtf8()).object();
    QStringList contexts;
    for (const auto& c : dump.value(QStringLiteral("contexts")).toArray())
        contexts << c.toObject().value(QStringLiteral("name")).toString();
    EXPECT_TRUE(contexts.contains(QStringLiteral("Office"))) << contexts.join(u',').toStdString();
    const QJsonArray tasks = dump.value(QStringLiteral("tasks")).toArray();
    ASSERT_EQ(tasks.size(), 1);
    EXPECT_EQ(tasks[0].toObject().value(QStringLiteral("syncID")).toString(), QStringLiteral("x-coredata://OLD-UUID/task/p9"));
    EXPECT_TRUE(QFile::exists(dataDir + QStringLiteral("/Vyro.sql.migrated.bkp")));
}
